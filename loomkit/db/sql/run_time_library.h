// SPDX-License-Identifier: MIT
// Libraries that a driver loads at run time: their functions are a table of
// pointers, filled from a list of names.
//
//   struct Api { int (*version)(); };
//   constexpr FunctionEntry<Api> functions[] = {functionEntry<&Api::version>("x_version")};
//   if (!loadFunctions(platformDsoCalls(), "libx.so", functions, &api, &handle)) ...
//
// Private to the library.
#ifndef LOOMKIT_DB_SQL_RUN_TIME_LIBRARY_H
#define LOOMKIT_DB_SQL_RUN_TIME_LIBRARY_H

#include <cstddef>
#include <string>
#include <type_traits>

#include "loomkit/platform/hul.h"

namespace loomkit {

/// How a shared library is loaded: the three calls of the platform. Tests put
/// failing ones in their place.
struct DsoCalls {
  int (*open)(const char* name, int flags, void** handle);
  int (*symbol)(void* handle, const char* name, void** address);
  void (*close)(void* handle);
};

/// The platform's own three calls.
inline DsoCalls platformDsoCalls() {
  return {hulOpenDSO, hulGetSymbolAddress, [](void* handle) { hulCloseDSO(handle); }};
}

/// A function to resolve: its name, and what stores its address in the table.
template <typename Table>
struct FunctionEntry {
  const char* name;
  void (*store)(Table* table, void* address);
};

template <typename Table, typename Function>
Table tableOf(Function Table::*);

/// The entry that resolves `name` into the pointer `member` of a table.
template <auto member>
constexpr auto functionEntry(const char* name) {
  using Table = decltype(tableOf(member));
  return FunctionEntry<Table>{name, [](Table* table, void* address) {
                                using Function = std::remove_reference_t<decltype(table->*member)>;
                                table->*member = reinterpret_cast<Function>(address);
                              }};
}

/// Loads the library `name` and resolves every entry into `*table`. When one is
/// missing the library is closed again and the result is false. The library's
/// handle goes to `*handle`; nobody closes it before the process ends.
template <typename Table, std::size_t count>
bool loadFunctions(const DsoCalls& calls, const std::string& name,
                   const FunctionEntry<Table> (&entries)[count], Table* table, void** handle) {
  if (calls.open(name.c_str(), 0, handle) < 0) return false;
  for (const FunctionEntry<Table>& entry : entries) {
    void* address = nullptr;
    if (calls.symbol(*handle, entry.name, &address) < 0 || address == nullptr) {
      calls.close(*handle);
      return false;
    }
    entry.store(table, address);
  }
  return true;
}

}  // namespace loomkit

#endif  // LOOMKIT_DB_SQL_RUN_TIME_LIBRARY_H
