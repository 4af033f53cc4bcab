// SPDX-License-Identifier: MIT
#include "loomkit/text/number32.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>

#include "loomkit/text/char_class.h"

namespace loomkit {

std::int32_t parseLong32(const char* s, const char** end, int base) {
  using Limits = std::numeric_limits<std::int32_t>;
  char* stop = nullptr;
  const long long wide = std::strtoll(s, &stop, base);
  if (end != nullptr) *end = stop;
  const long long clamped = std::clamp<long long>(wide, Limits::min(), Limits::max());
  if (clamped != wide) errno = ERANGE;
  return static_cast<std::int32_t>(clamped);
}

std::uint32_t parseUnsignedLong32(const char* s, const char** end, int base) {
  constexpr std::uint32_t max = std::numeric_limits<std::uint32_t>::max();
  const int previousError = errno;
  errno = 0;
  char* stop = nullptr;
  const unsigned long long wide = std::strtoull(s, &stop, base);
  if (end != nullptr) *end = stop;
  // strtoull() has already applied the sign, but the magnitude has to be in range.
  const bool negative = *skipAsciiSpace(s) == '-';
  const unsigned long long magnitude = negative ? 0 - wide : wide;
  if (errno == ERANGE || magnitude > max) {
    errno = ERANGE;
    return max;
  }
  if (errno == 0) errno = previousError;
  const auto value = static_cast<std::uint32_t>(magnitude);
  return negative ? 0 - value : value;
}

}  // namespace loomkit
