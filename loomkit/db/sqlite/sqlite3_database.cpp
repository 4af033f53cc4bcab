// SPDX-License-Identifier: MIT
// The connection: closing, errors, transactions, fixed answers.
#include "loomkit/db/sqlite/sqlite3_database.h"

#include "loomkit/db/sqlite/affinity.h"
#include "loomkit/db/sqlite/sqlite3_api.h"
#include "loomkit/db/sqlite/sqlite3_query_data.h"
#include "loomkit/text/output.h"

using loomkit::sqlite3Library;

GSqlite3Database::GSqlite3Database(const std::string& locator, sqlite3* connection)
    : GSqlDatabaseImpl(locator), db(connection) {}

GSqlite3Database::~GSqlite3Database() { GSqlite3Database::closeDatabase(); }

GDbStatus GSqlite3Database::closeDatabase() {
  if (db == nullptr) return GDbNoError;
  GDbStatus status = GSqlDatabaseImpl::closeDatabase();
  const GDbStatus closed = reportCode(sqlite3Library().api.close(db));
  if (status == GDbNoError) status = closed;
  db = nullptr;
  return status;
}

GDbStatus GSqlite3Database::reportCode(int code) {
  if (code == loomkit::sqliteOk) return GDbNoError;
  const GDbStatus status = loomkit::sqliteStatus(code);
  if (status == GDbNoError) return status;
  const char* message = db != nullptr ? sqlite3Library().api.errmsg(db) : nullptr;
  return message != nullptr ? setError(status, message) : setError(status);
}

GDbStatus GSqlite3Database::check(const GSqlQueryData* query) {
  if (db == nullptr) return setError(GDbNotOpen);
  return query == nullptr ? setError(GDbInternalError) : GDbNoError;
}

GSqlQueryData* GSqlite3Database::createQuery(const std::string& statement) {
  return new GSqlite3QueryData(this, statement);
}

GSqlQueryData* GSqlite3Database::createQuery() { return new GSqlite3QueryData(this); }

void GSqlite3Database::setTransactionMode(int /*mode*/) {}
int GSqlite3Database::getTransactionMode() const { return 3; }
int GSqlite3Database::getDefaultTransactionMode() const { return 3; }

GDbStatus GSqlite3Database::runTransaction(GSqlQuery* query, const char* statement) {
  if (query->isNull()) *query = GSqlQuery(this, statement);
  const GDbStatus executed = query->exec();
  const GDbStatus reset = query->reset();
  return executed != GDbNoError ? executed : reset;
}

GDbStatus GSqlite3Database::beginTransaction(int /*mode*/) {
  return runTransaction(&beginQuery, "BEGIN TRANSACTION;");
}

GDbStatus GSqlite3Database::commitTransaction() {
  resetActiveQueries();
  return runTransaction(&commitQuery, "COMMIT TRANSACTION;");
}

GDbStatus GSqlite3Database::rollbackTransaction() {
  resetActiveQueries();
  return runTransaction(&rollbackQuery, "ROLLBACK TRANSACTION;");
}

const char* GSqlite3Database::getDriverName() const { return "sqlite3"; }

unsigned GSqlite3Database::getDriverVersion() const {
  if (!sqlite3Library().load()) {
    gOutput->log(0, gDataSysName, "Error loading sqlite3.dll.");
    return 0;
  }
  const auto version = static_cast<unsigned>(sqlite3Library().api.libversion_number());
  return ((version / 1000000) << 20) + (((version % 1000000) / 1000) << 10) + version % 1000;
}

int GSqlite3Database::getFeatureLevel(int feature) const { return feature == 1 ? 1 : -1; }
