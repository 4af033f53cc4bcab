// SPDX-License-Identifier: MIT
#include "loomkit/object/value_objects.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "loomkit/text/c_string.h"
#include "loomkit/text/char_class.h"

namespace {

std::string literalOf(const std::string& text) {
  std::string literal;
  loomkit::appendCString(text, &literal);
  return literal;
}

// Whether a symbol of this text can be written behind a '@'.
bool isWord(const std::string& text) {
  return !text.empty() && !loomkit::isAsciiDigit(text.front()) &&
         std::all_of(text.begin(), text.end(), loomkit::isAsciiWord);
}

}  // namespace

GIntegerObj::~GIntegerObj() = default;
GObject* GIntegerObj::clone() const { return new GIntegerObj(*this); }
std::string GIntegerObj::toString() const { return std::to_string(value); }
int GIntegerObj::getIntValue() const { return value; }
double GIntegerObj::getFloatValue() const { return value; }

GFloatObj::~GFloatObj() = default;
GObject* GFloatObj::clone() const { return new GFloatObj(*this); }

std::string GFloatObj::toString() const {
  constexpr int digits = 15;
  char text[32];
  const auto end =
      std::to_chars(text, text + sizeof text, value, std::chars_format::general, digits).ptr;
  return {text, end};
}

int GFloatObj::getIntValue() const {
  using Limits = std::numeric_limits<int>;
  const double rounded = std::floor(value + 0.5);
  if (!(rounded >= Limits::min())) return Limits::min();
  if (rounded > Limits::max()) return Limits::max();
  return static_cast<int>(rounded);
}

double GFloatObj::getFloatValue() const { return value; }

GStringObj::~GStringObj() = default;
GObject* GStringObj::clone() const { return new GStringObj(*this); }
std::string GStringObj::toString() const { return literalOf(value); }

GSymbolObj::~GSymbolObj() = default;
GObject* GSymbolObj::clone() const { return new GSymbolObj(*this); }
std::string GSymbolObj::toString() const {
  return isWord(value) ? "@" + value : "Symbol(" + literalOf(value) + ")";
}

GNameObj::~GNameObj() = default;
GObject* GNameObj::clone() const { return new GNameObj(*this); }
std::string GNameObj::toString() const { return value; }
