// SPDX-License-Identifier: MIT
// PgTableName: how a table is named, with or without its schema. Private to the
// driver.
#ifndef LOOMKIT_DB_POSTGRESQL_TABLE_NAME_H
#define LOOMKIT_DB_POSTGRESQL_TABLE_NAME_H

#include <string>
#include <string_view>

namespace loomkit {

/// "table" on the search path, or "schema.table". Letter case counts. A name in
/// which a dot or a quote at its begin stands for itself is written as in SQL,
/// "a.b" in double quotes.
struct PgTableName {
  std::string schema;  ///< empty: on the search path
  std::string table;

  /// Takes a name apart at its first dot, or as quoted identifiers. What begins
  /// with a quote and is no quoted name counts as it stands.
  static PgTableName of(std::string_view name);

  /// For SQL: both parts quoted.
  [[nodiscard]] std::string quoted() const;
  /// The name that of() reads back as this one.
  [[nodiscard]] std::string plain() const;
};

}  // namespace loomkit

#endif  // LOOMKIT_DB_POSTGRESQL_TABLE_NAME_H
