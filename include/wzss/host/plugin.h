// Loading the plug-in: dlopen a libwzss.so by path, find its one exported
// table function and fill an SSReaderInterface from it. Everything else a
// host needs is then reached through that table.
#pragma once

#include <string>

#include "wzss/reader_abi.h"

namespace wzss::host {

class Plugin {
 public:
  // The library is loaded with RTLD_NOW | RTLD_LOCAL: unresolved symbols
  // fail here rather than in the middle of a sheet, and two plug-ins never
  // see each other's symbols.
  static Plugin load(const std::string& path);

  Plugin(Plugin&& other) noexcept;
  Plugin& operator=(Plugin&& other) noexcept;
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;
  // Unloads the library: every reader made from the table must be closed,
  // and every object stream released, before this.
  ~Plugin();

  bool ok() const { return handle_ != nullptr; }
  // Why the load failed ("cannot load ...: <dlerror>"); empty when ok().
  const std::string& error() const { return error_; }
  // The entry points; valid while this object lives and ok() holds.
  const SSReaderInterface& table() const { return table_; }
  const std::string& path() const { return path_; }

 private:
  Plugin() = default;
  void unload();

  void* handle_ = nullptr;
  SSReaderInterface table_{};
  std::string path_;
  std::string error_;
};

// The table function of a plug-in that is linked into the program itself.
using TableFunction = void (*)(SSReaderInterface*);

}  // namespace wzss::host
