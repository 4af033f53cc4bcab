// SPDX-License-Identifier: MIT
#include "loomkit/rpn/extern_funcs.h"

GRpnExternFuncs::GRpnExternFuncs() = default;
GRpnExternFuncs::GRpnExternFuncs(const GRpnExternFuncs&) = default;
GRpnExternFuncs& GRpnExternFuncs::operator=(const GRpnExternFuncs&) = default;
GRpnExternFuncs::~GRpnExternFuncs() = default;

GRpnExternFuncs* GRpnExternFuncs::incRef() noexcept {
  ++refCount;
  return this;
}

void GRpnExternFuncs::decRef() noexcept {
  if (--refCount == 0) delete this;
}
