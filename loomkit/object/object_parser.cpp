// SPDX-License-Identifier: MIT
#include "loomkit/object/object_parser.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "loomkit/object/object_reader.h"
#include "loomkit/object/sequence_objects.h"
#include "loomkit/object/value_objects.h"
#include "loomkit/text/char_class.h"
#include "loomkit/text/literal.h"
#include "loomkit/text/number.h"
#include "loomkit/text/number32.h"
#include "loomkit/text/short_number.h"

namespace loomkit {
namespace {

bool beginsWith(const char* text, const char* word) {
  return std::strncmp(text, word, std::strlen(word)) == 0;
}

bool isWordStart(char c) { return isAsciiAlpha(c) || c == '_'; }

// Whether `c`, behind a whole number, makes that number the beginning of a float.
bool goesOnAsFloat(char c) { return c == '.' || c == 'e' || c == 'E'; }

// The largest whole number that the notation writes as it is: floats have 15 digits there.
constexpr long long mostExact = 999'999'999'999'999;

}  // namespace

bool ObjectParser::parse(std::unique_ptr<GObject>* object) {
  do {
    next = skipAsciiSpace(next);
    if (expectsValue ? !parseValue() : !closeOrContinue()) {
      root.reset();
      return false;
    }
  } while (!open.empty());
  *object = std::move(root);
  return true;
}

bool ObjectParser::fail(const std::string& why) {
  reason = why;
  return false;
}

// Puts a value into the innermost open sequence; without one, it is the result.
// A comma or a bracket has to follow it.
bool ObjectParser::take(std::unique_ptr<GObject> value) {
  expectsValue = false;
  if (open.empty()) {
    root = std::move(value);
  } else {
    open.back().sequence->pushBack(value.get());
    static_cast<void>(value.release());
  }
  return true;
}

bool ObjectParser::parseValue() {
  // A word that only begins with "Symbol", such as "Symbolic", is a name.
  if (*next == 'S' && beginsWith(next, "Symbol") && parseSymbolWord()) return true;
  switch (*next) {
    case '@':
      return parseSigned();
    case '[':
      ++next;
      return openSequence(std::make_unique<GVectorObj>(), ']');
    case '"':
      return parseString();
    default:
      break;
  }
  // What follows the four letters does not matter: "NULLABLE" is read as NULL, and
  // the rest of the word is left.
  if (*next == 'N' && beginsWith(next, "NULL")) {
    next += 4;
    return take(nullptr);
  }
  return isWordStart(*next) || *next == ':' ? parseName() : parseNumber();
}

bool ObjectParser::parseSymbolWord() {
  const char* end = nullptr;
  const std::string symbol = gParseSymbol(next, &end, false);
  if (end == next) return false;
  next = end;
  return take(std::make_unique<GSymbolObj>(symbol.substr(1)));
}

// Reads what begins with '@': a sequence or a symbol.
bool ObjectParser::parseSigned() {
  if (next[1] == '[' || next[1] == '(') {
    next += 2;
    if (next[-1] == '[') return openSequence(std::make_unique<GVectorObj>(), ']');
    return openSequence(std::make_unique<GListObj>(), ')');
  }
  return isWordStart(next[1]) ? parseSymbolWord() : fail("a name, '[' or '(' expected behind '@'");
}

bool ObjectParser::openSequence(std::unique_ptr<GSequenceObj> sequence, char close) {
  if (open.size() == static_cast<std::size_t>(gObjectMaxDepth)) return fail("nested too deep");
  GSequenceObj* inner = sequence.get();
  take(std::move(sequence));
  open.push_back({inner, close});
  next = skipAsciiSpace(next);
  expectsValue = *next != close;
  return true;
}

// Reads what stands behind an element, or the end of an empty sequence.
bool ObjectParser::closeOrContinue() {
  if (*next == open.back().close) {
    ++next;
    open.pop_back();
    return true;
  }
  if (*next != ',') {
    return fail(open.back().close == ']' ? "',' or ']' expected" : "',' or ')' expected");
  }
  ++next;
  expectsValue = true;
  return true;
}

bool ObjectParser::parseString() {
  // Most strings have no escape. They are copied once, straight into the object.
  const char* const begin = next + 1;
  const char* end = begin + std::strcspn(begin, "\"\\");
  if (*end == '"' && end - begin <= std::numeric_limits<int>::max()) {
    next = end + 1;
    return take(std::make_unique<GStringObj>(begin, static_cast<unsigned>(end - begin)));
  }
  const std::string text = gParseCString(next, &end, false);
  if (end == next) return fail("unterminated string");
  next = end;
  return take(std::make_unique<GStringObj>(text));
}

bool ObjectParser::parseName() {
  const char* end = next;
  while (isAsciiWord(*end) || *end == ':' || *end == '.') ++end;
  const std::string name(next, end);
  next = end;
  return take(std::make_unique<GNameObj>(name));
}

bool ObjectParser::parseNumber() {
  // Most numbers are short; what begins with 0 may be octal or hexadecimal.
  std::int32_t small = 0;
  const char* end = *next != '0' ? readShortNumber(next, &small) : nullptr;
  if (end != nullptr && !goesOnAsFloat(*end)) {
    next = end;
    return take(std::make_unique<GIntegerObj>(small));
  }
  const std::int32_t whole = parseLong32(next, &end, 0);
  if (end != next && !goesOnAsFloat(*end)) {
    return takeWhole(whole, end);
  }
  const double number = gParseCDouble(next, &end);
  if (end == next) return fail(*next == '\0' ? "unexpected end" : "not a value");
  next = end;
  return take(std::make_unique<GFloatObj>(number));
}

// Takes the whole number up to `end`, whose nearest one of 32 bits is known.
bool ObjectParser::takeWhole(std::int32_t nearest, const char* end) {
  if (keepsWholeNumbers) {
    // strtoll() ends at its limits, which are beyond mostExact.
    const int errorBefore = errno;
    const long long wide = std::strtoll(next, nullptr, 0);
    errno = errorBefore;
    if (wide > mostExact || wide < -mostExact) {
      return fail("number out of range: " + std::string(next, end));
    }
    if (wide != nearest) {
      next = end;
      return take(std::make_unique<GFloatObj>(static_cast<double>(wide)));
    }
  }
  next = end;
  return take(std::make_unique<GIntegerObj>(nearest));
}

}  // namespace loomkit
