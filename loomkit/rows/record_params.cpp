// SPDX-License-Identifier: MIT
#include "loomkit/rows/record_params.h"

#include <string>

namespace {

void setText(const std::string& text, GRpnValue* value) {
  value->setString(loomkit::make<GRpnString>(text, false));
}

}  // namespace

GRpnRecordParams::GRpnRecordParams(GRpnParamSet* otherParams)
    : others(loomkit::Ref<GRpnParamSet>::share(otherParams)) {}

GRpnRecordParams::~GRpnRecordParams() = default;

void GRpnRecordParams::setRow(const GDbTypedRow& shown) { row.emplace(shown); }

void GRpnRecordParams::setRecord(const GDbRecord& record, const GDbStructure& structure) {
  row.emplace(record, structure);
}

void GRpnRecordParams::clear() { row.reset(); }

bool GRpnRecordParams::lookup(const char* name, unsigned length, GRpnValue* value,
                              GRpnErrMsg* err) {
  const int field = row ? row->getFieldId(std::string(name, length)) : -1;
  if (field < 0 || field >= row->getNumFields()) {
    if (others) return others->lookup(name, length, value, err);
    err->append("unknown parameter");
    return false;
  }
  if (const std::optional<double> number = row->getNumber(field))
    value->setNumber(*number);
  else if (row->isNull(field))
    *value = GRpnValue();
  else
    setText(row->getText(field), value);
  return true;
}
