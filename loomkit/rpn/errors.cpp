// SPDX-License-Identifier: MIT
// How errors leave the evaluator: one text, one call of the handler.
#include <cstring>
#include <functional>
#include <string>

#include "loomkit/rpn/eval_frame.h"

namespace {

// The end of a text that stops at `end`, or at its NUL when that is null.
const char* textEnd(const char* text, const char* end) {
  return end != nullptr ? end : text + std::strlen(text);
}

}  // namespace

const char* GRpnEval::error(const char* position, const char* message) {
  const char* const begin = frame->expr;
  const char* const end = textEnd(begin, frame->end);
  const std::less<> before;  // a total order, whatever `position` points to
  if (before(position, begin) || before(end, position)) position = end;
  std::string text;
  if (!exprName.empty()) text.append(exprName).append(": ");
  text.append("rpn error: ").append(message).append(":\n");
  text.append(begin, position).append(" >!< ").append(position, end);
  errorHandler->error(text);
  return nullptr;
}

const char* GRpnEval::syntaxError(const char* position) { return error(position, "syntax error"); }

void GRpnEval::resultError(const char* expr, const char* exprEnd, const char* message) {
  std::string text;
  if (!exprName.empty()) text.append(exprName).append(": ");
  text.append("rpn error: ").append(message).append("\nin: ");
  text.append(expr, textEnd(expr, exprEnd));
  errorHandler->error(text);
}
