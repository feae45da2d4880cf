#include "object_workbook.h"

#include <gtest/gtest.h>

#include "objects/objects.h"
#include "scan/scan.h"

namespace wzss::test {

namespace {

constexpr uint32_t kObjectStreamKind = 3;

void addLine(std::string* text, const std::string& keyword, const std::string& value) {
  if (!value.empty()) *text += keyword + value + "\n";
}

}  // namespace

std::string blockText(const ObjectBlock& block) {
  std::string text = "Graphic Obj Start: 1\n";
  addLine(&text, "Object Type: ", block.type);
  addLine(&text, "Object Plane: ", block.plane);
  addLine(&text, "Object Path: ", block.path);
  addLine(&text, "Object Attrs: ", block.attrs);
  addLine(&text, "Top corner ", block.top);
  addLine(&text, "Bot corner ", block.bottom);
  for (const std::string& line : block.sizeLines) text += line + "\n";
  text += block.drawing;
  text += "Graphic Obj End: 1\n";
  return text;
}

std::string blocksText(const std::vector<ObjectBlock>& blocks) {
  std::string text;
  for (const ObjectBlock& block : blocks) text += blockText(block);
  return text;
}

ObjectBlock objectAt(const char* plane, const char* topCell, const char* attrs) {
  return {.plane = plane, .attrs = attrs, .top = std::string(plane) + "!" + topCell};
}

ObjectWorkbook::ObjectWorkbook(std::string text, uint32_t defaultFontSize)
    : stream(std::move(text)) {
  reader.stream = stream.get();
  reader.services = services.get();
  reader.defaultFont.size = defaultFontSize;
}

ObjectWorkbook::~ObjectWorkbook() {
  for (ObjectDescriptor* descriptor : delivered_) {
    StreamInterface* content = descriptor->content;
    if (content != nullptr && content->streamKind == kObjectStreamKind) content->Release(content);
    services.free(descriptor);
  }
  if (reader.objects != nullptr) services.free(reader.objects);
  EXPECT_EQ(services.stats().liveBlocks, 0u) << "blocks left alive after the test";
}

bool ObjectWorkbook::index() {
  char line[kLineSize];
  uint32_t pos = 0;
  StreamInterface* input = stream.get();
  while (wzGetLine(input, line, kLineSize, &pos) != 0) {
    if (std::string(line).starts_with("Graphic Obj Start: ") && wzInitObjects(&reader, pos) == 0) {
      return false;
    }
  }
  return true;
}

SheetReader* ObjectWorkbook::openSheet(int32_t number, uint32_t sheetFlags) {
  sheet = SheetReader{};
  sheet.reader = &reader;
  sheet.stream = stream.get();
  sheet.services = services.get();
  sheet.sheetNumber = number;
  sheet.sheetFlags = sheetFlags;
  sheet.state = kStateObjects;
  for (uint32_t i = 0; i < reader.objectEntryCount; ++i) {
    if (reader.objects[i].sheet == number) ++sheet.objectCount;
  }
  return &sheet;
}

int ObjectWorkbook::next() {
  const int result = wzDoObject(&sheet, &item);
  if (result != 0) {
    EXPECT_NE(item.object.descriptor, nullptr);
    if (item.object.descriptor != nullptr) delivered_.push_back(item.object.descriptor);
  }
  return result;
}

int ObjectWorkbook::deliverFirst(uint32_t sheetFlags) {
  if (!index()) {
    ADD_FAILURE() << "indexing failed";
    return -1;
  }
  openSheet(1, sheetFlags);
  return next();
}

std::vector<uint32_t> ObjectWorkbook::deliverColumns() {
  std::vector<uint32_t> columns;
  // Far more rounds than any test sheet has objects: a loop that does not
  // end fails the test instead of hanging it.
  for (int round = 0; round < 1000 && sheet.objectCount > sheet.objectsEmitted; ++round) {
    columns.push_back(next() != 0 ? item.object.topColumn : 0);
    const bool owed = sheet.objectCount > sheet.objectsEmitted;
    EXPECT_EQ(sheet.state, owed ? kStateObjects : kStateChoose) << "after call " << round;
  }
  EXPECT_LE(sheet.objectCount, sheet.objectsEmitted) << "the object phase did not end";
  return columns;
}

std::vector<ObjectEntry> ObjectWorkbook::entries() const {
  if (reader.objects == nullptr) return {};
  return {reader.objects, reader.objects + reader.objectEntryCount};
}

}  // namespace wzss::test
