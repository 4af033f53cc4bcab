// SPDX-License-Identifier: MIT
// Extension: GSqlDescription, what a statement says of its columns and parameters.
//
//   GSqlQuery query(database, "SELECT id, name FROM parts WHERE price < :limit;");
//   GSqlDescription about;
//   if (query.describe(&about) == GDbNoError)
//     std::puts(about.columns[0].declaredType.c_str());    // INTEGER
//
//   query.bindDouble(":limit", 10);
//   for (GDbStatus status = query.exec(); status == GDbNoError && query.next() == GDbNoError;) {
//     const GDbTypedRow row(*query.getRecord(), about.structure);
//     use(row.getInt64("id"), row.getString("name"));
//   }
#ifndef LOOMKIT_DB_SQL_SQL_DESCRIPTION_H
#define LOOMKIT_DB_SQL_SQL_DESCRIPTION_H

#include <string>
#include <vector>

#include "loomkit/db/catalog.h"
#include "loomkit/db/structure.h"

/// The columns of a statement's result, and its parameters; GSqlQuery::describe()
/// fills it. A value, which belongs to the caller and stays as it is when the query
/// goes.
struct GSqlDescription {
  /// The columns in their order: their names, as AS gives them, and the types that
  /// their declared types stand for. GDbFieldNone: the database does not say. Letter
  /// case does not count. GDbTypedRow reads the query's records with it. No columns:
  /// the statement has no result.
  GDbStructure structure;

  /// What goes beyond each field, by its number. The declared type is in the
  /// database's own words, such as "VARCHAR(20)", and empty for an expression for
  /// which there is none. `nullable` is false for a column that is declared NOT NULL
  /// in its table, where an outer join may show a NULL nevertheless; it is true for
  /// all others, and for all when the driver cannot tell.
  std::vector<GDbCatalog::Column> columns;

  /// The names of the parameters by their numbers, with the mark in front, such as
  /// ":limit" or "?2"; empty for one without a name.
  std::vector<std::string> parameters;
};

#endif  // LOOMKIT_DB_SQL_SQL_DESCRIPTION_H
