// SPDX-License-Identifier: MIT
// Numbers in columns of a fixed width, as tables hold them by the million: blanks in
// front, perhaps a minus sign, digits to the column's end, the point always at the
// same place.
//
//   const loomkit::FixedColumn prices(11, 2);
//   loomkit::FixedNumber price;
//   if (prices.read("    -123.25", &price))   // minus, 123, 25
//     use(prices.toDouble(price));
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

/// Appends the digits of a text to a number. False if there is anything else.
inline bool appendDigits(std::string_view text, std::int64_t* number) noexcept {
  for (const char c : text) {
    if (!isAsciiDigit(c)) return false;
    *number = *number * 10 + (c - '0');
  }
  return true;
}

/// The low 32 bits of the number, whose fraction does not count. A minus sign negates
/// an unsigned number, too, so that they serve signed and unsigned columns.
inline std::uint32_t toBits(const FixedNumber& number) noexcept {
  const auto bits = static_cast<std::uint32_t>(number.whole);
  return number.negative ? 0 - bits : bits;
}

/// A column of such numbers: what is the same for all its texts is worked out once.
class FixedColumn {
 public:
  static constexpr std::size_t mostDecimals = 8;

  /// A column of which nothing can be read.
  FixedColumn() = default;
  /// `decimalCount` is 0 for a column without a point. With more than mostDecimals, and
  /// without a place in front of the point, nothing can be read either.
  FixedColumn(std::size_t width, std::size_t decimalCount) noexcept {
    const std::size_t behind = decimalCount > 0 ? decimalCount + 1 : 0;
    if (decimalCount > mostDecimals || width <= behind) return;
    decimals = decimalCount;
    wholeWidth = width - behind;
  }

  /// Reads a text of the column's width: blanks, perhaps a minus sign, and digits, 16 of
  /// them at most; then, unless the column has no decimals, a point and that many digits.
  /// False, with `*number` as it may be, for nearly all other texts, even for numbers in
  /// another form and for blank ones: then a full reader decides.
  bool read(const char* text, FixedNumber* number) const noexcept {
    *number = {};
    const char* const point = text + wholeWidth;
    if (decimals > 0 && (*point != '.' || !appendDigits({point + 1, decimals}, &number->fraction)))
      return false;
    if (wholeWidth < CharWord::size) return readShort({text, wholeWidth}, number);
    // Most numbers have no more than eight digits, however wide their columns are.
    const std::string_view front(text, wholeWidth - CharWord::size);
    const CharWord last({point - CharWord::size, CharWord::size});
    return isBlank(front) ? readWord(last, number) : readLong(front, last, number);
  }

  /// The very value that gParseCDouble() gives for the text of the number.
  [[nodiscard]] double toDouble(const FixedNumber& number) const noexcept {
    const double value = static_cast<double>(number.whole) +
                         negativePowers[decimals] * static_cast<double>(number.fraction);
    return number.negative ? -value : value;
  }

 private:
  /// Requires: eight characters follow the text.
  static bool isBlank(std::string_view text) noexcept {
    while (text.size() > CharWord::size) {
      if (!CharWord(text).isBlank()) return false;
      text.remove_prefix(CharWord::size);
    }
    return CharWord({text.data(), CharWord::size}).blanksInFront() >= text.size();
  }
  /// Reads blanks, perhaps a minus sign, and digits, which may be none.
  static bool readFront(std::string_view text, FixedNumber* number) noexcept {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    number->negative = !text.empty() && text.front() == '-';
    if (number->negative) text.remove_prefix(1);
    return text.size() <= CharWord::size && appendDigits(text, &number->whole);
  }
  /// Reads a whole part that is shorter than a word, one character after the other.
  static bool readShort(std::string_view text, FixedNumber* number) noexcept {
    return !text.empty() && isAsciiDigit(text.back()) && readFront(text, number);
  }
  /// Reads blanks, perhaps a minus sign, and digits, one at least, all at once.
  static bool readWord(CharWord word, FixedNumber* number) noexcept {
    if (!isAsciiDigit(word.at(CharWord::size - 1))) return false;
    const std::size_t blanks = word.blanksInFront();
    number->negative = word.at(blanks) == '-';
    word = word.withZeros(blanks + (number->negative ? 1 : 0));
    number->whole = word.number();
    return word.areDigits();
  }
  /// Reads a number of which some digits, or the sign, are in front of the last word.
  static bool readLong(std::string_view front, CharWord last, FixedNumber* number) noexcept {
    if (!readFront(front, number) || !last.areDigits()) return false;
    number->whole = number->whole * 100'000'000 + last.number();
    return true;
  }

  std::size_t decimals = 0;
  std::size_t wholeWidth = 0;  // of what is in front of the point
};

}  // namespace loomkit

#endif  // LOOMKIT_TEXT_FIXED_NUMBER_H
