// SPDX-License-Identifier: MIT
// How many cells of a terminal a text takes.
#ifndef LOOM_DISPLAY_WIDTH_H
#define LOOM_DISPLAY_WIDTH_H

#include <cstddef>
#include <string>
#include <string_view>

namespace loom {

/// The cells of a UTF-8 text: two for East Asian wide characters and pictographs,
/// none for combining marks, one for everything else, also for a byte that is no
/// UTF-8. Control characters are counted as one, so the text is made visible()
/// before.
[[nodiscard]] std::size_t displayWidth(std::string_view text);

/// The beginning of the text that fits into `width` cells; its last cell is "…" where
/// something is cut.
[[nodiscard]] std::string cutToWidth(std::string_view text, std::size_t width);

}  // namespace loom

#endif  // LOOM_DISPLAY_WIDTH_H
