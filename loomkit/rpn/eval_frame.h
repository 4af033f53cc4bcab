// SPDX-License-Identifier: MIT
// The evaluator's frame: one running expression, its part of the stack and its
// arguments. Private to the engine.
#ifndef LOOMKIT_RPN_EVAL_FRAME_H
#define LOOMKIT_RPN_EVAL_FRAME_H

#include <cstddef>
#include <vector>

#include "loomkit/rpn/brace_index.h"
#include "loomkit/rpn/eval.h"

/// A frame is pooled and linked through `previous`. The frame of a parameter's
/// default is entered and left by the loop that runs the enclosing expression,
/// so that defaults nested to any depth take no machine stack.
struct GRpnEval::EvalFrame {
  static constexpr unsigned noArgc = ~0U;  // the word argc has not run

  EvalFrame* previous;
  std::size_t stackBase;  // the frame's part of the stack begins here
  unsigned argc;
  std::vector<GRpnValue> args;  // the deepest first
  const char* expr;             // not owned
  const char* end;              // a default's closing brace; null: up to the NUL
  const char* resume;           // where the enclosing expression goes on
  std::size_t before;           // size of the stack when the frame began
  unsigned defaults;            // number of defaults that this frame is nested in
  loomkit::BraceIndex* braces;

  struct Pool;
  static void* operator new(std::size_t size);
  static void operator delete(void* block) noexcept;
};

inline char GRpnEval::at(const char* p) const noexcept { return p == frame->end ? '\0' : *p; }

inline std::size_t GRpnEval::available() const noexcept { return stack.size() - frame->stackBase; }

inline bool GRpnEval::checkSize(const char* pos, std::size_t count) {
  if (available() >= count) return true;
  error(pos, "stack underflow");
  return false;
}

inline bool GRpnEval::checkNumbers(const char* pos) {
  if (!checkSize(pos, 2)) return false;
  if (fromTop(0).getType() == GRpnValue::Number && fromTop(1).getType() == GRpnValue::Number)
    return true;
  error(pos, fromTop(0).getType() != GRpnValue::Number ? "stack[0] is not a number"
                                                       : "stack[1] is not a number");
  return false;
}

namespace loomkit {

/// A creator's reference on a counted object, dropped at the end of its scope.
template <typename Object>
class CreatorRef {
 public:
  explicit CreatorRef(Object* created) noexcept : object(created) {}
  CreatorRef(const CreatorRef&) = delete;
  CreatorRef& operator=(const CreatorRef&) = delete;
  ~CreatorRef() { object->decRef(); }
  Object* operator->() const noexcept { return object; }
  [[nodiscard]] Object* get() const noexcept { return object; }

 private:
  Object* object;
};

}  // namespace loomkit

#endif  // LOOMKIT_RPN_EVAL_FRAME_H
