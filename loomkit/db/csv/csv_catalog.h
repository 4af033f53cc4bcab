// SPDX-License-Identifier: MIT
// The catalog of CSV databases. Private to the backend.
#ifndef LOOMKIT_DB_CSV_CSV_CATALOG_H
#define LOOMKIT_DB_CSV_CSV_CATALOG_H

#include "loomkit/db/catalog.h"

namespace loomkit {

/// Lists the files and archive members that openTable() would find, and infers
/// the columns of a table from its text (csv_inference.h). A closed database
/// gives GDbNotOpen.
class CsvCatalog : public GDbCatalog {
 protected:
  [[nodiscard]] bool serves(const GDbDatabase& database) const override;
  GDbStatus appendTables(GDbDatabase* database, std::vector<Table>* tables) const override;
  GDbStatus describe(GDbDatabase* database, const std::string& name,
                     Description* description) const override;
};

}  // namespace loomkit

#endif  // LOOMKIT_DB_CSV_CSV_CATALOG_H
