// SPDX-License-Identifier: MIT
#include "loomkit/text/gi_string.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <limits>

#include "loomkit/text/c_string.h"
#include "loomkit/text/char_class.h"

// Made before every other static object, like the channel in output.cpp.
[[gnu::init_priority(200)]] const std::string gEmptyString;

GiString::GiString(const std::string& s, unsigned pos) : std::string(s, pos) {}
GiString::GiString(const std::string& s, unsigned pos, unsigned n) : std::string(s, pos, n) {}
GiString::GiString(const char* s) : std::string(s) {}
GiString::GiString(const char* s, unsigned n) : std::string(s, n) {}
GiString::GiString(unsigned n, char c) : std::string(n, c) {}
GiString::GiString(const char* first, const char* last) : std::string(first, last) {}

GiString& GiString::operator=(const char* s) {
  assign(s);
  return *this;
}

unsigned GiString::hash() const noexcept {
  std::uint32_t h = 0;
  for (const char c : *this) {
    h = (h << 4) + static_cast<std::uint32_t>(static_cast<signed char>(c));
    const std::uint32_t top = h & 0xF0000000U;
    if (top != 0) h = h ^ (top >> 24) ^ top;
  }
  return h;
}

namespace {

// The C library's case functions, which take bytes as unsigned.
using CaseFunction = int (*)(int);

char mapped(CaseFunction map, char c) {
  return static_cast<char>(map(static_cast<unsigned char>(c)));
}

// Maps the range from the first character on that `changes`; before it nothing
// is written, so that a text that stays as it is keeps its buffer untouched.
void mapCase(std::string& text, unsigned pos, unsigned n, CaseFunction changes, CaseFunction map) {
  if (n == 0 || pos == text.size()) return;
  (void)text.at(pos);  // raises the range error
  const std::size_t end = pos + std::min<std::size_t>(n, text.size() - pos);
  std::size_t i = pos;
  const std::string& unchanged = text;
  while (i < end && changes(static_cast<unsigned char>(unchanged[i])) == 0) ++i;
  for (; i < end; ++i) text[i] = mapped(map, text[i]);
}

}  // namespace

std::string& GiString::toLower(unsigned pos, unsigned n) {
  mapCase(*this, pos, n, std::isupper, std::tolower);
  return *this;
}

std::string& GiString::toUpper(unsigned pos, unsigned n) {
  mapCase(*this, pos, n, std::islower, std::toupper);
  return *this;
}

std::string& GiString::trim(const char* chars) {
  const char* set = chars != nullptr ? chars : loomkit::whiteSpaceSet;
  // Both ends are found before anything goes: `chars` may be a part of this text.
  const std::size_t end = find_last_not_of(set) + 1;  // npos + 1 is 0: nothing is kept
  const std::size_t begin = std::min(find_first_not_of(set), end);
  erase(end);
  erase(0, begin);
  return *this;
}

std::string& GiString::trimLeft(const char* chars) {
  const char* set = chars != nullptr ? chars : loomkit::whiteSpaceSet;
  erase(0, std::min(find_first_not_of(set), size()));
  return *this;
}

std::string& GiString::trimRight(const char* chars) {
  const char* set = chars != nullptr ? chars : loomkit::whiteSpaceSet;
  erase(find_last_not_of(set) + 1);  // npos + 1 is 0: nothing is kept
  return *this;
}

GiString GiString::convertToCString(unsigned pos, unsigned n) const {
  const std::string_view part = loomkit::partOf(*this, pos, n);
  GiString literal;
  literal.reserve(part.size() + (part.size() + 7) / 8 + 3);
  loomkit::appendCString(part, &literal);
  return literal;
}

GiString GiString::parseAsCString(unsigned pos, unsigned* end) const {
  GiString text;
  if (end != nullptr) *end = std::numeric_limits<unsigned>::max();
  if (pos > size()) return text;
  const char* start = data() + pos;
  const char* limit = data() + size();
  const bool quoted = start != limit && *start == '"';
  const char* behind = loomkit::readQuoted(quoted ? start + 1 : start, limit, &text);
  if (behind != nullptr && end != nullptr) *end = static_cast<unsigned>(behind - start);
  return text;
}
