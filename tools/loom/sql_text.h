// SPDX-License-Identifier: MIT
// A look at the text of SQL statements.
#ifndef LOOM_SQL_TEXT_H
#define LOOM_SQL_TEXT_H

#include <string>
#include <string_view>
#include <vector>

namespace loom {

/// One statement of a script.
struct SqlStatement {
  /// Its text, with each parameter as "?".
  std::string text;
  /// The parameters as they were written: "?", "?3", or ":name", "@name", "$name".
  std::vector<std::string> parameters;
  /// Whether its first word is INSERT, UPDATE, DELETE, REPLACE, MERGE or WITH.
  bool changesRows = false;
};

/// Takes a script apart at its semicolons. What has nothing but blanks and comments
/// is left out. Quoted texts and names, comments, texts between dollar signs and the
/// body of a trigger are taken whole.
[[nodiscard]] std::vector<SqlStatement> splitStatements(std::string_view script);

}  // namespace loom

#endif  // LOOM_SQL_TEXT_H
