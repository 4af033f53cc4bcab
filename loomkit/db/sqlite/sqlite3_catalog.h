// SPDX-License-Identifier: MIT
// The catalog of SQLite databases. Private to the backend.
#ifndef LOOMKIT_DB_SQLITE_SQLITE3_CATALOG_H
#define LOOMKIT_DB_SQLITE_SQLITE3_CATALOG_H

#include "loomkit/db/catalog.h"

namespace loomkit {

/// Reads the table sqlite_master and the pragmas table_info, index_list and
/// index_xinfo (https://www.sqlite.org/pragma.html). A closed database gives
/// GDbNotOpen.
///
/// Indexes over expressions and partial indexes are left out, since a GDbIndex
/// cannot tell what they cover, and so is the index behind a primary key, which
/// the fields tell.
class Sqlite3Catalog : public GDbCatalog {
 protected:
  [[nodiscard]] bool serves(const GDbDatabase& database) const override;
  GDbStatus appendTables(GDbDatabase* database, std::vector<Table>* tables) const override;
  GDbStatus describe(GDbDatabase* database, const std::string& name,
                     Description* description) const override;
};

}  // namespace loomkit

#endif  // LOOMKIT_DB_SQLITE_SQLITE3_CATALOG_H
