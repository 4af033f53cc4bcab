// SPDX-License-Identifier: MIT
#include "table_copy.h"

#include <cstdint>

#include "command.h"
#include "db_host.h"
#include "loomkit/db/sql/sql_database_impl.h"
#include "loomkit/db/sql/sql_query.h"
#include "loomkit/db/table_scan.h"
#include "progress_bar.h"
#include "store_copy.h"

namespace loom {

namespace {

// Inserts records in portions that fit into memory. insertRecords() stores a
// NULL as the placeholder behind it, so a record with a NULL is inserted by a
// statement of its own where the database knows SQL.
class Inserter {
 public:
  /// `commitEvery`: so many records, where the database has transactions; 0: never.
  Inserter(GDbTable* table, const DbHost& host, const GDbStructure& columns,
           unsigned long commitEvery)
      : target(table),
        sql(host.sql()),
        transaction(host.database()->getTransactionHandler()),
        structure(columns),
        batchSize(commitEvery) {}

  /// Takes the set's first record.
  void add(GDbRecordSet& set) {
    const GDbTypedRow row(*set.getRecord(0), structure);
    if (sql != nullptr && hasNull(row)) {
      flush();
      insertByStatement(row);
    } else {
      batch.addRecord(set.releaseRecord(0));
      if (batch.getNumRecords() == portion) flush();
    }
    ++count;
    if (batchSize != 0 && count % batchSize == 0) commit();
  }

  void flush() {
    require(target->insertRecords(batch), target->getName());
    batch.clear();
  }

  [[nodiscard]] unsigned long getCount() const { return count; }

 private:
  static constexpr unsigned portion = 1000;

  void commit() {
    flush();
    if (transaction == nullptr) return;
    require(transaction->commit(), target->getName());
    require(transaction->begin(), target->getName());
  }

  static bool hasNull(const GDbTypedRow& row) {
    for (int field = 0; field < row.getNumFields(); ++field) {
      if (row.isNull(field)) return true;
    }
    return false;
  }

  void insertByStatement(const GDbTypedRow& row) {
    if (statement.isNull()) {
      std::string marks = "?";
      for (int field = 1; field < row.getNumFields(); ++field) marks += ", ?";
      const std::string table = dynamic_cast<GSqlDatabaseImpl&>(*sql).quoteTable(target->getName());
      statement = GSqlQuery(sql, "INSERT INTO " + table + " VALUES (" + marks + ");");
    }
    for (int field = 0; field < row.getNumFields(); ++field)
      require(bind(row, field), target->getName());
    require(statement.exec(), target->getName());
    require(statement.reset(), target->getName());
  }

  GDbStatus bind(const GDbTypedRow& row, int field) {
    if (const auto number = row.getInt(field)) return statement.bindInt(field, *number);
    if (const auto number = row.getUInt(field))
      return statement.bindInt(field, static_cast<int>(*number));
    if (const auto number = row.getFloat(field)) return statement.bindDouble(field, *number);
    if (const auto text = row.getString(field))
      return statement.bindText(field, std::string(*text), 0, GSqlQuery::npos);
    if (const auto blob = row.getBlob(field))
      return statement.bindBlob(field, const_cast<char*>(blob->data()),
                                static_cast<unsigned>(blob->size()), true);
    return statement.bindNull(field);
  }

  GDbTable* target;
  GSqlDatabase* sql;
  GDbTransactionHandler* transaction;
  const GDbStructure& structure;
  unsigned long batchSize;
  GSqlQuery statement;
  GDbRecordSet batch;
  unsigned long count = 0;
};

void copyRecords(GDbTable* from, Inserter& inserter) {
  ProgressBar progress(from->getName(), countForBar(from));
  GDbRecordSet one;
  GDbStatus status = from->getFirstRecord(&one);
  while (status == GDbNoError && one.getNumRecords() > 0) {
    inserter.add(one);
    one.clear();
    progress.show(inserter.getCount());
    status = from->getNextRecord(&one);
  }
  require(status, from->getName());
  inserter.flush();
}

// A column without a type, such as a DATE of SQLite, has no counterpart.
void requireTypes(const std::string& table, const GDbStructure& structure) {
  for (const GDbField& field : structure.getFields())
    if (field.getType() == GDbFieldNone)
      throw Failure(ExitCode::damaged, table + ": column " + field.getName() +
                                           " has no type that other databases know");
}

}  // namespace

unsigned long copyTable(GDbTable* source, const std::string& locator, const std::string& name,
                        unsigned long batch) {
  const std::unique_ptr<GDbStructure> structure = structureOf(source);
  requireTypes(source->getName(), *structure);
  const DbHost to(locator, true);
  GDbTransactionHandler* transaction = to.database()->getTransactionHandler();
  if (transaction != nullptr) require(transaction->begin(), to.database()->getName());
  GDbTable* made = nullptr;
  const GDbStatus status = to.database()->createTable(name, structure.get(), &made);
  if (status != GDbNoError) throw Failure(ExitCode::cannotWrite, name + ": " + gDbStrError(status));
  const std::unique_ptr<GDbTable> target(made);
  Inserter inserter(target.get(), to, *structure, batch);
  copyRecords(source, inserter);
  if (transaction != nullptr) require(transaction->commit(), to.database()->getName());
  return inserter.getCount();
}

}  // namespace loom
