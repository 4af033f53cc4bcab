// SPDX-License-Identifier: MIT
// Patterns and edit distances. The first byte holds the flags, the rest is the
// pattern and the text with a line end between them.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "loomkit/text/edit_distance.h"
#include "loomkit/text/pattern.h"

namespace {

constexpr std::size_t maxLength = 2000;

void require(bool holds) {
  if (!holds) std::abort();
}

std::string quoted(const std::string& text) {
  std::string pattern;
  for (const char c : text) pattern.append(1, '\\').append(1, c);
  return pattern;
}

void match(const std::string& pattern, const std::string& text, unsigned flags) {
  const bool noEscape = (flags & 1) != 0;
  const bool pathName = (flags & 2) != 0;
  const bool period = (flags & 4) != 0;
  const auto matches = [&](const std::string& p) {
    return gPatternMatch(p.c_str(), text.c_str(), noEscape, pathName, period);
  };
  const bool matched = matches(pattern);
  // Each restriction can only take matches away.
  if (matched) require(gPatternMatch(pattern.c_str(), text.c_str(), noEscape, false, false));
  if (!pathName && !period) {
    require(matches("*"));
    if (matched) require(matches("*" + pattern));
  }
  require(gPatternMatch(quoted(text).c_str(), text.c_str(), false, pathName, period));
}

void distance(const std::string& a, const std::string& b) {
  const auto longer = static_cast<int>(std::max(a.size(), b.size()));
  const auto shorter = static_cast<int>(std::min(a.size(), b.size()));
  const int whole = gEditDistance(a.c_str(), b.c_str(), false);
  require(whole == gEditDistance(b.c_str(), a.c_str(), false));
  require(whole >= longer - shorter && whole <= longer);
  const int anywhere = gEditDistance(a.c_str(), b.c_str(), true);
  require(anywhere >= 0 && anywhere <= whole && anywhere <= static_cast<int>(a.size()));
  if (b.find(a) != std::string::npos) require(anywhere == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0 || size > maxLength) return 0;
  // NUL ends both, as it does for a caller.
  const std::string both = std::string(reinterpret_cast<const char*>(data + 1), size - 1).c_str();
  const std::size_t split = std::min(both.find('\n'), both.size());
  const std::string pattern = both.substr(0, split);
  const std::string text = split < both.size() ? both.substr(split + 1) : "";
  match(pattern, text, data[0]);
  distance(pattern, text);
  return 0;
}
