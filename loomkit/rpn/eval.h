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

#include <cassert>
#include <cstddef>
#include <string>
#include <vector>

#include "loomkit/platform/export.h"
#include "loomkit/rpn/err_msg.h"
#include "loomkit/rpn/extern_funcs.h"
#include "loomkit/rpn/param_set.h"
#include "loomkit/rpn/value.h"

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
  struct EvalFrame;
  class EvalScope;
  struct Builtin;
  friend class GRpnWordList;

  // Frames and the way out of an evaluation.
  void pushFrame(const char* expr, const char* end);
  void popFrame() noexcept;
  void enterDefault(const char* expr, const char* end, const char* resume);
  const char* leaveDefault();
  void restoreStack(std::size_t size) noexcept;
  bool oneResult(const char* expr, std::size_t before);

  // The character at p, or NUL where the innermost expression ends.
  [[nodiscard]] char at(const char* p) const noexcept;
  // The number of values in the innermost evaluation's part of the stack.
  [[nodiscard]] std::size_t available() const noexcept;

  // Literals: from the first character to the position after the last one, or
  // null after a report. So do all that return a position.
  const char* constNumber(const char* s);
  const char* constString(const char* s);
  const char* constSymbol(const char* s);
  bool octalEscape(const char** s, std::string* text);
  bool hexEscape(const char** s, std::string* text);

  const char* variable(const char* p);
  const char* argument(const char* p);
  const char* function(const char* p);
  static const Builtin* getBuiltinFuncPtr(const char* word, std::size_t length) noexcept;

  // Reports. error() returns null, so that it can end a handler.
  const char* error(const char* position, const char* message);
  const char* syntaxError(const char* position);
  void resultError(const char* expr, const char* exprEnd, const char* message);

  void pushText(const std::string& text);

  // Operand checks and the typed pops. A pop removes its values only when all
  // its checks have passed.
  [[nodiscard]] bool checkStackType(GRpnValue::Type t) const noexcept;
  [[nodiscard]] bool checkStackType(GRpnValue::Type t1, GRpnValue::Type t2) const noexcept;
  bool checkSize(const char* pos, std::size_t count);
  bool checkNumbers(const char* pos);
  bool pop(const char* pos, double* a);
  bool pop(const char* pos, double* a, double* b);
  bool pop(const char* pos, unsigned* a);
  bool pop(const char* pos, unsigned* a, unsigned* b);
  bool pop(const char* pos, std::string* a);
  bool pop(const char* pos, std::string* a, std::string* b);
  bool pop(const char* pos, std::string* s, unsigned* i, unsigned* n);
  bool pop(const char* pos, std::string* a, unsigned* i, std::string* b);
  bool pop(const char* pos, std::string* a, unsigned* i, unsigned* n, std::string* b);
  bool pop(const char* pos, GRpnVector** v);
  bool pop(const char* pos, GRpnVector** v, unsigned* i);
  static bool getSizeType(const GRpnValue* value, unsigned* result) noexcept;
  GRpnValue& fromTop(std::size_t n) noexcept { return stack[stack.size() - 1 - n]; }
  void drop(std::size_t count) noexcept {
    for (; count != 0; --count) stack.pop_back();
  }

  // Operators: `pos` is the operator's first character.
  template <typename Function>
  const char* numeric(const char* pos, Function function);
  template <typename Holds>
  const char* compare(const char* pos, unsigned length, Holds holds);
  template <typename Function>
  const char* bitwise(const char* pos, Function function);
  const char* logNegate(const char* pos);
  const char* multiply(const char* pos);
  const char* divide(const char* pos);
  const char* modulo(const char* pos);
  const char* add(const char* pos);
  const char* concatenate(const char* pos);
  const char* subtract(const char* pos);
  const char* lessThan(const char* pos);
  const char* lessThanOrEqual(const char* pos);
  const char* greaterThanOrEqual(const char* pos);
  const char* greaterThan(const char* pos);
  const char* notEqual(const char* pos);
  const char* equal(const char* pos);
  const char* logAnd(const char* pos);
  const char* logOr(const char* pos);
  const char* bitAnd(const char* pos);
  const char* bitOr(const char* pos);
  const char* bitXor(const char* pos);
  const char* vectorIndex(const char* pos);
  const char* vectorBuild(const char* pos);

  // Built-in words: `pos` is the position just after the word.
  template <typename Function>
  bool numericWord(const char* pos, Function function);
  bool m_1_pi(const char* pos);
  bool m_2pi(const char* pos);
  bool m_2_pi(const char* pos);
  bool m_2_sqrtpi(const char* pos);
  bool m_e(const char* pos);
  bool m_ln10(const char* pos);
  bool m_ln2(const char* pos);
  bool m_log10e(const char* pos);
  bool m_log2e(const char* pos);
  bool m_pi(const char* pos);
  bool m_pi_2(const char* pos);
  bool m_pi_4(const char* pos);
  bool m_sqrt1_2(const char* pos);
  bool m_sqrt2(const char* pos);
  bool f_NULL(const char* pos);
  bool f_acos(const char* pos);
  bool f_argc(const char* pos);
  bool f_asin(const char* pos);
  bool f_atan(const char* pos);
  bool f_atan2(const char* pos);
  bool f_ceil(const char* pos);
  bool f_cos(const char* pos);
  bool f_cosh(const char* pos);
  bool f_dup(const char* pos);
  bool f_dup2(const char* pos);
  bool f_dupx(const char* pos);
  bool f_empty(const char* pos);
  bool f_erase(const char* pos);
  bool f_exp(const char* pos);
  bool f_fabs(const char* pos);
  bool f_find(const char* pos);
  bool f_float(const char* pos);
  bool f_floor(const char* pos);
  bool f_fmod(const char* pos);
  bool f_insert(const char* pos);
  bool f_log(const char* pos);
  bool f_log10(const char* pos);
  bool f_modf(const char* pos);
  bool f_neg(const char* pos);
  bool f_pop(const char* pos);
  bool f_pow(const char* pos);
  bool f_replace(const char* pos);
  bool f_rfind(const char* pos);
  bool f_sin(const char* pos);
  bool f_sinh(const char* pos);
  bool f_size(const char* pos);
  bool f_sqrt(const char* pos);
  bool f_string(const char* pos);
  bool f_substr(const char* pos);
  bool f_swap(const char* pos);
  bool f_swapx(const char* pos);
  bool f_tan(const char* pos);
  bool f_tanh(const char* pos);
  bool vectorSize(const char* pos, std::size_t* size);

  std::vector<GRpnValue> stack;
  EvalFrame* frame = nullptr;  // innermost; null when idle
  unsigned depth = 0;          // number of frames
  GRpnParamSet* paramSet = nullptr;
  GRpnExternFuncs* externFuncs = nullptr;
  std::string exprName;
  ErrorHandler* errorHandler;  // owned, never null
};

#endif  // LOOMKIT_RPN_EVAL_H
