// SPDX-License-Identifier: MIT
// Text files of any encoding as UTF-8.
#ifndef LOOM_TEXT_ENCODING_H
#define LOOM_TEXT_ENCODING_H

#include <string>
#include <string_view>

namespace loom {

/// A text and what it was found to be.
struct DecodedText {
  std::string text;      ///< UTF-8 without a byte order mark
  std::string encoding;  ///< the name of what it was
  bool guessed = false;  ///< no mark and no caller said so, and it is not UTF-8
};

/// The text of a file's bytes. Without an `encoding` it is what its byte order mark
/// says, UTF-8 or UTF-16. Without a mark it is UTF-8, or else ISO-8859-1, but only if
/// it has no byte from 0x80 to 0x9f: those are no letters in ISO-8859-1, and damaged
/// UTF-8 nearly always has some. Throws a Failure, which names `path`: for an encoding
/// that does not exist, and for bytes that do not fit, with their place.
[[nodiscard]] DecodedText decodeText(const std::string& path, std::string bytes,
                                     const std::string& encoding);

/// The length of the UTF-8 character at the start of `text`, or 0 where there is none
/// (Unicode 15, table 3-7: no overlong forms, no surrogates, at most U+10FFFF).
/// Requires: `text` is not empty.
[[nodiscard]] std::size_t utf8Length(std::string_view text);

}  // namespace loom

#endif  // LOOM_TEXT_ENCODING_H
