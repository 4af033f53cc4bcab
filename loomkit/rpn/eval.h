// SPDX-License-Identifier: MIT
// GRpnEval: evaluates expressions in reverse Polish notation straight from
// their text. docs/expression-language.md describes the language.
//
//   GRpnEval eval;
//   double area = 0;
//   if (eval.evalFloat("2 3 *", &area)) ...   // 6; a failure has been reported
//
// A host extends the language with a GRpnParamSet ($name) and a
// GRpnExternFuncs (further words), and takes the error texts with an
// ErrorHandler; by default they go to gOutput->error().
#ifndef LOOMKIT_RPN_EVAL_H
#define LOOMKIT_RPN_EVAL_H

#include <cstddef>
#include <string>
#include <vector>

#include "loomkit/platform/export.h"
#include "loomkit/rpn/err_msg.h"
#include "loomkit/rpn/extern_funcs.h"
#include "loomkit/rpn/param_set.h"
#include "loomkit/rpn/value.h"
#include "loomkit/rpn/words.h"

/// An evaluator with one stack of values. All expressions that run on it share
/// the stack, also those that run inside another one; each sees only its own part
/// of it.
///
/// Failure: an operation that fails has reported why, once, to the error handler
/// and returns false. The evaluator can be used again. No bad expression throws,
/// and none overflows the machine stack.
///
/// Threads: all evaluators of a process are used from one thread at a time,
/// because they share pools that keep the memory of values that have ended. Once
/// the pools are filled, evaluating numbers allocates nothing.
///
/// Only the public operations are exported, so that calls inside the engine stay
/// direct.
class GRpnEval {
 public:
  /// Receives the text of each error. A host derives a class from it and hands an
  /// object to setErrorHandler(). The evaluator frees it as plain memory without
  /// calling a destructor, so that a derived class must not hold anything that
  /// needs one.
  class LOOMKIT_API ErrorHandler {
   public:
    /// Called once for each failure, with one or two lines of text. Sends the
    /// text to gOutput->error(), unless a host overrides it.
    virtual void error(const std::string& message);
  };

  /// An empty stack, an ErrorHandler, no parameters and no functions.
  LOOMKIT_API GRpnEval();

  /// Copies all members: the handler and the sets are shared without being
  /// counted. An evaluator must not be used, nor end, beside its copy.
  LOOMKIT_API GRpnEval(const GRpnEval&);
  LOOMKIT_API GRpnEval& operator=(const GRpnEval&);

  /// Lets the sets go and frees the handler.
  LOOMKIT_API ~GRpnEval();

  /// Replaces the handler. The old one is freed, and the new one belongs to the
  /// evaluator from then on. Requires: it was made with new and is not null.
  LOOMKIT_API void setErrorHandler(ErrorHandler* handler);

  /// Sets where `$name` looks for its value. The evaluator takes a reference of
  /// its own to the new object and lets the old one go. With null every parameter
  /// is unknown.
  LOOMKIT_API void setParamSet(GRpnParamSet* params);
  /// Sets where words are looked for that are not built in, in the same way.
  LOOMKIT_API void setExternFuncs(GRpnExternFuncs* functions);

  /// Sets the name with which each error text begins. There is none at first.
  LOOMKIT_API void setExprName(const std::string& name);
  /// Takes that name away.
  LOOMKIT_API void resetExprName();

  /// Evaluates the NUL-terminated `expr`. Its results stay on the stack; after a
  /// failure, whatever it has pushed stays there as well.
  LOOMKIT_API bool eval(const char* expr);

  /// Evaluates `expr`, takes its results off the stack and appends them to
  /// `*results`, the deepest first. This form and those below leave the stack at
  /// its old size whatever happens, and touch the result only on success.
  LOOMKIT_API bool eval(const char* expr, std::vector<GRpnValue>* results);

  /// Evaluates `expr`, which has to leave exactly one result.
  LOOMKIT_API bool eval(const char* expr, GRpnValue* result);

  /// Evaluates `expr`, which has to leave exactly one result, a number.
  LOOMKIT_API bool evalFloat(const char* expr, double* result);

  /// As evalFloat(). `*result` becomes true for a number below or above 0, and
  /// false for 0 and for a NaN.
  LOOMKIT_API bool evalBool(const char* expr, bool* result);

  /// Evaluates `expr`, which must not leave a result.
  LOOMKIT_API bool evalVoid(const char* expr);

  /// For external functions: takes the top value of the running expression off
  /// the stack. When there is none, appends "stack underflow" to `*err` and
  /// returns false. Requires: an evaluation is running.
  LOOMKIT_API bool pop(GRpnValue* value, GRpnErrMsg* err);

  /// The same for `count` values, which are appended to `*values`, the deepest
  /// first. When there are fewer, none is taken.
  LOOMKIT_API bool pop(std::vector<GRpnValue>* values, unsigned count, GRpnErrMsg* err);

  /// For external functions: pushes a copy of `value`.
  void push(const GRpnValue& value) { stack.push_back(value); }

 private:
  // The parts of the engine, each with a header of its own that is not installed.
  struct EvalFrame;  // one running expression
  class EvalScope;   // the time in which it runs
  struct Errors;     // reports to the handler
  struct Operands;   // what is taken from the stack
  struct Operators;
  struct Literals;
  struct Names;                    // $parameters, $0 arguments and words
  struct Builtin;                  // the built-in words
  friend struct GRpnBuiltinNames;  // lists them for gRpnBuiltinWords()

  void restoreStack(std::size_t size) noexcept;
  bool oneResult(const char* expr, std::size_t before);

  std::vector<GRpnValue> stack;
  EvalFrame* frame = nullptr;  // innermost; null when idle
  unsigned depth = 0;          // number of frames
  GRpnParamSet* paramSet = nullptr;
  GRpnExternFuncs* externFuncs = nullptr;
  std::string exprName;
  ErrorHandler* errorHandler;  // owned, never null
};

#endif  // LOOMKIT_RPN_EVAL_H
