// SPDX-License-Identifier: MIT
// The catalog of PostgreSQL databases. Private to the driver.
#ifndef LOOMKIT_DB_POSTGRESQL_POSTGRESQL_CATALOG_H
#define LOOMKIT_DB_POSTGRESQL_POSTGRESQL_CATALOG_H

#include <string>

#include "loomkit/db/catalog.h"

class GPostgresqlDatabase;

namespace loomkit {

/// Reads pg_class, pg_attribute and pg_index
/// (https://www.postgresql.org/docs/current/catalogs.html). A closed database
/// gives GDbNotOpen.
///
/// Tables are plain, partitioned and foreign ones; views may be materialized. The
/// server's own schemas are left out of lists. Partial indexes and those over
/// expressions are left out, since a GDbIndex cannot tell what they cover, and so
/// is the index behind a primary key, which the fields tell.
class PostgresqlCatalog : public GDbCatalog {
 public:
  /// describe(), for the driver itself. Without `indexes`, only the columns.
  static GDbStatus read(GPostgresqlDatabase* database, const std::string& name, bool indexes,
                        Description* description);

 protected:
  [[nodiscard]] bool serves(const GDbDatabase& database) const override;
  GDbStatus appendTables(GDbDatabase* database, std::vector<Table>* tables) const override;
  GDbStatus describe(GDbDatabase* database, const std::string& name,
                     Description* description) const override;
};

}  // namespace loomkit

#endif  // LOOMKIT_DB_POSTGRESQL_POSTGRESQL_CATALOG_H
