// SPDX-License-Identifier: MIT
// Preparing, executing and moving: the states of a SQLite query.
#include "loomkit/db/sqlite/local_text.h"
#include "loomkit/db/sqlite/sqlite3_api.h"
#include "loomkit/db/sqlite/sqlite3_database.h"
#include "loomkit/db/sqlite/sqlite3_query_data.h"

using loomkit::sqlite3Library;

namespace {

GSqlite3QueryData* dataOf(GSqlQueryData* query) { return static_cast<GSqlite3QueryData*>(query); }

}  // namespace

GDbStatus GSqlite3Database::prepare(GSqlQueryData* query) {
  const GDbStatus status = check(query);
  if (status != GDbNoError) return status;
  GSqlite3QueryData* data = dataOf(query);
  if (data->stmt != nullptr) return GDbNoError;
  const loomkit::HulText text = loomkit::toUtf8(query->getStatement().c_str(), -1, nullptr,
                                                "Failed to convert SQL statement to UTF-8: %1");
  const char* tail = nullptr;  // what stands behind the first statement is dropped
  const loomkit::Sqlite3Api& api = sqlite3Library().api;
  const int code = api.prepare_v2(db, text.get(), -1, &data->stmt, &tail);
  if (code != loomkit::sqliteOk) return reportCode(code);
  data->hasColumns = api.column_count(data->stmt) != 0;
  return GDbNoError;
}

GDbStatus GSqlite3Database::reset(GSqlQueryData* query) {
  const GDbStatus status = check(query);
  if (status != GDbNoError) return status;
  GSqlite3QueryData* data = dataOf(query);
  if (data->stmt == nullptr || !data->isActive()) return GDbNoError;
  return reportCode(data->stop());
}

GDbStatus GSqlite3Database::exec(GSqlQueryData* query) {
  GDbStatus status = prepare(query);
  if (status != GDbNoError) return status;
  GSqlite3QueryData* data = dataOf(query);
  if (data->isActive()) {
    status = reportCode(data->stop());
    if (status != GDbNoError) return status;
  }
  data->beginExecution();
  const loomkit::Sqlite3Api& api = sqlite3Library().api;
  const int changesBefore = data->hasColumns ? 0 : api.total_changes(db);
  const int code = api.step(data->stmt);
  if (code == loomkit::sqliteRow) {
    data->state = GSqlite3QueryData::stepped;  // first() or next() makes it current
    return GDbNoError;
  }
  if (code != loomkit::sqliteDone) {
    status = reportCode(code);
    data->stop();
    return status;
  }
  data->state = GSqlite3QueryData::finished;
  if (data->hasColumns)
    data->row = 0;
  else
    // sqlite3_changes still tells of an earlier statement if this one changed nothing.
    data->rowsAffected = api.total_changes(db) != changesBefore ? api.changes(db) : 0;
  return GDbNoError;
}

GDbStatus GSqlite3Database::first(GSqlQueryData* query) {
  const GDbStatus status = prepare(query);
  if (status != GDbNoError) return status;
  GSqlite3QueryData* data = dataOf(query);
  if (data->state == GSqlite3QueryData::inactive) return setError(GDbQueryNotActive);
  if (data->row > 0) return setError(GDbScrollBackNotSupported);
  if (data->state == GSqlite3QueryData::stepped) {
    if (data->row < 0) {
      data->row = 0;
      data->valid = true;
    }
    return GDbNoError;
  }
  return data->row < 0 ? setError(GDbNoResult) : GDbNoMoreRecords;
}

GDbStatus GSqlite3Database::next(GSqlQueryData* query) {
  const GDbStatus status = prepare(query);
  if (status != GDbNoError) return status;
  GSqlite3QueryData* data = dataOf(query);
  if (data->state == GSqlite3QueryData::inactive) return setError(GDbQueryNotActive);
  if (data->state == GSqlite3QueryData::finished)
    return data->row < 0 ? setError(GDbNoResult) : GDbNoMoreRecords;
  if (data->row >= 0) return step(data);
  data->row = 0;
  data->valid = true;
  return GDbNoError;
}

GDbStatus GSqlite3Database::step(GSqlite3QueryData* data) {
  data->clearRecord();
  const int code = sqlite3Library().api.step(data->stmt);
  if (code == loomkit::sqliteRow) {
    ++data->row;
    data->valid = true;
    return GDbNoError;
  }
  if (code == loomkit::sqliteDone) {
    ++data->row;
    data->state = GSqlite3QueryData::finished;
    return GDbNoMoreRecords;  // the end of every scan, so no error is noted
  }
  const GDbStatus status = reportCode(code);
  if (code != loomkit::sqliteBusy) data->stop();  // busy: the caller may try again
  return status;
}

GDbStatus GSqlite3Database::seek(GSqlQueryData* query, int position, bool relative) {
  GDbStatus status = prepare(query);
  if (status != GDbNoError) return status;
  GSqlite3QueryData* data = dataOf(query);
  if (data->state == GSqlite3QueryData::inactive) return setError(GDbQueryNotActive);
  if (!data->hasColumns) return setError(GDbNoResult);
  if (data->row < 0 && relative) return setError(GDbNoRecordNumber);
  const std::int64_t current = data->row < 0 ? 0 : data->row;
  const std::int64_t target = relative ? current + position : std::int64_t{position};
  if (target < current) {
    data->clearRecord();
    return setError(GDbScrollBackNotSupported);
  }
  if (data->state == GSqlite3QueryData::finished) return GDbNoMoreRecords;
  if (data->row < 0) {
    data->row = 0;
    data->valid = true;
  }
  if (data->row == target) return data->valid ? GDbNoError : setError(GDbUnknownError);
  while (status == GDbNoError && data->row != target) status = step(data);
  return status;
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
  if (status != GDbNoError) return status;
  const GSqlite3QueryData* data = dataOf(query);
  if (!data->isActive()) return setError(GDbQueryNotActive);
  if (data->isSelect() || data->rowsAffected < 0) return setError(GDbInvalidState);
  *count = data->rowsAffected;
  return GDbNoError;
}

GDbStatus GSqlite3Database::getSize(GSqlQueryData* query, int* /*count*/) {
  const GDbStatus status = check(query);
  if (status != GDbNoError) return status;
  const GSqlite3QueryData* data = dataOf(query);
  if (!data->isActive()) return setError(GDbQueryNotActive);
  return setError(data->isSelect() ? GDbSizeNotSupported : GDbNoResult);
}
