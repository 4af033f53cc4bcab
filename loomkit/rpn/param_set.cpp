// SPDX-License-Identifier: MIT
#include "loomkit/rpn/param_set.h"

GRpnParamSet::GRpnParamSet() = default;
GRpnParamSet::GRpnParamSet(const GRpnParamSet&) = default;
GRpnParamSet& GRpnParamSet::operator=(const GRpnParamSet&) = default;
GRpnParamSet::~GRpnParamSet() = default;

GRpnParamSet* GRpnParamSet::incRef() noexcept {
  ++refCount;
  return this;
}

void GRpnParamSet::decRef() noexcept {
  if (--refCount == 0) delete this;
}
