// SPDX-License-Identifier: MIT
// The connection: closing, errors, transactions, fixed answers, and the calls
// that it forwards to its queries. sqlite3_schema.cpp has its tables.
#include "loomkit/db/sqlite/sqlite3_database.h"

#include <climits>
#include <cstdint>

#include "loomkit/db/sql/local_text.h"
#include "loomkit/db/sqlite/result_code.h"
#include "loomkit/db/sqlite/sqlite3_api.h"
#include "loomkit/db/sqlite/sqlite3_query_data.h"
#include "loomkit/db/sqlite/sqlite3_row.h"
#include "loomkit/text/output.h"

namespace {

const loomkit::Sqlite3Api& api() { return loomkit::sqlite3Library().api; }

// A query of this driver is always one that createQuery() has made.
GSqlite3QueryData* dataOf(GSqlQueryData* query) { return static_cast<GSqlite3QueryData*>(query); }

// The prepared statement.
sqlite3_stmt* stmtOf(GSqlQueryData* query) { return dataOf(query)->getHandle(); }

// SQLite counts parameters from 1, and refuses 0.
int parameterOf(int index) { return index < INT_MAX ? index + 1 : 0; }

// What tells SQLite to copy the data of a blob, or that they stay valid.
loomkit::SqliteDestructor blobMark(bool copy) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): SQLite's own value for it
  return copy ? reinterpret_cast<loomkit::SqliteDestructor>(std::intptr_t{-1}) : nullptr;
}

}  // namespace

GSqlite3Database::GSqlite3Database(const std::string& locator, sqlite3* connection)
    : GSqlDatabaseImpl(locator), db(connection) {}

GSqlite3Database::~GSqlite3Database() { GSqlite3Database::closeDatabase(); }

GDbStatus GSqlite3Database::closeDatabase() {
  if (db == nullptr) return GDbNoError;
  GDbStatus status = GSqlDatabaseImpl::closeDatabase();
  const GDbStatus closed = reportCode(api().close(db));
  if (status == GDbNoError) status = closed;
  db = nullptr;
  return status;
}

GDbStatus GSqlite3Database::reportCode(int code) {
  if (code == loomkit::sqliteOk) return GDbNoError;
  const GDbStatus status = loomkit::sqliteStatus(code);
  if (status == GDbNoError) return status;
  const char* message = db != nullptr ? api().errmsg(db) : nullptr;
  return message != nullptr ? setError(status, message) : setError(status);
}

GDbStatus GSqlite3Database::check(const GSqlQueryData* query) {
  if (db == nullptr) return setError(GDbNotOpen);
  return query == nullptr ? setError(GDbInternalError) : GDbNoError;
}

// What begins nearly every operation. Nearly always the statement is prepared
// already, and is not asked again.
GDbStatus GSqlite3Database::makeReady(GSqlQueryData* query) {
  const GDbStatus status = check(query);
  if (status != GDbNoError) return status;
  return stmtOf(query) != nullptr ? GDbNoError : dataOf(query)->prepare();
}

GSqlQueryData* GSqlite3Database::createQuery(const std::string& statement) {
  return new GSqlite3QueryData(this, statement);
}

GSqlQueryData* GSqlite3Database::createQuery() { return new GSqlite3QueryData(this); }

// --- Transactions and fixed answers ---

void GSqlite3Database::setTransactionMode(int /*mode*/) {}
int GSqlite3Database::getTransactionMode() const { return onlyTransactionMode; }
int GSqlite3Database::getDefaultTransactionMode() const { return onlyTransactionMode; }

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
  if (!loomkit::sqlite3Library().load()) {
    gOutput->log(0, gDataSysName, "Error loading sqlite3.dll.");
    return 0;
  }
  const auto version = static_cast<unsigned>(api().libversion_number());
  return ((version / 1000000) << 20) + (((version % 1000000) / 1000) << 10) + version % 1000;
}

int GSqlite3Database::getFeatureLevel(int feature) const {
  return feature == basicFeature ? basicFeatureLevel : unknownFeatureLevel;
}

// --- Parameters ---

GDbStatus GSqlite3Database::bindInt(GSqlQueryData* query, int index, int value) {
  const GDbStatus status = makeReady(query);
  if (status != GDbNoError) return status;
  return reportCode(api().bind_int(stmtOf(query), parameterOf(index), value));
}

GDbStatus GSqlite3Database::bindInt64(GSqlQueryData* query, int index, std::int64_t value) {
  const GDbStatus status = makeReady(query);
  if (status != GDbNoError) return status;
  return reportCode(api().bind_int64(stmtOf(query), parameterOf(index), value));
}

GDbStatus GSqlite3Database::bindDouble(GSqlQueryData* query, int index, double value) {
  const GDbStatus status = makeReady(query);
  if (status != GDbNoError) return status;
  return reportCode(api().bind_double(stmtOf(query), parameterOf(index), value));
}

GDbStatus GSqlite3Database::bindText(GSqlQueryData* query, int index, const char* text, int length,
                                     bool /*copy*/) {
  const GDbStatus status = makeReady(query);
  if (status != GDbNoError) return status;
  if (text == nullptr) return setError(GDbInvalidArgument);
  int utf8Length = -1;
  loomkit::HulText utf8 = loomkit::toUtf8(text, length, &utf8Length,
                                          "Failed to convert field of Sqlite3 query to UTF-8: %1");
  // SQLite calls the destructor even when the call fails.
  return reportCode(api().bind_text(stmtOf(query), parameterOf(index), utf8.release(), utf8Length,
                                    [](void* block) { hulFree(block); }));
}

GDbStatus GSqlite3Database::bindBlob(GSqlQueryData* query, int index, void* data, unsigned size,
                                     bool copy) {
  const GDbStatus status = makeReady(query);
  if (status != GDbNoError) return status;
  if (data == nullptr && size != 0) return setError(GDbInvalidArgument);
  return reportCode(api().bind_blob(stmtOf(query), parameterOf(index), data, static_cast<int>(size),
                                    blobMark(copy)));
}

GDbStatus GSqlite3Database::bindNull(GSqlQueryData* query, int index) {
  const GDbStatus status = makeReady(query);
  if (status != GDbNoError) return status;
  return reportCode(api().bind_null(stmtOf(query), parameterOf(index)));
}

GDbStatus GSqlite3Database::clearBindings(GSqlQueryData* query) {
  const GDbStatus status = check(query);
  return status == GDbNoError ? dataOf(query)->clearBindings() : status;
}

// --- Execution, which is the query's own affair ---

GDbStatus GSqlite3Database::prepare(GSqlQueryData* query) { return makeReady(query); }

GDbStatus GSqlite3Database::reset(GSqlQueryData* query) {
  const GDbStatus status = check(query);
  return status == GDbNoError ? dataOf(query)->reset() : status;
}

GDbStatus GSqlite3Database::exec(GSqlQueryData* query) {
  const GDbStatus status = makeReady(query);
  return status == GDbNoError ? dataOf(query)->exec() : status;
}

GDbStatus GSqlite3Database::first(GSqlQueryData* query) {
  const GDbStatus status = makeReady(query);
  return status == GDbNoError ? dataOf(query)->first() : status;
}

GDbStatus GSqlite3Database::next(GSqlQueryData* query) {
  const GDbStatus status = makeReady(query);
  return status == GDbNoError ? dataOf(query)->next() : status;
}

GDbStatus GSqlite3Database::seek(GSqlQueryData* query, int position, bool relative) {
  const GDbStatus status = makeReady(query);
  return status == GDbNoError ? dataOf(query)->seek(position, relative) : status;
}

GDbStatus GSqlite3Database::last(GSqlQueryData* /*query*/) {
  return setError(GDbScrollBackNotSupported);
}

GDbStatus GSqlite3Database::previous(GSqlQueryData* /*query*/) {
  return setError(GDbScrollBackNotSupported);
}

GDbStatus GSqlite3Database::setForwardOnly(GSqlQueryData* /*query*/, bool forward) {
  return forward ? GDbNoError : setError(GDbScrollBackNotSupported);
}

GDbStatus GSqlite3Database::getNumRowsAffected(GSqlQueryData* query, int* count) {
  const GDbStatus status = check(query);
  return status == GDbNoError ? dataOf(query)->getNumRowsAffected(count) : status;
}

GDbStatus GSqlite3Database::getSize(GSqlQueryData* query, int* /*count*/) {
  const GDbStatus status = check(query);
  return status == GDbNoError ? dataOf(query)->getSize() : status;
}

// --- Columns of the current row ---

GDbStatus GSqlite3Database::checkColumn(GSqlQueryData* query, int column, int storageClass) {
  const GDbStatus status = makeReady(query);
  return status == GDbNoError ? dataOf(query)->checkColumn(column, storageClass) : status;
}

GDbStatus GSqlite3Database::isNull(GSqlQueryData* query, int column, bool* result) {
  const GDbStatus status = checkColumn(query, column, 0);
  if (status != GDbNoError) return status;
  *result = api().column_type(stmtOf(query), column) == loomkit::sqliteNull;
  return GDbNoError;
}

GDbStatus GSqlite3Database::getInt(GSqlQueryData* query, int column, int* value) {
  const GDbStatus status = checkColumn(query, column, loomkit::sqliteInteger);
  if (status == GDbNoError) *value = api().column_int(stmtOf(query), column);
  return status;
}

GDbStatus GSqlite3Database::getInt64(GSqlQueryData* query, int column, std::int64_t* value) {
  const GDbStatus status = checkColumn(query, column, loomkit::sqliteInteger);
  if (status == GDbNoError) *value = api().column_int64(stmtOf(query), column);
  return status;
}

GDbStatus GSqlite3Database::getDouble(GSqlQueryData* query, int column, double* value) {
  const GDbStatus status = checkColumn(query, column, loomkit::sqliteFloat);
  if (status == GDbNoError) *value = api().column_double(stmtOf(query), column);
  return status;
}

GDbStatus GSqlite3Database::getText(GSqlQueryData* query, int column, std::string* value) {
  const GDbStatus status = checkColumn(query, column, loomkit::sqliteText);
  if (status == GDbNoError) loomkit::readSqliteText(stmtOf(query), column, value);
  return status;
}

GDbStatus GSqlite3Database::getBlob(GSqlQueryData* query, int column, const void** data,
                                    unsigned* size) {
  const GDbStatus status = checkColumn(query, column, loomkit::sqliteBlob);
  if (status != GDbNoError) return status;
  *data = api().column_blob(stmtOf(query), column);
  *size = static_cast<unsigned>(api().column_bytes(stmtOf(query), column));
  return GDbNoError;
}

GDbStatus GSqlite3Database::getWholeText(GSqlQueryData* query, int column, std::string* value) {
  const GDbStatus status = checkColumn(query, column, loomkit::sqliteText);
  if (status == GDbNoError) loomkit::readWholeSqliteText(stmtOf(query), column, value);
  return status;
}

GDbStatus GSqlite3Database::getRecord(GSqlQueryData* query, GDbRecord** record) {
  *record = nullptr;
  const GDbStatus status = check(query);
  return status == GDbNoError ? dataOf(query)->makeRecord(record) : status;
}
