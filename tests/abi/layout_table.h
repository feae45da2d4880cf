// The byte layout of every record shared with a host, as a table: type,
// member, offset in the 32-bit host layout, offset on x86-64. Hosts read
// these records by position, so each row is part of the contract; the
// 32-bit column is the host's own layout, the 64-bit column the one fixed
// layout the header gives on 64-bit platforms.
//
// WZSS_FIELD(type, member, offset32, offset64)
// WZSS_SIZE(type, size32, size64)
#pragma once

#define WZSS_RECORD_LAYOUT(WZSS_FIELD, WZSS_SIZE)                        \
  WZSS_SIZE(SSReaderInterface, 36, 72)                                   \
  WZSS_FIELD(SSReaderInterface, AllocateReader, 0, 0)                    \
  WZSS_FIELD(SSReaderInterface, CloseReader, 4, 8)                       \
  WZSS_FIELD(SSReaderInterface, GetCharSet, 8, 16)                       \
  WZSS_FIELD(SSReaderInterface, hostSlot3, 12, 24)                       \
  WZSS_FIELD(SSReaderInterface, GetWorkSheetInfo, 16, 32)                \
  WZSS_FIELD(SSReaderInterface, nullSlot5, 20, 40)                       \
  WZSS_FIELD(SSReaderInterface, InitSheet, 24, 48)                       \
  WZSS_FIELD(SSReaderInterface, ProcessSheet, 28, 56)                    \
  WZSS_FIELD(SSReaderInterface, CloseSheet, 32, 64)                      \
                                                                         \
  WZSS_SIZE(StreamInterface, 68, 128)                                    \
  WZSS_FIELD(StreamInterface, streamKind, 0, 0)                          \
  WZSS_FIELD(StreamInterface, reserved4, 4, 4)                           \
  WZSS_FIELD(StreamInterface, streamLength, 8, 8)                        \
  WZSS_FIELD(StreamInterface, privateA, 12, 16)                          \
  WZSS_FIELD(StreamInterface, privateB, 16, 24)                          \
  WZSS_FIELD(StreamInterface, hostContext, 20, 32)                       \
  WZSS_FIELD(StreamInterface, Open, 32, 56)                              \
  WZSS_FIELD(StreamInterface, Read, 36, 64)                              \
  WZSS_FIELD(StreamInterface, reserved40, 40, 72)                        \
  WZSS_FIELD(StreamInterface, Seek, 44, 80)                              \
  WZSS_FIELD(StreamInterface, Tell, 48, 88)                              \
  WZSS_FIELD(StreamInterface, Close, 52, 96)                             \
  WZSS_FIELD(StreamInterface, FilterLine, 56, 104)                       \
  WZSS_FIELD(StreamInterface, Release, 60, 112)                          \
                                                                         \
  WZSS_SIZE(HostServices, 152, 304)                                      \
  WZSS_FIELD(HostServices, OpenFile, 96, 192)                            \
  WZSS_FIELD(HostServices, allocator, 132, 264)                          \
  WZSS_FIELD(HostServices, allocator.Alloc, 136, 272)                    \
  WZSS_FIELD(HostServices, allocator.Free, 140, 280)                     \
  WZSS_FIELD(HostServices, allocator.Realloc, 144, 288)                  \
  WZSS_FIELD(HostServices, allocator.Calloc, 148, 296)                   \
                                                                         \
  WZSS_SIZE(FillInfo, 16, 16)                                            \
  WZSS_FIELD(FillInfo, pattern, 0, 0)                                    \
  WZSS_FIELD(FillInfo, shadePercent, 4, 4)                               \
  WZSS_FIELD(FillInfo, foreColor, 8, 8)                                  \
  WZSS_FIELD(FillInfo, backColor, 12, 12)                                \
                                                                         \
  WZSS_SIZE(FontRecord, 44, 44)                                          \
  WZSS_FIELD(FontRecord, name, 0, 0)                                     \
  WZSS_FIELD(FontRecord, size, 32, 32)                                   \
  WZSS_FIELD(FontRecord, bold, 36, 36)                                   \
  WZSS_FIELD(FontRecord, italic, 37, 37)                                 \
  WZSS_FIELD(FontRecord, underline, 38, 38)                              \
  WZSS_FIELD(FontRecord, charSet, 40, 40)                                \
  WZSS_FIELD(FontRecord, pitchAndFamily, 41, 41)                         \
                                                                         \
  WZSS_SIZE(SheetItem, 176, 184)                                         \
  WZSS_FIELD(SheetItem, itemType, 0, 0)                                  \
  WZSS_FIELD(SheetItem, reserved4, 4, 4)                                 \
  /* type 10, settings */                                                \
  WZSS_FIELD(SheetItem, settings.settingsCode, 8, 8)                     \
  WZSS_FIELD(SheetItem, settings.maxRow, 12, 12)                         \
  WZSS_FIELD(SheetItem, settings.maxColumn, 16, 16)                      \
  WZSS_FIELD(SheetItem, settings.presetA, 20, 20)                        \
  WZSS_FIELD(SheetItem, settings.presetB, 24, 24)                        \
  WZSS_FIELD(SheetItem, settings.defaultColumnWidth, 28, 28)             \
  WZSS_FIELD(SheetItem, settings.defaultFontHeight, 32, 32)              \
  WZSS_FIELD(SheetItem, settings.presetC, 36, 36)                        \
  WZSS_FIELD(SheetItem, settings.presetD, 40, 40)                        \
  WZSS_FIELD(SheetItem, settings.presetE, 44, 44)                        \
  WZSS_FIELD(SheetItem, settings.presetF, 48, 48)                        \
  WZSS_FIELD(SheetItem, settings.presetG, 52, 52)                        \
  WZSS_FIELD(SheetItem, settings.hasFont, 56, 56)                        \
  WZSS_FIELD(SheetItem, settings.font, 60, 60)                           \
  WZSS_FIELD(SheetItem, settings.hasFill, 104, 104)                      \
  WZSS_FIELD(SheetItem, settings.presetH, 124, 124)                      \
  /* type 16, option */                                                  \
  WZSS_FIELD(SheetItem, option.option, 8, 8)                             \
  /* types 12 and 11, runs */                                            \
  WZSS_FIELD(SheetItem, run.first, 8, 8)                                 \
  WZSS_FIELD(SheetItem, run.last, 12, 12)                                \
  WZSS_FIELD(SheetItem, run.size, 16, 16)                                \
  /* type 15, cell */                                                    \
  WZSS_FIELD(SheetItem, cell.column, 8, 8)                               \
  WZSS_FIELD(SheetItem, cell.row, 12, 12)                                \
  WZSS_FIELD(SheetItem, cell.text, 16, 16)                               \
  WZSS_FIELD(SheetItem, cell.textLength, 20, 24)                         \
  WZSS_FIELD(SheetItem, cell.align, 24, 28)                              \
  WZSS_FIELD(SheetItem, cell.backColor, 28, 32)                          \
  WZSS_FIELD(SheetItem, cell.textColor, 32, 36)                          \
  WZSS_FIELD(SheetItem, cell.hasBorder, 36, 40)                          \
  WZSS_FIELD(SheetItem, cell.leftStyle, 40, 44)                          \
  WZSS_FIELD(SheetItem, cell.leftColor, 44, 48)                          \
  WZSS_FIELD(SheetItem, cell.topStyle, 48, 52)                           \
  WZSS_FIELD(SheetItem, cell.topColor, 52, 56)                           \
  WZSS_FIELD(SheetItem, cell.rightStyle, 56, 60)                         \
  WZSS_FIELD(SheetItem, cell.rightColor, 60, 64)                         \
  WZSS_FIELD(SheetItem, cell.bottomStyle, 64, 68)                        \
  WZSS_FIELD(SheetItem, cell.bottomColor, 68, 72)                        \
  WZSS_FIELD(SheetItem, cell.hasFont, 72, 76)                            \
  WZSS_FIELD(SheetItem, cell.font, 76, 80)                               \
  WZSS_FIELD(SheetItem, cell.hasFill, 120, 124)                          \
  WZSS_FIELD(SheetItem, cell.cellFlag, 124, 128)                         \
  WZSS_FIELD(SheetItem, cell.cellKind, 128, 132)                         \
  WZSS_FIELD(SheetItem, cell.cellExtra, 132, 136)                        \
  /* type 17, object */                                                  \
  WZSS_FIELD(SheetItem, object.objectKind, 8, 8)                         \
  WZSS_FIELD(SheetItem, object.topColumn, 12, 12)                        \
  WZSS_FIELD(SheetItem, object.topRow, 16, 16)                           \
  WZSS_FIELD(SheetItem, object.bottomColumn, 20, 20)                     \
  WZSS_FIELD(SheetItem, object.bottomRow, 24, 24)                        \
  WZSS_FIELD(SheetItem, object.topX, 28, 28)                             \
  WZSS_FIELD(SheetItem, object.topY, 32, 32)                             \
  WZSS_FIELD(SheetItem, object.bottomX, 36, 36)                          \
  WZSS_FIELD(SheetItem, object.bottomY, 40, 40)                          \
  WZSS_FIELD(SheetItem, object.descriptor, 44, 48)                       \
  WZSS_FIELD(SheetItem, object.hasBorder, 60, 68)                        \
  WZSS_FIELD(SheetItem, object.leftStyle, 64, 72)                        \
  WZSS_FIELD(SheetItem, object.leftColor, 68, 76)                        \
  WZSS_FIELD(SheetItem, object.topStyle, 72, 80)                         \
  WZSS_FIELD(SheetItem, object.topColor, 76, 84)                         \
  WZSS_FIELD(SheetItem, object.rightStyle, 80, 88)                       \
  WZSS_FIELD(SheetItem, object.rightColor, 84, 92)                       \
  WZSS_FIELD(SheetItem, object.bottomStyle, 88, 96)                      \
  WZSS_FIELD(SheetItem, object.bottomColor, 92, 100)                     \
  WZSS_FIELD(SheetItem, object.word156, 156, 164)                        \
                                                                         \
  WZSS_SIZE(ObjectDescriptor, 52, 56)                                    \
  WZSS_FIELD(ObjectDescriptor, descriptorKind, 0, 0)                     \
  WZSS_FIELD(ObjectDescriptor, frameStyle, 12, 12)                       \
  WZSS_FIELD(ObjectDescriptor, frameColor, 16, 16)                       \
  WZSS_FIELD(ObjectDescriptor, descriptorPreset, 20, 20)                 \
  WZSS_FIELD(ObjectDescriptor, content, 32, 32)                          \
                                                                         \
  WZSS_SIZE(SheetEntry, 540, 540)                                        \
  WZSS_FIELD(SheetEntry, name, 0, 0)                                     \
  WZSS_FIELD(SheetEntry, nameLength, 512, 512)                           \
  WZSS_FIELD(SheetEntry, zero516, 516, 516)                              \
  WZSS_FIELD(SheetEntry, kind, 520, 520)                                 \
  WZSS_FIELD(SheetEntry, viewPos, 524, 524)                              \
  WZSS_FIELD(SheetEntry, nameLength2, 528, 528)                          \
                                                                         \
  WZSS_SIZE(WorkbookInfo, 268, 272)                                      \
  WZSS_FIELD(WorkbookInfo, sheetCount, 0, 0)                             \
  WZSS_FIELD(WorkbookInfo, sheets, 264, 264)
