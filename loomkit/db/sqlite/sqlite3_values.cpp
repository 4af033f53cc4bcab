// SPDX-License-Identifier: MIT
// Parameters, columns and rows of a SQLite query.
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "loomkit/db/record_access.h"
#include "loomkit/db/sqlite/local_text.h"
#include "loomkit/db/sqlite/sqlite3_api.h"
#include "loomkit/db/sqlite/sqlite3_database.h"
#include "loomkit/db/sqlite/sqlite3_query_data.h"

using loomkit::Sqlite3Api;
using loomkit::sqlite3Library;

namespace {

GSqlite3QueryData* dataOf(GSqlQueryData* query) { return static_cast<GSqlite3QueryData*>(query); }

// SQLite's marks for data that it copies, and for data that stays put.
loomkit::SqliteDestructor blobMark(bool copy) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): SQLite's own value for it
  return copy ? reinterpret_cast<loomkit::SqliteDestructor>(std::intptr_t{-1}) : nullptr;
}

void readText(sqlite3_stmt* stmt, int column, std::string* text) {
  const Sqlite3Api& api = sqlite3Library().api;
  // The text first: asking for it may convert, and only then is the length right.
  const auto* utf8 = reinterpret_cast<const char*>(api.column_text(stmt, column));
  if (utf8 != nullptr) loomkit::fromUtf8(utf8, api.column_bytes(stmt, column), text);
}

GDbFieldType storageType(int storageClass) {
  switch (storageClass) {
    case loomkit::sqliteInteger:
      return GDbFieldInt;
    case loomkit::sqliteFloat:
      return GDbFieldFloat;
    case loomkit::sqliteText:
      return GDbFieldString;
    case loomkit::sqliteBlob:
      return GDbFieldBlob;
    default:
      return GDbFieldNone;
  }
}

// Up to its first NUL; an empty text for a NULL.
void addText(GDbRecord* record, sqlite3_stmt* stmt, int column) {
  const auto* utf8 = reinterpret_cast<const char*>(sqlite3Library().api.column_text(stmt, column));
  const std::size_t length = utf8 != nullptr ? std::strlen(utf8) : 0;
  if (loomkit::isAscii(utf8, length)) {
    loomkit::RecordAccess::addText(record, utf8, length);
    return;
  }
  std::string text;
  loomkit::fromUtf8(utf8, sqlite3Library().api.column_bytes(stmt, column), &text);
  record->addStringField(text);
}

// Appends the column to `record`; SQLite converts to the type that is read. Each
// question costs its lock, so that only a value that may be a NULL is asked
// whether it is one. False when there is no memory for a number.
bool addColumn(GDbRecord* record, sqlite3_stmt* stmt, int column, GDbFieldType affinity) {
  const Sqlite3Api& api = sqlite3Library().api;
  if (affinity == GDbFieldNone) affinity = storageType(api.column_type(stmt, column));
  bool maybeNull = false;
  switch (affinity) {
    case GDbFieldInt: {
      const int value = api.column_int(stmt, column);
      record->addIntField(value);
      maybeNull = value == 0;
      break;
    }
    case GDbFieldFloat: {
      const double value = api.column_double(stmt, column);
      record->addFloatField(value);
      maybeNull = value == 0;
      break;
    }
    case GDbFieldBlob: {
      const void* bytes = api.column_blob(stmt, column);
      const int size = bytes != nullptr ? api.column_bytes(stmt, column) : 0;
      record->addBlobField(bytes, static_cast<unsigned>(size));
      maybeNull = bytes == nullptr;
      break;
    }
    default:
      addText(record, stmt, column);
      maybeNull = *record->getStringField(column) == '\0';
  }
  if (maybeNull && api.column_type(stmt, column) == loomkit::sqliteNull) {
    loomkit::RecordAccess::markLastNull(record);
  }
  return loomkit::RecordAccess::value(*record, column) != nullptr;
}

struct RecordDelete {
  void operator()(GDbRecord* record) const { record->deleteRecord(); }
};

}  // namespace

GDbStatus GSqlite3Database::bindInt(GSqlQueryData* query, int index, int value) {
  const GDbStatus status = prepare(query);
  if (status != GDbNoError) return status;
  return reportCode(sqlite3Library().api.bind_int(dataOf(query)->stmt, index + 1, value));
}

GDbStatus GSqlite3Database::bindInt64(GSqlQueryData* query, int index, std::int64_t value) {
  const GDbStatus status = prepare(query);
  if (status != GDbNoError) return status;
  return reportCode(sqlite3Library().api.bind_int64(dataOf(query)->stmt, index + 1, value));
}

GDbStatus GSqlite3Database::bindDouble(GSqlQueryData* query, int index, double value) {
  const GDbStatus status = prepare(query);
  if (status != GDbNoError) return status;
  return reportCode(sqlite3Library().api.bind_double(dataOf(query)->stmt, index + 1, value));
}

GDbStatus GSqlite3Database::bindText(GSqlQueryData* query, int index, const char* text, int length,
                                     bool /*copy*/) {
  const GDbStatus status = prepare(query);
  if (status != GDbNoError) return status;
  int utf8Length = -1;
  loomkit::HulText utf8 = loomkit::toUtf8(text, length, &utf8Length,
                                          "Failed to convert field of Sqlite3 query to UTF-8: %1");
  // SQLite calls the destructor even when the call fails.
  return reportCode(sqlite3Library().api.bind_text(dataOf(query)->stmt, index + 1, utf8.release(),
                                                   utf8Length,
                                                   [](void* block) { hulFree(block); }));
}

GDbStatus GSqlite3Database::bindBlob(GSqlQueryData* query, int index, void* data, unsigned size,
                                     bool copy) {
  const GDbStatus status = prepare(query);
  if (status != GDbNoError) return status;
  return reportCode(sqlite3Library().api.bind_blob(dataOf(query)->stmt, index + 1, data,
                                                   static_cast<int>(size), blobMark(copy)));
}

GDbStatus GSqlite3Database::bindNull(GSqlQueryData* query, int index) {
  const GDbStatus status = prepare(query);
  if (status != GDbNoError) return status;
  return reportCode(sqlite3Library().api.bind_null(dataOf(query)->stmt, index + 1));
}

GDbStatus GSqlite3Database::clearBindings(GSqlQueryData* query) {
  GDbStatus status = check(query);
  if (status != GDbNoError) return status;
  GSqlite3QueryData* data = dataOf(query);
  if (data->stmt == nullptr) return GDbNoError;
  if (data->isActive()) status = reportCode(data->stop());
  const GDbStatus cleared = reportCode(sqlite3Library().api.clear_bindings(data->stmt));
  return status != GDbNoError ? status : cleared;
}

// Whether the column can be read: of `storageClass`, or of any with 0.
GDbStatus GSqlite3Database::checkColumn(GSqlQueryData* query, int column, int storageClass) {
  const GDbStatus status = prepare(query);
  if (status != GDbNoError) return status;
  const GSqlite3QueryData* data = dataOf(query);
  if (!data->isValid()) return setError(GDbNotPositioned);
  const Sqlite3Api& api = sqlite3Library().api;
  if (column < 0 || column >= api.column_count(data->stmt)) return setError(GDbInvalidArgument);
  if (storageClass == 0) return GDbNoError;
  const int stored = api.column_type(data->stmt, column);
  if (stored == loomkit::sqliteNull) return setError(GDbColumnIsNull);
  return stored == storageClass ? GDbNoError : setError(GDbFieldTypeMismatch);
}

GDbStatus GSqlite3Database::isNull(GSqlQueryData* query, int column, bool* result) {
  const GDbStatus status = checkColumn(query, column, 0);
  if (status != GDbNoError) return status;
  *result = sqlite3Library().api.column_type(dataOf(query)->stmt, column) == loomkit::sqliteNull;
  return GDbNoError;
}

GDbStatus GSqlite3Database::getInt(GSqlQueryData* query, int column, int* value) {
  const GDbStatus status = checkColumn(query, column, loomkit::sqliteInteger);
  if (status != GDbNoError) return status;
  *value = sqlite3Library().api.column_int(dataOf(query)->stmt, column);
  return GDbNoError;
}

GDbStatus GSqlite3Database::getInt64(GSqlQueryData* query, int column, std::int64_t* value) {
  const GDbStatus status = checkColumn(query, column, loomkit::sqliteInteger);
  if (status != GDbNoError) return status;
  *value = sqlite3Library().api.column_int64(dataOf(query)->stmt, column);
  return GDbNoError;
}

GDbStatus GSqlite3Database::getDouble(GSqlQueryData* query, int column, double* value) {
  const GDbStatus status = checkColumn(query, column, loomkit::sqliteFloat);
  if (status != GDbNoError) return status;
  *value = sqlite3Library().api.column_double(dataOf(query)->stmt, column);
  return GDbNoError;
}

GDbStatus GSqlite3Database::getText(GSqlQueryData* query, int column, std::string* value) {
  const GDbStatus status = checkColumn(query, column, loomkit::sqliteText);
  if (status != GDbNoError) return status;
  value->clear();
  readText(dataOf(query)->stmt, column, value);
  return GDbNoError;
}

GDbStatus GSqlite3Database::getBlob(GSqlQueryData* query, int column, const void** data,
                                    unsigned* size) {
  const GDbStatus status = checkColumn(query, column, loomkit::sqliteBlob);
  if (status != GDbNoError) return status;
  sqlite3_stmt* stmt = dataOf(query)->stmt;
  *data = sqlite3Library().api.column_blob(stmt, column);
  *size = static_cast<unsigned>(sqlite3Library().api.column_bytes(stmt, column));
  return GDbNoError;
}

// The first reason why there is no current row to make a record of.
GDbStatus GSqlite3Database::checkRecord(const GSqlite3QueryData& data) {
  switch (data.state) {
    case GSqlite3QueryData::inactive:
      return setError(GDbQueryNotActive);
    case GSqlite3QueryData::finished:
      return data.row < 0 ? setError(GDbNoResult) : GDbNoMoreRecords;
    default:
      break;
  }
  if (data.row < 0) return setError(GDbNotPositioned);
  return data.valid && data.stmt != nullptr ? GDbNoError : setError(GDbInternalError);
}

GDbStatus GSqlite3Database::getRecord(GSqlQueryData* query, GDbRecord** record) {
  *record = nullptr;
  GDbStatus status = check(query);
  if (status == GDbNoError) status = checkRecord(*dataOf(query));
  if (status != GDbNoError) return status;
  GSqlite3QueryData* data = dataOf(query);
  sqlite3_stmt* stmt = data->stmt;
  const int columns = sqlite3Library().api.column_count(stmt);
  if (columns == 0) return GDbNoError;
  std::unique_ptr<GDbRecord, RecordDelete> made(new GDbRecord);
  const GDbFieldType* affinities = data->columnAffinities(columns);
  for (int column = 0; column < columns; ++column) {
    if (!addColumn(made.get(), stmt, column, affinities[column])) return setError(GDbOutOfMemory);
  }
  *record = made.release();
  return GDbNoError;
}
