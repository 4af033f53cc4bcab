// SPDX-License-Identifier: MIT
// GSqlTable: a GDbTable over any SQL driver, by generated SQL. Hosts get one from
// GDbDatabase::openTable() and use it as a GDbTable.
#ifndef LOOMKIT_DB_SQL_SQL_TABLE_H
#define LOOMKIT_DB_SQL_SQL_TABLE_H

#include <string>

#include "loomkit/db/sql/sql_query.h"
#include "loomkit/db/table.h"
#include "loomkit/platform/export.h"

class GSqlDatabaseImpl;

/// A table of an SQL database. The caller of openTable() owns it and deletes it
/// before the database.
///
///     GDbTable* table = nullptr;
///     if (database->openTable("parts", nullptr, &table) == GDbNoError) {
///       GDbRecordSet rows;
///       table->getFirstRecord(&rows);
///       delete table;
///     }
///
/// Lookups run on prepared statements from the database's cache. Unlike other
/// tables a scan clears the result set first, and getFieldId() wants the exact
/// letter case. Names of tables and columns are put between double quotes by the
/// driver's quoteName() and quoteTable(), which need not escape them: a caller
/// keeps quotes out of names. Failures are statuses. For one thread at a time.
class LOOMKIT_API GSqlTable : public GDbTable {
 public:
  /// Takes `structure` over and deletes it: what the driver reported, never a
  /// caller's view. The database stays the caller's; neither pointer may be null.
  GSqlTable(GSqlDatabaseImpl* database, const std::string& name, GDbStructure* structure);
  GSqlTable(const GSqlTable&) = delete;
  GSqlTable& operator=(const GSqlTable&) = delete;
  ~GSqlTable() override;

  /// Frees the structure, so that every later call is refused. The statements end
  /// with the object. The records that were handed out stay their sets'.
  GDbStatus closeTable() override;
  /// Stores the index of the column `name`, counted from 0, in the exact letter
  /// case. GDbInvalidFieldName: there is none. GDbInvalidArgument: a pointer is
  /// null.
  GDbStatus getFieldId(const char* name, int* id) override;
  /// Stores a new copy of the table's structure, which the caller deletes; null
  /// after a failure. It has all columns in the order of the database.
  GDbStatus getStructure(GDbStructure** result) override;
  /// Appends the rows that match all `count` keys to `result`, which owns the new
  /// records; what it held before stays. No match is a success without a row. The
  /// keys are read during the call only.
  ///
  /// GDbInvalidArgument: there is no key, a key names no column, or a pointer is
  /// null. GDbFieldTypeMismatch: a key is of another type than its column, where
  /// Int and UInt are one.
  GDbStatus lookupKeys(const GDbKey* keys, int count, GDbRecordSet* result) override;
  /// Begins a scan and stores its first row as the only record of `result`, which
  /// owns it. An empty `result` after a success means that there is no row. The
  /// order of the rows is the database's. A scan that is under way starts anew.
  GDbStatus getFirstRecord(GDbRecordSet* result) override;
  /// The same for the next row. Behind the last row `result` is empty and the scan
  /// has ended: the call after that fails, as it would before getFirstRecord().
  GDbStatus getNextRecord(GDbRecordSet* result) override;
  /// Inserts each record as a row, its fields in the order of the columns. The
  /// records stay the caller's. The call stops at the first failure; what was
  /// inserted before it stays, unless the caller holds a transaction. A NULL flag
  /// has no effect: the placeholder value is stored.
  ///
  /// GDbFieldCountMismatch, GDbFieldTypeMismatch: a record does not fit the
  /// columns.
  GDbStatus insertRecords(const GDbRecordSet& records) override;
  /// Deletes the rows that match all keys, and is a success also when there are
  /// none. The failures are those of lookupKeys().
  GDbStatus deleteKeys(const GDbKey* keys, int count) override;

 private:
  [[nodiscard]] GSqlDatabaseImpl* getSqlDatabase() const;
  [[nodiscard]] std::string quotedName() const;
  GDbStatus makeWhere(const GDbKey* keys, int count, std::string* where) const;
  [[nodiscard]] std::string insertStatement() const;
  GDbStatus bindRecord(const GDbRecord& record);
  GDbStatus bindField(const GDbRecord& record, int field);

  GDbStructure* structure;  // owned; null after close
  std::string fieldList;    // "a", "b", "c": every column, quoted
  GSqlQuery scanQuery;      // built at first use, as the next
  GSqlQuery insertQuery;
};

#endif  // LOOMKIT_DB_SQL_SQL_TABLE_H
