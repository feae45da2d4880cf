// The exported entry points. The host holds only opaque handles; each entry
// point turns them into the reader's records and hands over to the
// lifecycle functions. Nothing else in the plug-in is visible to the host.
#include "interface/lifecycle.h"

namespace {

wzss::WorkbookReader* own(WorkbookReader* reader) {
  return reinterpret_cast<wzss::WorkbookReader*>(reader);
}
wzss::SheetReader* own(SheetReader* sheet) {
  return reinterpret_cast<wzss::SheetReader*>(sheet);
}
WorkbookReader* handle(wzss::WorkbookReader* reader) {
  return reinterpret_cast<WorkbookReader*>(reader);
}
SheetReader* handle(wzss::SheetReader* sheet) {
  return reinterpret_cast<SheetReader*>(sheet);
}

}  // namespace

extern "C" {

WZSS_EXPORT void wzGetSSReaderInterface(SSReaderInterface* table) {
  if (table == nullptr) return;
  table->AllocateReader = &WZAllocateReader;
  table->CloseReader = &WZCloseReader;
  table->GetCharSet = &WZGetCharSet;
  // Slot 3 belongs to the host and keeps whatever it holds.
  table->GetWorkSheetInfo = &WZGetWorkSheetInfo;
  table->nullSlot5 = nullptr;
  table->InitSheet = &WZInitSheet;
  table->ProcessSheet = &WZProcessSheet;
  table->CloseSheet = &WZCloseSheet;
}

WZSS_EXPORT WorkbookReader* WZAllocateReader(void* /*hostDocument*/, intptr_t /*unused2*/,
                                             StreamInterface* stream,
                                             HostServices* services, intptr_t /*unused5*/,
                                             uint32_t readerFlags) {
  return handle(wzss::wzCreateWorkbookReader(stream, services, readerFlags));
}

WZSS_EXPORT int32_t WZGetCharSet(intptr_t /*unused1*/, intptr_t /*unused2*/) {
  return wzss::kCharSetCode;
}

WZSS_EXPORT int32_t WZGetWorkSheetInfo(WorkbookReader* reader, WorkbookInfo* info,
                                       int32_t query) {
  return wzss::wzDescribeWorkbook(own(reader), info, query);
}

WZSS_EXPORT void WZCloseReader(WorkbookReader* reader) {
  wzss::wzDestroyWorkbookReader(own(reader));
}

WZSS_EXPORT SheetReader* WZInitSheet(WorkbookReader* reader, uintptr_t hostCookie,
                                     uint32_t viewPos, SheetCallback callback,
                                     uint32_t sheetFlags) {
  return handle(wzss::wzOpenSheet(own(reader), hostCookie, viewPos, callback, sheetFlags));
}

WZSS_EXPORT int32_t WZProcessSheet(SheetReader* sheet, SheetItem* item) {
  return wzss::wzPumpSheet(own(sheet), item);
}

WZSS_EXPORT void WZCloseSheet(SheetReader* sheet) { wzss::wzCloseSheet(own(sheet)); }

}  // extern "C"
