// SPDX-License-Identifier: MIT
// GRpnEval::Builtin: a built-in word of the expression language, and the search
// among all of them. Private to the engine.
#ifndef LOOMKIT_RPN_BUILTIN_H
#define LOOMKIT_RPN_BUILTIN_H

#include <string_view>

#include "loomkit/rpn/operands.h"

/// A row of the table of words. A word pushes a constant, replaces the number on
/// top by a function of it, or has a handler for all it does.
struct GRpnEval::Builtin {
  using Function = double (*)(double);
  /// Gets the position just behind the word, where it reports what goes wrong.
  /// False after a report.
  using Handler = bool (*)(GRpnEval& eval, const char* position);

  constexpr Builtin(std::string_view word, double value)
      : name(word), kind(Kind::Constant), constant(value) {}
  constexpr Builtin(std::string_view word, Function computation)
      : name(word), kind(Kind::Function), function(computation) {}
  constexpr Builtin(std::string_view word, Handler action)
      : name(word), kind(Kind::Handler), handler(action) {}

  /// The word of this name, or null.
  static const Builtin* find(std::string_view name) noexcept;

  /// Runs the word, which ends at `position`. False after a report.
  bool run(GRpnEval& eval, const char* position) const;

  struct Table;

  std::string_view name;

 private:
  struct Handlers;

  enum class Kind : unsigned char { Constant, Function, Handler };
  Kind kind;
  union {
    double constant;
    Function function;
    Handler handler;
  };
};

inline bool GRpnEval::Builtin::run(GRpnEval& eval, const char* position) const {
  if (kind == Kind::Handler) return handler(eval, position);
  if (kind == Kind::Constant) {
    eval.stack.emplace_back(constant);
    return true;
  }
  if (!Operands::checkNumber(eval, position)) return false;
  double& top = Operands::fromTop(eval, 0).payload.number;
  top = function(top);
  return true;
}

#endif  // LOOMKIT_RPN_BUILTIN_H
