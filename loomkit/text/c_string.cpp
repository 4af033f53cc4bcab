// SPDX-License-Identifier: MIT
#include "loomkit/text/c_string.h"

#include "loomkit/text/char_class.h"

namespace loomkit {
namespace {

// The two ways to tell where a text ends: at its NUL, or at a given position.
struct EndsAtNul {
  bool operator()(const char* s) const { return *s == '\0'; }
};
struct EndsAt {
  const char* limit;
  bool operator()(const char* s) const { return s == limit; }
};

// The escapes of one letter, as pairs of the letter and its byte. A letter that is
// not in the table, and is no digit or x, stands for itself.
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
  if (first == 'x' && !atEnd(s) && isAsciiXDigit(*s)) {
    unsigned value = 0;
    for (; !atEnd(s) && isAsciiXDigit(*s); ++s) {
      value = (value * 16 + hexDigitValue(*s)) & 0xFF;
    }
    return static_cast<char>(value);
  }
  return letterEscape(first);
}

// Appends the rest of a string whose opening quote has been read. Gives the position
// behind the closing quote, or null if the text ends before it.
template <typename AtEnd>
const char* readUntilQuote(const char* s, AtEnd atEnd, std::string& out) {
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

// How each byte below 32 is written behind its backslash: a letter, or three
// octal digits.
constexpr char controlEscapes[32][4] = {"000", "001", "002", "003", "004", "005", "006", "a",
                                        "b",   "t",   "n",   "v",   "f",   "r",   "016", "017",
                                        "020", "021", "022", "023", "024", "025", "026", "027",
                                        "030", "031", "032", "033", "034", "035", "036", "037"};

constexpr bool needsEscape(char c) {
  return static_cast<unsigned char>(c) < 32 || c == '"' || c == '\\';
}

}  // namespace

const char* readQuoted(const char* s, std::string* text) {
  return readUntilQuote(s, EndsAtNul{}, *text);
}

const char* readQuoted(const char* s, const char* limit, std::string* text) {
  return readUntilQuote(s, EndsAt{limit}, *text);
}

void appendCString(std::string_view text, std::string* literals) {
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

}  // namespace loomkit
