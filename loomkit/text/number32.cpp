// SPDX-License-Identifier: MIT
// The C libraries do not agree on everything, such as what is left of "0x", so that
// theirs are not used.
#include "loomkit/text/number32.h"

#include <cerrno>
#include <cstdint>
#include <limits>

#include "loomkit/text/char_class.h"

namespace loomkit {
namespace {

constexpr unsigned noDigit = 36;

unsigned digitOf(char c) {
  constexpr unsigned ten = 10;
  if (isAsciiDigit(c)) return static_cast<unsigned>(c - '0');
  if (isAsciiAlpha(c)) return static_cast<unsigned>(asciiToUpper(c) - 'A') + ten;
  return noDigit;
}

// A number as it is written. The magnitude stops growing beyond 32 bits.
struct Written {
  bool negative = false;
  std::uint64_t magnitude = 0;
  const char* end = nullptr;  // behind the last digit; null without digits
};

// Passes over a "0x" that digits follow, and finds the base that was left open.
const char* skipPrefix(const char* s, unsigned* base) {
  constexpr unsigned octal = 8, decimal = 10, hexadecimal = 16;
  const bool hasPrefix = s[0] == '0' && (s[1] == 'x' || s[1] == 'X') && digitOf(s[2]) < hexadecimal;
  if (hasPrefix && (*base == 0 || *base == hexadecimal)) {
    *base = hexadecimal;
    return s + 2;
  }
  if (*base == 0) *base = *s == '0' ? octal : decimal;
  return s;
}

Written scan(const char* s, int wantedBase) {
  constexpr std::uint64_t beyond = std::uint64_t{1} << 32;
  Written written;
  auto base = static_cast<unsigned>(wantedBase);
  s = skipAsciiSpace(s);
  written.negative = *s == '-';
  if (*s == '-' || *s == '+') ++s;
  for (s = skipPrefix(s, &base); digitOf(*s) < base; written.end = ++s) {
    written.magnitude = written.magnitude * base + digitOf(*s);
    if (written.magnitude > beyond) written.magnitude = beyond;
  }
  return written;
}

}  // namespace

std::int32_t parseLong32(const char* s, const char** end, int base) {
  using Limits = std::numeric_limits<std::int32_t>;
  constexpr auto max = static_cast<std::uint64_t>(Limits::max());
  const Written written = scan(s, base);
  if (end != nullptr) *end = written.end != nullptr ? written.end : s;
  if (written.magnitude > max + (written.negative ? 1 : 0)) {
    errno = ERANGE;
    return written.negative ? Limits::min() : Limits::max();
  }
  const auto value = static_cast<std::int64_t>(written.magnitude);
  return static_cast<std::int32_t>(written.negative ? -value : value);
}

std::uint32_t parseUnsignedLong32(const char* s, const char** end, int base) {
  constexpr std::uint32_t max = std::numeric_limits<std::uint32_t>::max();
  const Written written = scan(s, base);
  if (end != nullptr) *end = written.end != nullptr ? written.end : s;
  if (written.magnitude > max) {
    errno = ERANGE;
    return max;
  }
  const auto value = static_cast<std::uint32_t>(written.magnitude);
  return written.negative ? 0 - value : value;
}

}  // namespace loomkit
