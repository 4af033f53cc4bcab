// SPDX-License-Identifier: MIT
// Extension: loomkit::open(), a database that closes itself, and tables that keep
// their database open.
//
//   loomkit::Database database = loomkit::open("csv:/data");
//   loomkit::Table parts = database.openTable("parts");
//   if (!parts) return report(gDbStrError(parts.getStatus()));
//   for (const GDbTypedRow& row : GDbTableScan(parts)) use(row);
#ifndef LOOMKIT_DB_OPEN_H
#define LOOMKIT_DB_OPEN_H

#include <memory>
#include <string>

#include "loomkit/db/database.h"
#include "loomkit/db/record_owner.h"
#include "loomkit/db/table.h"
#include "loomkit/platform/export.h"

namespace loomkit {

class Table;

/// An opened database, or the status of a failure. Copies share the database. It
/// is closed when the last copy and the last Table of it are gone, the tables
/// first, whatever the order of the variables.
///
/// For one thread at a time, as the database itself.
class LOOMKIT_API Database {
 public:
  /// No database: GDbNotOpen.
  Database() = default;
  /// Takes over a database that the caller owns, and deletes it in the end. Null: no
  /// database, and `status` says why. `status` does not count for a database.
  explicit Database(std::unique_ptr<GDbDatabase> opened, GDbStatus status = GDbNoError);

  /// Whether there is a database.
  explicit operator bool() const noexcept { return database != nullptr; }
  /// 0, or why there is no database.
  [[nodiscard]] GDbStatus getStatus() const noexcept { return status; }

  /// The database, null when there is none. It stays the handle's: it is not deleted,
  /// and is valid while a copy of this object or a Table of it lives.
  [[nodiscard]] GDbDatabase* get() const noexcept { return database.get(); }
  operator GDbDatabase*() const noexcept { return database.get(); }
  /// Requires: there is a database.
  GDbDatabase* operator->() const noexcept { return database.get(); }
  /// The database as one of its classes, such as GSqlDatabase; null when it is
  /// of another class.
  template <typename Class>
  [[nodiscard]] Class* as() const {
    return dynamic_cast<Class*>(database.get());
  }

  /// Opens a table. Without a structure, the catalog of the database tells the
  /// columns, and those of a type that is not known are left out; for a CSV table
  /// that reads the whole file. The status of a failure is in the result, as for
  /// GDbDatabase::openTable(); without a database it is its own.
  [[nodiscard]] Table openTable(const std::string& name,
                                const GDbStructure* structure = nullptr) const;
  /// Creates a table and opens it, see GDbDatabase::createTable(). The status of a
  /// failure is in the result; the structure stays the caller's.
  [[nodiscard]] Table createTable(const std::string& name, const GDbStructure& structure) const;

 private:
  std::shared_ptr<GDbDatabase> database;
  GDbStatus status = GDbNotOpen;
};

/// An opened table, or the status of a failure. It keeps its database open, and is
/// closed when it goes. It can be moved and not copied, since one table has one scan
/// position; the object that it was moved from has no table any more, whatever its
/// getStatus() says. For one thread at a time, together with its database.
class LOOMKIT_API Table {
 public:
  /// No table: GDbNotOpen.
  Table() = default;
  Table(Table&&) noexcept = default;
  /// The table that it had is closed before its database can be.
  Table& operator=(Table&& other) noexcept;
  ~Table();

  /// Whether there is a table.
  explicit operator bool() const noexcept { return table != nullptr; }
  /// 0, or why there is no table.
  [[nodiscard]] GDbStatus getStatus() const noexcept { return status; }

  /// The table, null when there is none. It stays the handle's: it is not deleted, and
  /// is valid while this object holds it.
  [[nodiscard]] GDbTable* get() const noexcept { return table.get(); }
  operator GDbTable*() const noexcept { return table.get(); }
  /// Requires: there is a table.
  GDbTable* operator->() const noexcept { return table.get(); }

  /// A copy of the table's structure, whose field numbers are those of the records; an
  /// empty one when there is no table, or when it cannot tell.
  [[nodiscard]] GDbStructure getStructure() const;

 private:
  friend class Database;
  // The database is declared first, so that it goes last.
  std::shared_ptr<GDbDatabase> database;
  std::unique_ptr<GDbTable> table;
  GDbStatus status = GDbNotOpen;
};

/// Opens the database of a locator, see GDbDatabase::openDatabase(). The status of
/// a failure is in the result, which is false then.
[[nodiscard]] LOOMKIT_API Database open(const std::string& locator);

/// A record without fields, to be filled by GDbRecord::addIntField() and its likes. It
/// ends with its owner, unless a set takes it over:
///
///   rows.addRecord(record.release());
[[nodiscard]] LOOMKIT_API RecordOwner makeRecord();

}  // namespace loomkit

#endif  // LOOMKIT_DB_OPEN_H
