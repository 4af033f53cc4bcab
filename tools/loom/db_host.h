// SPDX-License-Identifier: MIT
// DbHost: a database that loom has opened, and its tables with a structure
// found for them.
#ifndef LOOM_DB_HOST_H
#define LOOM_DB_HOST_H

#include <memory>
#include <string>
#include <vector>

#include "loomkit/db/database.h"
#include "loomkit/db/sql/sql_database.h"
#include "loomkit/db/table.h"

namespace loom {

/// What a LOCATOR operand is, for the help of commands.
inline constexpr std::string_view locatorHelp =
    "The database: csv:DIRECTORY, sqlite3:FILE, tessel:FILE or postgresql://USER@HOST/NAME, with "
    "options behind ?. Passwords are better kept in ~/.pgpass than typed here.";

/// Throws Failure where a database or table cannot be opened.
class DbHost {
 public:
  /// Opens the locator. A SQLite file must exist, unless `create` is set.
  explicit DbHost(const std::string& locator, bool create = false);

  [[nodiscard]] GDbDatabase* database() const { return opened.get(); }
  /// Null when the database knows no SQL.
  [[nodiscard]] GSqlDatabase* sql() const { return dynamic_cast<GSqlDatabase*>(opened.get()); }
  /// The locator's type in lower case.
  [[nodiscard]] const std::string& type() const { return typeId; }

  /// The names of the tables, sorted; views are left out.
  [[nodiscard]] std::vector<std::string> tables() const;

  /// Opens a table. `columns` is "name:type,..." with the types int, uint,
  /// float, string and blob; without it a CSV table's columns are inferred.
  [[nodiscard]] std::unique_ptr<GDbTable> table(const std::string& name,
                                                const std::string& columns) const;

  /// The same for a table whose values are to be read. A SQLite table with
  /// integers beyond 32 bits is a Failure: a record would have only the lower 32
  /// bits of them.
  [[nodiscard]] std::unique_ptr<GDbTable> readableTable(const std::string& name,
                                                        const std::string& columns) const;

 private:
  [[nodiscard]] bool hasLargeIntegers(GDbTable* table) const;
  // The columns that the database tells of a table. One whose type is not known,
  // such as a DATE, is left out: it would keep the table from being opened. An
  // SQL table has all of its columns all the same.
  [[nodiscard]] GDbStructure knownColumns(const std::string& name) const;

  std::string typeId;
  std::unique_ptr<GDbDatabase> opened;
};

/// "int", "uint", "float", "string", "blob"; "none" for what has no type.
[[nodiscard]] std::string_view typeName(GDbFieldType type);

/// The table's structure, which must be there.
[[nodiscard]] std::unique_ptr<GDbStructure> structureOf(GDbTable* table);

/// Throws the Failure that fits when `status` is not 0.
void require(GDbStatus status, const std::string& what);

}  // namespace loom

#endif  // LOOM_DB_HOST_H
