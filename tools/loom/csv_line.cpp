// SPDX-License-Identifier: MIT
#include "csv_line.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "number_form.h"

namespace loom {

namespace {

// The signs that a reader may take for a separator, a quote or a line's end.
constexpr std::array<bool, 256> special = [] {
  std::array<bool, 256> table{};
  for (const char sign : std::string_view("\"\r\n,;\t|"))
    table[static_cast<unsigned char>(sign)] = true;
  return table;
}();

// Beside what must be, a text is in quotes where a reader could make something else of
// it: a blank at either end, an apostrophe in front, another separator, a number.
bool needsQuotes(const std::string& text, char separator) {
  constexpr std::string_view marks = " \t'";
  return text.empty() || marks.find(text.front()) != std::string_view::npos ||
         marks.find(text.back()) != std::string_view::npos ||
         text.find(separator) != std::string::npos ||
         std::any_of(text.begin(), text.end(),
                     [](char c) { return special[static_cast<unsigned char>(c)]; }) ||
         isWholeNumber(text) || isRealNumber(text);
}

void appendQuoted(const std::string& value, std::string* text) {
  *text += '"';
  std::size_t begin = 0;
  for (std::size_t at = 0; (at = value.find('"', begin)) != std::string::npos; begin = at + 1)
    text->append(value, begin, at + 1 - begin).append(1, '"');
  text->append(value, begin).append(1, '"');
}

void appendCell(const Cell& cell, char separator, std::string* text) {
  if (const auto* value = std::get_if<std::string>(&cell)) {
    if (needsQuotes(*value, separator))
      appendQuoted(*value, text);
    else
      *text += *value;
  } else if (const auto* real = std::get_if<double>(&cell)) {
    *text += realText(*real);
  } else if (std::holds_alternative<Blob>(cell)) {
    appendQuoted(cellText(cell), text);
  } else {
    *text += cellText(cell);
  }
}

}  // namespace

void appendCsvLine(const Row& row, const CsvForm& form, std::string* text) {
  for (const Cell& cell : row) {
    if (&cell != row.data()) *text += form.separator;
    appendCell(cell, form.separator, text);
  }
  *text += form.lineEnd;
}

}  // namespace loom
