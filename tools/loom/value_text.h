// SPDX-License-Identifier: MIT
// Values of the expression engine as text and as JSON.
#ifndef LOOM_VALUE_TEXT_H
#define LOOM_VALUE_TEXT_H

#include <functional>
#include <string>
#include <string_view>

#include "json_writer.h"
#include "loomkit/rpn/value.h"

namespace loom {

/// A value with more parts than this is refused: a short expression can share
/// one vector so often that printing it would never end.
inline constexpr unsigned long mostPrintedValues = 1UL << 22U;

/// Digits of a number, unless the caller wants others.
inline constexpr int defaultDigits = 15;

/// A number as the word `string` writes it, with up to `digits` digits.
[[nodiscard]] std::string numberText(double number, int digits = defaultDigits);

/// A text in double quotes as an expression writes it: the characters that
/// need an escape have an octal one, the only kind that stands for itself.
[[nodiscard]] std::string stringLiteral(std::string_view text);

/// Sends the value's text to `sink` in pieces: 3, "abc", @symbol, NULL,
/// [1 "a" [2]]. Throws Failure when it has too many parts.
void writeValue(const GRpnValue& value, int digits,
                const std::function<void(std::string_view)>& sink);

/// The same as one text.
[[nodiscard]] std::string valueText(const GRpnValue& value, int digits = defaultDigits);

/// Numbers as numbers, strings as strings, void as null, vectors as arrays.
void writeJson(const GRpnValue& value, JsonWriter* json);

}  // namespace loom

#endif  // LOOM_VALUE_TEXT_H
