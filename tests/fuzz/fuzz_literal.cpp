// SPDX-License-Identifier: MIT
// The readers of literals and numbers: where they stop, that what was read
// writes and reads back, and that the bounded reader agrees with the other.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "loomkit/text/literal.h"
#include "loomkit/text/number.h"
#include "loomkit/text/number32.h"

namespace {

constexpr unsigned all = 0xFFFFFFFFU;

void require(bool holds) {
  if (!holds) std::abort();
}

// `end` is within the NUL-terminated text.
void requireInside(const char* s, const char* end) {
  require(end >= s && end <= s + std::strlen(s));
}

void readStrings(const std::string& text) {
  for (const bool acceptNull : {false, true}) {
    const char* end = nullptr;
    const std::string read = gParseCString(text.c_str(), &end, acceptNull);
    requireInside(text.c_str(), end);
    if (end != text.c_str()) {
      const std::string literal = GiString(read).convertToCString(0, all);
      require(gParseCString(literal.c_str(), &end) == read && *end == '\0');
    }
    const std::string symbol = gParseSymbol(text.c_str(), &end, acceptNull);
    requireInside(text.c_str(), end);
    require(symbol.empty() || (symbol[0] == '@' && end != text.c_str()));
  }
}

void readInside(const std::string& text) {
  const GiString whole(text);
  for (unsigned pos = 0; pos <= text.size() && pos < 8; ++pos) {
    unsigned end = 0;
    const GiString read = whole.parseAsCString(pos, &end);
    require(end == all || end <= text.size() - pos);
    require(read.size() <= text.size());
    unsigned length = 0;
    gParseCString(text, pos, &length, true);
    require(length <= text.size() - pos);
  }
  const GiString literal = whole.convertToCString(0, all);
  unsigned end = 0;
  require(literal.parseAsCString(0, &end) == text && end == literal.size());
  require(gConvertToCStringOrNULL(text, 0, all) == (text.empty() ? "NULL" : literal));
}

void readNumbers(const std::string& text) {
  const char* end = nullptr;
  gParseCDouble(text.c_str(), &end);
  requireInside(text.c_str(), end);
  double value = 0;
  require(gParseCDouble(text.c_str(), &value) == (end != text.c_str()));
  for (const int base : {0, 8, 10, 16}) {
    loomkit::parseLong32(text.c_str(), &end, base);
    requireInside(text.c_str(), end);
    loomkit::parseUnsignedLong32(text.c_str(), &end, base);
    requireInside(text.c_str(), end);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  readStrings(text);
  readInside(text);
  readNumbers(text);
  return 0;
}
