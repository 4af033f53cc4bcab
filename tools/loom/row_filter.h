// SPDX-License-Identifier: MIT
// RowFilter: the rows that an expression over their columns lets through.
#ifndef LOOM_ROW_FILTER_H
#define LOOM_ROW_FILTER_H

#include <string>
#include <vector>

#include "command.h"
#include "row_source.h"
#include "rpn_host.h"

namespace loom {

/// The options of commands that read rows; for their option lists.
inline constexpr Option whereOption = {
    .names = "--where",
    .value = "EXPR",
    .help =
        "Only records for which the expression is true; $NAME is a column, a void value "
        "where it is NULL."};
inline constexpr Option skipErrorsOption = {
    .names = "--skip-errors",
    .help = "Pass over records that cannot be read or for which --where fails, and count them."};

/// Evaluates the expression of --where for one row after another. A number is a
/// number in it, a NULL is a void value, and everything else is a text.
///
///   RowFilter filter(call);
///   if (filter.admits(*source, row)) ...
class RowFilter {
 public:
  /// Without --where every row is admitted.
  explicit RowFilter(const Invocation& call);

  /// Throws a RowFailure where the expression fails; it tells the row, and which
  /// column has another type than in the first one. What is wrong with the expression
  /// is printed before, unless the row is to be skipped for it.
  bool admits(const RowSource& source, const Row& row);

 private:
  void setColumn(const std::string& name, const Cell& cell);
  [[nodiscard]] std::string changedColumn(const RowSource& source, const Row& row) const;

  std::string expression;
  bool skipErrors;
  RpnHost host;
  std::vector<std::string_view> firstKinds;  // of the cells of the first row
};

/// Says how many rows were passed over, if there were any.
void reportSkipped(const RowSource& source, unsigned long skipped);

/// Calls `use(row)` with each row of the source that --where admits, until it gives
/// false. With --skip-errors rows that fail are passed over, and counted on standard
/// error at the end.
template <typename Use>
void forEachRow(const Invocation& call, RowSource& source, Use use) {
  RowFilter filter(call);
  const bool skipErrors = call.has("--skip-errors");
  unsigned long skipped = 0;
  Row row;
  for (bool more = true; more;) {
    bool admitted = false;
    try {
      more = source.next(&row);
      admitted = more && filter.admits(source, row);
    } catch (const RowFailure&) {
      if (!skipErrors) throw;
      ++skipped;
    }
    if (admitted && !use(row)) break;
  }
  reportSkipped(source, skipped);
}

}  // namespace loom

#endif  // LOOM_ROW_FILTER_H
