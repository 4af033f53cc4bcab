// SPDX-License-Identifier: MIT
#include "loomkit/text/literal.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "loomkit/text/c_string.h"
#include "loomkit/text/char_class.h"

namespace {

// Where a text ends: at its NUL, or at a given place.
struct EndsAtNul {
  bool operator()(const char* s) const { return *s == '\0'; }
};
struct EndsAt {
  const char* limit;
  bool operator()(const char* s) const { return s == limit; }
};

// The escapes of one letter, as pairs of the letter and its byte. What is not
// here and no number stands for itself.
constexpr struct {
  char letter;
  char byte;
} letterEscapes[] = {{'a', '\a'}, {'b', '\b'}, {'t', '\t'}, {'n', '\n'},
                     {'v', '\v'}, {'f', '\f'}, {'r', '\r'}};

char letterEscape(char letter) {
  for (const auto& escape : letterEscapes) {
    if (escape.letter == letter) return escape.byte;
  }
  return letter;
}

constexpr bool isOctalDigit(char c) { return c >= '0' && c <= '7'; }

// The byte that the escape behind a backslash stands for; `s` is at its first
// character and is moved behind it. Numbers are cut to eight bits.
template <typename AtEnd>
char readEscape(const char*& s, AtEnd atEnd) {
  const char first = *s++;
  if (isOctalDigit(first)) {
    unsigned value = static_cast<unsigned>(first - '0');
    for (int digits = 1; digits < 3 && !atEnd(s) && isOctalDigit(*s); ++digits, ++s) {
      value = value * 8 + static_cast<unsigned>(*s - '0');
    }
    return static_cast<char>(value & 0xFF);
  }
  if (first == 'x' && !atEnd(s) && loomkit::isAsciiXDigit(*s)) {
    unsigned value = 0;
    for (; !atEnd(s) && loomkit::isAsciiXDigit(*s); ++s) {
      value = (value * 16 + loomkit::hexDigitValue(*s)) & 0xFF;
    }
    return static_cast<char>(value);
  }
  return letterEscape(first);
}

// Appends the string whose opening quote is behind us. The result is behind the
// closing quote, or null when the text ended before it.
template <typename AtEnd>
const char* readQuoted(const char* s, AtEnd atEnd, std::string& out) {
  for (;;) {
    const char* run = s;
    while (!atEnd(s) && *s != '"' && *s != '\\') ++s;
    out.append(run, s);
    if (atEnd(s)) return nullptr;
    if (*s++ == '"') return s;
    if (atEnd(s)) return nullptr;
    out.push_back(readEscape(s, atEnd));
  }
}

constexpr char nullWord[] = "NULL";
constexpr std::size_t nullLength = sizeof nullWord - 1;

bool startsWithNull(const char* s) { return std::strncmp(s, nullWord, nullLength) == 0; }

// The string in the parentheses behind the word Symbol. The result is behind
// the closing parenthesis, or null.
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
    const char* behind = readQuoted(start + 1, EndsAtNul{}, text);
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

GiString GiString::parseAsCString(unsigned pos, unsigned* end) const {
  GiString text;
  if (end != nullptr) *end = std::numeric_limits<unsigned>::max();
  if (pos > size()) return text;
  const char* start = data() + pos;
  const char* limit = data() + size();
  const bool quoted = start != limit && *start == '"';
  const char* behind = readQuoted(quoted ? start + 1 : start, EndsAt{limit}, text);
  if (behind != nullptr && end != nullptr) *end = static_cast<unsigned>(behind - start);
  return text;
}

namespace {

// How each byte below 32 is written behind its backslash: a letter, or three
// octal digits.
constexpr char controlEscapes[32][4] = {"000", "001", "002", "003", "004", "005", "006", "a",
                                        "b",   "t",   "n",   "v",   "f",   "r",   "016", "017",
                                        "020", "021", "022", "023", "024", "025", "026", "027",
                                        "030", "031", "032", "033", "034", "035", "036", "037"};

constexpr bool needsEscape(char c) {
  return static_cast<unsigned char>(c) < 32 || c == '"' || c == '\\';
}

// As far as there is text.
std::string_view partOf(const std::string& text, unsigned pos, unsigned n) {
  return std::string_view(text).substr(std::min<std::size_t>(pos, text.size()), n);
}

}  // namespace

void loomkit::appendCString(std::string_view text, std::string* literals) {
  literals->push_back('"');
  const char* s = text.data();
  const char* limit = s + text.size();
  while (s != limit) {
    const char* run = s;
    while (s != limit && !needsEscape(*s)) ++s;
    literals->append(run, s);
    if (s == limit) break;
    const char c = *s++;
    literals->push_back('\\');
    if (static_cast<unsigned char>(c) < 32) {
      literals->append(controlEscapes[static_cast<unsigned char>(c)]);
    } else {
      literals->push_back(c);
    }
  }
  literals->push_back('"');
}

GiString GiString::convertToCString(unsigned pos, unsigned n) const {
  const std::string_view part = partOf(*this, pos, n);
  GiString literal;
  literal.reserve(part.size() + (part.size() + 7) / 8 + 3);
  loomkit::appendCString(part, &literal);
  return literal;
}

std::string gConvertToCStringOrNULL(const std::string& s, unsigned pos, unsigned n) {
  static const std::string none(nullWord);
  if (n == 0 || s.empty()) return none;
  std::string literal;
  loomkit::appendCString(partOf(s, pos, n), &literal);
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
