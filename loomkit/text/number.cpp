// SPDX-License-Identifier: MIT
#include "loomkit/text/number.h"

#include <cstddef>
#include <cstdint>
#include <limits>

#include "loomkit/text/char_class.h"
#include "loomkit/text/powers_of_ten.h"

namespace {

using loomkit::negativePowers;
using loomkit::positivePowers;

constexpr double infinity = std::numeric_limits<double>::infinity();

// Beyond the tables the powers are infinite or zero, so that an exponent of any size
// costs one look.
double powerOfTen(std::int64_t exponent) {
  if (exponent >= 0) {
    const auto i = static_cast<std::size_t>(exponent);
    return i < positivePowers.size() ? positivePowers[i] : infinity;
  }
  const auto i = static_cast<std::size_t>(-exponent);
  return i < negativePowers.size() ? negativePowers[i] : 0;
}

// A group of up to eight digits. Numbers are read group by group.
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

// Reads a number without white space and sign, and moves `good` behind it.
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
    // Each group of digits of a longer exponent scales the value anew, as if it
    // were an exponent by itself. Stored values depend on it.
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
