// SPDX-License-Identifier: MIT
// From the server's SQLSTATE codes to statuses. Private to the driver.
#ifndef LOOMKIT_DB_POSTGRESQL_SQL_STATE_H
#define LOOMKIT_DB_POSTGRESQL_SQL_STATE_H

#include <string_view>

#include "loomkit/db/status.h"

namespace loomkit {

/// The status of a five-character SQLSTATE: by the code, else by its class (the
/// first two), else GDbSqlError.
/// https://www.postgresql.org/docs/current/errcodes-appendix.html
GDbStatus sqlStateStatus(std::string_view sqlState);

}  // namespace loomkit

#endif  // LOOMKIT_DB_POSTGRESQL_SQL_STATE_H
