// SPDX-License-Identifier: MIT
#include "loomkit/text/literal.h"

#include <cstring>

#include "loomkit/text/c_string.h"
#include "loomkit/text/char_class.h"

namespace {

constexpr char nullWord[] = "NULL";
constexpr std::size_t nullLength = sizeof nullWord - 1;

bool startsWithNull(const char* s) { return std::strncmp(s, nullWord, nullLength) == 0; }

// Reads the string in the parentheses behind the word Symbol. Gives the position
// behind the closing parenthesis, or null.
const char* readSymbolCall(const char* s, std::string& name) {
  s = loomkit::skipAsciiSpace(s);
  if (*s++ != '(') return nullptr;
  const char* end = nullptr;
  name = gParseCString(s, &end);
  if (end == s) return nullptr;
  end = loomkit::skipAsciiSpace(end);
  return *end == ')' ? end + 1 : nullptr;
}

}  // namespace

std::string gParseCString(const char* s, const char** end, bool acceptNull) {
  std::string text;
  *end = s;
  const char* start = loomkit::skipAsciiSpace(s);
  if (*start == '"') {
    const char* behind = loomkit::readQuoted(start + 1, &text);
    if (behind != nullptr) *end = behind;
  } else if (acceptNull && startsWithNull(start) && !loomkit::isAsciiWord(start[nullLength])) {
    *end = start + nullLength;
  }
  return text;
}

std::string gParseCString(const char* s, const char** end) { return gParseCString(s, end, false); }

std::string gParseCString(const std::string& s, unsigned pos, unsigned* length, bool acceptNull) {
  if (length != nullptr) *length = 0;
  if (pos > s.size()) return {};
  const char* start = s.c_str() + pos;
  const char* end = nullptr;
  std::string text = gParseCString(start, &end, acceptNull);
  if (length != nullptr) *length = static_cast<unsigned>(end - start);
  return text;
}

std::string gConvertToCStringOrNULL(const std::string& s, unsigned pos, unsigned n) {
  static const std::string none(nullWord);
  if (n == 0 || s.empty()) return none;
  std::string literal;
  loomkit::appendCString(loomkit::partOf(s, pos, n), &literal);
  return literal;
}

std::string gParseSymbol(const char* s, const char** end, bool acceptNull) {
  static constexpr char callWord[] = "Symbol";
  *end = s;
  const char* start = loomkit::skipAsciiSpace(s);
  if (std::strncmp(start, callWord, sizeof callWord - 1) == 0) {
    std::string name;
    const char* behind = readSymbolCall(start + sizeof callWord - 1, name);
    if (behind == nullptr) return {};
    *end = behind;
    return name.insert(0, 1, '@');
  }
  if (*start == '@' && loomkit::isAsciiWord(start[1]) && !loomkit::isAsciiDigit(start[1])) {
    const char* behind = start + 2;
    while (loomkit::isAsciiWord(*behind)) ++behind;
    *end = behind;
    return std::string(start, behind);
  }
  if (acceptNull && startsWithNull(start)) *end = start + nullLength;
  return {};
}
