// SPDX-License-Identifier: MIT
// Extension: GDbCatalog tells what is in a database: its tables and views, and
// of each table the columns and indexes.
//
//   std::vector<GDbCatalog::Table> tables;
//   GDbStatus status = GDbCatalog::listTables(database, &tables);
//   for (const GDbCatalog::Table& table : tables) {
//     GDbCatalog::Description description;
//     status = GDbCatalog::describeTable(database, table.name, &description);
//     ...
//     database->openTable(table.name, &description.structure, &opened);
//   }
//
// A backend of a host's own joins in with a catalog of its own:
//
//   class MyCatalog : public GDbCatalog { ... };
//   GDbCatalog::registerCatalog(new MyCatalog);   // beside its factory
#ifndef LOOMKIT_DB_CATALOG_H
#define LOOMKIT_DB_CATALOG_H

#include <string>
#include <vector>

#include "loomkit/db/database.h"
#include "loomkit/db/status.h"
#include "loomkit/db/structure.h"
#include "loomkit/platform/export.h"

/// The catalog of one kind of database. Callers use the static operations,
/// which find the catalog of the database at hand; a backend derives from this
/// class and registers one object.
///
/// A catalog keeps nothing: each call looks at the database anew. Results belong
/// to the caller. Failures are statuses and nothing throws on bad input. Like
/// the databases, catalogs and their registry belong to one thread at a time.
class LOOMKIT_API GDbCatalog {
 public:
  /// What can be opened as a table.
  enum class Kind {
    table,
    view  ///< a stored query, which can be read like a table
  };

  /// One entry of a database.
  struct Table {
    /// As GDbDatabase::openTable() takes it. A backend whose tables lie in
    /// schemas puts the schema in front where it is needed to find the table.
    std::string name;
    Kind kind = Kind::table;
  };

  /// What the database knows of a column beyond its GDbField.
  struct Column {
    /// The type in the database's own words, such as "VARCHAR(20)" or "N";
    /// empty when it has none.
    std::string declaredType;
    /// Whether the database lets the column hold a NULL.
    bool nullable = true;
    /// Of a column that was inferred: the line and the value that made it what it is, or
    /// what all its values have in common.
    std::string inferredFrom = {};
  };

  /// One table.
  struct Description {
    /// All columns in the table's order, with primary keys, and the indexes that
    /// a GDbIndex can tell. A column whose type has no GDbFieldType is
    /// GDbFieldNone: leave it out of a structure that is to open the table.
    GDbStructure structure;
    /// What goes beyond each field, by field number: as many entries as the structure
    /// has fields.
    std::vector<Column> columns;
    /// True when the table says nothing of its columns, and names and types were
    /// inferred from its data. Inferring reads the whole table.
    bool inferred = false;
  };

  /// Stores the tables and views of `database`, sorted by name, in `*tables`.
  /// GDbInvalidTypeId: nobody has registered a catalog for such a database;
  /// GDbInvalidArgument: a pointer is null; otherwise what the backend says. On
  /// failure `*tables` is empty. What it held before is gone in any case.
  static GDbStatus listTables(GDbDatabase* database, std::vector<Table>* tables);

  /// Stores what is known of the table or view `name` in `*description`. The
  /// table need not be open. GDbInvalidTableName: there is none; GDbRowTooBig:
  /// there are too many columns to infer; the other failures as with
  /// listTables(). On failure `*description` is empty.
  static GDbStatus describeTable(GDbDatabase* database, const std::string& name,
                                 Description* description);

  /// Adds a catalog. Of several that serve a database, the first is asked.
  /// It stays the caller's. Requires: `catalog` is not null and lives to the end of the
  /// process.
  static void registerCatalog(GDbCatalog* catalog);

 protected:
  GDbCatalog();
  GDbCatalog(const GDbCatalog&);
  GDbCatalog& operator=(const GDbCatalog&);
  virtual ~GDbCatalog();

  /// Whether `database` is of the backend's kind, usually a dynamic_cast.
  [[nodiscard]] virtual bool serves(const GDbDatabase& database) const = 0;

  /// Appends the tables and views in any order; listTables() sorts them, and drops them
  /// when this fails. `database` is one that the catalog serves, open or closed: a
  /// closed one is to give GDbNotOpen.
  virtual GDbStatus appendTables(GDbDatabase* database, std::vector<Table>* tables) const = 0;

  /// Fills an empty description of the table `name` of such a database.
  /// GDbInvalidTableName: there is none. describeTable() empties the description
  /// again when this fails.
  virtual GDbStatus describe(GDbDatabase* database, const std::string& name,
                             Description* description) const = 0;

 private:
  static GDbStatus find(const GDbDatabase* database, const GDbCatalog** catalog);
};

#endif  // LOOMKIT_DB_CATALOG_H
