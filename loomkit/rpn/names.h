// SPDX-License-Identifier: MIT
// GRpnEval::Names: what an expression asks for by name or number. Private to the
// engine.
#ifndef LOOMKIT_RPN_NAMES_H
#define LOOMKIT_RPN_NAMES_H

#include "loomkit/rpn/eval.h"

/// Each function takes the position of the token's first character and returns
/// the position behind it, or null after a report.
struct GRpnEval::Names {
  /// `$name`, `${name}` or `${name:-default}`: a value of the parameter set. For
  /// a parameter that is not there its default is entered.
  static const char* variable(GRpnEval& eval, const char* p);
  /// `$0`, `$1` and so on: an argument that the word argc has taken.
  static const char* argument(GRpnEval& eval, const char* p);
  /// A word: one that is built in or, if there is none, one of the host's.
  static const char* function(GRpnEval& eval, const char* p);
};

#endif  // LOOMKIT_RPN_NAMES_H
