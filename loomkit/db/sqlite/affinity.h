// SPDX-License-Identifier: MIT
// From SQLite's declared types and result codes to ours. Private to the backend.
#ifndef LOOMKIT_DB_SQLITE_AFFINITY_H
#define LOOMKIT_DB_SQLITE_AFFINITY_H

#include "loomkit/db/field.h"
#include "loomkit/db/status.h"

namespace loomkit {

/// The field type of a column declared as `declaredType`: "INT" anywhere in it
/// gives Int, else "CHAR", "CLOB" or "TEXT" String, else "BLOB" Blob, else
/// "REAL", "FLOA" or "DOUB" Float, else GDbFieldNone. Letter case does not
/// count. So POINT is an Int.
GDbFieldType sqliteAffinity(const char* declaredType) noexcept;

/// The status of a result code; 0 for success, a row and the end of the rows.
GDbStatus sqliteStatus(int code) noexcept;

}  // namespace loomkit

#endif  // LOOMKIT_DB_SQLITE_AFFINITY_H
