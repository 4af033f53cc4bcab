// SPDX-License-Identifier: MIT
// visible: a text that a stranger may have chosen, such as the name of a member or
// a file, without anything in it that a terminal would obey.
//
//   complain("there is no member " + name);   // complain() calls visible() itself
//   printLine(shown(name));                   // a listing; see console.h
#ifndef LOOM_VISIBLE_TEXT_H
#define LOOM_VISIBLE_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace loom {

/// The text with each control character as an escape: \n, \r and \t as these, any
/// other as \x1b (one escape a byte). Control characters are the bytes below 0x20,
/// 0x7f, and those from U+0080 to U+009F, whether they stand there as UTF-8 or as
/// single bytes of an older code set. All else stays as it is, a backslash too:
/// this is for reading, and not to be turned back.
[[nodiscard]] std::string visible(std::string_view text);

/// The same for a text of several lines: line ends and tabs stay.
[[nodiscard]] std::string visibleLines(std::string_view text);

/// The text's beginning, of at most `most` bytes and whole characters, and " ..." behind
/// it; a text that is no longer than that as it is. For a value within a message.
[[nodiscard]] std::string excerpt(std::string_view text, std::size_t most = 60);

}  // namespace loom

#endif  // LOOM_VISIBLE_TEXT_H
