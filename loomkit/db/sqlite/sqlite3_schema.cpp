// SPDX-License-Identifier: MIT
// Tables of a SQLite database: their structure, and creating them.
#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "loomkit/db/sql/log_line.h"
#include "loomkit/db/sql/table_maker.h"
#include "loomkit/db/sqlite/declared_type.h"
#include "loomkit/db/sqlite/sqlite3_database.h"

using loomkit::ColumnNames;
using loomkit::logLine;

namespace {

// The columns that are to have an index of their own. They are visited in the
// order of their hashes, which decides the order in which the indexes are made.
class KeyColumns {
 public:
  void add(const std::string& name) {
    ColumnNames& bucket = bucketOf(name);
    if (std::find(bucket.begin(), bucket.end(), name) == bucket.end()) bucket.push_back(name);
  }
  void remove(const std::string& name) {
    ColumnNames& bucket = bucketOf(name);
    bucket.erase(std::remove(bucket.begin(), bucket.end(), name), bucket.end());
  }
  template <typename Visit>
  void forEach(Visit visit) const {
    for (const ColumnNames& bucket : buckets)
      for (const std::string& name : bucket) visit(name);
  }

 private:
  ColumnNames& bucketOf(const std::string& name) {
    unsigned hash = 0;
    for (const char c : name) hash = hash * 5 + static_cast<unsigned char>(c);
    return buckets[hash % buckets.size()];
  }

  std::array<ColumnNames, 64> buckets;
};

// A type beyond the known ones gets no words, as SQLite needs none.
const char* sqlTypeName(GDbFieldType type) {
  switch (type) {
    case GDbFieldNone:
      return nullptr;
    case GDbFieldInt:
    case GDbFieldUInt:
      return "INTEGER";
    case GDbFieldFloat:
      return "FLOAT";
    case GDbFieldString:
      return "TEXT";
    case GDbFieldBlob:
      return "BLOB";
    default:
      return "";
  }
}

}  // namespace

GDbStatus GSqlite3Database::execute(const std::string& statement) {
  GSqlQuery query(this);
  return query.exec(statement);
}

GDbStatus GSqlite3Database::tableExists(const std::string& tableName) {
  return getTableStructure(tableName, nullptr);
}

GDbStatus GSqlite3Database::getTableStructure(const std::string& tableName,
                                              GDbStructure** structure) {
  if (structure != nullptr) *structure = nullptr;
  GSqlQuery query(this);
  GDbRecordSet rows;
  GDbStatus status = query.exec("PRAGMA table_info(" + tableName + ");");
  if (status == GDbNoError) status = query.getResult(&rows);
  if (status == GDbNoResult) return setError(GDbInvalidTableName);
  if (status != GDbNoError) return status;
  if (rows.getNumRecords() == 0) return setError(GDbInvalidTableName);
  if (structure == nullptr) return GDbNoError;

  auto found = std::make_unique<GDbStructure>(true, 0xFFFFFFFF);
  for (unsigned i = 0; i < rows.getNumRecords(); ++i) {
    const GDbRecord& row = *rows.getRecord(i);  // number, name, declared type, ...
    if (row.getNumFields() < 3 || row.getFieldType(1) != GDbFieldString ||
        row.getFieldType(2) != GDbFieldString)
      return setError(GDbInternalError);
    const GDbFieldType type = loomkit::sqliteAffinity(row.getStringField(2));
    found->appendField(GDbField(row.getStringField(1), type, 0, 0, false, false));
  }
  *structure = found.release();
  return GDbNoError;
}

GDbStatus GSqlite3Database::createTable(const std::string& tableName, const GDbStructure* structure,
                                        GDbTable** table) {
  const loomkit::TableMaker maker{this, sqlTypeName,
                                  [this](const std::string& text) { return execute(text); }};
  const GDbStatus status = maker.make(tableName, structure, table);
  if (status != GDbNoError) return status;
  createIndexes(tableName, *structure);
  return openTable(tableName, structure, table);
}

// An index that cannot be made is logged; the table is good without it.
void GSqlite3Database::createIndexes(const std::string& table, const GDbStructure& structure) {
  KeyColumns keyColumns;
  for (const GDbField& field : structure.getFields())
    if (field.isKey()) keyColumns.add(field.getName());
  const ColumnNames primaryKey = loomkit::primaryKeyOf(structure);

  for (const GDbIndex& index : structure.getIndices()) {
    const ColumnNames columns = loomkit::indexColumns(index.getColumns());
    if (columns.empty()) {
      logLine("Invalid index column specification \"" + index.getColumns() + "\" for index \"" +
              index.getName() + "\" of SQLite table \"" + table + "\" of database \"" + getName() +
              "\".");
      continue;
    }
    if (columns.size() == 1) keyColumns.remove(columns.front());
    if (loomkit::isPrimaryKey(columns, primaryKey)) {
      logLine("Index \"" + index.getName() + "\" of SQLite table \"" + table + "\" of database \"" +
              getName() + "\" ignored (identical with primary key).");
      continue;
    }
    createIndex(table, index, loomkit::quotedList(*this, columns));
  }

  keyColumns.forEach([&](const std::string& column) {
    const GDbStatus status = execute("CREATE INDEX " + quoteName(table + "_" + column + "_idx") +
                                     " ON " + quoteTable(table) + " (" + quoteName(column) + ");");
    if (status != GDbNoError)
      logLine("Failed to create index for column \"" + column + "\" on table \"" + table +
              "\" of database \"" + getName() + "\": " + gDbStrError(status));
  });
}

void GSqlite3Database::createIndex(const std::string& table, const GDbIndex& index,
                                   const std::string& columns) {
  const std::string kind = index.isUnique() ? "UNIQUE INDEX " : "INDEX ";
  const GDbStatus status =
      execute("CREATE " + kind + quoteName(table + "_" + index.getName() + "_idx_") + " ON " +
              quoteTable(table) + " (" + columns + ");");
  if (status != GDbNoError)
    logLine("Failed to create index \"" + index.getName() + "\" on table \"" + table +
            "\" of database \"" + getName() + "\": " + gDbStrError(status));
}
