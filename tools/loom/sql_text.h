// SPDX-License-Identifier: MIT
// A look at the text of SQL statements.
#ifndef LOOM_SQL_TEXT_H
#define LOOM_SQL_TEXT_H

#include <string_view>

namespace loom {

/// Whether anything but blanks and comments stands behind the first statement,
/// which the library would drop without a word. A trigger, which has statements
/// of its own, is taken for one statement.
[[nodiscard]] bool hasSecondStatement(std::string_view sql);

}  // namespace loom

#endif  // LOOM_SQL_TEXT_H
