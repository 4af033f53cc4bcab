// SPDX-License-Identifier: MIT
// CSV files of spreadsheets and scripts (RFC 4180) as rows with types, for loom db
// import and loom db export.
#ifndef LOOM_CSV_FILE_H
#define LOOM_CSV_FILE_H

#include <memory>
#include <string>
#include <vector>

#include "command.h"
#include "row_source.h"

namespace loom {

/// How a CSV file is to be read; what is left open is found in the file.
struct CsvOptions {
  char separator = '\0';        ///< '\0': the one that findSeparator() finds
  std::string header = "auto";  ///< "yes", "no", or "auto"
  std::string encoding = {};    ///< a code set; empty: UTF-8, or what a mark at the begin tells
};

/// A CSV file in memory, with the types of its columns inferred from all of it.
///
/// A column is an int or a float when every value that is not NULL is written as such
/// a number is printed, without leading zeros, without quotes, and no digit is lost in
/// 64 bits; everything else is a text. A field of nothing is NULL, and "" is an empty
/// text. A blank line in a file of several columns is passed over.
class CsvFile {
 public:
  /// Throws a Failure, with line and column, where the file is no CSV or a row has
  /// another width than the first.
  CsvFile(const std::string& path, const CsvOptions& options);

  [[nodiscard]] const std::vector<Column>& columns() const { return fields; }
  /// For each column why it is what it is: "line 7: '007' is no number", or what all
  /// values have in common.
  [[nodiscard]] const std::vector<std::string>& reasons() const { return why; }
  /// The rows. The file must outlive them.
  [[nodiscard]] std::unique_ptr<RowSource> rows() const;

 private:
  void infer();

  std::string path;
  std::string text;
  char separator;
  bool header = false;
  std::vector<Column> fields;
  std::vector<std::string> why;
};

/// The separator of --sep: one character, or "tab". Throws a usage Failure.
[[nodiscard]] char separatorOf(const std::string& word);

/// A row as a line of RFC 4180 with its CR LF. Nothing for NULL and "" for an empty
/// text; a text is in quotes where it must be, and where it could be taken for a
/// number.
[[nodiscard]] std::string csvLine(const Row& row, char separator);

}  // namespace loom

#endif  // LOOM_CSV_FILE_H
