// SPDX-License-Identifier: MIT
#include "open_expression.h"

namespace loom {

namespace {

// The position of the quote that ends the string which begins at `start`, or npos. A
// quote behind a backslash is a character of the string.
std::size_t stringEnd(std::string_view text, std::size_t start) {
  for (std::size_t i = start + 1; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '"') {
      return i;
    }
  }
  return std::string_view::npos;
}

}  // namespace

Missing missingFrom(std::string_view expression) {
  std::size_t open = 0;
  for (std::size_t i = 0; i < expression.size(); ++i) {
    const char c = expression[i];
    if (c == '"') {
      i = stringEnd(expression, i);
      if (i == std::string_view::npos) return Missing::quote;
    } else if (c == '{' && (open > 0 || (i > 0 && expression[i - 1] == '$'))) {
      ++open;
    } else if (c == '}' && open > 0) {
      --open;
    }
  }
  return open > 0 ? Missing::brace : Missing::nothing;
}

}  // namespace loom
