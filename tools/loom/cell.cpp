// SPDX-License-Identifier: MIT
#include "cell.h"

#include <charconv>
#include <iterator>

namespace loom {

namespace {

template <typename Number>
bool readNumber(std::string_view text, Number* value) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *value);
  return error == std::errc() && end == text.data() + text.size();
}

template <typename Number>
std::string numberText(Number value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

std::string hexText(std::string_view bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += digits[byte >> 4U];
    text += digits[byte & 15U];
  }
  return text;
}

}  // namespace

std::string_view kindOf(const Cell& cell) {
  constexpr std::string_view kinds[] = {"NULL", "an integer", "a number", "a text", "a blob"};
  return kinds[cell.index()];
}

std::string cellText(const Cell& cell) {
  if (const auto* integer = std::get_if<std::int64_t>(&cell)) return numberText(*integer);
  if (const auto* real = std::get_if<double>(&cell)) return numberText(*real);
  if (const auto* text = std::get_if<std::string>(&cell)) return *text;
  if (const auto* blob = std::get_if<Blob>(&cell)) return hexText(blob->bytes);
  return {};
}

double rounded(double value, int decimals) {
  char text[640];  // 309 digits, the point, 255 decimals
  const auto [end, error] =
      std::to_chars(text, std::end(text), value, std::chars_format::fixed, decimals);
  double nearest = value;
  if (error == std::errc()) std::from_chars(text, end, nearest);
  return nearest;
}

Cell cellOf(const GDbTypedRow& row, int field) {
  if (row.isNull(field)) return {};
  if (const auto number = row.getInt64(field)) return *number;
  if (const auto number = row.getFloat(field)) return *number;
  if (const auto blob = row.getBlob(field)) return Blob{std::string(*blob)};
  return row.getText(field);
}

bool readInteger(std::string_view text, std::int64_t* value) { return readNumber(text, value); }

bool readReal(std::string_view text, double* value) { return readNumber(text, value); }

Cell cellOfWord(const std::string& word) {
  std::int64_t integer = 0;
  // A number that would be written otherwise, such as 007 or 1.50, is a text.
  if (readInteger(word, &integer) && numberText(integer) == word) return integer;
  double real = 0;
  if (readReal(word, &real) && word.find_first_not_of("-.0123456789") == std::string::npos &&
      numberText(real) == word)
    return real;
  return word;
}

}  // namespace loom
