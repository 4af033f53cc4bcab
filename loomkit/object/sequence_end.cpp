// SPDX-License-Identifier: MIT
#include "loomkit/object/sequence_end.h"

#include <utility>

namespace loomkit {
namespace {

// The number of levels that end one inside the other.
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

// When there is no memory for the list of those that wait, the element is let go
// at once: its end then takes machine stack, which is better than none.
void SequenceEnd::postpone(GRef2<GObject>& item) {
  try {
    outermost->waiting.push_back(item);
  } catch (...) {
  }
  item = nullptr;
}

}  // namespace loomkit
