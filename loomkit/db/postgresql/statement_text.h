// SPDX-License-Identifier: MIT
// SQL text on its way to the server: "?" and ":name" become "$1", "$2" and so on.
// Private to the driver.
#ifndef LOOMKIT_DB_POSTGRESQL_STATEMENT_TEXT_H
#define LOOMKIT_DB_POSTGRESQL_STATEMENT_TEXT_H

#include <string>
#include <string_view>
#include <vector>

namespace loomkit {

/// `statement` with each parameter numbered, outside of '' and E'' strings, "" names,
/// dollar quotes and comments, which nest. A parameter is "?", "?7" with its number, or
/// one of ":name", "@name" and "$name", which has one number wherever it stands. The
/// names go to `*names` by number, unless that is null, "" for a "?". A statement that
/// numbers its parameters itself ($1) has none of these marks, and stays as it is.
///
/// "??" stands for an operator's own question mark: `data ?? 'key'`,
/// `data ??| array['a']`. An "@" belongs to the operator directly in front of it, as in
/// `a <@b`. A ":" in a subscript, as in `a[low:high]`, separates the bounds of a slice;
/// in `ARRAY[:a, :b]` it marks a parameter.
///
/// With `backslashes`, a backslash escapes in every string and not only in E''
/// ones: that is the server's standard_conforming_strings turned off. Quotes and
/// comments that nothing closes reach to the end.
std::string numberedParameters(std::string_view statement, bool backslashes = false,
                               std::vector<std::string>* names = nullptr);

/// A name as a quoted identifier: "a""b" for a"b.
std::string quotedIdentifier(std::string_view name);

}  // namespace loomkit

#endif  // LOOMKIT_DB_POSTGRESQL_STATEMENT_TEXT_H
