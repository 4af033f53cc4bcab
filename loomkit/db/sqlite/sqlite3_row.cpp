// SPDX-License-Identifier: MIT
#include "loomkit/db/sqlite/sqlite3_row.h"

#include <cstring>

#include "loomkit/db/record_access.h"
#include "loomkit/db/sql/local_text.h"
#include "loomkit/db/sqlite/sqlite3_api.h"

namespace loomkit {
namespace {

const char* utf8Of(sqlite3_stmt* stmt, int column) {
  return reinterpret_cast<const char*>(sqlite3Library().api.column_text(stmt, column));
}

// The type in which a value is stored; GDbFieldNone for a NULL.
GDbFieldType storageType(int storageClass) {
  switch (storageClass) {
    case sqliteInteger:
      return GDbFieldInt;
    case sqliteFloat:
      return GDbFieldFloat;
    case sqliteText:
      return GDbFieldString;
    case sqliteBlob:
      return GDbFieldBlob;
    default:
      return GDbFieldNone;
  }
}

// Appends a text up to its first NUL; an empty text for a NULL.
void addText(GDbRecord* record, sqlite3_stmt* stmt, int column) {
  const char* utf8 = utf8Of(stmt, column);
  const std::size_t length = utf8 != nullptr ? std::strlen(utf8) : 0;
  if (isAscii(utf8, length)) {
    RecordAccess::addText(record, utf8, length);
    return;
  }
  std::string text;
  fromUtf8(utf8, sqlite3Library().api.column_bytes(stmt, column), &text);
  record->addStringField(text);
}

// Appends a value of the column as `type`. True when it is the value that SQLite
// makes of a NULL, too.
bool addValue(GDbRecord* record, sqlite3_stmt* stmt, int column, GDbFieldType type) {
  const Sqlite3Api& api = sqlite3Library().api;
  switch (type) {
    case GDbFieldInt: {
      const std::int64_t value = api.column_int64(stmt, column);
      RecordAccess::addInt64(record, value);
      return value == 0;
    }
    case GDbFieldFloat: {
      const double value = api.column_double(stmt, column);
      record->addFloatField(value);
      return value == 0;
    }
    case GDbFieldBlob: {
      const void* bytes = api.column_blob(stmt, column);
      const int size = bytes != nullptr ? api.column_bytes(stmt, column) : 0;
      record->addBlobField(bytes, static_cast<unsigned>(size));
      return bytes == nullptr;
    }
    default:
      addText(record, stmt, column);
      return *record->getStringField(column) == '\0';
  }
}

// Appends the column. SQLite takes a lock for each question that it is asked, so
// whether a value is a NULL is asked only where it may be one. False when there
// is no memory for a number.
bool addColumn(GDbRecord* record, sqlite3_stmt* stmt, int column, GDbFieldType type) {
  const Sqlite3Api& api = sqlite3Library().api;
  if (type == GDbFieldNone) type = storageType(api.column_type(stmt, column));
  const bool maybeNull = addValue(record, stmt, column, type);
  if (maybeNull && api.column_type(stmt, column) == sqliteNull) RecordAccess::markLastNull(record);
  return RecordAccess::value(*record, column) != nullptr;
}

}  // namespace

void readSqliteText(sqlite3_stmt* stmt, int column, std::string* text) {
  text->clear();
  // The text is asked for first, because SQLite may convert the value to give it,
  // and only then is the length that of the text.
  const char* utf8 = utf8Of(stmt, column);
  if (utf8 != nullptr) fromUtf8(utf8, sqlite3Library().api.column_bytes(stmt, column), text);
}

void readWholeSqliteText(sqlite3_stmt* stmt, int column, std::string* text) {
  text->clear();
  const char* utf8 = utf8Of(stmt, column);
  if (utf8 == nullptr) return;
  const auto size = static_cast<std::size_t>(sqlite3Library().api.column_bytes(stmt, column));
  std::string piece;
  for (std::size_t at = 0; at <= size; ++at) {
    const std::size_t length = strnlen(utf8 + at, size - at);
    fromUtf8(utf8 + at, static_cast<int>(length), &piece);
    if (at != 0) *text += '\0';
    *text += piece;
    at += length;
  }
}

RecordOwner makeSqliteRecord(sqlite3_stmt* stmt, const GDbFieldType* types, int columns) {
  RecordOwner record(new GDbRecord);
  for (int column = 0; column < columns; ++column)
    if (!addColumn(record.get(), stmt, column, types[column])) return nullptr;
  return record;
}

}  // namespace loomkit
