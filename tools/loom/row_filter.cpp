// SPDX-License-Identifier: MIT
#include "row_filter.h"

namespace loom {

RowFilter::RowFilter(const Invocation& call) : expression(call.value("--where")) {
  engine.setParamSet(params);
}

RowFilter::~RowFilter() { params->decRef(); }

bool RowFilter::admits(const GDbTypedRow& row) {
  if (expression.empty()) return true;
  params->clear();
  for (int field = 0; field < row.getNumFields(); ++field) setColumn(row, field);
  bool result = false;
  if (!engine.evalBool(expression.c_str(), &result))
    throw Failure(ExitCode::evaluation, "--where failed: " + expression);
  return result;
}

void RowFilter::setColumn(const GDbTypedRow& row, int field) {
  const std::string name = row.getFieldName(field);
  if (const auto number = row.getNumber(field))
    params->set(name, *number);
  else if (row.isNull(field))
    params->set(name, GRpnValue());
  else
    params->set(name, row.getText(field));
}

}  // namespace loom
