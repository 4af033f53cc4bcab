// SPDX-License-Identifier: MIT
// The short way to a whole number: most numbers that the library reads have a
// few digits, and need none of what the full readers look after.
//
//   std::int32_t value = 0;
//   const char* end = loomkit::readShortNumber("125;", &value);   // at the ';'
#ifndef LOOMKIT_TEXT_SHORT_NUMBER_H
#define LOOMKIT_TEXT_SHORT_NUMBER_H

#include <cstdint>

#include "loomkit/text/char_class.h"

namespace loomkit {

/// Reads one to nine decimal digits, which cannot overflow, and gives the
/// position behind them. Null, with `*value` left alone, when there is no digit
/// or a tenth one: then a full reader decides. What the digits mean, if a point
/// or an `x` follows or the first one is 0, is the caller's to know.
constexpr const char* readShortNumber(const char* s, std::int32_t* value) noexcept {
  constexpr int maxDigits = 9;
  std::int32_t number = 0;
  const char* p = s;
  for (; isAsciiDigit(*p); ++p) {
    if (p - s == maxDigits) return nullptr;
    number = number * 10 + (*p - '0');
  }
  if (p == s) return nullptr;
  *value = number;
  return p;
}

}  // namespace loomkit

#endif  // LOOMKIT_TEXT_SHORT_NUMBER_H
