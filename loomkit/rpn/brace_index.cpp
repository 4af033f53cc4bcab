// SPDX-License-Identifier: MIT
#include "loomkit/rpn/brace_index.h"

#include <algorithm>

namespace loomkit {
namespace {

// The number of defaults around a default up to which its closing brace is looked
// for by a walk, which needs no memory. Real expressions do not nest them deeper.
constexpr unsigned plainDepth = 32;

// The quote that ends the literal whose first character is at `p`; null when
// the text ends first.
const char* literalEnd(const char* p, const char* end) {
  const char* const begin = p;
  for (; p != end && *p != '\0'; ++p) {
    if (*p != '"') continue;
    const char* backslashes = p;
    while (backslashes != begin && backslashes[-1] == '\\') --backslashes;
    if ((p - backslashes) % 2 == 0) return p;
  }
  return nullptr;
}

// Calls onOpen(p) and onClose(p) at each brace outside string literals, until
// onClose() gives true; the result is that position, or null at the end.
template <typename OnOpen, typename OnClose>
const char* walk(const char* p, const char* end, OnOpen onOpen, OnClose onClose) {
  for (; p != end && *p != '\0'; ++p) {
    if (*p == '"') {
      p = literalEnd(p + 1, end);
      if (p == nullptr) return nullptr;
    } else if (*p == '{') {
      onOpen(p);
    } else if (*p == '}' && onClose(p)) {
      return p;
    }
  }
  return nullptr;
}

}  // namespace

const char* BraceIndex::close(const char* open, const char* begin, const char* end,
                              unsigned depth) {
  if (depth < plainDepth) {
    std::size_t count = 1;
    return walk(
        begin, end, [&](const char*) { ++count; }, [&](const char*) { return --count == 0; });
  }
  const char* known = find(open);
  return known != nullptr ? known : build(open, begin, end);
}

const char* BraceIndex::find(const char* open) const {
  const auto at = std::lower_bound(pairs.begin(), pairs.end(), open,
                                   [](const Pair& pair, const char* p) { return pair.open < p; });
  return at != pairs.end() && at->open == open ? at->close : nullptr;
}

const char* BraceIndex::build(const char* open, const char* begin, const char* end) {
  pairs.assign(1, {open, nullptr});
  std::vector<std::size_t> unclosed{0};
  return walk(
      begin, end,
      [&](const char* p) {
        unclosed.push_back(pairs.size());
        pairs.push_back({p, nullptr});
      },
      [&](const char* p) {
        pairs[unclosed.back()].close = p;
        unclosed.pop_back();
        return unclosed.empty();
      });
}

}  // namespace loomkit
