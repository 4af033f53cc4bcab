// SPDX-License-Identifier: MIT
#include "loomkit/text/number.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <limits>

#include "loomkit/text/char_class.h"
#include "loomkit/text/number32.h"

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

// Powers of ten as repeated products. Past the ends of the tables the products
// are infinite or zero, however many factors follow, so that no exponent costs
// more than a look.
constexpr auto positivePowers = [] {
  std::array<double, 309> powers{1, 10, 100, 1000, 10000};
  for (std::size_t i = 5; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
  return powers;
}();
constexpr auto negativePowers = [] {
  std::array<double, 325> powers{1, 0.1, 0.01, 0.001, 0.0001};
  for (std::size_t i = 5; i < powers.size(); ++i) powers[i] = powers[i - 1] * 0.1;
  return powers;
}();
static_assert(positivePowers.back() > std::numeric_limits<double>::max() / 10);
static_assert(negativePowers.back() == 0 && negativePowers[negativePowers.size() - 2] > 0);

double powerOfTen(std::int64_t exponent) {
  if (exponent >= 0) {
    const auto i = static_cast<std::size_t>(exponent);
    return i < positivePowers.size() ? positivePowers[i] : infinity;
  }
  const auto i = static_cast<std::size_t>(-exponent);
  return i < negativePowers.size() ? negativePowers[i] : 0;
}

// Up to eight digits, the group in which numbers are read.
struct DigitGroup {
  std::int32_t value = 0;
  int count = 0;
};
constexpr int maxGroup = 8;

inline DigitGroup readGroup(const char*& s) {
  DigitGroup group;
  for (; group.count < maxGroup && loomkit::isAsciiDigit(*s); ++s, ++group.count) {
    group.value = group.value * 10 + (*s - '0');
  }
  return group;
}

// The number without white space and sign. `good` is moved behind what was read.
double readUnsigned(const char* s, const char*& good) {
  DigitGroup group = readGroup(s);
  double value = group.value;
  bool any = group.count != 0;
  while (group.count == maxGroup && *s != '\0') {
    group = readGroup(s);
    value = value != 0 ? powerOfTen(group.count) * value + group.value : group.value;
  }
  if (any) good = s;

  if (*s == '.') {
    ++s;
    if (any) good = s;
    std::int64_t exponent = 0;
    do {
      group = readGroup(s);
      exponent -= group.count;
      if (group.value != 0) value += powerOfTen(exponent) * group.value;
      if (group.count != 0) good = s;
      any = any || group.count != 0;
    } while (group.count == maxGroup && *s != '\0');
  }

  if (!any || (*s != 'e' && *s != 'E')) return value;
  ++s;
  const bool negative = *s == '-';
  if (*s == '-' || *s == '+') ++s;
  do {
    // A longer exponent is applied group by group: each one scales anew.
    group = readGroup(s);
    if (group.value != 0) value = powerOfTen(negative ? -group.value : group.value) * value;
    if (group.count != 0) good = s;
  } while (group.count == maxGroup && *s != '\0');
  return value;
}

}  // namespace

double gParseCDouble(const char* s, const char** end) {
  const char* good = s;
  const char* next = loomkit::skipAsciiSpace(s);
  const bool negative = *next == '-';
  if (*next == '-' || *next == '+') ++next;
  const double value = readUnsigned(next, good);
  if (end != nullptr) *end = good;
  return negative ? -value : value;
}

bool gParseCDouble(const char* s, double* value) {
  const char* end = nullptr;
  *value = gParseCDouble(s, &end);
  return end != s;
}

bool gParseCDouble(const char* s, float* value) {
  double wide = 0;
  const bool read = gParseCDouble(s, &wide);
  *value = static_cast<float>(wide);
  return read;
}

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
  // The magnitude decides on the range; strtoull has already applied the sign.
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
