// SPDX-License-Identifier: MIT
#include "loomkit/rpn/names.h"

#include <cerrno>
#include <string_view>
#include <utility>

#include "loomkit/rpn/builtin.h"
#include "loomkit/rpn/errors.h"
#include "loomkit/rpn/eval_frame.h"
#include "loomkit/text/char_class.h"
#include "loomkit/text/number32.h"

namespace {

// The number of frames up to which a word still runs.
constexpr unsigned maxDepth = 100;

bool startsName(char c) { return loomkit::isAsciiAlpha(c) || c == '_'; }

const char* nameEnd(const char* p) {
  while (loomkit::isAsciiWord(*p)) ++p;
  return p;
}

}  // namespace

const char* GRpnEval::Names::variable(GRpnEval& eval, const char* p) {
  const EvalFrame& frame = *eval.frame;
  const bool braces = frame.at(p + 1) == '{';
  const char* const name = p + (braces ? 2 : 1);
  if (!startsName(frame.at(name))) return Errors::error(eval, p, "invalid parameter name");
  const char* const end = nameEnd(name);
  const char* next = end;
  const char* fallback = nullptr;
  const char* fallbackEnd = nullptr;
  if (braces) {
    const char* close = end;
    if (frame.at(end) == ':' && frame.at(end + 1) == '-') {
      fallback = end + 2;
      close = fallbackEnd = frame.braces->close(p + 1, fallback, frame.end, frame.defaults);
    }
    if (close == nullptr || frame.at(close) != '}')
      return Errors::error(eval, p, "parameter syntax error");
    next = close + 1;
  }
  GRpnErrMsg err;
  if (eval.paramSet != nullptr) {
    GRpnValue value;
    if (eval.paramSet->lookup(name, static_cast<unsigned>(end - name), &value, &err)) {
      eval.stack.push_back(std::move(value));
      return next;
    }
  } else if (fallback == nullptr) {
    err.append("unknown parameter");
  }
  if (fallback == nullptr) return Errors::error(eval, p, err.getMessage().c_str());
  EvalFrame::enterDefault(eval, fallback, fallbackEnd, next);
  return fallback;
}

const char* GRpnEval::Names::argument(GRpnEval& eval, const char* p) {
  const char* end = p + 1;
  errno = 0;
  const auto index = static_cast<unsigned>(loomkit::parseUnsignedLong32(p + 1, &end, 10));
  const EvalFrame& frame = *eval.frame;
  if (frame.argc == EvalFrame::noArgc) return Errors::error(eval, p, "function has no argument(s)");
  if (errno == ERANGE || index >= frame.argc)
    return Errors::error(eval, p, "argument index out of range");
  eval.stack.push_back(frame.args[index]);
  return end;
}

const char* GRpnEval::Names::function(GRpnEval& eval, const char* p) {
  // This is the engine's only limit on nesting. A chain of defaults in which no
  // word runs is not stopped by it, and need not be, as defaults take no machine
  // stack.
  if (eval.depth > maxDepth) return Errors::error(eval, p, "possibly infinite recursion (aborted)");
  const char* const end = nameEnd(p);
  const std::string_view name(p, static_cast<std::size_t>(end - p));
  if (const Builtin* word = Builtin::find(name)) return word->run(eval, end) ? end : nullptr;
  if (eval.externFuncs == nullptr) return Errors::error(eval, p, "unknown function");
  GRpnErrMsg err;
  if (eval.externFuncs->call(p, static_cast<unsigned>(name.size()), &eval, &err)) return end;
  return Errors::error(eval, end, err.getMessage().c_str());
}
