// SPDX-License-Identifier: MIT
// The built-in words on strings and vectors. `pos` is the position just after
// the word. Every word pushes a new plain string.
#include <cerrno>
#include <charconv>
#include <string>

#include "loomkit/rpn/eval_frame.h"
#include "loomkit/text/char_class.h"
#include "loomkit/text/number.h"

// The length of the string or vector on top, which is taken.
bool GRpnEval::vectorSize(const char* pos, std::size_t* size) {
  if (checkStackType(GRpnValue::String)) {
    *size = fromTop(0).getString()->size();
    drop(1);
    return true;
  }
  GRpnVector* vector = nullptr;
  if (!pop(pos, &vector)) return false;
  // A vector that only the stack referred to has ended with the pop and counts
  // as empty: "1 2 2 ] size" is 0. Expressions in the field rely on it.
  *size = vector != nullptr ? vector->size() : 0;
  return true;
}

bool GRpnEval::f_size(const char* pos) {
  std::size_t size = 0;
  if (!vectorSize(pos, &size)) return false;
  push(static_cast<double>(size));
  return true;
}

bool GRpnEval::f_empty(const char* pos) {
  std::size_t size = 0;
  if (!vectorSize(pos, &size)) return false;
  push(size == 0 ? 1.0 : 0.0);
  return true;
}

namespace {
constexpr const char* outOfRange = "string index out of range";
}  // namespace

// ( a i b -- r )
bool GRpnEval::f_insert(const char* pos) {
  std::string text;
  std::string inserted;
  unsigned i = 0;
  if (!pop(pos, &text, &i, &inserted)) return false;
  if (i > text.size()) return error(pos, outOfRange) != nullptr;
  pushText(text.insert(i, inserted));
  return true;
}

// ( s i n -- r )
bool GRpnEval::f_erase(const char* pos) {
  std::string text;
  unsigned i = 0;
  unsigned n = 0;
  if (!pop(pos, &text, &i, &n)) return false;
  if (i > text.size()) return error(pos, outOfRange) != nullptr;
  pushText(text.erase(i, n));
  return true;
}

// ( a i n b -- r )
bool GRpnEval::f_replace(const char* pos) {
  std::string text;
  std::string replacement;
  unsigned i = 0;
  unsigned n = 0;
  if (!pop(pos, &text, &i, &n, &replacement)) return false;
  if (i > text.size()) return error(pos, outOfRange) != nullptr;
  pushText(text.replace(i, n, replacement));
  return true;
}

namespace {

double indexOrMinusOne(std::string::size_type index) {
  return index == std::string::npos ? -1.0 : static_cast<double>(index);
}

}  // namespace

// ( a b -- index )
bool GRpnEval::f_find(const char* pos) {
  std::string text;
  std::string wanted;
  if (!pop(pos, &text, &wanted)) return false;
  push(indexOrMinusOne(text.find(wanted)));
  return true;
}

// ( a b -- index )
bool GRpnEval::f_rfind(const char* pos) {
  std::string text;
  std::string wanted;
  if (!pop(pos, &text, &wanted)) return false;
  push(indexOrMinusOne(text.rfind(wanted)));
  return true;
}

// ( s i n -- r ), but ( s void -- s ): with NULL on top there are two operands
// and not three.
bool GRpnEval::f_substr(const char* pos) {
  std::string text;
  if (checkStackType(GRpnValue::Void)) {
    drop(1);
    if (!pop(pos, &text)) return false;
    pushText(text);
    return true;
  }
  unsigned i = 0;
  unsigned n = 0;
  if (!pop(pos, &text, &i, &n)) return false;
  if (i > text.size()) return error(pos, outOfRange) != nullptr;
  pushText(text.substr(i, n));
  return true;
}

// ( s -- x )
bool GRpnEval::f_float(const char* pos) {
  std::string text;
  if (!pop(pos, &text)) return false;
  const char* const begin = text.c_str();
  const char* end = begin;
  errno = 0;
  const double value = gParseCDouble(begin, &end);
  const char* rest = end;
  while (loomkit::isAsciiSpace(*rest)) ++rest;
  if (end == begin || rest != begin + text.size())
    return error(pos, "can't convert string to float") != nullptr;
  // The reader reports no such case today; hosts know the text for the day that
  // it does.
  if (errno == ERANGE) return error(pos, "string to float conversion is out of range") != nullptr;
  push(value);
  return true;
}

// ( x -- s ), ( s -- s ): a string, and a symbol too, stays what it is.
bool GRpnEval::f_string(const char* pos) {
  if (checkStackType(GRpnValue::String)) return true;
  double number = 0;
  if (!pop(pos, &number)) return false;
  // The same text as a classic stream with precision 15, a dozen times faster.
  char text[32];
  const auto end =
      std::to_chars(text, text + sizeof text, number, std::chars_format::general, 15).ptr;
  pushText(std::string(text, end));
  return true;
}
