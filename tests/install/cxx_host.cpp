// A C++ host built against the installed package (find_package(wzss CONFIG)):
// loads the installed plug-in through the host kit and prints each sheet's
// number, name and count of cell items, as `sheet N "NAME" cells=C`, the name
// escaped as `wzss dump` escapes it.
#include <cstdio>
#include <variant>

#include <wzss/host/file_stream.h>
#include <wzss/host/plugin.h>
#include <wzss/host/services.h>
#include <wzss/host/walker.h>

namespace host = wzss::host;

struct CellCounter : host::SheetVisitor {
  unsigned long cells = 0;
  void beginSheet(const host::SheetInfo&) override { cells = 0; }
  bool item(const host::SheetInfo&, host::Item& item) override {
    cells += std::holds_alternative<host::Cell>(item);
    return true;
  }
  void endSheet(const host::SheetInfo& sheet, const host::SheetStats&) override {
    std::printf("sheet %u \"", sheet.number);
    for (unsigned char c : sheet.name) {
      if (c < 0x20 || c >= 0x7f) std::printf("\\x%02x", c);
      else std::printf(c == '"' || c == '\\' ? "\\%c" : "%c", c);
    }
    std::printf("\" cells=%lu\n", cells);
  }
};

int main(int argc, char** argv) {
  if (argc != 2) return std::fprintf(stderr, "usage: cxx_host WORKBOOK\n"), 2;
  auto plugin = host::Plugin::load(WZSS_INSTALLED_PLUGIN);
  auto file = host::FileStream::open(argv[1]);
  if (!plugin.ok() || !file) return std::fprintf(stderr, "cannot load or open\n"), 1;
  host::Services services;
  host::WalkOptions options;
  options.readerFlags = WZSS_READER_NO_OBJECTS;
  host::Walker walker(plugin.table(), file->get(), services.get(), options);
  CellCounter counter;
  auto sheets = walker.open();
  auto walked = sheets ? walker.walkAll(counter) : host::Status(sheets.error());
  if (!walked) return std::fprintf(stderr, "%s\n", walked.error().message.c_str()), 1;
  return 0;
}
