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

std::string inLine(std::size_t line, std::string_view value, const char* what) {
  return "line " + std::to_string(line) + ": '" + std::string(value) + "' is " + what;
}

// What the values of a column have in common so far.
class Column {
 public:
  void add(std::string_view value, std::size_t line) {
    if (ints && !isCsvInt(value)) {
      ints = false;
      notInt = inLine(line, value, "no whole number of 32 bits");
    }
    if (floats && !ints && !isCsvFloat(value)) {
      floats = false;
      notFloat = inLine(line, value, "no number, or a code or too large for one");
    }
  }
  [[nodiscard]] GDbFieldType type() const {
    if (ints) return GDbFieldInt;
    return floats ? GDbFieldFloat : GDbFieldString;
  }
  [[nodiscard]] std::string reason() const {
    if (ints) return "all values are whole numbers";
    return floats ? notInt : notFloat;
  }

 private:
  bool ints = true;
  bool floats = true;
  std::string notInt;  // the first value that is none, with its line
  std::string notFloat;
};

// The columns of the lines that were added. A line that has fewer columns than
// another reads as empty texts there, and an empty text is no number.
class ColumnTypes {
 public:
  GDbStatus addLine(const std::string& line, std::size_t number) {
    room.resize(line.size() + 1);
    const char* at = line.c_str();
    const char* const end = at + line.size();
    std::size_t count = 0;
    for (bool atEnd = false; !atEnd; ++count) {
      if (count == mostInferredColumns) return GDbRowTooBig;
      char* out = room.data();
      at = skipAsciiSpace(readCsvText(at, &out));
      addValue(count, {room.data(), static_cast<std::size_t>(out - room.data()) - 1}, number);
      atEnd = at == end;
      if (!atEnd && *at++ != csvSeparator) return GDbFieldTypeMismatch;
    }
    if (count < fewest) {
      fewest = count;
      shortest = number;
    }
    return GDbNoError;
  }

  // Such a line is a record, of an empty text, only where there is one column.
  void addBlankLine(std::size_t number) {
    if (!sawBlankLine) blankLine = number;
    sawBlankLine = true;
  }

  void appendTo(GDbStructure* structure, std::vector<std::string>* reasons) const {
    const std::size_t numeric = sawBlankLine && columns.size() == 1 ? 0 : fewest;
    for (std::size_t i = 0; i < used; ++i) {
      const GDbFieldType type = i < numeric ? columns[i].type() : GDbFieldString;
      structure->appendField(GDbField("c" + std::to_string(i + 1), type, 0, 0, false, false));
      if (reasons != nullptr) reasons->push_back(i < numeric ? columns[i].reason() : emptyReason());
    }
  }

 private:
  // A column that is not in every line has empty texts there.
  [[nodiscard]] std::string emptyReason() const {
    if (fewest == mostInferredColumns) return "there is no value";
    return sawBlankLine && columns.size() == 1
               ? "line " + std::to_string(blankLine) + " is blank"
               : "line " + std::to_string(shortest) + " has fewer columns";
  }

  void addValue(std::size_t index, std::string_view value, std::size_t line) {
    if (index == columns.size()) columns.emplace_back();
    columns[index].add(value, line);
    if (!value.empty()) used = std::max(used, index + 1);
  }

  std::vector<Column> columns = {Column()};  // of the widest line
  std::vector<char> room;                    // for the text of one value
  std::size_t fewest = mostInferredColumns;  // the columns of the shortest line
  std::size_t shortest = 0;                  // the number of that line
  std::size_t blankLine = 0;                 // of the first blank one
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

GDbStatus inferCsvStructure(std::unique_ptr<std::istream> text, GDbStructure* structure,
                            std::vector<std::string>* reasons) {
  using Result = CsvLineReader::Result;
  CsvLineReader lines(std::move(text));
  ColumnTypes columns;
  for (std::size_t number = 1;; ++number) {
    const Result result = lines.read();
    if (result == Result::failed) return GDbIoError;
    if (result == Result::end) break;
    const std::string& line = lines.line();
    if (lines.hadTerminator() && isBlankLine(line.data(), line.size())) {
      columns.addBlankLine(number);
      continue;
    }
    const GDbStatus status = columns.addLine(line, number);
    if (status != GDbNoError) return status;
  }
  columns.appendTo(structure, reasons);
  return GDbNoError;
}

}  // namespace loomkit
