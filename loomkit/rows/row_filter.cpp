// SPDX-License-Identifier: MIT
#include "loomkit/rows/row_filter.h"

GDbRowFilter::GDbRowFilter(const std::string& condition, GRpnParamSet* others)
    : expression(condition), columns(loomkit::make<GRpnRecordParams>(others)) {
  eval.setParamSet(columns);
}

GDbRowFilter::~GDbRowFilter() = default;

std::optional<bool> GDbRowFilter::admits(const GDbTypedRow& row) {
  if (expression.empty()) return true;
  columns->setRow(row);
  bool admitted = false;
  const bool evaluated = eval.evalBool(expression.c_str(), &admitted);
  columns->clear();  // the row may end before the filter
  if (!evaluated) return std::nullopt;
  return admitted;
}

GDbFilteredScan::GDbFilteredScan(GDbTable* table, const std::string& expression,
                                 GRpnParamSet* others)
    : scan(table), filter(expression, others) {}

GDbFilteredScan::~GDbFilteredScan() = default;

GDbFilteredScan::Iterator GDbFilteredScan::begin() {
  failed = false;
  at = scan.begin();
  return findAdmitted() ? Iterator(this) : Iterator();
}

// Moves on to the next record that is admitted, which may be the present one;
// false at the end and on failure.
bool GDbFilteredScan::findAdmitted() {
  for (; at != scan.end(); ++at) {
    const std::optional<bool> admitted = filter.admits(*at);
    failed = !admitted.has_value();
    if (failed) return false;
    if (*admitted) return true;
  }
  return false;
}
