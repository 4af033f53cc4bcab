// SPDX-License-Identifier: MIT
// Numbers as CSV files have them: which texts are numbers that lose nothing.
#ifndef LOOM_NUMBER_FORM_H
#define LOOM_NUMBER_FORM_H

#include <string>
#include <string_view>

namespace loom {

/// Whether `text` is a whole number of 64 bits written as programs write it: 007, +7
/// and -0 are none.
[[nodiscard]] bool isWholeNumber(std::string_view text);

/// Whether `text` is a number that a double gives back: it is written as this program
/// or realText() writes it, or in decimals of at most 15 digits, of which only zeros
/// at the end may get lost. 007, .5, 1e5 and whatever has more digits than a double
/// keeps are none, since they may well be codes.
[[nodiscard]] bool isRealNumber(std::string_view text);

/// A real number in as many digits as give it back, with a point or an exponent, so
/// that it can be told from a whole one: 5.0.
[[nodiscard]] std::string realText(double number);

}  // namespace loom

#endif  // LOOM_NUMBER_FORM_H
