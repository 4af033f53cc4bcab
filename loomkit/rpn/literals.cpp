// SPDX-License-Identifier: MIT
#include "loomkit/rpn/literals.h"

#include <cerrno>
#include <cstdint>

#include "loomkit/rpn/creator_ref.h"
#include "loomkit/rpn/errors.h"
#include "loomkit/rpn/eval_frame.h"
#include "loomkit/text/char_class.h"
#include "loomkit/text/number.h"
#include "loomkit/text/number32.h"
#include "loomkit/text/short_number.h"

using loomkit::isAsciiAlpha;
using loomkit::isAsciiDigit;
using loomkit::isAsciiSpace;
using loomkit::isAsciiWord;

namespace {

// Reads a short decimal integer, which is what most numbers are, and gives the
// position behind it. Null where the digits may belong to another kind of number.
const char* shortInteger(const char* s, std::int32_t* value) {
  const char* const end = loomkit::readShortNumber(s, value);
  if (end == nullptr || (*s == '0' && end - s > 1)) return nullptr;  // perhaps octal
  switch (*end) {
    case '.':
    case 'e':
    case 'E':
    case 'x':
    case 'X':
      return nullptr;
    default:
      return end;
  }
}

}  // namespace

const char* GRpnEval::Literals::constNumber(GRpnEval& eval, const char* s) {
  std::int32_t integer = 0;
  if (const char* end = shortInteger(s, &integer)) {
    eval.push(integer);
    return end;
  }
  double value = 0;
  const char* end = s;
  bool converted = false;
  errno = 0;
  // The test for the capital X is looser than the one for x, and expressions rely
  // on it: "5X" is the number 5, followed by a word that begins with X.
  if ((s[0] == '0' && s[1] == 'x') || s[1] == 'X') {
    value = loomkit::parseUnsignedLong32(s, &end, 16);
    converted = true;
  } else if (s[0] == '0' && isAsciiDigit(s[1])) {
    value = loomkit::parseUnsignedLong32(s, &end, 8);
    converted = eval.frame->at(end) == '\0' || isAsciiSpace(*end);  // else "017+" is decimal
    if (!converted) errno = 0;
  }
  if (!converted) value = gParseCDouble(s, &end);
  if (end == s) return Errors::syntaxError(eval, s);
  if (errno == ERANGE && value != 0) return Errors::error(eval, s, "numeric overflow");
  eval.push(value);
  return end;
}

namespace {

// The character that a letter behind a backslash stands for, or NUL if it is no
// escape.
char simpleEscape(char letter) {
  switch (letter) {
    case '"':
    case '\'':
    case '?':
    case '\\':
      return letter;
    case 'a':
      return '\a';
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    case 'v':
      return '\v';
    default:
      return '\0';
  }
}

constexpr unsigned largestByte = 255;

}  // namespace

// Reads the digits from *s on, appends their byte, and moves *s behind them.
bool GRpnEval::Literals::octalEscape(GRpnEval& eval, const char** s, std::string* text) {
  const char* p = *s;
  unsigned value = 0;
  for (; p - *s < 3 && *p >= '0' && *p <= '7'; ++p)
    value = value * 8 + static_cast<unsigned>(*p - '0');
  *s = p;
  if (value > largestByte) return Errors::refuse(eval, p, "octal character escape out of range");
  *text += static_cast<char>(value);
  return true;
}

// Reads the digits behind an x from *s on, appends their byte, and moves *s behind
// them. The spelling of both error texts is wrong, and stays, as hosts know it.
bool GRpnEval::Literals::hexEscape(GRpnEval& eval, const char** s, std::string* text) {
  const char* p = *s;
  unsigned value = 0;
  for (; value < largestByte && loomkit::isAsciiXDigit(*p); ++p)
    value = value * 16 + loomkit::hexDigitValue(*p);
  if (p == *s) return Errors::refuse(eval, p, "invalid hexadeximal character escape");
  *s = p;
  if (value > largestByte)
    return Errors::refuse(eval, p, "hexadeximal character escape out of range");
  *text += static_cast<char>(value);
  return true;
}

const char* GRpnEval::Literals::constString(GRpnEval& eval, const char* s) {
  const loomkit::CreatorRef<GRpnString> text(new GRpnString(false));
  for (const char* p = s + 1;;) {
    const char* const plain = p;
    while (eval.frame->at(p) != '\0' && *p != '"' && *p != '\\') ++p;
    text->append(plain, p);
    if (eval.frame->at(p) == '\0') return Errors::error(eval, p, "unexpected end of expression");
    if (*p == '"') {
      eval.stack.emplace_back(text.get());
      return p + 1;
    }
    const char* const backslash = p++;
    const char letter = eval.frame->at(p);
    if (letter >= '0' && letter <= '7') {
      if (!octalEscape(eval, &p, text.get())) return nullptr;
    } else if (letter == 'x') {
      if (!hexEscape(eval, &++p, text.get())) return nullptr;
    } else if (const char c = simpleEscape(letter); c != '\0') {
      // p stays on the letter, which the next round reads once more as an ordinary
      // character: "\n" gives a line feed and an n, and "\"" ends the literal.
      // Expressions in the field rely on it.
      *text += c;
    } else {
      return Errors::error(eval, backslash, "invalid character escape");
    }
  }
}

const char* GRpnEval::Literals::constSymbol(GRpnEval& eval, const char* s) {
  const char* const name = s + 1;
  if (!isAsciiAlpha(*name) && *name != '_') return Errors::error(eval, name, "invalid symbol");
  const char* p = name + 1;
  while (isAsciiWord(*p)) ++p;
  const loomkit::CreatorRef<GRpnString> text(new GRpnString(true));
  text->assign(name, p);
  eval.stack.emplace_back(text.get());
  return p;
}
