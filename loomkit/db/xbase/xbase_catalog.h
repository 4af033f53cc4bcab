// SPDX-License-Identifier: MIT
// The catalog of xBase databases. Private to the backend.
#ifndef LOOMKIT_DB_XBASE_XBASE_CATALOG_H
#define LOOMKIT_DB_XBASE_XBASE_CATALOG_H

#include "loomkit/db/catalog.h"

namespace loomkit {

/// Lists the tables of the directory, by their upper-cased names, and describes
/// their fields and those tags of their index files that a GDbIndex can tell: of
/// fields joined as this backend joins them, without a filter. A closed database
/// gives GDbNotOpen.
class XBaseCatalog : public GDbCatalog {
 protected:
  [[nodiscard]] bool serves(const GDbDatabase& database) const override;
  GDbStatus appendTables(GDbDatabase* database, std::vector<Table>* tables) const override;
  GDbStatus describe(GDbDatabase* database, const std::string& name,
                     Description* description) const override;
};

}  // namespace loomkit

#endif  // LOOMKIT_DB_XBASE_XBASE_CATALOG_H
