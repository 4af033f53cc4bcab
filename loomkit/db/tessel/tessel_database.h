// SPDX-License-Identifier: MIT
// The table-store backend, type id "tessel": read-only tables, several in a file
// of the suffix ".tessel".
//
//   GDbDatabase::openDatabase("tessel:/data/parts", &db);   // or parts.tessel
//   db->openTable("parts", nullptr, &table);
//   table->lookupKey(GDbKey(0, 17), &result);               // needs an index
//
// An adapter over the ten calls of tessel.h, which do all the work: it says which
// of them are made, and translates what comes back.
#ifndef LOOMKIT_DB_TESSEL_TESSEL_DATABASE_H
#define LOOMKIT_DB_TESSEL_TESSEL_DATABASE_H

#include <cstdint>
#include <string>

#include "loomkit/db/database.h"
#include "loomkit/db/factory.h"
#include "loomkit/db/table.h"
#include "loomkit/db/tessel/tessel.h"
#include "loomkit/platform/export.h"

/// One store file. Tables are opened with or without the caller's structure; one
/// that is given must name fields that are there, exactly and with their types.
class LOOMKIT_API GDbTessel : public GDbDatabase {
 public:
  /// Takes over a handle of tsl_open_database().
  GDbTessel(const std::string& locator, std::int32_t handle);
  GDbTessel(const GDbTessel&) = delete;
  GDbTessel& operator=(const GDbTessel&) = delete;
  ~GDbTessel() override;

  /// The handle is gone afterwards in every case. That the store could not be
  /// closed is told only when a table could not be closed either.
  GDbStatus closeDatabase() override;
  /// GDbNoIndex: the structure has a key field that the store has no index of.
  GDbStatus openTable(const std::string& name, const GDbStructure* structure,
                      GDbTable** table) override;
  /// GDbCreateTableNotSupported. GTesselWriter (tessel/writer.h) makes stores.
  GDbStatus createTable(const std::string& name, const GDbStructure* structure,
                        GDbTable** table) override;
  /// GDbDeleteTableNotSupported.
  GDbStatus deleteTable(const std::string& name) override;

 private:
  std::int32_t handle;  // -1 after close
};

/// One table of a store. Its records are copies: they outlive the table.
class LOOMKIT_API GDbTesselTable : public GDbTable {
 public:
  /// Takes over a handle of tsl_open_table().
  GDbTesselTable(GDbTessel* database, const std::string& name, std::int32_t handle);
  GDbTesselTable(const GDbTesselTable&) = delete;
  GDbTesselTable& operator=(const GDbTesselTable&) = delete;
  ~GDbTesselTable() override;

  /// A store that fails to close the table leaves it open.
  GDbStatus closeTable() override;
  /// Letter case does not count, other than in openTable().
  GDbStatus getFieldId(const char* name, int* id) override;
  GDbStatus getStructure(GDbStructure** structure) override;
  /// GDbNoIndex: no index of the store serves these fields.
  GDbStatus lookupKeys(const GDbKey* keys, int count, GDbRecordSet* result) override;
  GDbStatus getFirstRecord(GDbRecordSet* result) override;
  /// GDbNoRecordNumber before getFirstRecord(), after the end and after a
  /// failure.
  GDbStatus getNextRecord(GDbRecordSet* result) override;
  /// GDbInsertNotSupported.
  GDbStatus insertRecords(const GDbRecordSet& records) override;
  /// GDbDeleteNotSupported.
  GDbStatus deleteKeys(const GDbKey* keys, int count) override;

 private:
  std::int32_t handle;          // -1 after close
  std::int32_t nextRecno = -1;  // of getNextRecord(); -1: not known
};

/// Opens "tessel:" locators. A path that cannot be opened is tried again with
/// ".tessel" behind it.
class LOOMKIT_API GDbTesselFactory : public GDbDbFactory {
 public:
  /// Registers itself.
  GDbTesselFactory();
  /// GDbCantOpenFile: there is no such store.
  GDbStatus openDatabase(const char* locator, GDbDatabase** database) override;
};

#endif  // LOOMKIT_DB_TESSEL_TESSEL_DATABASE_H
