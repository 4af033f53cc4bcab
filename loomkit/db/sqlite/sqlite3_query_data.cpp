// SPDX-License-Identifier: MIT
#include "loomkit/db/sqlite/sqlite3_query_data.h"

#include "loomkit/db/sql/local_text.h"
#include "loomkit/db/sqlite/declared_type.h"
#include "loomkit/db/sqlite/sqlite3_api.h"
#include "loomkit/db/sqlite/sqlite3_database.h"
#include "loomkit/db/sqlite/sqlite3_row.h"

namespace {

const loomkit::Sqlite3Api& api() { return loomkit::sqlite3Library().api; }

}  // namespace

GSqlite3QueryData::GSqlite3QueryData(GSqlite3Database* owner) : GSqlQueryData(owner) {}

GSqlite3QueryData::GSqlite3QueryData(GSqlite3Database* owner, const std::string& text)
    : GSqlQueryData(owner, text) {}

GSqlite3QueryData::~GSqlite3QueryData() { finalize(); }

GSqlite3Database& GSqlite3QueryData::sqlite() const {
  return *static_cast<GSqlite3Database*>(getDatabase());
}

GDbStatus GSqlite3QueryData::fail(GDbStatus status) const { return sqlite().setError(status); }

bool GSqlite3QueryData::isSelect() const {
  if (stmt == nullptr) {
    GSqlDatabaseImpl* owner = getDatabase();
    if (owner == nullptr) return false;
    auto* self = const_cast<GSqlite3QueryData*>(this);  // asking prepares the query
    if (owner->prepare(self) != GDbNoError) return false;
  }
  return hasColumns;
}

void GSqlite3QueryData::invalidate() {
  finalize();
  GSqlQueryData::invalidate();
}

void GSqlite3QueryData::setStatement(const std::string& text) {
  finalize();
  GSqlQueryData::setStatement(text);
}

void GSqlite3QueryData::clearRecord() {
  valid = false;
  GSqlQueryData::clearRecord();
}

// --- Execution ---

GDbStatus GSqlite3QueryData::prepare() {
  if (stmt != nullptr) return GDbNoError;
  const loomkit::HulText text = loomkit::toUtf8(getStatement().c_str(), -1, nullptr,
                                                "Failed to convert SQL statement to UTF-8: %1");
  const char* tail = nullptr;  // what stands behind the first statement is dropped
  const int code = api().prepare_v2(sqlite().getConnection(), text.get(), -1, &stmt, &tail);
  if (code != loomkit::sqliteOk) return sqlite().reportCode(code);
  hasColumns = api().column_count(stmt) != 0;
  return GDbNoError;
}

GDbStatus GSqlite3QueryData::reset() {
  if (stmt == nullptr || !isActive()) return GDbNoError;
  return sqlite().reportCode(stop());
}

GDbStatus GSqlite3QueryData::clearBindings() {
  if (stmt == nullptr) return GDbNoError;
  const GDbStatus status = reset();
  const GDbStatus cleared = sqlite().reportCode(api().clear_bindings(stmt));
  return status != GDbNoError ? status : cleared;
}

GDbStatus GSqlite3QueryData::exec() {
  GDbStatus status = reset();
  if (status != GDbNoError) return status;
  beginExecution();
  sqlite3* db = sqlite().getConnection();
  const int changesBefore = hasColumns ? 0 : api().total_changes(db);
  const int code = api().step(stmt);
  if (code == loomkit::sqliteRow) {
    state = stepped;  // first() or next() makes the row current
    return GDbNoError;
  }
  if (code != loomkit::sqliteDone) {
    status = sqlite().reportCode(code);
    stop();
    return status;
  }
  state = finished;
  if (hasColumns) {
    row = 0;
  } else {
    // When this statement has changed nothing, sqlite3_changes() still gives the
    // number of an earlier one.
    rowsAffected = api().total_changes(db) != changesBefore ? api().changes(db) : 0;
  }
  return GDbNoError;
}

void GSqlite3QueryData::beginExecution() {
  row = -1;
  rowsAffected = -1;
  // Types that the last execution has not compared with their witness may belong
  // to a statement that SQLite has replaced since, and its address may be in use
  // again.
  if (!typesChecked) types.clear();
  typesChecked = false;
}

void GSqlite3QueryData::forgetExecution() {
  state = inactive;
  row = -1;
  rowsAffected = -1;
}

// Makes the query inactive and gives SQLite's result code.
int GSqlite3QueryData::stop() {
  GSqlite3QueryData::clearRecord();
  const int code = stmt != nullptr ? api().reset(stmt) : loomkit::sqliteOk;
  forgetExecution();
  return code;
}

void GSqlite3QueryData::finalize() {
  GSqlite3QueryData::clearRecord();
  if (stmt != nullptr) api().finalize(stmt);
  stmt = nullptr;
  types.clear();
  forgetExecution();
}

// --- Moving ---

// The row that exec() has stepped to becomes the current one.
void GSqlite3QueryData::takeFirstRow() {
  row = 0;
  valid = true;
}

// Whether there may be a row to move to. The end of the rows is no error.
GDbStatus GSqlite3QueryData::checkMove() const {
  if (state == inactive) return fail(GDbQueryNotActive);
  if (state == stepped) return GDbNoError;
  return row < 0 ? fail(GDbNoResult) : GDbNoMoreRecords;
}

GDbStatus GSqlite3QueryData::first() {
  if (isActive() && row > 0) return fail(GDbScrollBackNotSupported);
  const GDbStatus status = checkMove();
  if (status == GDbNoError && row < 0) takeFirstRow();
  return status;
}

GDbStatus GSqlite3QueryData::next() {
  const GDbStatus status = checkMove();
  if (status != GDbNoError) return status;
  if (row >= 0) return step();
  takeFirstRow();
  return GDbNoError;
}

GDbStatus GSqlite3QueryData::step() {
  GSqlite3QueryData::clearRecord();
  const int code = api().step(stmt);
  if (code == loomkit::sqliteRow) {
    ++row;
    valid = true;
    return GDbNoError;
  }
  if (code == loomkit::sqliteDone) {
    ++row;
    state = finished;
    return GDbNoMoreRecords;  // the end of every scan, so no error is noted
  }
  const GDbStatus status = sqlite().reportCode(code);
  if (code != loomkit::sqliteBusy) stop();  // after a busy step the caller may try again
  return status;
}

GDbStatus GSqlite3QueryData::seek(int position, bool relative) {
  if (state == inactive) return fail(GDbQueryNotActive);
  if (!hasColumns) return fail(GDbNoResult);
  if (row < 0 && relative) return fail(GDbNoRecordNumber);
  const std::int64_t current = row < 0 ? 0 : row;
  const std::int64_t target = relative ? current + position : std::int64_t{position};
  if (target < current) {
    GSqlite3QueryData::clearRecord();
    return fail(GDbScrollBackNotSupported);
  }
  if (state == finished) return GDbNoMoreRecords;
  if (row < 0) takeFirstRow();
  if (row == target) return valid ? GDbNoError : fail(GDbUnknownError);
  GDbStatus status = GDbNoError;
  while (status == GDbNoError && row != target) status = step();
  return status;
}

// --- Reading ---

GDbStatus GSqlite3QueryData::checkColumn(int column, int storageClass) {
  if (!isValid()) return fail(GDbNotPositioned);
  if (column < 0 || column >= api().column_count(stmt)) return fail(GDbInvalidArgument);
  if (storageClass == 0) return GDbNoError;
  const int stored = api().column_type(stmt, column);
  if (stored == loomkit::sqliteNull) return fail(GDbColumnIsNull);
  return stored == storageClass ? GDbNoError : fail(GDbFieldTypeMismatch);
}

// Gives the reason why there is no current row to make a record of, or 0.
GDbStatus GSqlite3QueryData::checkRecord() const {
  const GDbStatus status = checkMove();
  if (status != GDbNoError) return status;
  if (row < 0) return fail(GDbNotPositioned);
  return valid && stmt != nullptr ? GDbNoError : fail(GDbInternalError);
}

GDbStatus GSqlite3QueryData::makeRecord(GDbRecord** made) {
  const GDbStatus status = checkRecord();
  if (status != GDbNoError) return status;
  const int columns = api().column_count(stmt);
  if (columns == 0) return GDbNoError;
  *made = loomkit::makeSqliteRecord(stmt, columnTypes(columns), columns).release();
  return *made != nullptr ? GDbNoError : fail(GDbOutOfMemory);
}

const GDbFieldType* GSqlite3QueryData::columnTypes(int columns) {
  if (!typesChecked) {
    const bool same = types.size() == static_cast<std::size_t>(columns) && witness != nullptr &&
                      api().column_decltype(stmt, witnessColumn) == witness;
    if (!same) readColumnTypes(columns);
    typesChecked = true;
  }
  return types.data();
}

// A column without a declared type, and one whose declared type says nothing, is
// GDbFieldNone.
void GSqlite3QueryData::readColumnTypes(int columns) {
  types.clear();
  witness = nullptr;
  for (int column = 0; column < columns; ++column) {
    const char* declared = api().column_decltype(stmt, column);
    types.push_back(declared != nullptr ? loomkit::sqliteAffinity(declared) : GDbFieldNone);
    if (declared == nullptr) continue;
    witnessColumn = column;
    witness = declared;
  }
}

GDbStatus GSqlite3QueryData::getNumRowsAffected(int* count) {
  if (!isActive()) return fail(GDbQueryNotActive);
  if (isSelect() || rowsAffected < 0) return fail(GDbInvalidState);
  *count = rowsAffected;
  return GDbNoError;
}

GDbStatus GSqlite3QueryData::getSize() {
  if (!isActive()) return fail(GDbQueryNotActive);
  return fail(isSelect() ? GDbSizeNotSupported : GDbNoResult);
}
