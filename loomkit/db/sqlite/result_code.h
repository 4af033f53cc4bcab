// SPDX-License-Identifier: MIT
// From SQLite's result codes to statuses. Private to the backend.
#ifndef LOOMKIT_DB_SQLITE_RESULT_CODE_H
#define LOOMKIT_DB_SQLITE_RESULT_CODE_H

#include "loomkit/db/status.h"

namespace loomkit {

/// The status of a result code (https://www.sqlite.org/rescode.html): 0 for
/// success, for a row and for the end of the rows, and GDbUnknownError for a code
/// that is not known.
GDbStatus sqliteStatus(int code) noexcept;

}  // namespace loomkit

#endif  // LOOMKIT_DB_SQLITE_RESULT_CODE_H
