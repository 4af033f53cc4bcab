// SPDX-License-Identifier: MIT
// CSV files of spreadsheets and scripts (RFC 4180) as rows with types, for loom db
// import.
#ifndef LOOM_CSV_FILE_H
#define LOOM_CSV_FILE_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "loomkit/text/csv_reader.h"
#include "row_source.h"

namespace loom {

/// How a CSV file is to be read; what is left open is found in the file.
struct CsvOptions {
  std::optional<char> separator;
  /// Nothing: it is found; a value of nothing: there are no quotes.
  std::optional<std::optional<char>> quote;
  std::string header = "auto";  ///< "yes", "no", or "auto"
  std::string encoding = {};    ///< as for decodeText()
};

/// A CSV file in memory, with the types of its columns inferred from all of it.
///
/// A column is an int or a float when every value that is not NULL is such a number
/// (number_form.h) without quotes; everything else is a text. A field of nothing is
/// NULL, and "" is an empty text. Where a writer has put everything in quotes, the
/// names as well, quotes say nothing. A blank line in a file of several columns is
/// passed over.
class CsvFile {
 public:
  /// Reads a file, or standard input for "-". Throws a Failure, with line and column,
  /// where the file is no CSV or a row has another width than the first.
  CsvFile(const std::string& path, const CsvOptions& options);

  [[nodiscard]] const std::vector<Column>& columns() const { return fields; }
  /// For each column why it is what it is: "line 7: '007' is ...", or what all values
  /// have in common.
  [[nodiscard]] const std::vector<std::string>& reasons() const { return why; }
  /// How the file is read: "UTF-8, separator ',', quote '\"', names in line 1".
  [[nodiscard]] std::string form() const;
  /// The encoding, where it was guessed; empty otherwise.
  [[nodiscard]] const std::string& guessedEncoding() const { return guessed; }
  [[nodiscard]] std::uint64_t rowCount() const { return count; }
  /// The rows, from the first one. The file must outlive them.
  [[nodiscard]] std::unique_ptr<RowSource> rows() const;

 private:
  void nameColumns(const std::vector<loomkit::CsvReader::Field>& first, std::size_t line);
  void infer();

  std::string path;
  std::string text;
  std::string encoding;
  std::string guessed;
  loomkit::CsvReader::Dialect dialect;
  std::string headerWord;  // how the first row was taken
  bool header = false;
  bool namesQuoted = false;  // all of them, though not all need it
  std::vector<Column> fields;
  std::vector<std::string> why;
  std::uint64_t count = 0;
};

}  // namespace loom

#endif  // LOOM_CSV_FILE_H
