// SPDX-License-Identifier: MIT
#include "csv_file.h"

#include <algorithm>
#include <set>

#include "command.h"
#include "console.h"
#include "file_content.h"
#include "number_form.h"
#include "text_encoding.h"

namespace loom {

namespace {

using loomkit::CsvReader;
using Field = CsvReader::Field;
using Fields = std::vector<Field>;

std::string inLine(std::size_t line, std::string_view value, std::string_view reason) {
  return "line " + std::to_string(line) + ": '" + std::string(value) + "' " + std::string(reason);
}

bool isNumber(std::string_view text) { return isWholeNumber(text) || isRealNumber(text); }

bool isBlank(const Fields& row) { return row.size() == 1 && row[0].text.empty() && !row[0].quoted; }

bool isQuoted(const Field& field) { return field.quoted; }

std::string nameOf(const std::string& path) { return path == "-" ? "standard input" : path; }

// Reads rows of one width.
class Lines {
 public:
  Lines(std::string itsPath, std::string_view text, const CsvReader::Dialect& dialect)
      : path(std::move(itsPath)), reader(text, dialect) {}

  // `width` 0: that of the first row.
  bool read(Fields* row, std::size_t width) {
    do {
      if (reader.read(row)) continue;
      if (reader.failed()) throw failure(reader.getColumn(), std::string(reader.getError()));
      return false;
    } while (isBlank(*row) && width != 1);
    if (width == 0 || row->size() == width) return true;
    throw failure(1, counted(row->size(), "field", "fields") + " where the first row has " +
                         std::to_string(width));
  }

  [[nodiscard]] std::size_t line() const { return reader.getLine(); }

 private:
  [[nodiscard]] Failure failure(std::size_t column, const std::string& reason) const {
    return {ExitCode::damaged, path + ": line " + std::to_string(reader.getLine()) + ", column " +
                                   std::to_string(column) + ": " + reason};
  }

  std::string path;
  CsvReader reader;
};

class CsvRows : public RowSource {
 public:
  CsvRows(const std::string& path, std::string_view text, const CsvReader::Dialect& dialect,
          bool header, std::vector<Column> itsColumns)
      : RowSource(path, std::move(itsColumns)), lines(path, text, dialect) {
    if (header) lines.read(&row, 0);
  }

 protected:
  bool read(Row* cells) override {
    if (!lines.read(&row, fields.size())) return false;
    cells->resize(row.size());
    for (std::size_t i = 0; i < row.size(); ++i) readField(row[i], fields[i].type, &(*cells)[i]);
    return true;
  }

 private:
  // The memory of a text stays its cell's from row to row.
  static void readField(const Field& field, GDbFieldType type, Cell* cell) {
    if (field.text.empty() && !field.quoted)
      *cell = {};
    else if (type == GDbFieldInt)
      static_cast<void>(readInteger(field.text, &cell->emplace<std::int64_t>()));
    else if (type == GDbFieldFloat)
      static_cast<void>(readReal(field.text, &cell->emplace<double>()));
    else if (auto* text = std::get_if<std::string>(cell))
      text->assign(field.text);
    else
      cell->emplace<std::string>(field.text);
  }

  Lines lines;
  Fields row;
};

// What the values of a column have in common so far. What it was once is kept by line
// and value, for the reason that people are told.
class Inference {
 public:
  void add(const Field& field, std::size_t line) {
    const std::string_view value = field.text;
    if (value.empty() && !field.quoted) return;
    if (field.quoted && quoted.empty()) quoted = inLine(line, value, "is in quotes");
    filled = true;
    if (!text.empty()) return;
    constexpr std::size_t alwaysExact = 15;  // digits that a double keeps
    if (isWholeNumber(value)) {
      if (value.size() > alwaysExact && large.empty() && !isRealNumber(value))
        large = inLine(line, value, "has more digits than a float keeps");
    } else if (isRealNumber(value)) {
      if (real.empty()) real = inLine(line, value, "is no whole number");
    } else {
      text = inLine(line, value, "is no number, or would be written differently as one");
    }
  }

  [[nodiscard]] GDbFieldType finish(bool quotesCount, std::string* reason) const {
    if (!filled) return take(GDbFieldString, "there is no value", reason);
    if (!text.empty()) return take(GDbFieldString, text, reason);
    if (quotesCount && !quoted.empty()) return take(GDbFieldString, quoted, reason);
    if (real.empty()) return take(GDbFieldInt, "all values are whole numbers", reason);
    if (!large.empty()) return take(GDbFieldString, large + "; " + real, reason);
    return take(GDbFieldFloat, real, reason);
  }

 private:
  static GDbFieldType take(GDbFieldType type, const std::string& why, std::string* reason) {
    *reason = why;
    return type;
  }

  bool filled = false;
  std::string quoted;  // the first value in quotes
  std::string text;    // the first that is no number
  std::string real;    // the first with decimals
  std::string large;   // the first whole number that is no exact float
};

std::string signName(std::optional<char> sign) {
  if (!sign) return "none";
  return *sign == '\t' ? "tab" : *sign == '\'' ? "\"'\"" : std::string("'") + *sign + "'";
}

}  // namespace

CsvFile::CsvFile(const std::string& itsPath, const CsvOptions& options) : path(nameOf(itsPath)) {
  DecodedText decoded = decodeText(path, contentOf(itsPath), options.encoding);
  text = std::move(decoded.text);
  encoding = std::move(decoded.encoding);
  if (decoded.guessed) guessed = encoding;
  if (!options.quote)
    dialect = CsvReader::findDialect(text);
  else
    dialect = {CsvReader::findSeparator(text, *options.quote), *options.quote};
  if (options.separator) dialect.separator = *options.separator;
  Lines lines(path, text, dialect);
  Fields row;
  if (!lines.read(&row, 0)) throw Failure(ExitCode::damaged, path + ": there is nothing in it");
  // A number in quotes may be a name, unless the writer puts everything in quotes.
  const bool allQuoted = std::all_of(row.begin(), row.end(), isQuoted);
  const auto number = std::find_if(row.begin(), row.end(), [&](const Field& field) {
    return (allQuoted || !field.quoted) && isNumber(field.text);
  });
  const bool named =
      std::any_of(row.begin(), row.end(), [](const Field& field) { return !field.text.empty(); });
  header = options.header == "yes" || (options.header == "auto" && named && number == row.end());
  if (header)
    headerWord = "names in line " + std::to_string(lines.line());
  else if (options.header == "auto" && number != row.end())
    headerWord = "no names, " + inLine(lines.line(), number->text, "is a number");
  else
    headerWord = "no names";
  nameColumns(row, lines.line());
  infer();
}

void CsvFile::nameColumns(const Fields& first, std::size_t line) {
  std::set<std::string> names;
  for (std::size_t i = 0; i < first.size(); ++i) {
    const bool named = header && !first[i].text.empty();
    const std::string name = named ? std::string(first[i].text) : "c" + std::to_string(i + 1);
    if (!names.insert(name).second)
      throw Failure(
          ExitCode::damaged,
          path + ": line " + std::to_string(line) + ": two columns are called '" + name + "'",
          "--header no takes the line for a record");
    fields.push_back({name, GDbFieldString});
  }
  const auto needsNone = [&](const Field& field) {
    return field.text.find_first_of("\r\n") == std::string_view::npos &&
           field.text.find(dialect.separator) == std::string_view::npos &&
           (!dialect.quote || field.text.find(*dialect.quote) == std::string_view::npos);
  };
  namesQuoted = header && std::all_of(first.begin(), first.end(), isQuoted) &&
                std::any_of(first.begin(), first.end(), needsNone);
}

void CsvFile::infer() {
  Lines lines(path, text, dialect);
  Fields row;
  if (header) lines.read(&row, 0);
  std::vector<Inference> inferred(fields.size());
  bool quotesCount = !namesQuoted;
  for (; lines.read(&row, fields.size()); ++count) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      inferred[i].add(row[i], lines.line());
      quotesCount = quotesCount || !row[i].quoted;
    }
  }
  why.resize(fields.size());
  for (std::size_t i = 0; i < fields.size(); ++i)
    fields[i].type = inferred[i].finish(quotesCount, &why[i]);
}

std::string CsvFile::form() const {
  return encoding + ", separator " + signName(dialect.separator) + ", quote " +
         signName(dialect.quote) + ", " + headerWord;
}

std::unique_ptr<RowSource> CsvFile::rows() const {
  return std::make_unique<CsvRows>(path, text, dialect, header, fields);
}

}  // namespace loom
