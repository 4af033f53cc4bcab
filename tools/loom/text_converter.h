// SPDX-License-Identifier: MIT
// Text of other encodings as UTF-8.
#ifndef LOOM_TEXT_CONVERTER_H
#define LOOM_TEXT_CONVERTER_H

#include <string>
#include <string_view>

namespace loom {

enum class Conversion {
  done,
  unknownEncoding,
  invalid  ///< bytes that are none of the encoding, or a character that is not whole
};

/// Appends `bytes`, which are text of `encoding`, to `*result` as UTF-8. `encoding` is a
/// name as iconv knows them. `*valid` is how many bytes were converted.
[[nodiscard]] Conversion convertToUtf8(std::string_view bytes, const std::string& encoding,
                                       std::string* result, std::size_t* valid);

}  // namespace loom

#endif  // LOOM_TEXT_CONVERTER_H
