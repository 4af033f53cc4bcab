// SPDX-License-Identifier: MIT
#include "row_filter.h"

#include "console.h"
#include "rpn_report.h"

namespace loom {

RowFilter::RowFilter(const Invocation& call)
    : expression(call.value("--where")), skipErrors(call.has("--skip-errors")) {}

bool RowFilter::admits(const RowSource& source, const Row& row) {
  if (expression.empty()) return true;
  if (firstKinds.empty())
    for (const Cell& cell : row) firstKinds.push_back(kindOf(cell));
  host.params->clear();
  for (std::size_t i = 0; i < row.size(); ++i) setColumn(source.columns()[i].name, row[i]);
  bool result = false;
  if (host.evaluateBool(expression, &result)) return result;
  if (!skipErrors) {
    std::vector<std::string> columns;
    for (const Column& column : source.columns()) columns.push_back("$" + column.name);
    host.setOtherParameters(std::move(columns));
    printReport(host.report());
  }
  throw RowFailure(ExitCode::evaluation,
                   source.name() + ": row " + std::to_string(source.number()) +
                       ": --where failed: " + expression + changedColumn(source, row));
}

void RowFilter::setColumn(const std::string& name, const Cell& cell) {
  if (isNull(cell))
    host.params->set(name, GRpnValue());
  else if (const auto* integer = std::get_if<std::int64_t>(&cell))
    host.params->set(name, static_cast<double>(*integer));
  else if (const auto* real = std::get_if<double>(&cell))
    host.params->set(name, *real);
  else
    host.params->set(name, cellText(cell));
}

std::string RowFilter::changedColumn(const RowSource& source, const Row& row) const {
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::string& name = source.columns()[i].name;
    if (kindOf(row[i]) == firstKinds[i] || expression.find('$' + name) == std::string::npos)
      continue;
    return "; $" + name + " is " + std::string(kindOf(row[i])) + " here and was " +
           std::string(firstKinds[i]) + " in the first row";
  }
  return {};
}

void reportSkipped(const RowSource& source, unsigned long skipped) {
  if (skipped == 0) return;
  complain(source.name() + ": " + counted(skipped, "record was skipped", "records were skipped"));
}

}  // namespace loom
