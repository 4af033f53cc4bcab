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

/// A table of an SQL database. Lookups run on prepared statements from the
/// database's cache. Unlike other tables a scan clears the result set first,
/// and getFieldId() wants the exact letter case. Names of tables and columns are
/// put between double quotes and not escaped. For one thread at a time.
class LOOMKIT_API GSqlTable : public GDbTable {
 public:
  /// Takes `structure` over: what the driver reported, never a caller's view.
  GSqlTable(GSqlDatabaseImpl* database, const std::string& name, GDbStructure* structure);
  GSqlTable(const GSqlTable&) = delete;
  GSqlTable& operator=(const GSqlTable&) = delete;
  ~GSqlTable() override;

  /// Gives the structure back. The statements end with the object.
  GDbStatus closeTable() override;
  GDbStatus getFieldId(const char* name, int* id) override;
  GDbStatus getStructure(GDbStructure** result) override;
  GDbStatus lookupKeys(const GDbKey* keys, int count, GDbRecordSet* result) override;
  GDbStatus getFirstRecord(GDbRecordSet* result) override;
  GDbStatus getNextRecord(GDbRecordSet* result) override;
  /// Stops at the first failure; what was inserted before it stays, unless the
  /// caller holds a transaction. A NULL flag has no effect: the placeholder
  /// value is stored.
  GDbStatus insertRecords(const GDbRecordSet& records) override;
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
