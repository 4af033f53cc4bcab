// SPDX-License-Identifier: MIT
// RowFilter: the records that an expression over their columns lets through.
#ifndef LOOM_ROW_FILTER_H
#define LOOM_ROW_FILTER_H

#include <string>

#include "command.h"
#include "loomkit/db/typed_row.h"
#include "loomkit/rpn/eval.h"
#include "loomkit/rpn/map_param_set.h"

namespace loom {

/// The option that gives the expression; for the option lists of commands.
inline constexpr Option whereOption = {
    .names = "--where",
    .value = "EXPR",
    .help = "Only records for which the expression is true; $NAME is a column."};

/// Evaluates the expression of --where for one record after another. A number
/// is a number in it, a NULL is a void value, and everything else is a text.
///
///   RowFilter filter(call);
///   if (filter.admits(row)) ...
class RowFilter {
 public:
  /// Without --where every record is admitted.
  explicit RowFilter(const Invocation& call);
  RowFilter(const RowFilter&) = delete;
  RowFilter& operator=(const RowFilter&) = delete;
  ~RowFilter();

  /// Throws a Failure where the expression fails.
  bool admits(const GDbTypedRow& row);

 private:
  void setColumn(const GDbTypedRow& row, int field);

  std::string expression;
  GRpnEval engine;
  GRpnMapParamSet* params = new GRpnMapParamSet;
};

}  // namespace loom

#endif  // LOOM_ROW_FILTER_H
