// SPDX-License-Identifier: MIT
// The evaluator's frame: one running expression, its part of the stack and its
// arguments; and EvalScope, the time during which it runs. Private to the
// engine.
#ifndef LOOMKIT_RPN_EVAL_FRAME_H
#define LOOMKIT_RPN_EVAL_FRAME_H

#include <cstddef>
#include <vector>

#include "loomkit/rpn/brace_index.h"
#include "loomkit/rpn/eval.h"
#include "loomkit/rpn/free_list.h"

/// A frame is pooled and linked through `previous`. The frame of a parameter's
/// default is entered and left by the loop that runs the enclosing expression,
/// so that defaults nested to any depth take no machine stack.
struct GRpnEval::EvalFrame {
  /// The value of `argc` as long as the word argc has not run.
  static constexpr unsigned noArgc = ~0U;

  EvalFrame* previous;          ///< the enclosing frame, or null
  std::size_t stackBase;        ///< the frame's part of the stack begins here
  unsigned argc;                ///< the number of arguments that argc has taken
  std::vector<GRpnValue> args;  ///< the arguments, the deepest first
  const char* expr;             ///< the text that runs; not owned
  const char* end;              ///< a default's closing brace; null: up to the NUL
  const char* resume;           ///< where the enclosing expression goes on
  std::size_t before;           ///< the size of the stack when the frame began
  unsigned defaults;            ///< the number of defaults around this frame
  loomkit::BraceIndex* braces;  ///< shared with the defaults; lives in the EvalScope

  /// The character at p, or NUL where the expression ends.
  [[nodiscard]] char at(const char* p) const noexcept { return p == end ? '\0' : *p; }

  /// Makes a frame for `expr` the innermost one.
  static void push(GRpnEval& eval, const char* expr, const char* end);
  /// Ends the innermost frame.
  static void pop(GRpnEval& eval) noexcept;

  /// Begins the default of a parameter, which runs up to its brace at `end`;
  /// the enclosing expression goes on at `resume`.
  static void enterDefault(GRpnEval& eval, const char* expr, const char* end, const char* resume);
  /// Ends a default at its brace. Its one result stays on the stack, as the
  /// parameter's value. The position where the enclosing expression goes on, or
  /// null after a report.
  static const char* leaveDefault(GRpnEval& eval);

  struct Pool;
  static void* operator new(std::size_t size);
  static void operator delete(void* block) noexcept;
};

/// The frame of one eval() call. However the call ends, by an exception of a
/// host's function too, the frame and the defaults above it are left again.
class GRpnEval::EvalScope {
 public:
  EvalScope(GRpnEval& evaluator, const char* expr) : eval(evaluator), outer(evaluator.frame) {
    EvalFrame::push(eval, expr, nullptr);
    eval.frame->braces = &braces;
  }
  EvalScope(const EvalScope&) = delete;
  EvalScope& operator=(const EvalScope&) = delete;
  ~EvalScope() {
    while (eval.frame->previous != outer) {
      const std::size_t before = eval.frame->before;
      EvalFrame::pop(eval);
      eval.restoreStack(before);
    }
    EvalFrame::pop(eval);
  }

 private:
  GRpnEval& eval;
  EvalFrame* outer;
  loomkit::BraceIndex braces;
};

struct GRpnEval::EvalFrame::Pool {
  static inline constinit loomkit::FreeList<sizeof(EvalFrame), 0> frames;  // linked by `previous`
};

inline void* GRpnEval::EvalFrame::operator new(std::size_t) { return Pool::frames.take(); }

inline void GRpnEval::EvalFrame::operator delete(void* block) noexcept { Pool::frames.give(block); }

inline void GRpnEval::EvalFrame::push(GRpnEval& eval, const char* expr, const char* end) {
  const std::size_t size = eval.stack.size();
  eval.frame = new EvalFrame{eval.frame, size, noArgc, {}, expr, end, nullptr, size, 0, nullptr};
  ++eval.depth;
}

inline void GRpnEval::EvalFrame::pop(GRpnEval& eval) noexcept {
  EvalFrame* const ended = eval.frame;
  eval.frame = ended->previous;
  --eval.depth;
  delete ended;
}

#endif  // LOOMKIT_RPN_EVAL_FRAME_H
