// SPDX-License-Identifier: MIT
#include "number_form.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "cell.h"

namespace loom {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view withoutSign(std::string_view text) {
  return text.starts_with('-') ? text.substr(1) : text;
}

}  // namespace

bool isWholeNumber(std::string_view text) {
  const std::string_view digits = withoutSign(text);
  if (digits.empty() || !std::all_of(digits.begin(), digits.end(), isDigit)) return false;
  if (digits[0] == '0') return text == "0";
  constexpr std::size_t alwaysFits = 18;
  std::int64_t value = 0;
  return digits.size() <= alwaysFits || readInteger(text, &value);
}

bool isRealNumber(std::string_view text) {
  const std::string_view digits = withoutSign(text);
  if (digits.empty() || !isDigit(digits.front())) return false;
  if (digits.find_first_not_of(".0123456789e+-") != std::string_view::npos) return false;
  // A whole number beyond 64 bits is no float, even where it happens to be exact.
  if (std::all_of(digits.begin(), digits.end(), isDigit) && text != "-0" && !isWholeNumber(text))
    return false;
  double value = 0;
  if (!readReal(text, &value)) return false;
  const bool decimals = digits.find_first_of("e+-") == std::string_view::npos;
  const bool zeros = digits.front() == '0' && digits.size() > 1 && digits[1] != '.';
  if (decimals && !zeros && digits.back() != '.' &&
      std::count_if(digits.begin(), digits.end(), isDigit) <= std::numeric_limits<double>::digits10)
    return true;
  return text == cellText(value) || text == realText(value);
}

std::string realText(double number) {
  std::string text = cellText(number);
  if (std::isfinite(number) && text.find_first_of(".e") == std::string::npos) text += ".0";
  return text;
}

}  // namespace loom
