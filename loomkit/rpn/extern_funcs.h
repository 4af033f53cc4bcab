// SPDX-License-Identifier: MIT
// GRpnExternFuncs: the words that a host adds to the expression language.
// GRpnFunctionTable (function_table.h) is a ready-made one.
//
//   class Functions : public GRpnExternFuncs {
//    public:
//     bool call(const char* name, unsigned length, GRpnEval* eval, GRpnErrMsg* err) override {
//       if (std::string_view(name, length) != "half") {
//         err->append("unknown function");
//         return false;
//       }
//       GRpnValue x;
//       if (!eval->pop(&x, err)) return false;
//       eval->push(x.getNumber() / 2);       // a careful host looks at x.getType()
//       return true;
//     }
//   };
#ifndef LOOMKIT_RPN_EXTERN_FUNCS_H
#define LOOMKIT_RPN_EXTERN_FUNCS_H

#include "loomkit/platform/export.h"
#include "loomkit/rpn/err_msg.h"
#include "loomkit/rpn/value.h"

class GRpnEval;

/// The words that an expression may use besides those that are built in. A host
/// derives a class from it and hands an object to GRpnEval::setExternFuncs().
///
/// Ownership: an object counts its references. A new one has one reference,
/// which belongs to its creator; the last decRef() deletes it. An evaluator takes
/// a reference of its own, so that the creator calls decRef() after handing the
/// object over. A copy takes the count of its original along and is not meant to
/// be used as an object of its own.
///
/// Failure of a function is false, with a reason. The count is not locked: an
/// object is used from the thread that runs expressions.
class LOOMKIT_API GRpnExternFuncs {
 public:
  /// One reference, which belongs to the creator.
  GRpnExternFuncs();
  GRpnExternFuncs(const GRpnExternFuncs&);
  GRpnExternFuncs& operator=(const GRpnExternFuncs&);

  /// Runs a function. Called for each word that is not built in.
  ///
  /// `name` points into the expression; the word is `length` bytes long and is not
  /// terminated. The function takes its operands off the stack of `eval` with
  /// pop(), checks their types, and pushes its results with push(). It may
  /// evaluate further expressions on `eval`. False ends the evaluation, which
  /// reports what was appended to `*err`.
  virtual bool call(const char* name, unsigned length, GRpnEval* eval, GRpnErrMsg* err) = 0;

  /// Adds a reference. Returns this object.
  GRpnExternFuncs* incRef() noexcept;
  /// Takes a reference away. With the last one the object is deleted.
  void decRef() noexcept;

 protected:
  virtual ~GRpnExternFuncs();

 private:
  unsigned refCount = 1;
};

#endif  // LOOMKIT_RPN_EXTERN_FUNCS_H
