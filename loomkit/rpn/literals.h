// SPDX-License-Identifier: MIT
// GRpnEval::Literals: the numbers, strings and symbols that an expression spells
// out. Private to the engine.
#ifndef LOOMKIT_RPN_LITERALS_H
#define LOOMKIT_RPN_LITERALS_H

#include <string>

#include "loomkit/rpn/eval.h"

/// Each reader takes the position of the literal's first character, pushes its
/// value and returns the position behind it, or null after a report.
struct GRpnEval::Literals {
  /// A decimal number, an octal one that begins with 0 or a hexadecimal one that
  /// begins with 0x. Requires: a digit, a point, or a sign before one of these.
  static const char* constNumber(GRpnEval& eval, const char* s);
  /// A string. Requires: a double quote.
  static const char* constString(GRpnEval& eval, const char* s);
  /// A symbol. Requires: '@'.
  static const char* constSymbol(GRpnEval& eval, const char* s);

 private:
  static bool octalEscape(GRpnEval& eval, const char** s, std::string* text);
  static bool hexEscape(GRpnEval& eval, const char** s, std::string* text);
};

#endif  // LOOMKIT_RPN_LITERALS_H
