// SPDX-License-Identifier: MIT
#include "loomkit/db/sqlite/sqlite3_api.h"

#include <string>

#include "loomkit/platform/hul.h"

namespace loomkit {
namespace {

// A function to resolve: its name, and what stores its address in the table.
struct Symbol {
  const char* name;
  void (*store)(Sqlite3Api* api, void* address);
};

template <auto member>
constexpr Symbol symbol(const char* name) {
  return {name, [](Sqlite3Api* api, void* address) {
            using Function = std::remove_reference_t<decltype(api->*member)>;
            api->*member = reinterpret_cast<Function>(address);
          }};
}

constexpr Symbol requiredSymbols[] = {
    symbol<&Sqlite3Api::open>("sqlite3_open"),
    symbol<&Sqlite3Api::exec>("sqlite3_exec"),
    symbol<&Sqlite3Api::close>("sqlite3_close"),
    symbol<&Sqlite3Api::prepare_v2>("sqlite3_prepare_v2"),
    symbol<&Sqlite3Api::step>("sqlite3_step"),
    symbol<&Sqlite3Api::finalize>("sqlite3_finalize"),
    symbol<&Sqlite3Api::reset>("sqlite3_reset"),
    symbol<&Sqlite3Api::busy_timeout>("sqlite3_busy_timeout"),
    symbol<&Sqlite3Api::errmsg>("sqlite3_errmsg"),
    symbol<&Sqlite3Api::column_count>("sqlite3_column_count"),
    symbol<&Sqlite3Api::column_type>("sqlite3_column_type"),
    symbol<&Sqlite3Api::column_decltype>("sqlite3_column_decltype"),
    symbol<&Sqlite3Api::column_int>("sqlite3_column_int"),
    symbol<&Sqlite3Api::column_int64>("sqlite3_column_int64"),
    symbol<&Sqlite3Api::column_double>("sqlite3_column_double"),
    symbol<&Sqlite3Api::column_text>("sqlite3_column_text"),
    symbol<&Sqlite3Api::column_blob>("sqlite3_column_blob"),
    symbol<&Sqlite3Api::column_bytes>("sqlite3_column_bytes"),
    symbol<&Sqlite3Api::bind_int>("sqlite3_bind_int"),
    symbol<&Sqlite3Api::bind_int64>("sqlite3_bind_int64"),
    symbol<&Sqlite3Api::bind_double>("sqlite3_bind_double"),
    symbol<&Sqlite3Api::bind_text>("sqlite3_bind_text"),
    symbol<&Sqlite3Api::bind_blob>("sqlite3_bind_blob"),
    symbol<&Sqlite3Api::bind_null>("sqlite3_bind_null"),
    symbol<&Sqlite3Api::clear_bindings>("sqlite3_clear_bindings"),
    symbol<&Sqlite3Api::changes>("sqlite3_changes"),
    symbol<&Sqlite3Api::total_changes>("sqlite3_total_changes"),
    symbol<&Sqlite3Api::free>("sqlite3_free"),
    symbol<&Sqlite3Api::libversion_number>("sqlite3_libversion_number"),
};

// Deliberately the two-argument function under a four-argument type: it ignores
// the flags, so a database opens the same way whatever the locator's options
// say. Hosts rely on "readonly" locators that create their file.
constexpr Symbol optionalSymbol = symbol<&Sqlite3Api::openWithFlags>("sqlite3_open");

}  // namespace

DsoCalls platformDsoCalls() {
  return {hulOpenDSO, hulGetSymbolAddress, [](void* handle) { hulCloseDSO(handle); }};
}

bool Sqlite3Library::load(const DsoCalls& dso) {
  if (loaded) return true;
  const std::string name = std::string(hulGetDSOPrefix()) + "sqlite3" + hulGetDSOSuffix();
  if (dso.open(name.c_str(), 0, &handle) < 0) return false;
  for (const Symbol& required : requiredSymbols) {
    void* address = nullptr;
    if (dso.symbol(handle, required.name, &address) < 0 || address == nullptr) {
      dso.close(handle);
      return false;
    }
    required.store(&api, address);
  }
  void* address = nullptr;
  if (dso.symbol(handle, optionalSymbol.name, &address) < 0) address = nullptr;
  optionalSymbol.store(&api, address);
  loaded = true;
  return true;
}

Sqlite3Library& sqlite3Library() {
  static constinit Sqlite3Library library;
  return library;
}

}  // namespace loomkit
