// SPDX-License-Identifier: MIT
// Copying a table into another database.
#ifndef LOOM_TABLE_COPY_H
#define LOOM_TABLE_COPY_H

#include <string>

#include "loomkit/db/table.h"

namespace loom {

/// Opens the database of `locator`, creates the table `name` in it with the
/// columns of `source`, and copies all records, in one transaction where the
/// database has them, or with `batch` in one for every so many records. Returns
/// the number of records. Throws a Failure; what was not committed then goes with
/// the connection, without `batch` the new table as well.
unsigned long copyTable(GDbTable* source, const std::string& locator, const std::string& name,
                        unsigned long batch);

}  // namespace loom

#endif  // LOOM_TABLE_COPY_H
