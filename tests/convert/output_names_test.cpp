#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <thread>

#include "cli/csv_sheet.h"
#include "cli/output_files.h"
#include "cli/output_names.h"
#include "convert_fixture.h"

namespace wzss::cli {
namespace {

TEST(SafeNameStem, ReplacesWhatFileSystemsRefuseWithinABoundedLength) {
  const struct {
    std::string name;
    std::string stem;
  } cases[] = {
      {"Budget 2026", "Budget 2026"},
      {"<x>:\"y\"|z?*/\\", "_x___y__z____"},
      {"tab\there\x01\x7f", "tab_here__"},
      {".hidden", "_hidden"},
      {"..", "_"},
      {"trailing. . ", "trailing"},
      {"   ", "sheet-3"},
      {"CON", "_CON"},
      {"nul.txt", "_nul.txt"},
      {"com7", "_com7"},
      {"Console", "Console"},
      {"Umsatz \xc3\xbc", "Umsatz \xc3\xbc"},
      // The length is bounded without splitting a character: 99 ASCII bytes,
      // then a two-byte character across the bound.
      {std::string(300, 'x'), std::string(kMaxNameStem, 'x')},
      {std::string(kMaxNameStem - 1, 'x') + "\xc3\xbc" + "tail",
       std::string(kMaxNameStem - 1, 'x')},
  };
  for (const auto& c : cases) EXPECT_EQ(safeNameStem(c.name, "sheet-3"), c.stem) << c.name;
}

TEST(CsvDirectory, NamesOneFilePerSheetSafelyAndUniquely) {
  std::vector<host::SheetInfo> sheets;
  for (const char* name : {"Z1/Z2", "z1:z2", "  ", "Sales"}) {
    host::SheetInfo sheet;
    sheet.name = name;
    sheet.number = static_cast<uint32_t>(sheets.size() + 1);
    sheets.push_back(sheet);
  }
  convert_test::TempDir dir;
  CsvDirectory directory((dir.path() / "out").string());
  ASSERT_TRUE(directory.begin(sheets)) << directory.error();
  for (const host::SheetInfo& sheet : sheets) {
    // Handed over in two pieces, as a sheet's CSV is.
    const std::string field = csvField(sheet.name);
    const auto csv = [&field](const PieceWriter& write) { return write(field) && write("\r\n"); };
    ASSERT_TRUE(directory.sheet(sheet, csv)) << directory.error();
  }
  const auto& written = directory.written();
  ASSERT_EQ(written.size(), 4u);
  const std::filesystem::path out = dir.path() / "out";
  EXPECT_EQ(written[0], (out / "Z1_Z2.csv").string());
  EXPECT_EQ(written[1], (out / "z1_z2-2.csv").string());
  EXPECT_EQ(written[2], (out / "sheet-3.csv").string());
  EXPECT_EQ(written[3], (out / "Sales.csv").string());
  EXPECT_EQ(convert_test::readFile(out / "z1_z2-2.csv"), "z1:z2\r\n");
  // Nothing but the four files: no partial files left behind.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(out), {}), 4);
}

// Content in pieces lands whole; content whose writing broke off leaves
// neither the file nor its partial file, and an older file stays as it was;
// a place that cannot hold a file is reported.
TEST(WriteFileAtomically, WritesPiecesAndLeavesNothingWhenTheyBreakOff) {
  convert_test::TempDir dir;
  const std::string path = (dir.path() / "sheet.csv").string();
  std::string error;
  ASSERT_TRUE(writeFileAtomically(
      path, [](const PieceWriter& write) { return write("a,b\r\n") && write("c,d\r\n"); }, &error))
      << error;
  EXPECT_EQ(convert_test::readFile(path), "a,b\r\nc,d\r\n");

  const auto brokenOff = [](const PieceWriter& write) { return write("e,f\r\n") && false; };
  EXPECT_FALSE(writeFileAtomically(path, brokenOff, &error));
  EXPECT_NE(error.find("cannot write " + path + ".part"), std::string::npos) << error;
  EXPECT_EQ(convert_test::readFile(path), "a,b\r\nc,d\r\n");
  EXPECT_FALSE(std::filesystem::exists(path + ".part"));
  const std::string fresh = (dir.path() / "fresh.csv").string();
  EXPECT_FALSE(writeFileAtomically(fresh, brokenOff, &error));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
  std::filesystem::create_directory(path + ".part");  // no partial file can be made there
  EXPECT_FALSE(writeFileAtomically(path, "text", &error));
  EXPECT_NE(error.find("cannot write " + path + ".part"), std::string::npos) << error;
  error.clear();
  EXPECT_FALSE(writeFileAtomically(path + "/below.html", "text", &error));
  EXPECT_FALSE(error.empty());
}

// Every kind of -o target: a file is replaced whole, what the path leads
// to through a link is judged like the path itself, a device or FIFO is
// written into and stays what it is, and a folder is refused.
TEST(WriteFileAtomically, TreatsEachKindOfTargetAsARedirectionWould) {
  namespace fs = std::filesystem;
  convert_test::TempDir dir;
  const fs::path d = dir.path();
  const auto kindOf = [](const fs::path& p) { return fs::symlink_status(p).type(); };
  // As root a device of our own, so a fault replaces nothing of the system's.
  const fs::path device = mknod((d / "null").c_str(), S_IFCHR | 0666, makedev(1, 3)) == 0
                              ? d / "null"
                              : fs::path("/dev/null");
  mkfifo((d / "fifo").c_str(), 0600);
  fs::create_hard_link(d / "fifo", d / "fifo-kept");
  std::string heard;
  std::thread reader([&] { heard = convert_test::readFile(d / "fifo"); });
  convert_test::writeFile(d / "old.txt", "old");
  fs::permissions(d / "old.txt", fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink("old.txt", d / "link");
  fs::create_symlink("made/by-link.txt", d / "dangling");
  fs::create_directories(d / "made");
  fs::create_directories(d / "folder");
  fs::create_symlink("folder", d / "folder-link");
  convert_test::writeFile(d / "victim", "victim");
  fs::create_symlink("victim", d / "planted.txt.part");
  const struct {
    fs::path target;
    bool written;
    fs::path holder;     // where the text must be; empty: nowhere
    fs::file_type kind;  // what the target is afterwards
  } cases[] = {
      {d / "new" / "absent.txt", true, d / "new" / "absent.txt", fs::file_type::regular},
      {d / "old.txt", true, d / "old.txt", fs::file_type::regular},
      {d / "link", true, d / "old.txt", fs::file_type::symlink},
      {d / "dangling", true, d / "made" / "by-link.txt", fs::file_type::symlink},
      {d / "planted.txt", true, d / "planted.txt", fs::file_type::regular},
      {device, true, {}, fs::file_type::character},
      {d / "fifo", true, {}, fs::file_type::fifo},
      {d / "folder", false, {}, fs::file_type::directory},
      {d / "folder-link", false, {}, fs::file_type::symlink},
      {d.string() + "/out/", false, {}, fs::file_type::not_found},
  };
  for (const auto& c : cases) {
    std::string error;
    EXPECT_EQ(writeFileAtomically(c.target.string(), "text", &error), c.written)
        << c.target << ": " << error;
    EXPECT_EQ(kindOf(c.target), c.kind) << c.target;
    if (!c.holder.empty()) {
      EXPECT_EQ(convert_test::readFile(c.holder), "text") << c.target;
    }
    if (!c.written) {
      EXPECT_NE(error.find("folder"), std::string::npos) << error;
    }
  }
  // A writer that never came would leave the reader waiting: come as one.
  ::close(::open((d / "fifo-kept").c_str(), O_WRONLY | O_NONBLOCK));
  reader.join();
  EXPECT_EQ(heard, "text");
  EXPECT_EQ(convert_test::readFile(d / "victim"), "victim");
  EXPECT_EQ(fs::status(d / "old.txt").permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_FALSE(fs::exists(d / "folder" / ".part"));
}

}  // namespace
}  // namespace wzss::cli
