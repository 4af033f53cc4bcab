// SPDX-License-Identifier: MIT
#include "loomkit/db/catalog.h"

#include <algorithm>

namespace {

// Null until the first registration, because catalogs register while the library
// is being loaded, in any order. It lives to the end of the process.
constinit std::vector<GDbCatalog*>* catalogs = nullptr;

}  // namespace

GDbCatalog::GDbCatalog() = default;
GDbCatalog::GDbCatalog(const GDbCatalog&) = default;
GDbCatalog& GDbCatalog::operator=(const GDbCatalog&) = default;
GDbCatalog::~GDbCatalog() = default;

void GDbCatalog::registerCatalog(GDbCatalog* catalog) {
  if (catalogs == nullptr) catalogs = new std::vector<GDbCatalog*>;
  catalogs->push_back(catalog);
}

GDbStatus GDbCatalog::find(const GDbDatabase* database, const GDbCatalog** catalog) {
  if (database == nullptr) return GDbInvalidArgument;
  if (catalogs == nullptr) return GDbInvalidTypeId;
  const auto found =
      std::find_if(catalogs->begin(), catalogs->end(),
                   [&](const GDbCatalog* candidate) { return candidate->serves(*database); });
  if (found == catalogs->end()) return GDbInvalidTypeId;
  *catalog = *found;
  return GDbNoError;
}

GDbStatus GDbCatalog::listTables(GDbDatabase* database, std::vector<Table>* tables) {
  if (tables == nullptr) return GDbInvalidArgument;
  tables->clear();
  const GDbCatalog* catalog = nullptr;
  GDbStatus status = find(database, &catalog);
  if (status == GDbNoError) status = catalog->appendTables(database, tables);
  if (status != GDbNoError) tables->clear();
  std::sort(tables->begin(), tables->end(),
            [](const Table& a, const Table& b) { return a.name < b.name; });
  return status;
}

GDbStatus GDbCatalog::describeTable(GDbDatabase* database, const std::string& name,
                                    Description* description) {
  if (description == nullptr) return GDbInvalidArgument;
  *description = Description();
  const GDbCatalog* catalog = nullptr;
  GDbStatus status = find(database, &catalog);
  if (status == GDbNoError) status = catalog->describe(database, name, description);
  if (status != GDbNoError) *description = Description();
  return status;
}
