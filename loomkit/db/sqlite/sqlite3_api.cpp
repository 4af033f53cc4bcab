// SPDX-License-Identifier: MIT
#include "loomkit/db/sqlite/sqlite3_api.h"

#include <string>

#include "loomkit/platform/hul.h"

namespace loomkit {
namespace {

constexpr FunctionEntry<Sqlite3Api> requiredSymbols[] = {
    functionEntry<&Sqlite3Api::open>("sqlite3_open"),
    functionEntry<&Sqlite3Api::exec>("sqlite3_exec"),
    functionEntry<&Sqlite3Api::close>("sqlite3_close"),
    functionEntry<&Sqlite3Api::prepare_v2>("sqlite3_prepare_v2"),
    functionEntry<&Sqlite3Api::step>("sqlite3_step"),
    functionEntry<&Sqlite3Api::finalize>("sqlite3_finalize"),
    functionEntry<&Sqlite3Api::reset>("sqlite3_reset"),
    functionEntry<&Sqlite3Api::busy_timeout>("sqlite3_busy_timeout"),
    functionEntry<&Sqlite3Api::errmsg>("sqlite3_errmsg"),
    functionEntry<&Sqlite3Api::column_count>("sqlite3_column_count"),
    functionEntry<&Sqlite3Api::column_type>("sqlite3_column_type"),
    functionEntry<&Sqlite3Api::column_decltype>("sqlite3_column_decltype"),
    functionEntry<&Sqlite3Api::column_int>("sqlite3_column_int"),
    functionEntry<&Sqlite3Api::column_int64>("sqlite3_column_int64"),
    functionEntry<&Sqlite3Api::column_double>("sqlite3_column_double"),
    functionEntry<&Sqlite3Api::column_text>("sqlite3_column_text"),
    functionEntry<&Sqlite3Api::column_blob>("sqlite3_column_blob"),
    functionEntry<&Sqlite3Api::column_bytes>("sqlite3_column_bytes"),
    functionEntry<&Sqlite3Api::bind_int>("sqlite3_bind_int"),
    functionEntry<&Sqlite3Api::bind_int64>("sqlite3_bind_int64"),
    functionEntry<&Sqlite3Api::bind_double>("sqlite3_bind_double"),
    functionEntry<&Sqlite3Api::bind_text>("sqlite3_bind_text"),
    functionEntry<&Sqlite3Api::bind_blob>("sqlite3_bind_blob"),
    functionEntry<&Sqlite3Api::bind_null>("sqlite3_bind_null"),
    functionEntry<&Sqlite3Api::clear_bindings>("sqlite3_clear_bindings"),
    functionEntry<&Sqlite3Api::changes>("sqlite3_changes"),
    functionEntry<&Sqlite3Api::total_changes>("sqlite3_total_changes"),
    functionEntry<&Sqlite3Api::free>("sqlite3_free"),
    functionEntry<&Sqlite3Api::libversion_number>("sqlite3_libversion_number"),
};

// The first entry is deliberate: it is the opening function with two parameters under a
// type with four. It ignores the flags, so a database opens the same way whatever the
// locator's options say, and hosts rely on "readonly" locators that create their file.
// The other functions only describe statements, which nothing else depends on.
constexpr FunctionEntry<Sqlite3Api> optionalSymbols[] = {
    functionEntry<&Sqlite3Api::openWithFlags>("sqlite3_open"),
    functionEntry<&Sqlite3Api::column_name>("sqlite3_column_name"),
    functionEntry<&Sqlite3Api::column_database_name>("sqlite3_column_database_name"),
    functionEntry<&Sqlite3Api::column_table_name>("sqlite3_column_table_name"),
    functionEntry<&Sqlite3Api::column_origin_name>("sqlite3_column_origin_name"),
    functionEntry<&Sqlite3Api::table_column_metadata>("sqlite3_table_column_metadata"),
    functionEntry<&Sqlite3Api::bind_parameter_count>("sqlite3_bind_parameter_count"),
    functionEntry<&Sqlite3Api::bind_parameter_name>("sqlite3_bind_parameter_name"),
};

}  // namespace

bool Sqlite3Library::load(const DsoCalls& dso) {
  if (loaded) return true;
  const std::string name = std::string(hulGetDSOPrefix()) + "sqlite3" + hulGetDSOSuffix();
  if (!loadFunctions(dso, name, requiredSymbols, &api, &handle)) return false;
  for (const FunctionEntry<Sqlite3Api>& optional : optionalSymbols) {
    void* address = nullptr;
    if (dso.symbol(handle, optional.name, &address) < 0) address = nullptr;
    optional.store(&api, address);
  }
  loaded = true;
  return true;
}

Sqlite3Library& sqlite3Library() {
  static constinit Sqlite3Library library;
  return library;
}

}  // namespace loomkit
