// SPDX-License-Identifier: MIT
#include "csv_file.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "file_content.h"
#include "loomkit/platform/hul.h"
#include "loomkit/text/csv_reader.h"

namespace loom {

namespace {

using loomkit::CsvReader;
using Fields = std::vector<CsvReader::Field>;

// A number that is written as it is printed, so that nothing of it is lost.
bool isInteger(std::string_view text) {
  std::int64_t value = 0;
  const std::string_view digits = text.starts_with('-') ? text.substr(1) : text;
  return readInteger(text, &value) && (digits == "0" || !digits.starts_with('0'));
}

// Either as it is printed, or with up to 15 digits: those come back from a double.
bool isReal(std::string_view text) {
  constexpr std::ptrdiff_t exactDigits = 15;
  double value = 0;
  if (text.find_first_not_of("-+.0123456789eE") != std::string_view::npos) return false;
  if (!readReal(text, &value)) return false;
  if (cellText(value) == text) return true;
  const std::string_view digits = text.starts_with('-') ? text.substr(1) : text;
  if (digits.front() == '.' || digits.back() == '.') return false;
  if (digits.front() == '0' && digits.size() > 1 && digits[1] != '.') return false;
  if (text.find_first_of("+eE") != std::string_view::npos) return false;
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  return std::count_if(text.begin(), text.end(), isDigit) <= exactDigits;
}

std::string decoded(const std::string& path, const std::string& bytes,
                    const std::string& encoding) {
  HulTextCodec* opened = nullptr;
  if (hulOpenTextCodec(encoding.c_str(), "UTF-8", &opened) < 0)
    throw Failure(ExitCode::usage, "there is no encoding '" + encoding + "'");
  const std::unique_ptr<HulTextCodec, void (*)(HulTextCodec*)> codec(
      opened, [](HulTextCodec* it) { hulCloseTextCodec(it); });
  std::string result;
  const char* from = bytes.data();
  std::size_t left = bytes.size();
  int status = 0;
  do {
    char block[4096];
    char* end = block;
    std::size_t room = sizeof block;
    status = hulConvertText(codec.get(), &from, &left, &end, &room);
    result.append(block, end);
  } while (status > 0);
  if (status < 0)
    throw Failure(ExitCode::damaged, path + ": byte " + std::to_string(bytes.size() - left + 1) +
                                         " is no " + encoding);
  return result;
}

// The file as UTF-8 without a byte order mark.
std::string utf8Of(const std::string& path, const std::string& encoding) {
  std::string bytes = contentOf(path);
  const bool wide = bytes.starts_with("\xff\xfe") || bytes.starts_with("\xfe\xff");
  if (!encoding.empty())
    bytes = decoded(path, bytes, encoding);
  else if (wide)
    bytes = decoded(path, bytes, "UTF-16");
  if (bytes.starts_with("\xef\xbb\xbf")) bytes.erase(0, 3);
  return bytes;
}

// Column names: each there, once, and none of them a number.
bool looksLikeHeader(const Fields& row) {
  std::set<std::string_view> names;
  return std::all_of(row.begin(), row.end(), [&](const CsvReader::Field& field) {
    return !field.text.empty() && !isInteger(field.text) && !isReal(field.text) &&
           names.insert(field.text).second;
  });
}

bool isBlank(const Fields& row) { return row.size() == 1 && row[0].text.empty() && !row[0].quoted; }

// Reads rows of one width.
class Lines {
 public:
  Lines(std::string itsPath, std::string_view text, char separator)
      : path(std::move(itsPath)), reader(text, separator) {}

  // `width` 0: that of the first row.
  bool read(Fields* row, std::size_t width) {
    do {
      if (!reader.read(row)) {
        if (reader.failed()) throw failure(std::string(reader.getError()));
        return false;
      }
    } while (isBlank(*row) && width != 1);
    if (width == 0 || row->size() == width) return true;
    throw failure("a row of " + std::to_string(row->size()) + " columns, where the first has " +
                  std::to_string(width));
  }

  [[nodiscard]] std::size_t line() const { return reader.getLine(); }

 private:
  [[nodiscard]] Failure failure(const std::string& reason) const {
    return {ExitCode::damaged, path + ": line " + std::to_string(reader.getLine()) + ", column " +
                                   std::to_string(reader.getColumn()) + ": " + reason};
  }

  std::string path;
  CsvReader reader;
};

class CsvRows : public RowSource {
 public:
  CsvRows(const std::string& path, std::string_view text, char separator, bool header,
          std::vector<Column> itsColumns)
      : RowSource(path, std::move(itsColumns)), lines(path, text, separator) {
    if (header) lines.read(&row, 0);
  }

 protected:
  bool read(Row* cells) override {
    if (!lines.read(&row, fields.size())) return false;
    cells->resize(row.size());
    for (std::size_t i = 0; i < row.size(); ++i) {
      Cell& cell = (*cells)[i];
      if (row[i].text.empty() && !row[i].quoted)
        cell = {};
      else if (fields[i].type == GDbFieldInt)
        static_cast<void>(readInteger(row[i].text, &cell.emplace<std::int64_t>()));
      else if (fields[i].type == GDbFieldFloat)
        static_cast<void>(readReal(row[i].text, &cell.emplace<double>()));
      else
        cell.emplace<std::string>(row[i].text);
    }
    return true;
  }

 private:
  Lines lines;
  Fields row;
};

}  // namespace

CsvFile::CsvFile(const std::string& itsPath, const CsvOptions& options)
    : path(itsPath),
      text(utf8Of(itsPath, options.encoding)),
      separator(options.separator != '\0' ? options.separator : CsvReader::findSeparator(text)),
      header(options.header == "yes") {
  Lines lines(path, text, separator);
  Fields row;
  if (!lines.read(&row, 0)) throw Failure(ExitCode::damaged, path + ": there is nothing in it");
  if (options.header == "auto") header = looksLikeHeader(row);
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::string name(row[i].text);
    fields.push_back({header && !name.empty() ? name : "c" + std::to_string(i + 1), GDbFieldInt});
  }
  infer();
}

void CsvFile::infer() {
  Lines lines(path, text, separator);
  Fields row;
  if (header) lines.read(&row, 0);
  why.assign(fields.size(), {});
  std::vector<bool> filled(fields.size());
  while (lines.read(&row, fields.size())) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      const auto& [value, quoted] = row[i];
      if (fields[i].type == GDbFieldString || (value.empty() && !quoted)) continue;
      filled[i] = true;
      const auto become = [&](GDbFieldType type, const std::string& reason) {
        fields[i].type = type;
        why[i] =
            "line " + std::to_string(lines.line()) + ": '" + std::string(value) + "' " + reason;
      };
      if (quoted)
        become(GDbFieldString, "is in quotes");
      else if (isInteger(value) && (fields[i].type == GDbFieldInt || isReal(value)))
        continue;
      else if (!isReal(value))
        become(GDbFieldString, "is no number that is kept as it is written");
      else if (fields[i].type == GDbFieldInt)
        become(GDbFieldFloat, "is no whole number");
    }
  }
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (!filled[i]) fields[i].type = GDbFieldString;
    if (why[i].empty()) why[i] = filled[i] ? "all values are whole numbers" : "there is no value";
  }
}

std::unique_ptr<RowSource> CsvFile::rows() const {
  return std::make_unique<CsvRows>(path, text, separator, header, fields);
}

char separatorOf(const std::string& word) {
  if (word == "tab" || word == "\\t") return '\t';
  if (word.size() == 1 && word[0] != '"' && word[0] != '\n' && word[0] != '\r') return word[0];
  throw Failure(ExitCode::usage, "--sep: not a character or tab: '" + word + "'");
}

std::string csvLine(const Row& row, char separator) {
  std::string line;
  for (const Cell& cell : row) {
    if (&cell != row.data()) line += separator;
    const std::string text = cellText(cell);
    const bool isText = std::holds_alternative<std::string>(cell);
    const bool quotes = isText && (text.empty() || text.find(separator) != std::string::npos ||
                                   text.find_first_of("\"\r\n") != std::string::npos ||
                                   isInteger(text) || isReal(text));
    if (!quotes) {
      line += text;
      continue;
    }
    line += '"';
    for (const char c : text) line.append(c == '"' ? 2 : 1, c);
    line += '"';
  }
  return line + "\r\n";
}

}  // namespace loom
