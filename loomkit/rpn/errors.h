// SPDX-License-Identifier: MIT
// GRpnEval::Errors: how errors leave the evaluator. Private to the engine.
#ifndef LOOMKIT_RPN_ERRORS_H
#define LOOMKIT_RPN_ERRORS_H

#include "loomkit/rpn/eval.h"

/// Each function builds one text and hands it to the error handler, once.
/// Operators and literals return a position and words a bool, so that there is
/// a report that returns null and one that returns false.
struct GRpnEval::Errors {
  /// Reports `message` with the running expression, which is marked at
  /// `position`; a position outside the expression marks its end. Null.
  static const char* error(GRpnEval& eval, const char* position, const char* message);

  /// The same. False.
  static bool refuse(GRpnEval& eval, const char* position, const char* message) {
    error(eval, position, message);
    return false;
  }

  /// Reports "syntax error". Null.
  static const char* syntaxError(GRpnEval& eval, const char* position);

  /// Reports that the results of a whole expression are not what was asked for.
  /// The expression stops at `exprEnd`, or at its NUL when that is null.
  static void resultError(GRpnEval& eval, const char* expr, const char* exprEnd,
                          const char* message);

  /// Reports that an expression has left no result, or several, where exactly
  /// one was asked for.
  static void notOneResult(GRpnEval& eval, const char* expr, const char* exprEnd, bool none);
};

#endif  // LOOMKIT_RPN_ERRORS_H
