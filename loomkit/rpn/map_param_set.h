// SPDX-License-Identifier: MIT
// Extension: GRpnMapParamSet, a ready-made parameter set over a map.
//
//   auto params = loomkit::make<GRpnMapParamSet>();
//   params->set("width", 12.5);
//   params->set("unit", "mm");
//   eval.setParamSet(params);
//   eval.evalFloat("$width 2 *", &result);
#ifndef LOOMKIT_RPN_MAP_PARAM_SET_H
#define LOOMKIT_RPN_MAP_PARAM_SET_H

#include <cstddef>
#include <functional>
#include <map>
#include <string>

#include "loomkit/platform/export.h"
#include "loomkit/rpn/param_set.h"
#include "loomkit/rpn/ref.h"

/// Parameters with values that the host sets by name, as in the example above. An
/// expression that asks for a name that is not there fails with "unknown
/// parameter", unless it gives a default.
///
/// The set holds its own copies of names and numbers, and shares strings and
/// vectors. It is counted like its base class. It may be changed between two
/// evaluations, and by external functions during one, from the thread that runs
/// expressions.
class LOOMKIT_API GRpnMapParamSet : public GRpnParamSet {
 public:
  /// A set without values, with one reference, which belongs to the creator.
  GRpnMapParamSet();

  /// Sets a parameter to a number, in place of the value that it had. A name that
  /// is not a word of letters, digits and '_' is kept, but no expression can ask
  /// for it.
  void set(const std::string& name, double number);
  /// Sets a parameter to a copy of a text. Requires: not null.
  void set(const std::string& name, const std::string& text);
  void set(const std::string& name, const char* text);
  /// Sets a parameter to a value of any type. A string or vector is shared.
  void set(const std::string& name, const GRpnValue& value);

  /// Removes a parameter. False if there was none of this name.
  bool erase(const std::string& name);
  /// Removes all parameters.
  void clear();
  /// The number of parameters.
  [[nodiscard]] std::size_t size() const;

  /// Gives the value that was set; see GRpnParamSet::lookup().
  bool lookup(const char* name, unsigned length, GRpnValue* value, GRpnErrMsg* err) override;

 protected:
  ~GRpnMapParamSet() override;

 private:
  std::map<std::string, GRpnValue, std::less<>> values;
};

#endif  // LOOMKIT_RPN_MAP_PARAM_SET_H
