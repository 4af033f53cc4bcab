// SPDX-License-Identifier: MIT
// SQL text on its way to the server: "?" becomes "$1", "$2" and so on. Private to
// the driver.
#ifndef LOOMKIT_DB_POSTGRESQL_STATEMENT_TEXT_H
#define LOOMKIT_DB_POSTGRESQL_STATEMENT_TEXT_H

#include <string>
#include <string_view>

namespace loomkit {

/// `statement` with each "?" numbered, outside of '' and E'' strings, "" names,
/// dollar quotes and comments, which nest. "??" stands for an operator's own
/// question mark: `data ?? 'key'`, `data ??| array['a']`. A statement that
/// numbers its parameters itself ($1) has no "?", and stays as it is.
///
/// With `backslashes`, a backslash escapes in every string and not only in E''
/// ones: that is the server's standard_conforming_strings turned off. Quotes and
/// comments that nothing closes reach to the end.
std::string numberedParameters(std::string_view statement, bool backslashes = false);

/// A name as a quoted identifier: "a""b" for a"b.
std::string quotedIdentifier(std::string_view name);

}  // namespace loomkit

#endif  // LOOMKIT_DB_POSTGRESQL_STATEMENT_TEXT_H
