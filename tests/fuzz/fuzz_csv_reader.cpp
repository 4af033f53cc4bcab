// SPDX-License-Identifier: MIT
// The reader of comma-separated values: the first byte chooses the separator. What
// was read is written with every field in quotes, and must be read back as itself.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "loomkit/text/csv_reader.h"

namespace {

using loomkit::CsvReader;

void require(bool holds) {
  if (!holds) std::abort();
}

using Rows = std::vector<std::vector<std::string>>;

Rows rowsOf(const std::string& text, char separator, bool* failed) {
  CsvReader reader(text, separator);
  std::vector<CsvReader::Field> row;
  Rows rows;
  while (reader.read(&row)) {
    require(!row.empty());
    std::vector<std::string>& texts = rows.emplace_back();
    for (const CsvReader::Field& field : row) texts.emplace_back(field.text);
  }
  require(reader.getLine() <= text.size() + 1 && reader.getColumn() <= text.size() + 1);
  *failed = reader.failed();
  return rows;
}

std::string quoted(const Rows& rows, char separator) {
  std::string text;
  for (const auto& row : rows) {
    for (const std::string& field : row) {
      if (&field != row.data()) text += separator;
      text += '"';
      for (const char c : field) text.append(c == '"' ? 2 : 1, c);
      text += '"';
    }
    text += "\r\n";
  }
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  constexpr char separators[] = {',', ';', '\t', '|'};
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const char separator = separators[data[0] % 4];
  CsvReader::findSeparator(text);
  bool failed = false;
  const Rows rows = rowsOf(text, separator, &failed);
  require(rowsOf(quoted(rows, separator), separator, &failed) == rows);
  require(!failed);
  return 0;
}
