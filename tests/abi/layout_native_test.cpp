// The record layout on the platform the tests run on. The static_asserts fix
// every offset at compile time; the runtime cases check what the compiler
// cannot: that a value stored through each member of the item union lands in
// the bytes a host reads at the documented offset.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "layout_static_checks.h"

namespace wzss::abi {
namespace {

#if defined(__x86_64__)
static_assert(!kHostWidth, "the x86-64 column of the table is checked here");
#endif

template <class T>
uint32_t wordAt(const T& record, size_t offset) {
  uint32_t word;
  std::memcpy(&word, reinterpret_cast<const unsigned char*>(&record) + offset, sizeof word);
  return word;
}

constexpr size_t at(size_t offset32, size_t offset64) { return kHostWidth ? offset32 : offset64; }

TEST(RecordLayoutTest, ItemFieldsWrittenByTypeLandAtTheHostsOffsets) {
  struct Case {
    const char* name;
    void (*store)(SheetItem&, uint32_t);
    size_t offset;
  };
  const Case cases[] = {
      {"settings.defaultFontHeight", [](SheetItem& i, uint32_t v) { i.settings.defaultFontHeight = v; }, at(32, 32)},
      {"settings.presetH", [](SheetItem& i, uint32_t v) { i.settings.presetH = v; }, at(124, 124)},
      {"option.option", [](SheetItem& i, uint32_t v) { i.option.option = v; }, at(8, 8)},
      {"run.size", [](SheetItem& i, uint32_t v) { i.run.size = v; }, at(16, 16)},
      {"cell.textLength", [](SheetItem& i, uint32_t v) { i.cell.textLength = v; }, at(20, 24)},
      {"cell.hasFill", [](SheetItem& i, uint32_t v) { i.cell.hasFill = static_cast<int32_t>(v); }, at(120, 124)},
      {"cell.cellExtra", [](SheetItem& i, uint32_t v) { i.cell.cellExtra = v; }, at(132, 136)},
      {"object.bottomColor", [](SheetItem& i, uint32_t v) { i.object.bottomColor = v; }, at(92, 100)},
      {"object.word156", [](SheetItem& i, uint32_t v) { i.object.word156 = v; }, at(156, 164)},
  };
  for (const Case& c : cases) {
    SheetItem item;
    std::memset(&item, 0, sizeof item);
    c.store(item, 0xA1B2C3D4u);
    EXPECT_EQ(wordAt(item, c.offset), 0xA1B2C3D4u) << c.name;
    EXPECT_EQ(wordAt(item.raw, c.offset - 8), 0xA1B2C3D4u) << c.name << " through raw";
  }
}

TEST(RecordLayoutTest, NarrowCellFieldsTouchOnlyTheirOwnBytes) {
  SheetItem item;
  std::memset(&item, 0, sizeof item);
  item.cell.align = 0xFFFF;
  item.cell.leftStyle = 0xFF;
  item.cell.cellFlag = 0xFF;
  const auto* bytes = reinterpret_cast<const unsigned char*>(&item);
  std::string set;
  for (size_t i = 0; i < sizeof item; ++i)
    if (bytes[i] != 0) set += std::to_string(i) + " ";
  const std::string expected =
      kHostWidth ? "24 25 40 124 " : "28 29 44 128 ";
  EXPECT_EQ(set, expected);
}

}  // namespace
}  // namespace wzss::abi
