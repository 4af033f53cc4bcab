// SPDX-License-Identifier: MIT
// The ten calls on the embedded store.
#include <memory>
#include <new>

#include "loomkit/db/tessel/tessel.h"
#include "tessel/catalog.h"
#include "tessel/store/description.h"
#include "tessel/store/handles.h"
#include "tessel/store/store.h"

namespace {

using tessel::Error;
using tessel::Store;

struct OpenTable {
  Store* store;  // null: its database is closed
  const tessel::TableInfo* info;
};

constinit tessel::Handles<Store> databases;
constinit tessel::Handles<OpenTable> tables;
constinit thread_local Error lastError = Error::none;

// Whoever links the calls links the catalog, from a static library too.
[[maybe_unused]] const bool catalogIsRegistered = tessel::registerCatalog();

int failed(Error error) {
  lastError = error;
  return -1;
}

int result(Error error) { return error == Error::none ? 0 : failed(error); }

// Does the work of a call; no exception leaves it.
template <class Work>
int guarded(Work work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return failed(Error::outOfMemory);
  }
}

// The table of a handle, or why there is none.
Error findTable(int handle, OpenTable** table) {
  *table = tables.find(handle);
  if (*table == nullptr) return Error::noSuchTable;
  return (*table)->store != nullptr ? Error::none : Error::noSuchDatabase;
}

// The work of a lookup on the table of a handle.
template <class Lookup>
int lookUp(int handle, const TslResultSet* set, Lookup lookup) {
  return guarded([&] {
    OpenTable* table = nullptr;
    const Error error = findTable(handle, &table);
    if (error != Error::none) return failed(error);
    return set != nullptr ? result(lookup(*table)) : failed(Error::invalidArgument);
  });
}

}  // namespace

int tsl_open_database(const char* path, int /*reserved*/) {
  return guarded([path] {
    if (path == nullptr) return failed(Error::invalidArgument);
    auto store = std::make_unique<Store>();
    const Error error = store->open(path);
    if (error != Error::none) return failed(error);
    const int handle = databases.add(std::move(store));
    return handle != -1 ? handle : failed(Error::outOfMemory);
  });
}

int tsl_close_database(int database) {
  const Store* const store = databases.find(database);
  if (store == nullptr) return failed(Error::noSuchDatabase);
  tables.forEach([store](OpenTable* table) {
    if (table->store == store) table->store = nullptr;
  });
  databases.remove(database);
  return 0;
}

int tsl_open_table(int database, const char* name, int /*reserved*/) {
  return guarded([=] {
    Store* const store = databases.find(database);
    if (store == nullptr) return failed(Error::noSuchDatabase);
    if (name == nullptr) return failed(Error::invalidArgument);
    // A file that is cut or written over while it is open is not worth a start.
    const Error error = store->blocks()->checkSize();
    if (error != Error::none) return failed(error);
    const tessel::TableInfo* const info = store->findTable(name);
    if (info == nullptr) return failed(Error::noTableOfThatName);
    const int handle = tables.add(std::make_unique<OpenTable>(OpenTable{store, info}));
    return handle != -1 ? handle : failed(Error::outOfMemory);
  });
}

// A table of a closed database can still be closed: its handle is freed.
int tsl_close_table(int table) {
  if (tables.find(table) == nullptr) return failed(Error::noSuchTable);
  tables.remove(table);
  return 0;
}

TslTableDescr* tsl_get_table_descr(int handle) {
  TslTableDescr* descr = nullptr;
  guarded([&] {
    OpenTable* table = nullptr;
    const Error error = findTable(handle, &table);
    if (error != Error::none) return failed(error);
    descr = tessel::makeDescription(*table->info);
    return 0;
  });
  return descr;
}

void tsl_free_table_descr(TslTableDescr* descr) { tessel::releaseDescription(descr); }

int tsl_lookup_keys(int handle, const TslKey* keys, int count, int /*reserved*/,
                    TslResultSet* set) {
  return lookUp(handle, set, [=](const OpenTable& table) {
    return table.store->lookupKeys(*table.info, keys, count, set);
  });
}

int tsl_lookup_recno(int handle, int first, int count, int /*reserved*/, TslResultSet* set) {
  return lookUp(handle, set, [=](const OpenTable& table) {
    return table.store->lookupRows(*table.info, first, count, set);
  });
}

void tsl_free_result_set(TslResultSet* set) {
  if (set != nullptr) tessel::releaseResult(set);
}

int tsl_get_error(void) { return static_cast<int>(lastError); }
