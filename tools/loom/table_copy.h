// SPDX-License-Identifier: MIT
// Copying rows into another database.
#ifndef LOOM_TABLE_COPY_H
#define LOOM_TABLE_COPY_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/db/record_owner.h"
#include "loomkit/db/structure.h"
#include "progress_bar.h"
#include "row_source.h"
#include "table_shape.h"

namespace loom {

/// The fields of a record of the source's rows. Throws a Failure where a column has
/// no type that other databases know.
[[nodiscard]] GDbStructure structureOf(const RowSource& source);

/// The row that the source has read last as a record, which has 32 bits for an
/// integer, no NULL, and texts without NUL. Throws a Failure, which names `target`,
/// row and column, where it cannot hold a value.
[[nodiscard]] loomkit::RecordOwner recordOf(const RowSource& source, const Row& row,
                                            const std::string& target);

/// Why `target` cannot take the value of the source's column `index` in the row that
/// was read last; it names both.
[[nodiscard]] Failure cannotHold(const RowSource& source, std::size_t index, const Cell& cell,
                                 const std::string& target);

/// Shows how many rows were read, now and then, since asking the clock takes as long as
/// reading a row.
inline void showRows(ProgressBar& progress, const RowSource& source) {
  constexpr unsigned long step = 256;
  if (source.number() % step == 0) progress.show(source.number());
}

/// A table that is to be copied into another database.
struct CopyJob {
  /// Opens the source's rows, from the first one. Called again where a target has to
  /// know all values before it can be made.
  std::function<std::unique_ptr<RowSource>()> open;
  std::string locator;  ///< the target
  std::string name;     ///< of the new table in it
  /// How many rows to a transaction; 0: all.
  unsigned long batch = 0;
  /// The number of rows for the progress bar, 0 where it is not known.
  std::uint64_t total = 0;
  /// The source's keys and indexes, which the target gets as far as it can hold them.
  TableShape shape = {};
  /// Whether the source is an SQLite file, whose words for the columns SQLite keeps.
  bool fromSqlite = false;
  /// Whether a NULL becomes an empty text or 0 in a database that has none.
  bool blankNulls = false;
  /// To how many decimals the numbers of an xBase table are rounded; below 0: not at all.
  int decimals = -1;
  /// Further ones, for a table store: "COLUMN,..." or "COLUMN,...:unique".
  std::vector<std::string> storeIndexes = {};
};

/// The options by which a value may change on its way, and what a command line has of them.
inline constexpr Option blankNullsOption = {
    .names = "--blank-nulls",
    .help = "Write an empty text or 0 for a NULL, in a database that has none."};
inline constexpr Option decimalsOption = {
    .names = "--decimals",
    .value = "N",
    .help = "Round the numbers of an xbase: table to N decimals, of which it has up to 15."};
void takeLossyOptions(const Invocation& call, CopyJob* job);

/// Opens the target, creates the table in it, and copies all rows, in one transaction
/// where the database has them. Every value arrives as it is, unless the job says
/// otherwise. Throws a Failure, which
/// names row and column where the target cannot hold a value; then what was not
/// committed is gone, the new table as well. What the copy does not have of the source's
/// shape is told on standard error. Returns the number of rows.
unsigned long copyTable(const CopyJob& job);

}  // namespace loom

#endif  // LOOM_TABLE_COPY_H
