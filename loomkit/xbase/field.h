// SPDX-License-Identifier: MIT
// The fields of a table's current record: their texts, and what may be assigned.
#ifndef LOOMKIT_XBASE_FIELD_H
#define LOOMKIT_XBASE_FIELD_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "loomkit/xbase/data_file.h"

namespace loomkit::xbase {

// Requires, of all functions here: the field's number is one of the table's.

/// The field's text as it stands in the record, at the field's width; of a memo
/// field, the block number. Valid until the record changes.
std::string_view fieldText(const DataFile& data, std::size_t field);
/// The first character of that text; a blank for a field without any width.
char fieldChar(const DataFile& data, std::size_t field);
/// The number in the text: as many characters as make one, after blanks; 0 for
/// none.
double fieldNumber(const DataFile& data, std::size_t field);

/// Assigns a text, padded with blanks or cut at the field's width. Also good for
/// the letters N and D, where nothing is converted.
void assignText(DataFile& data, std::size_t field, std::string_view text);
void assignChar(DataFile& data, std::size_t field, char value);
/// Assign a number, right-aligned at the field's width and decimals. One that
/// does not fit gives up decimals first; then the field is filled with stars.
void assignLong(DataFile& data, std::size_t field, std::int64_t value);
void assignDouble(DataFile& data, std::size_t field, double value);

/// The text of a memo; empty for a field without one. errorReading: the field
/// points to no memo, or the table has no memo file.
int memoText(DataFile& data, std::size_t field, std::string* text);
/// The length of the memo, in bytes.
int memoLength(DataFile& data, std::size_t field, std::uint64_t* bytes);
/// Assigns a memo; it goes to the memo file with its record. An empty text is no
/// memo.
void assignMemo(DataFile& data, std::size_t field, std::string_view text);

/// The number of the memo's block; 0 for none, and for what is no number.
std::uint32_t memoBlock(const DataFile& data, std::size_t field);
void assignMemoBlock(DataFile& data, std::size_t field, std::uint32_t block);

/// The number that `text` begins with: blanks, a sign, digits with a point, an
/// exponent; correctly rounded. 0 for none.
double parseNumber(std::string_view text);
/// Writes a number right-aligned into `width` characters at `out`, with
/// `decimals`; false, and stars all over, if it does not fit.
bool formatNumber(double value, char* out, std::size_t width, unsigned decimals);

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_FIELD_H
