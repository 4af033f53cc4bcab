// SPDX-License-Identifier: MIT
// GRpnEval::Operators: what stands for itself in an expression. Private to the
// engine.
#ifndef LOOMKIT_RPN_OPERATORS_H
#define LOOMKIT_RPN_OPERATORS_H

#include "loomkit/rpn/operands.h"

/// Each operator takes the position of its first character and returns the
/// position behind it, or null after a report at its first character.
struct GRpnEval::Operators : Operands {
  static const char* logNegate(GRpnEval& eval, const char* position);
  static const char* multiply(GRpnEval& eval, const char* position);
  static const char* divide(GRpnEval& eval, const char* position);
  static const char* modulo(GRpnEval& eval, const char* position);
  static const char* add(GRpnEval& eval, const char* position);
  static const char* subtract(GRpnEval& eval, const char* position);
  static const char* lessThan(GRpnEval& eval, const char* position);
  static const char* lessThanOrEqual(GRpnEval& eval, const char* position);
  static const char* greaterThanOrEqual(GRpnEval& eval, const char* position);
  static const char* greaterThan(GRpnEval& eval, const char* position);
  static const char* notEqual(GRpnEval& eval, const char* position);
  static const char* equal(GRpnEval& eval, const char* position);
  static const char* logAnd(GRpnEval& eval, const char* position);
  static const char* logOr(GRpnEval& eval, const char* position);
  static const char* bitAnd(GRpnEval& eval, const char* position);
  static const char* bitOr(GRpnEval& eval, const char* position);
  static const char* bitXor(GRpnEval& eval, const char* position);
  /// `[` ( vector index -- element )
  static const char* vectorIndex(GRpnEval& eval, const char* position);
  /// `]` ( e1 ... en n -- vector )
  static const char* vectorBuild(GRpnEval& eval, const char* position);

 private:
  static const char* concatenate(GRpnEval& eval, const char* position);
  // ( a b -- function(a, b) ) on numbers.
  template <typename Function>
  static const char* numeric(GRpnEval& eval, const char* position, Function function);
  // ( a b -- 1.0 or 0.0 ) on two strings or two numbers: `holds` judges their
  // order, which is below, at or above 0. The operator has `length` characters.
  template <typename Holds>
  static const char* compare(GRpnEval& eval, const char* position, unsigned length, Holds holds);
  // ( a b -- function(a, b) ) on whole numbers of 32 bits.
  template <typename Function>
  static const char* bitwise(GRpnEval& eval, const char* position, Function function);
};

#endif  // LOOMKIT_RPN_OPERATORS_H
