// SPDX-License-Identifier: MIT
#include "loomkit/object/sequence_end.h"

#include <utility>

namespace loomkit {
namespace {

constexpr int shallowDepth = 50;

thread_local SequenceEnd* outermost = nullptr;
thread_local int depth = 0;

}  // namespace

SequenceEnd::SequenceEnd() {
  if (++depth == 1) outermost = this;
}

SequenceEnd::~SequenceEnd() {
  if (outermost == this) {
    while (!waiting.empty()) {
      const GRef2<GObject> last = std::move(waiting.back());
      waiting.pop_back();
    }
    outermost = nullptr;
  }
  --depth;
}

bool SequenceEnd::isShallow() { return depth <= shallowDepth; }

// Out of memory for those that wait, there is still the stack.
void SequenceEnd::postpone(GRef2<GObject>& item) {
  try {
    outermost->waiting.push_back(item);
  } catch (...) {
  }
  item = nullptr;
}

}  // namespace loomkit
