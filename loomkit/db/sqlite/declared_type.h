// SPDX-License-Identifier: MIT
// From the declared type of a SQLite column to a field type. Private to the
// backend.
#ifndef LOOMKIT_DB_SQLITE_DECLARED_TYPE_H
#define LOOMKIT_DB_SQLITE_DECLARED_TYPE_H

#include "loomkit/db/field.h"

namespace loomkit {

/// The field type of a column declared as `declaredType`: "INT" anywhere in it
/// gives Int, else "CHAR", "CLOB" or "TEXT" String, else "BLOB" Blob, else
/// "REAL", "FLOA" or "DOUB" Float, else GDbFieldNone. Letter case does not
/// count. So POINT is an Int.
GDbFieldType sqliteAffinity(const char* declaredType) noexcept;

}  // namespace loomkit

#endif  // LOOMKIT_DB_SQLITE_DECLARED_TYPE_H
