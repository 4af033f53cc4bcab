// SPDX-License-Identifier: MIT
// Rows as lines of CSV (RFC 4180), for loom db export.
#ifndef LOOM_CSV_LINE_H
#define LOOM_CSV_LINE_H

#include <string>

#include "cell.h"

namespace loom {

/// How lines are written.
struct CsvForm {
  char separator = ',';
  std::string_view lineEnd = "\r\n";
};

/// Appends a row to `*text`. NULL is nothing, and an empty text is "". A text is in
/// quotes where it must be, and where it could be taken for a number; a blob is its
/// hexadecimal digits in quotes. A real number has a point or an exponent.
void appendCsvLine(const Row& row, const CsvForm& form, std::string* text);

}  // namespace loom

#endif  // LOOM_CSV_LINE_H
