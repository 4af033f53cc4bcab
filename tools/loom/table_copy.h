// SPDX-License-Identifier: MIT
// Copying rows into another database.
#ifndef LOOM_TABLE_COPY_H
#define LOOM_TABLE_COPY_H

#include <cstdint>
#include <string>

#include "loomkit/db/record_owner.h"
#include "loomkit/db/structure.h"
#include "row_source.h"

namespace loom {

/// The fields of a record of the source's rows. Throws a Failure where a column has
/// no type that other databases know.
[[nodiscard]] GDbStructure structureOf(const RowSource& source);

/// The row that the source has read last as a record, which has 32 bits for an
/// integer, no NULL, and texts without NUL. Throws a Failure, which names `target`,
/// row and column, where it cannot hold a value.
[[nodiscard]] loomkit::RecordOwner recordOf(const RowSource& source, const Row& row,
                                            const std::string& target);

/// Opens the database of `locator`, creates the table `name` in it with the
/// columns of `source`, and copies all rows, in one transaction where the
/// database has them, or with `batch` in one for every so many rows. Every value arrives as it is.
/// Throws a Failure, which names row and column where the database cannot hold a value; what was
/// not committed then goes with the connection, the new table as well. `total` is the number of
/// rows for the progress bar, 0 where it is not known. Returns the number of rows.
unsigned long copyRows(RowSource& source, const std::string& locator, const std::string& name,
                       unsigned long batch, std::uint64_t total);

}  // namespace loom

#endif  // LOOM_TABLE_COPY_H
