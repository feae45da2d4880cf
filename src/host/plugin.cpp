#include "wzss/host/plugin.h"

#include <dlfcn.h>

#include <utility>

namespace wzss::host {
namespace {

constexpr const char* kTableSymbol = "wzGetSSReaderInterface";

std::string lastDlError() {
  const char* text = dlerror();
  return text != nullptr ? text : "unknown error";
}

}  // namespace

Plugin Plugin::load(const std::string& path) {
  Plugin plugin;
  plugin.path_ = path;
  dlerror();  // a stale message from an earlier call must not be reported as ours
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    plugin.error_ = "cannot load " + path + ": " + lastDlError();
    return plugin;
  }
  dlerror();
  // dlsym may legally return null for a defined symbol, so the error text,
  // not the pointer, tells whether the lookup failed.
  void* symbol = dlsym(handle, kTableSymbol);
  const char* lookupError = dlerror();
  if (lookupError != nullptr || symbol == nullptr) {
    plugin.error_ = path + " is no wzss plug-in: " +
                    (lookupError != nullptr ? std::string(lookupError)
                                            : std::string(kTableSymbol) + " is null");
    dlclose(handle);
    return plugin;
  }
  reinterpret_cast<TableFunction>(symbol)(&plugin.table_);
  plugin.handle_ = handle;
  return plugin;
}

Plugin::Plugin(Plugin&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)),
      table_(std::exchange(other.table_, SSReaderInterface{})),
      path_(std::move(other.path_)),
      error_(std::move(other.error_)) {}

Plugin& Plugin::operator=(Plugin&& other) noexcept {
  if (this != &other) {
    unload();
    handle_ = std::exchange(other.handle_, nullptr);
    table_ = std::exchange(other.table_, SSReaderInterface{});
    path_ = std::move(other.path_);
    error_ = std::move(other.error_);
  }
  return *this;
}

Plugin::~Plugin() { unload(); }

void Plugin::unload() {
  if (handle_ != nullptr) dlclose(handle_);
  handle_ = nullptr;
  table_ = SSReaderInterface{};
}

}  // namespace wzss::host
