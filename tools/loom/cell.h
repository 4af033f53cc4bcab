// SPDX-License-Identifier: MIT
// Cell: one value of a table, exactly as the database has it.
//
//   Row row;
//   while (source->next(&row)) printLine(cellText(row[0]));
#ifndef LOOM_CELL_H
#define LOOM_CELL_H

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "loomkit/db/field.h"
#include "loomkit/db/typed_row.h"

namespace loom {

/// Bytes that are no text.
struct Blob {
  std::string bytes;
};

/// A value: NULL, a whole number of 64 bits, a real number, a text of any bytes,
/// or a blob. A GDbRecord has 32 bits for a number and no NUL in a text.
using Cell = std::variant<std::monostate, std::int64_t, double, std::string, Blob>;
using Row = std::vector<Cell>;

[[nodiscard]] inline bool isNull(const Cell& cell) { return cell.index() == 0; }

/// A column of a table or a result.
struct Column {
  std::string name;
  GDbFieldType type = GDbFieldNone;  ///< GDbFieldNone where it differs from row to row
  std::string declared = {};         ///< the type in the database's own words, if it has any
  std::string inferredFrom = {};     ///< why it has its type, where that was inferred
};

/// What the cell holds, for messages: "NULL", "an integer", "a number", "a text" or
/// "a blob".
[[nodiscard]] std::string_view kindOf(const Cell& cell);

/// The value as text: numbers with as many digits as give them back, blobs in
/// hexadecimal, NULL as an empty text.
[[nodiscard]] std::string cellText(const Cell& cell);

/// The double nearest to the value's text with so many decimals, of which there are at
/// most 255.
[[nodiscard]] double rounded(double value, int decimals);

/// The field of a record.
[[nodiscard]] Cell cellOf(const GDbTypedRow& row, int field);

/// Reads `text` as a whole number or a real one, all of it. False when it is none,
/// or when it is a whole number beyond 64 bits.
[[nodiscard]] bool readInteger(std::string_view text, std::int64_t* value);
[[nodiscard]] bool readReal(std::string_view text, double* value);

/// A word of the command line: a number when it is written as numbers are, so that
/// 007 stays a text, and otherwise a text.
[[nodiscard]] Cell cellOfWord(const std::string& word);

}  // namespace loom

#endif  // LOOM_CELL_H
