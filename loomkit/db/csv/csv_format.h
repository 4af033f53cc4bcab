// SPDX-License-Identifier: MIT
// The text format of a CSV table: its bytes, and one parsed line.
// docs/formats/csv.md describes it. Private to the backend.
#ifndef LOOMKIT_DB_CSV_CSV_FORMAT_H
#define LOOMKIT_DB_CSV_CSV_FORMAT_H

#include <cstddef>
#include <string>
#include <vector>

#include "loomkit/db/record.h"
#include "loomkit/db/status.h"
#include "loomkit/db/structure.h"

namespace loomkit {

inline constexpr char csvSeparator = ';';
inline constexpr char csvQuote = '"';
inline constexpr const char* csvSuffix = ".csv";

/// The name of the table in a file or archive member; empty when it is none.
std::string csvTableName(const std::string& file);

/// Reads one column as a text: copies it with a terminator to `*out` and moves
/// `*out` behind that. Returns the position behind the column's text. Nothing
/// fails, since a line may end inside quotes. Requires: `*out` has room for as
/// many bytes as are left of the line with its own terminator.
const char* readCsvText(const char* text, char** out) noexcept;

/// How the lines of a table become records.
class CsvLayout {
 public:
  /// Aborts when a column is GDbFieldNone: such a value cannot be stored.
  explicit CsvLayout(const GDbStructure& structure);

  [[nodiscard]] int numFields() const { return static_cast<int>(types.size()); }

  /// The size of the block that the record of a line of `length` bytes needs.
  [[nodiscard]] std::size_t blockSize(std::size_t length) const;

  /// Parses the `length` bytes at `line`, behind which a NUL stands, into `block`,
  /// memory of operator new that has blockSize(length) bytes. Stores the
  /// single-block record that starts there. GDbFieldTypeMismatch: a column cannot
  /// be read as its type, or a NUL byte stands in a column; GDbFieldCountMismatch:
  /// a number is missing; GDbInvalidArgument: a column's type has no text form.
  /// On failure the block is still the caller's.
  GDbStatus parse(const char* line, std::size_t length, void* block, GDbRecord** record) const;

 private:
  std::vector<GDbFieldType> types;
  unsigned extraSize = 0;  // alignment and terminators, in the worst case
};

/// Whether the `length` bytes at `line` are all ASCII white space.
bool isBlankLine(const char* line, std::size_t length) noexcept;

}  // namespace loomkit

#endif  // LOOMKIT_DB_CSV_CSV_FORMAT_H
