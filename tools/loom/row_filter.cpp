// SPDX-License-Identifier: MIT
#include "row_filter.h"

namespace loom {

RowFilter::RowFilter(const Invocation& call) : filter(call.value("--where")) {}

bool RowFilter::admits(const GDbTypedRow& row) {
  const std::optional<bool> admitted = filter.admits(row);
  if (!admitted) throw Failure(ExitCode::evaluation, "--where failed: " + filter.getExpression());
  return *admitted;
}

}  // namespace loom
