// SPDX-License-Identifier: MIT
// The national characters of xBase tables, whose texts are of some code page.
#ifndef LOOM_XBASE_ENCODING_H
#define LOOM_XBASE_ENCODING_H

#include <filesystem>
#include <memory>
#include <string>

#include "row_source.h"

namespace loom {

/// Whether convertToUtf8() knows the encoding of that name.
[[nodiscard]] bool isEncoding(const std::string& name);

/// The encoding of the texts of the table in `file`, as convertToUtf8() knows it: what a
/// file beside it says that ends in ".cpg", as programs for maps write it, or else the
/// language driver in the table's header. Empty when neither says one.
[[nodiscard]] std::string xbaseEncoding(const std::filesystem::path& file);

/// Writes such a file, which says UTF-8, beside a table. Throws a Failure.
void tellXBaseIsUtf8(const std::filesystem::path& file);

/// The rows of another source with its texts as UTF-8. A text that is none of the encoding
/// stays as it is, and so do all where the encoding is empty.
[[nodiscard]] std::unique_ptr<RowSource> decodedRows(std::unique_ptr<RowSource> source,
                                                     const std::string& encoding);

/// Whether the cell is a text with other characters than those of ASCII, which all code
/// pages share.
[[nodiscard]] bool isNationalText(const Cell& cell);

}  // namespace loom

#endif  // LOOM_XBASE_ENCODING_H
