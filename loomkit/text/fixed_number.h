// SPDX-License-Identifier: MIT
// Numbers in columns of a fixed width, as tables hold them by the million: blanks in
// front, perhaps a minus sign, digits to the column's end, the point always at the
// same place.
//
//   loomkit::FixedNumber price;
//   if (loomkit::readFixedNumber("    -123.25", 2, &price))   // minus, 123, 25
//     use(loomkit::toDouble(price, 2));
#ifndef LOOMKIT_TEXT_FIXED_NUMBER_H
#define LOOMKIT_TEXT_FIXED_NUMBER_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "loomkit/text/char_class.h"
#include "loomkit/text/char_word.h"
#include "loomkit/text/powers_of_ten.h"

namespace loomkit {

/// A number as it is written. The sign is kept apart, since "-0" has one, too.
struct FixedNumber {
  bool negative = false;
  std::int64_t whole = 0;     ///< the digits in front of the point, at most 16
  std::int64_t fraction = 0;  ///< those behind it, as a number of their own
};

/// Most decimals that readFixedNumber() reads.
inline constexpr std::size_t mostFixedDecimals = 8;

/// Appends the digits of a text to a number. False if there is anything else.
inline bool appendDigits(std::string_view text, std::int64_t* number) noexcept {
  for (const char c : text) {
    if (!isAsciiDigit(c)) return false;
    *number = *number * 10 + (c - '0');
  }
  return true;
}

/// Reads blanks, perhaps a minus sign, and digits. Requires: the last one is a digit.
inline bool readDigits(CharWord word, FixedNumber* number) noexcept {
  const std::size_t blanks = word.blanksInFront();
  number->negative = word.at(blanks) == '-';
  word = word.withZeros(blanks + (number->negative ? 1 : 0));
  number->whole = word.number();
  return word.areDigits();
}

/// Reads blanks, perhaps a minus sign, and digits, 16 characters in all at most; then,
/// unless `decimals` is 0, a point and that many digits. False, with `*number` as it
/// may be, for nearly all other texts, even for numbers in another form and for blank
/// ones: then a full reader decides.
inline bool readFixedNumber(std::string_view text, std::size_t decimals,
                            FixedNumber* number) noexcept {
  *number = {};
  if (decimals > 0) {
    if (decimals > mostFixedDecimals || text.size() < decimals + 2) return false;
    const std::size_t point = text.size() - decimals - 1;
    if (text[point] != '.' || !appendDigits(text.substr(point + 1), &number->fraction))
      return false;
    text = text.substr(0, point);
  }
  while (text.size() >= 2 * CharWord::size && CharWord(text).isBlank())
    text.remove_prefix(CharWord::size);
  if (text.empty() || text.size() > 2 * CharWord::size || !isAsciiDigit(text.back())) return false;

  // The last eight characters are read at a time, those before them, and shorter texts,
  // one by one.
  const std::size_t inWord = text.size() >= CharWord::size ? CharWord::size : 0;
  const char* at = text.data();
  const char* const end = at + text.size() - inWord;
  while (at != end && *at == ' ') ++at;
  if (at == end) return inWord != 0 && readDigits(CharWord({end, inWord}), number);
  number->negative = *at == '-';
  if (number->negative) ++at;
  if (!appendDigits({at, end}, &number->whole)) return false;
  if (inWord == 0) return true;
  const CharWord low({end, inWord});
  number->whole = number->whole * 100'000'000 + low.number();
  return low.areDigits();
}

/// The very value that gParseCDouble() gives for the number's text.
inline double toDouble(const FixedNumber& number, std::size_t decimals) noexcept {
  const double value = static_cast<double>(number.whole) +
                       negativePowers[decimals] * static_cast<double>(number.fraction);
  return number.negative ? -value : value;
}

/// The low 32 bits of the number, whose fraction does not count. A minus sign negates
/// an unsigned number, too, so that they serve signed and unsigned columns.
inline std::uint32_t toBits(const FixedNumber& number) noexcept {
  const auto bits = static_cast<std::uint32_t>(number.whole);
  return number.negative ? 0 - bits : bits;
}

}  // namespace loomkit

#endif  // LOOMKIT_TEXT_FIXED_NUMBER_H
