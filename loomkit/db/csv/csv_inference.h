// SPDX-License-Identifier: MIT
// What the columns of a CSV table are, found out from its text. Private to the
// backend.
#ifndef LOOMKIT_DB_CSV_CSV_INFERENCE_H
#define LOOMKIT_DB_CSV_CSV_INFERENCE_H

#include <istream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "loomkit/db/status.h"
#include "loomkit/db/structure.h"

namespace loomkit {

/// The most columns that are inferred.
inline constexpr int mostInferredColumns = 1000000;

/// Reads a table to its end and appends its columns, named c1, c2, ..., to
/// `*structure`. A column is Int when each of its values would read back the
/// same from an Int, Float when each is a number, and otherwise String. Columns
/// that stand behind all others and are empty to the last line are left out,
/// but at least one column is there.
///
/// Appends to `*reasons`, unless it is null, for each column why it is what it is: the
/// line and the value that made it so, or what all values have in common.
///
/// GDbFieldTypeMismatch: a line is malformed; GDbRowTooBig: a line has more than
/// mostInferredColumns; GDbIoError: the text cannot be read.
GDbStatus inferCsvStructure(std::unique_ptr<std::istream> text, GDbStructure* structure,
                            std::vector<std::string>* reasons = nullptr);

/// Whether `text` is a whole number of 32 bits as a program would write it. A
/// code such as 007 is none.
bool isCsvInt(std::string_view text);

/// Whether `text` is a number. A whole number that is too large for an Int is
/// none, so that it stays exact as a text, and neither is a code such as 007.
bool isCsvFloat(std::string_view text);

}  // namespace loomkit

#endif  // LOOMKIT_DB_CSV_CSV_INFERENCE_H
