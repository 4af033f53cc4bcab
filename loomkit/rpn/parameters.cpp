// SPDX-License-Identifier: MIT
// The ways out of an expression: $parameters, $0 arguments, the word argc, and
// words, built in or the host's.
#include <cerrno>

#include "loomkit/rpn/eval_frame.h"
#include "loomkit/rpn/word_table.h"
#include "loomkit/text/char_class.h"
#include "loomkit/text/number32.h"

namespace {

constexpr unsigned maxDepth = 100;  // of frames, where a word may still run

bool startsName(char c) { return loomkit::isAsciiAlpha(c) || c == '_'; }

const char* nameEnd(const char* p) {
  while (loomkit::isAsciiWord(*p)) ++p;
  return p;
}

}  // namespace

// $name, ${name} or ${name:-default}.
const char* GRpnEval::variable(const char* p) {
  const bool braces = at(p + 1) == '{';
  const char* const name = p + (braces ? 2 : 1);
  if (!startsName(at(name))) return error(p, "invalid parameter name");
  const char* const end = nameEnd(name);
  const char* next = end;
  const char* fallback = nullptr;
  const char* fallbackEnd = nullptr;
  if (braces) {
    const char* close = end;
    if (at(end) == ':' && at(end + 1) == '-') {
      fallback = end + 2;
      close = fallbackEnd = frame->braces->close(p + 1, fallback, frame->end, frame->defaults);
    }
    if (close == nullptr || at(close) != '}') return error(p, "parameter syntax error");
    next = close + 1;
  }
  GRpnErrMsg err;
  if (paramSet != nullptr) {
    GRpnValue value;
    if (paramSet->lookup(name, static_cast<unsigned>(end - name), &value, &err)) {
      stack.push_back(std::move(value));
      return next;
    }
  } else if (fallback == nullptr) {
    err.append("unknown parameter");
  }
  if (fallback == nullptr) return error(p, err.getMessage().c_str());
  enterDefault(fallback, fallbackEnd, next);
  return fallback;
}

// $0, $1 ...: an argument that the word argc has taken.
const char* GRpnEval::argument(const char* p) {
  const char* end = p + 1;
  errno = 0;
  const auto index = static_cast<unsigned>(loomkit::parseUnsignedLong32(p + 1, &end, 10));
  if (frame->argc == EvalFrame::noArgc) return error(p, "function has no argument(s)");
  if (errno == ERANGE || index >= frame->argc) return error(p, "argument index out of range");
  stack.push_back(frame->args[index]);
  return end;
}

bool GRpnEval::f_argc(const char* pos) {
  if (frame->argc != EvalFrame::noArgc)
    return error(pos, "there can't be more than one \"argc\" per function") != nullptr;
  if (available() > 1) return error(pos, "local function stack not empty") != nullptr;
  unsigned count = 0;
  if (!pop(pos, &count)) return false;
  const EvalFrame* const caller = frame->previous;
  const std::size_t callers = caller != nullptr ? frame->stackBase - caller->stackBase : 0;
  if (count == 0) return error(pos, "the number of arguments must be greater than 0") != nullptr;
  if (count > callers) return error(pos, "too few arguments on local caller stack") != nullptr;
  frame->args.assign(stack.end() - static_cast<std::ptrdiff_t>(count), stack.end());
  drop(count);
  frame->argc = count;
  frame->stackBase -= count;
  return true;
}

const char* GRpnEval::function(const char* p) {
  // The engine's only limit on nesting. Defaults that run through no word are
  // not counted, and need no limit: they take no machine stack.
  if (depth > maxDepth) return error(p, "possibly infinite recursion (aborted)");
  const char* const end = nameEnd(p);
  const auto length = static_cast<std::size_t>(end - p);
  if (const Builtin* word = getBuiltinFuncPtr(p, length))
    return (this->*word->handler)(end) ? end : nullptr;
  if (externFuncs == nullptr) return error(p, "unknown function");
  GRpnErrMsg err;
  if (externFuncs->call(p, static_cast<unsigned>(length), this, &err)) return end;
  return error(end, err.getMessage().c_str());
}
