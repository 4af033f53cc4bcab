// SPDX-License-Identifier: MIT
// Extension: CsvReader reads comma-separated values as spreadsheets and scripts
// write them (RFC 4180). The tables of the csv: backend are another format, with a
// reader of their own in loomkit/db/csv.
//
//   loomkit::CsvReader reader(text, loomkit::CsvReader::findDialect(text));
//   std::vector<loomkit::CsvReader::Field> row;
//   while (reader.read(&row)) use(row[0].text);
//   if (reader.failed()) report(reader.getError(), reader.getLine(), reader.getColumn());
#ifndef LOOMKIT_TEXT_CSV_READER_H
#define LOOMKIT_TEXT_CSV_READER_H

#include <array>
#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "loomkit/platform/export.h"

namespace loomkit {

/// Reads rows from a text that stays the caller's and outlives the reader. Lines end
/// with LF, CR LF or CR, the last one also with the text. A field in quotes may hold
/// separators, line ends and, doubled, quotes; a quote within a field that does not
/// begin with one stands for itself. Nothing throws but an allocation that fails.
/// For one thread.
class LOOMKIT_API CsvReader {
 public:
  /// The signs with a meaning. Neither is a line end, and they differ.
  struct Dialect {
    char separator = ',';
    /// Nothing: there are no quotes, and each sign stands for itself.
    std::optional<char> quote = '"';
  };

  /// One value of a row; its text is valid until the next read().
  struct Field {
    std::string_view text;
    /// Whether it stood in quotes, so that an empty text can be told from nothing.
    bool quoted = false;
  };

  CsvReader(std::string_view text, const Dialect& dialect);
  CsvReader(const CsvReader&) = delete;
  CsvReader& operator=(const CsvReader&) = delete;

  /// Reads the next row into `*row`, with at least one field. False at the end of the
  /// text, and where the text is no CSV; nothing is read behind that.
  bool read(std::vector<Field>* row);

  /// Whether read() gave false because of an error: a quote without its end, or
  /// something else than a separator behind the closing one. The error is static
  /// text; empty when there is none.
  [[nodiscard]] bool failed() const { return !error.empty(); }
  [[nodiscard]] std::string_view getError() const { return error; }

  /// Where the error is, and else where the row begins that was read last: the line
  /// and the byte in it, both from 1.
  [[nodiscard]] std::size_t getLine() const { return line; }
  [[nodiscard]] std::size_t getColumn() const { return column; }
  /// How many bytes of the text were read.
  [[nodiscard]] std::size_t getPosition() const { return at; }

  /// The separator of a text: of comma, semicolon, tab and "|" the one that stands
  /// most often, outside of quotes, in the first lines, and as often in each of them.
  /// A comma where there is none.
  static char findSeparator(std::string_view text, std::optional<char> quote = '"');

  /// The dialect of a text, by its first lines. Its quote is ' only where every text
  /// behind the first line stands in such quotes, and else ".
  static Dialect findDialect(std::string_view text);

 private:
  using SignSet = std::array<bool, 256>;

  bool readField(std::vector<Field>* row);
  bool readQuoted(Field* field);
  void skipTo(const SignSet& signs);
  void endLine();
  bool fail(std::string_view reason, std::size_t position);

  std::string_view text;
  Dialect dialect;
  SignSet plainEnds = {};    // what ends a field without quotes
  SignSet quotedStops = {};  // what means something within quotes
  std::size_t at = 0;
  std::size_t nextLine = 1;   // the line of `at`
  std::size_t lineBegin = 0;  // where it begins
  std::size_t line = 1;
  std::size_t column = 1;
  std::string_view error;
  std::deque<std::string> unescaped;  // the texts of the row with doubled quotes
};

}  // namespace loomkit

#endif  // LOOMKIT_TEXT_CSV_READER_H
