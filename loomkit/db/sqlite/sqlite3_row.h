// SPDX-License-Identifier: MIT
// The values of a SQLite statement's current row. Private to the backend.
#ifndef LOOMKIT_DB_SQLITE_SQLITE3_ROW_H
#define LOOMKIT_DB_SQLITE_SQLITE3_ROW_H

#include <string>

#include "loomkit/db/record_owner.h"

struct sqlite3_stmt;

namespace loomkit {

/// Stores a text column, in the local encoding and up to its first NUL, in
/// `*text`. A NULL gives an empty text. Requires: the statement is on a row.
void readSqliteText(sqlite3_stmt* stmt, int column, std::string* text);

/// The same with all bytes of the text, each piece between two NULs by itself.
void readWholeSqliteText(sqlite3_stmt* stmt, int column, std::string* text);

/// A new record of the current row. `types` has one entry for each of the
/// `columns`: SQLite converts a value to that type, and GDbFieldNone leaves a
/// value the type in which it is stored. A NULL becomes a placeholder with the
/// NULL bit. Null when there is no memory for a number. Requires: the statement
/// is on a row.
RecordOwner makeSqliteRecord(sqlite3_stmt* stmt, const GDbFieldType* types, int columns);

}  // namespace loomkit

#endif  // LOOMKIT_DB_SQLITE_SQLITE3_ROW_H
