// SPDX-License-Identifier: MIT
// The reader of comma-separated values: the first byte chooses the dialect. What was
// read is written with every field in quotes, and must be read back as itself.
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

Rows rowsOf(const std::string& text, const CsvReader::Dialect& dialect, bool* failed) {
  CsvReader reader(text, dialect);
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

std::string quoted(const Rows& rows, const CsvReader::Dialect& dialect) {
  std::string text;
  for (const auto& row : rows) {
    for (const std::string& field : row) {
      if (&field != row.data()) text += dialect.separator;
      text += *dialect.quote;
      for (const char c : field) text.append(c == *dialect.quote ? 2 : 1, c);
      text += *dialect.quote;
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
  CsvReader::Dialect dialect = {separators[data[0] % 4], data[0] & 4 ? '"' : '\''};
  if (data[0] & 8) dialect = CsvReader::findDialect(text);
  bool failed = false;
  const Rows rows = rowsOf(text, dialect, &failed);
  require(rowsOf(quoted(rows, dialect), dialect, &failed) == rows);
  require(!failed);
  return 0;
}
