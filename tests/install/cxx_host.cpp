// A C++ host built against the installed package (find_package(wzss CONFIG)):
// loads the installed plug-in through the host kit and prints each sheet's
// number, name and count of cell items, as `sheet N "NAME" cells=C`.
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
    std::printf("sheet %u \"%s\" cells=%lu\n", sheet.number, sheet.name.c_str(), cells);
  }
};

int main(int argc, char** argv) {
  if (argc != 2) return std::fprintf(stderr, "usage: cxx_host WORKBOOK\n"), 2;
  auto plugin = host::Plugin::load(WZSS_INSTALLED_PLUGIN);
  auto file = host::FileStream::open(argv[1]);
  if (!plugin.ok() || !file) return std::fprintf(stderr, "cannot load or open\n"), 1;
  host::Services services;
  host::Walker walker(plugin.table(), file->get(), services.get(), {.readerFlags = 1});
  CellCounter counter;
  auto sheets = walker.open();
  auto walked = sheets ? walker.walkAll(counter) : host::Status(sheets.error());
  if (!walked) return std::fprintf(stderr, "%s\n", walked.error().message.c_str()), 1;
  return 0;
}
