// SPDX-License-Identifier: MIT
// Extension: GRpnMapParamSet, a ready-made parameter set over a map.
//
//   GRpnMapParamSet* params = new GRpnMapParamSet;
//   params->set("width", 12.5);
//   params->set("unit", "mm");
//   eval.setParamSet(params);
//   params->decRef();             // the evaluator keeps its own reference
//   eval.evalFloat("$width 2 *", &result);
#ifndef LOOMKIT_RPN_MAP_PARAM_SET_H
#define LOOMKIT_RPN_MAP_PARAM_SET_H

#include <cstddef>
#include <functional>
#include <map>
#include <string>

#include "loomkit/platform/export.h"
#include "loomkit/rpn/param_set.h"

/// Named values. Looking up a name that is not there fails with "unknown
/// parameter". Counted like its base; it may be changed between evaluations,
/// and by external functions during one.
class LOOMKIT_API GRpnMapParamSet : public GRpnParamSet {
 public:
  GRpnMapParamSet();

  /// Sets or replaces a value. Names that are not identifiers are kept, but no
  /// expression can ask for them.
  void set(const std::string& name, double number);
  void set(const std::string& name, const std::string& text);
  void set(const std::string& name, const char* text);
  void set(const std::string& name, const GRpnValue& value);

  /// Removes a value. False if there was none.
  bool erase(const std::string& name);
  /// Removes all values.
  void clear();
  /// The number of values.
  [[nodiscard]] std::size_t size() const;

  bool lookup(const char* name, unsigned length, GRpnValue* value, GRpnErrMsg* err) override;

 protected:
  ~GRpnMapParamSet() override;

 private:
  std::map<std::string, GRpnValue, std::less<>> values;
};

#endif  // LOOMKIT_RPN_MAP_PARAM_SET_H
