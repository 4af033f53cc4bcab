// SPDX-License-Identifier: MIT
#include "loomkit/db/csv/csv_inference.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <vector>

#include "loomkit/db/csv/csv_format.h"
#include "loomkit/db/csv/csv_line_reader.h"
#include "loomkit/text/char_class.h"

namespace loomkit {
namespace {

template <typename Number>
bool isNumber(std::string_view text) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size();
}

// What the values of a column have in common so far.
struct Column {
  bool ints = true;
  bool floats = true;

  void add(std::string_view value) {
    ints = ints && isCsvInt(value);
    floats = floats && (ints || isCsvFloat(value));
  }
  [[nodiscard]] GDbFieldType type() const {
    if (ints) return GDbFieldInt;
    return floats ? GDbFieldFloat : GDbFieldString;
  }
};

// The columns of the lines that were added. A line that has fewer columns than
// another reads as empty texts there, and an empty text is no number.
class ColumnTypes {
 public:
  GDbStatus addLine(const std::string& line) {
    room.resize(line.size() + 1);
    const char* at = line.c_str();
    const char* const end = at + line.size();
    std::size_t count = 0;
    for (bool atEnd = false; !atEnd; ++count) {
      if (count == mostInferredColumns) return GDbRowTooBig;
      char* out = room.data();
      at = skipAsciiSpace(readCsvText(at, &out));
      addValue(count, {room.data(), static_cast<std::size_t>(out - room.data()) - 1});
      atEnd = at == end;
      if (!atEnd && *at++ != csvSeparator) return GDbFieldTypeMismatch;
    }
    fewest = std::min(fewest, count);
    return GDbNoError;
  }

  // Such a line is a record, of an empty text, only where there is one column.
  void addBlankLine() { sawBlankLine = true; }

  void appendTo(GDbStructure* structure) const {
    const std::size_t numeric = sawBlankLine && columns.size() == 1 ? 0 : fewest;
    for (std::size_t i = 0; i < used; ++i) {
      const GDbFieldType type = i < numeric ? columns[i].type() : GDbFieldString;
      structure->appendField(GDbField("c" + std::to_string(i + 1), type, 0, 0, false, false));
    }
  }

 private:
  void addValue(std::size_t index, std::string_view value) {
    if (index == columns.size()) columns.emplace_back();
    columns[index].add(value);
    if (!value.empty()) used = std::max(used, index + 1);
  }

  std::vector<Column> columns = {Column()};  // of the widest line
  std::vector<char> room;                    // for the text of one value
  std::size_t fewest = mostInferredColumns;  // the columns of the shortest line
  std::size_t used = 1;                      // the columns up to the last that has a value
  bool sawBlankLine = false;
};

}  // namespace

bool isCsvInt(std::string_view text) {
  const std::string_view digits = text.starts_with('-') ? text.substr(1) : text;
  return isNumber<int>(text) && (digits == "0" || !digits.starts_with('0'));
}

bool isCsvFloat(std::string_view text) {
  if (text.find_first_of(".eE") == std::string_view::npos) return isCsvInt(text);
  return text.find_first_not_of("+-.0123456789eE") == std::string_view::npos &&
         isNumber<double>(text) && !(text[0] == '0' && text[1] != '.');
}

GDbStatus inferCsvStructure(std::unique_ptr<std::istream> text, GDbStructure* structure) {
  using Result = CsvLineReader::Result;
  CsvLineReader lines(std::move(text));
  ColumnTypes columns;
  for (;;) {
    const Result result = lines.read();
    if (result == Result::failed) return GDbIoError;
    if (result == Result::end) break;
    const std::string& line = lines.line();
    if (lines.hadTerminator() && isBlankLine(line.data(), line.size())) {
      columns.addBlankLine();
      continue;
    }
    const GDbStatus status = columns.addLine(line);
    if (status != GDbNoError) return status;
  }
  columns.appendTo(structure);
  return GDbNoError;
}

}  // namespace loomkit
