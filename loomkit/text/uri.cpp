// SPDX-License-Identifier: MIT
#include "loomkit/text/uri.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "loomkit/text/char_class.h"

namespace {

constexpr std::string_view unreservedMarks = "-_.~";
constexpr std::string_view reserved = ":/?#[]@!$&'()*+,;=";
constexpr std::string_view defaultAllowed = "!$&'()*+,;=";
constexpr char hexDigits[] = "0123456789ABCDEF";
constexpr std::size_t escapeLength = 3;

// The number of characters that each byte is written with: 1 for a byte that stays
// as it is, and 3 for one that is escaped.
using Widths = std::array<unsigned char, 256>;

constexpr unsigned char indexOf(char c) { return static_cast<unsigned char>(c); }

constexpr void keep(Widths& widths, std::string_view characters) {
  for (const char c : characters) widths[indexOf(c)] = 1;
}

constexpr Widths unreservedWidths = [] {
  Widths widths{};
  for (unsigned c = 0; c < widths.size(); ++c) {
    widths[c] = c < 0x80 && loomkit::isAsciiAlnum(static_cast<char>(c)) ? 1 : escapeLength;
  }
  keep(widths, unreservedMarks);
  return widths;
}();
constexpr Widths defaultWidths = [] {
  Widths widths = unreservedWidths;
  keep(widths, defaultAllowed);
  return widths;
}();
constexpr Widths uriWidths = [] {
  Widths widths = unreservedWidths;
  keep(widths, reserved);
  return widths;
}();

// The value of each hexadecimal digit, and notHex for all else.
constexpr unsigned char notHex = 0xFF;
constexpr auto hexValues = [] {
  std::array<unsigned char, 256> values{};
  for (unsigned c = 0; c < values.size(); ++c) {
    const bool isDigit = c < 0x80 && loomkit::isAsciiXDigit(static_cast<char>(c));
    values[c] =
        isDigit ? static_cast<unsigned char>(loomkit::hexDigitValue(static_cast<char>(c))) : notHex;
  }
  return values;
}();

// The text of each byte: as it is in [0], and escaped in [1]. With this table the
// writer needs no branch.
constexpr std::size_t slot = 4;
constexpr auto written = [] {
  std::array<std::array<std::array<char, slot>, 256>, 2> forms{};
  for (unsigned c = 0; c < 256; ++c) {
    forms[0][c] = {static_cast<char>(c)};
    forms[1][c] = {'%', hexDigits[c >> 4], hexDigits[c & 15]};
  }
  return forms;
}();

// Writes one byte in either form and returns the position behind it. Requires: there
// is room for a whole slot of the table.
inline char* write(char* out, unsigned char byte, std::size_t width) {
  std::memcpy(out, written[width >> 1][byte].data(), slot);
  return out + width;
}

std::string escape(std::string_view text, const Widths& widths) {
  constexpr std::size_t chunk = 256;
  char buffer[chunk * escapeLength + slot];
  std::string escaped;
  do {
    const std::string_view part = text.substr(0, chunk);
    text.remove_prefix(part.size());
    char* out = buffer;
    for (const char c : part) out = write(out, indexOf(c), widths[indexOf(c)]);
    const auto length = static_cast<std::size_t>(out - buffer);
    if (escaped.empty()) escaped.reserve(std::max(length, part.size() + 16) + text.size());
    escaped.append(buffer, length);
  } while (!text.empty());
  return escaped;
}

// Whether `s`, at a '%', begins an escape; its byte goes to `byte`.
bool readEscape(const char* s, const char* end, unsigned char& byte) {
  if (end - s < static_cast<std::ptrdiff_t>(escapeLength)) return false;
  const unsigned high = hexValues[indexOf(s[1])];
  const unsigned low = hexValues[indexOf(s[2])];
  byte = static_cast<unsigned char>(high << 4 | low);
  return high != notHex && low != notHex;
}

std::string unescape(std::string_view text, std::size_t firstPercent) {
  std::string unescaped(text);
  char* out = unescaped.data() + firstPercent;
  const char* end = text.data() + text.size();
  for (const char* s = text.data() + firstPercent; s != end;) {
    unsigned char byte = 0;
    if (*s == '%' && readEscape(s, end, byte)) {
      *out++ = static_cast<char>(byte);
      s += escapeLength;
    } else {
      *out++ = *s++;
    }
  }
  unescaped.resize(static_cast<std::size_t>(out - unescaped.data()));
  return unescaped;
}

std::string normalize(std::string_view uri) {
  std::string normalized(uri.size() * escapeLength + slot, '\0');
  char* out = normalized.data();
  const char* end = uri.data() + uri.size();
  for (const char* s = uri.data(); s != end;) {
    unsigned char byte = indexOf(*s);
    if (*s == '%' && readEscape(s, end, byte)) {
      out = write(out, byte, unreservedWidths[byte]);
      s += escapeLength;
    } else {
      byte = indexOf(*s++);
      out = write(out, byte, uriWidths[byte]);
    }
  }
  normalized.resize(static_cast<std::size_t>(out - normalized.data()));
  return normalized;
}

std::string escapeComponent(std::string_view text, const char* allowed) {
  if (allowed == nullptr) return escape(text, defaultWidths);
  if (*allowed == '\0') return escape(text, unreservedWidths);
  Widths widths = unreservedWidths;
  for (const char* c = allowed; *c != '\0'; ++c) {
    if (uriWidths[indexOf(*c)] == 1) widths[indexOf(*c)] = 1;
  }
  return escape(text, widths);
}

}  // namespace

std::string gEscapeURIComponent(const char* text, const char* allowed) {
  return escapeComponent(text, allowed);
}

std::string gEscapeURIComponent(const std::string& text, const char* allowed) {
  return escapeComponent(text, allowed);
}

std::string gUnescapePartOfURI(const char* text) {
  const std::string_view view(text);
  return unescape(view, std::min(view.find('%'), view.size()));
}

std::string gUnescapePartOfURI(const std::string& text) {
  const std::size_t percent = text.find('%');
  return percent == std::string::npos ? text : unescape(text, percent);
}

std::string gNormalizeURI(const char* uri) { return normalize(uri); }

std::string gNormalizeURI(const std::string& uri) { return normalize(uri); }

bool gIsURI(const char* text) {
  if (!loomkit::isAsciiAlpha(*text)) return false;
  const char* s = text + 1;
  while (loomkit::isAsciiAlnum(*s) || *s == '+' || *s == '-' || *s == '.') ++s;
  return *s == ':' && s - text >= 2;
}

bool gIsURI(const std::string& text) { return gIsURI(text.c_str()); }
