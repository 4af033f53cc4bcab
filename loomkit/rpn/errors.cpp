// SPDX-License-Identifier: MIT
#include "loomkit/rpn/errors.h"

#include <cstring>
#include <functional>
#include <string>

#include "loomkit/rpn/eval_frame.h"

namespace {

// The end of a text that stops at `end`, or at its NUL when that is null.
const char* textEnd(const char* text, const char* end) {
  return end != nullptr ? end : text + std::strlen(text);
}

// The beginning that all reports have in common.
std::string heading(const std::string& exprName, const char* message) {
  std::string text;
  if (!exprName.empty()) text.append(exprName).append(": ");
  return text.append("rpn error: ").append(message);
}

}  // namespace

const char* GRpnEval::Errors::error(GRpnEval& eval, const char* position, const char* message) {
  const char* const begin = eval.frame->expr;
  const char* const end = textEnd(begin, eval.frame->end);
  const std::less<> before;  // unlike <, it may compare pointers into different texts
  if (before(position, begin) || before(end, position)) position = end;
  std::string text = heading(eval.exprName, message);
  text.append(":\n").append(begin, position).append(" >!< ").append(position, end);
  eval.errorHandler->error(text);
  return nullptr;
}

const char* GRpnEval::Errors::syntaxError(GRpnEval& eval, const char* position) {
  return error(eval, position, "syntax error");
}

void GRpnEval::Errors::resultError(GRpnEval& eval, const char* expr, const char* exprEnd,
                                   const char* message) {
  std::string text = heading(eval.exprName, message);
  text.append("\nin: ").append(expr, textEnd(expr, exprEnd));
  eval.errorHandler->error(text);
}

void GRpnEval::Errors::notOneResult(GRpnEval& eval, const char* expr, const char* exprEnd,
                                    bool none) {
  resultError(eval, expr, exprEnd,
              none ? "stack underflow (no result)" : "too many result values on stack");
}
