// SPDX-License-Identifier: MIT
// GRpnEval::Operands: what operators and words take from the stack. Private to
// the engine.
#ifndef LOOMKIT_RPN_OPERANDS_H
#define LOOMKIT_RPN_OPERANDS_H

#include <cstddef>
#include <string>

#include "loomkit/rpn/errors.h"
#include "loomkit/rpn/eval_frame.h"

/// The operand checks and the typed pops on which all words rest, all on the
/// innermost expression's part of the stack. `position` is where an error is
/// reported. A pop that fails has reported why, and removes nothing: it takes
/// its values only when all its checks have passed.
///
/// The numbering in the error texts does not always agree with the place on the
/// stack; it is kept, as hosts compare these texts.
struct GRpnEval::Operands {
  /// The number of values that may be taken.
  static std::size_t available(const GRpnEval& eval) noexcept {
    return eval.stack.size() - eval.frame->stackBase;
  }

  /// The value `depth` places below the top. Requires: it is there.
  static GRpnValue& fromTop(GRpnEval& eval, std::size_t depth) noexcept {
    return eval.stack[eval.stack.size() - 1 - depth];
  }

  /// Removes the top values. Requires: they are there.
  static void drop(GRpnEval& eval, std::size_t count) noexcept {
    for (; count != 0; --count) eval.stack.pop_back();
  }

  /// Pushes a new plain string.
  static void pushText(GRpnEval& eval, const std::string& text);

  /// Whether there is a top value and it is of this type. Reports nothing.
  static bool checkStackType(const GRpnEval& eval, GRpnValue::Type type) noexcept;
  /// Whether the two top values are of these types, `top` being the last one.
  static bool checkStackType(const GRpnEval& eval, GRpnValue::Type below,
                             GRpnValue::Type top) noexcept;

  /// Whether there are that many values; otherwise "stack underflow".
  static bool checkSize(GRpnEval& eval, const char* position, std::size_t count) {
    return available(eval) >= count || Errors::refuse(eval, position, "stack underflow");
  }
  /// Whether the top value is a number.
  static bool checkNumber(GRpnEval& eval, const char* position);
  /// Whether the two top values are numbers.
  static bool checkNumbers(GRpnEval& eval, const char* position);

  /// The typed pops. The last parameter receives the top of the stack.
  static bool pop(GRpnEval& eval, const char* position, double* a);
  static bool pop(GRpnEval& eval, const char* position, double* a, double* b);
  /// Whole numbers from 0 to 4294967295.
  static bool pop(GRpnEval& eval, const char* position, unsigned* a);
  static bool pop(GRpnEval& eval, const char* position, unsigned* a, unsigned* b);
  static bool pop(GRpnEval& eval, const char* position, std::string* a);
  static bool pop(GRpnEval& eval, const char* position, std::string* a, std::string* b);
  /// A text with a position `i` and a length `n`, which getSizeType() reads.
  static bool pop(GRpnEval& eval, const char* position, std::string* s, unsigned* i, unsigned* n);
  static bool pop(GRpnEval& eval, const char* position, std::string* a, unsigned* i,
                  std::string* b);
  static bool pop(GRpnEval& eval, const char* position, std::string* a, unsigned* i, unsigned* n,
                  std::string* b);
  /// Drops the stack's reference on a vector and gives the caller none, so that
  /// a vector that nobody else refers to has ended: `*v` is null then.
  static bool pop(GRpnEval& eval, const char* position, GRpnVector** v);
  /// A vector and an index into it. The caller gets a reference of its own.
  static bool pop(GRpnEval& eval, const char* position, GRpnVector** v, unsigned* i);

 private:
  static bool checkType(GRpnEval& eval, const char* position, std::size_t depth,
                        GRpnValue::Type type, const char* message);
  static bool readNatural(GRpnEval& eval, const char* position, std::size_t depth,
                          unsigned* result);
  static bool readSize(GRpnEval& eval, const char* position, std::size_t depth, const char* message,
                       unsigned* result);
  static bool getSizeType(const GRpnValue& value, unsigned* result) noexcept;
};

inline bool GRpnEval::Operands::checkType(GRpnEval& eval, const char* position, std::size_t depth,
                                          GRpnValue::Type type, const char* message) {
  return fromTop(eval, depth).getType() == type || Errors::refuse(eval, position, message);
}

inline bool GRpnEval::Operands::checkNumber(GRpnEval& eval, const char* position) {
  return checkSize(eval, position, 1) &&
         checkType(eval, position, 0, GRpnValue::Number, "stack[0] is not a number");
}

inline bool GRpnEval::Operands::checkNumbers(GRpnEval& eval, const char* position) {
  return checkSize(eval, position, 2) &&
         checkType(eval, position, 0, GRpnValue::Number, "stack[0] is not a number") &&
         checkType(eval, position, 1, GRpnValue::Number, "stack[1] is not a number");
}

#endif  // LOOMKIT_RPN_OPERANDS_H
