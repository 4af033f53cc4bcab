// SPDX-License-Identifier: MIT
// Extension: runTransaction() does work within a transaction, and again when the
// server asks for that.
//
//   GDbStatus status = loomkit::runTransaction(database, [&] {
//     GDbStatus moved = take(from, amount);
//     return moved == GDbNoError ? put(to, amount) : moved;
//   });
#ifndef LOOMKIT_DB_SQL_RUN_TRANSACTION_H
#define LOOMKIT_DB_SQL_RUN_TRANSACTION_H

#include <functional>

#include "loomkit/db/sql/sql_database.h"
#include "loomkit/platform/export.h"

namespace loomkit {

/// Begins a transaction, calls `work` and commits, or rolls back when `work`
/// gives a failure. When the failure is one that a repetition may mend
/// (GSqlError::mayRepeat(): a serialization failure or a deadlock, also at the
/// commit) all of it happens again, `attempts` times at most. Returns GDbNoError,
/// or the last failure.
///
/// So `work` may be called several times, and must do nothing that a rollback
/// does not undo. What it throws goes through, after a rollback.
///
/// Requires: no transaction is open, since a part of one cannot be repeated.
/// GDbInvalidArgument: `database` is null, `work` is empty or `attempts` is
/// below 1.
LOOMKIT_API GDbStatus runTransaction(GSqlDatabase* database, const std::function<GDbStatus()>& work,
                                     int attempts = 10);

}  // namespace loomkit

#endif  // LOOMKIT_DB_SQL_RUN_TRANSACTION_H
