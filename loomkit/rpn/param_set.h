// SPDX-License-Identifier: MIT
// GRpnParamSet: where an expression's $parameters come from.
//
//   class Width : public GRpnParamSet {
//    public:
//     bool lookup(const char* name, unsigned length, GRpnValue* value,
//                 GRpnErrMsg* err) override {
//       if (std::string_view(name, length) != "width") {
//         err->append("unknown parameter");
//         return false;
//       }
//       value->setNumber(12.5);
//       return true;
//     }
//   };
#ifndef LOOMKIT_RPN_PARAM_SET_H
#define LOOMKIT_RPN_PARAM_SET_H

#include "loomkit/platform/export.h"
#include "loomkit/rpn/err_msg.h"
#include "loomkit/rpn/value.h"

/// Abstract, counted set of parameters. A new object has one reference, its
/// creator's; the last decRef() ends it. The count is not locked. A copy takes
/// the count along and is no independent object.
class LOOMKIT_API GRpnParamSet {
 public:
  GRpnParamSet();
  GRpnParamSet(const GRpnParamSet&);
  GRpnParamSet& operator=(const GRpnParamSet&);

  /// Stores the value of a parameter in `*value`, which is void, and returns
  /// true; or appends the reason to `*err` and returns false. `name` points
  /// into the expression, `length` bytes long and not terminated.
  virtual bool lookup(const char* name, unsigned length, GRpnValue* value, GRpnErrMsg* err) = 0;

  /// Adds a reference. Returns this object.
  GRpnParamSet* incRef() noexcept;
  /// Takes a reference away; the last one deletes the object.
  void decRef() noexcept;

 protected:
  virtual ~GRpnParamSet();

 private:
  unsigned refCount = 1;
};

#endif  // LOOMKIT_RPN_PARAM_SET_H
