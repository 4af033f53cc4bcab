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

/// An evaluator with one stack of values. Expressions evaluated on it, nested
/// ones included, share the stack; each sees only its own part of it.
///
/// A failed evaluation is reported once through the error handler and gives
/// false; the evaluator can be used again. No bad expression throws, and none
/// overflows the machine stack. The memory of ended values and frames is kept
/// in pools that all evaluators share, so that all evaluators of a process are
/// used from one thread at a time. Once the pools are filled, evaluating
/// numbers allocates nothing.
///
/// Only the public operations are exported, so that the engine's own calls stay
/// direct.
class GRpnEval {
 public:
  /// Receives the text of each error. Freed by the evaluator as plain memory,
  /// without a destructor call: a subclass must hold nothing that needs one.
  class LOOMKIT_API ErrorHandler {
   public:
    /// By default sends the text to gOutput->error().
    virtual void error(const std::string& message);
  };

  /// An empty stack, the default handler, no parameters and no functions.
  LOOMKIT_API GRpnEval();

  /// Memberwise: the handler, the sets and the frames are shared without a
  /// count. An evaluator is used in place, never beside its copy.
  LOOMKIT_API GRpnEval(const GRpnEval&);
  LOOMKIT_API GRpnEval& operator=(const GRpnEval&);

  LOOMKIT_API ~GRpnEval();

  /// Frees the old handler and owns the new one. Requires: not null, allocated
  /// with new.
  LOOMKIT_API void setErrorHandler(ErrorHandler* handler);

  /// Takes a reference on the new object and drops the one on the old. Null
  /// removes the object.
  LOOMKIT_API void setParamSet(GRpnParamSet* params);
  LOOMKIT_API void setExternFuncs(GRpnExternFuncs* functions);

  /// The name that begins each error text; empty at first.
  LOOMKIT_API void setExprName(const std::string& name);
  LOOMKIT_API void resetExprName();

  /// Evaluates; the results stay on the stack. After a failure whatever was
  /// pushed stays as well.
  LOOMKIT_API bool eval(const char* expr);

  /// Appends all results to `*results`, the deepest first, and takes them off
  /// the stack. This form and those below leave the stack at its old size,
  /// whatever happens, and touch their result only on success.
  LOOMKIT_API bool eval(const char* expr, std::vector<GRpnValue>* results);

  /// Demands exactly one result.
  LOOMKIT_API bool eval(const char* expr, GRpnValue* result);

  /// Demands exactly one result, a number.
  LOOMKIT_API bool evalFloat(const char* expr, double* result);

  /// As evalFloat(); true for a number less or greater than 0, so false for a
  /// NaN.
  LOOMKIT_API bool evalBool(const char* expr, bool* result);

  /// Demands that there is no result.
  LOOMKIT_API bool evalVoid(const char* expr);

  /// For external functions, while an evaluation runs: takes the top value of
  /// the innermost evaluation off the stack. Too few values append "stack
  /// underflow" to `*err` and give false.
  LOOMKIT_API bool pop(GRpnValue* value, GRpnErrMsg* err);

  /// Appends the top `count` values to `*values`, the deepest first.
  LOOMKIT_API bool pop(std::vector<GRpnValue>* values, unsigned count, GRpnErrMsg* err);

  /// Pushes a copy.
  void push(const GRpnValue& value) { stack.push_back(value); }

 private:
  // The parts of the engine, each with a header of its own that is not installed.
  struct EvalFrame;  // one running expression
  class EvalScope;   // the time in which it runs
  struct Errors;     // reports to the handler
  struct Operands;   // what is taken from the stack
  struct Operators;
  struct Literals;
  struct Names;    // $parameters, $0 arguments and words
  struct Builtin;  // the built-in words
  friend std::vector<std::string> gRpnBuiltinWords();

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
