// SPDX-License-Identifier: MIT
#include "loomkit/rpn/map_param_set.h"

#include <string_view>

#include "loomkit/rpn/creator_ref.h"

GRpnMapParamSet::GRpnMapParamSet() = default;
GRpnMapParamSet::~GRpnMapParamSet() = default;

void GRpnMapParamSet::set(const std::string& name, double number) {
  values[name].setNumber(number);
}

void GRpnMapParamSet::set(const std::string& name, const std::string& text) {
  const loomkit::CreatorRef<GRpnString> string(new GRpnString(text, false));
  values[name].setString(string.get());
}

void GRpnMapParamSet::set(const std::string& name, const char* text) {
  set(name, std::string(text));
}

void GRpnMapParamSet::set(const std::string& name, const GRpnValue& value) {
  GRpnValue copy(value);  // `value` may be an element of the vector that it replaces
  values[name] = std::move(copy);
}

bool GRpnMapParamSet::erase(const std::string& name) { return values.erase(name) != 0; }

void GRpnMapParamSet::clear() { values.clear(); }

std::size_t GRpnMapParamSet::size() const { return values.size(); }

bool GRpnMapParamSet::lookup(const char* name, unsigned length, GRpnValue* value, GRpnErrMsg* err) {
  const auto found = values.find(std::string_view(name, length));
  if (found == values.end()) {
    err->append("unknown parameter");
    return false;
  }
  *value = found->second;
  return true;
}
