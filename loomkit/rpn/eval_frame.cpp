// SPDX-License-Identifier: MIT
#include "loomkit/rpn/eval_frame.h"

#include "loomkit/rpn/errors.h"

void GRpnEval::EvalFrame::enterDefault(GRpnEval& eval, const char* expr, const char* end,
                                       const char* resume) {
  const EvalFrame& outer = *eval.frame;
  push(eval, expr, end);
  EvalFrame& inner = *eval.frame;
  inner.resume = resume;
  inner.defaults = outer.defaults + 1;
  inner.braces = outer.braces;
}

const char* GRpnEval::EvalFrame::leaveDefault(GRpnEval& eval) {
  const EvalFrame& inner = *eval.frame;
  const std::size_t size = eval.stack.size();
  if (size != inner.before + 1) {
    Errors::notOneResult(eval, inner.expr, inner.end, size == inner.before);
    return nullptr;
  }
  const char* const resume = inner.resume;
  pop(eval);
  return resume;
}
