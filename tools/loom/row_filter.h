// SPDX-License-Identifier: MIT
// RowFilter: the records that an expression over their columns lets through.
#ifndef LOOM_ROW_FILTER_H
#define LOOM_ROW_FILTER_H

#include "command.h"
#include "loomkit/rows/row_filter.h"

namespace loom {

/// The option that gives the expression; for the option lists of commands.
inline constexpr Option whereOption = {
    .names = "--where",
    .value = "EXPR",
    .help = "Only records for which the expression is true; $NAME is a column."};

/// Evaluates the expression of --where for one record after another, as
/// GDbRowFilter does.
///
///   RowFilter filter(call);
///   if (filter.admits(row)) ...
class RowFilter {
 public:
  /// Without --where every record is admitted.
  explicit RowFilter(const Invocation& call);

  /// Throws a Failure where the expression fails.
  bool admits(const GDbTypedRow& row);

 private:
  GDbRowFilter filter;
};

}  // namespace loom

#endif  // LOOM_ROW_FILTER_H
