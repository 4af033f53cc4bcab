// SPDX-License-Identifier: MIT
// GRpnExternFuncs: the words that a host adds to the expression language.
// GRpnFunctionTable (function_table.h) is a ready-made one.
#ifndef LOOMKIT_RPN_EXTERN_FUNCS_H
#define LOOMKIT_RPN_EXTERN_FUNCS_H

#include "loomkit/platform/export.h"
#include "loomkit/rpn/err_msg.h"
#include "loomkit/rpn/value.h"

class GRpnEval;

/// Abstract, counted table of functions. A new object has one reference, its
/// creator's; the last decRef() ends it. The count is not locked. A copy takes
/// the count along and is no independent object.
class LOOMKIT_API GRpnExternFuncs {
 public:
  GRpnExternFuncs();
  GRpnExternFuncs(const GRpnExternFuncs&);
  GRpnExternFuncs& operator=(const GRpnExternFuncs&);

  /// Runs the function `name`, which points into the expression, `length` bytes
  /// long and not terminated. It takes its operands from `eval` with pop(),
  /// pushes its results with push(), and may evaluate further expressions on
  /// it. False, with the reason appended to `*err`, ends the evaluation.
  virtual bool call(const char* name, unsigned length, GRpnEval* eval, GRpnErrMsg* err) = 0;

  /// Adds a reference. Returns this object.
  GRpnExternFuncs* incRef() noexcept;
  /// Takes a reference away; the last one deletes the object.
  void decRef() noexcept;

 protected:
  virtual ~GRpnExternFuncs();

 private:
  unsigned refCount = 1;
};

#endif  // LOOMKIT_RPN_EXTERN_FUNCS_H
