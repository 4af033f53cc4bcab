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

/// The parameters that an expression may ask for. A host derives a class from it
/// and hands an object to GRpnEval::setParamSet(). GRpnMapParamSet
/// (map_param_set.h) is a ready-made one.
///
/// Ownership: an object counts its references. A new one has one reference,
/// which belongs to its creator; the last decRef() deletes it. An evaluator takes
/// a reference of its own, so that the creator calls decRef() after handing the
/// object over. A copy takes the count of its original along and is not meant to
/// be used as an object of its own.
///
/// Failure of a lookup is false, with a reason. The count is not locked: an
/// object is used from the thread that runs expressions.
class LOOMKIT_API GRpnParamSet {
 public:
  /// One reference, which belongs to the creator.
  GRpnParamSet();
  GRpnParamSet(const GRpnParamSet&);
  GRpnParamSet& operator=(const GRpnParamSet&);

  /// Looks a parameter up. Called for each `$name` of an expression.
  ///
  /// `name` points into the expression; the name is `length` bytes long and is not
  /// terminated. `*value` is void before the call. True stores the value there.
  /// False appends the reason to `*err`; the expression then uses the default of
  /// the parameter, if it gives one, or fails with that reason.
  virtual bool lookup(const char* name, unsigned length, GRpnValue* value, GRpnErrMsg* err) = 0;

  /// Adds a reference. Returns this object.
  GRpnParamSet* incRef() noexcept;
  /// Takes a reference away. With the last one the object is deleted.
  void decRef() noexcept;

 protected:
  virtual ~GRpnParamSet();

 private:
  unsigned refCount = 1;
};

#endif  // LOOMKIT_RPN_PARAM_SET_H
