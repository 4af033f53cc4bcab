// SPDX-License-Identifier: MIT
#include "tessel/catalog.h"

#include <memory>

#include "loomkit/db/catalog.h"
#include "loomkit/db/locator.h"
#include "loomkit/db/table.h"
#include "loomkit/db/tessel/tessel_database.h"
#include "tessel/status.h"
#include "tessel/store/column_names.h"
#include "tessel/store/store.h"

namespace tessel {
namespace {

// Opens the file of a database once more, by the rule that opened it.
GDbStatus openAgain(const GDbDatabase& database, std::unique_ptr<Store>* store) {
  loomkit::Locator locator;
  loomkit::splitLocator(database.getName(), &locator);
  *store = std::make_unique<Store>();
  Error error = (*store)->open(locator.path);
  if (error == Error::noSuchFile || error == Error::noStore) {
    *store = std::make_unique<Store>();
    error = (*store)->open(locator.path + ".tessel");
  }
  return statusOf(error);
}

class Catalog : public GDbCatalog {
 protected:
  [[nodiscard]] bool serves(const GDbDatabase& database) const override {
    return dynamic_cast<const GDbTessel*>(&database) != nullptr;
  }

  GDbStatus appendTables(GDbDatabase* database, std::vector<Table>* tables) const override {
    std::unique_ptr<Store> store;
    const GDbStatus status = openAgain(*database, &store);
    if (status == GDbNoError)
      for (const TableInfo& table : store->tables()) tables->push_back({table.name, Kind::table});
    return status;
  }

  // The structure is the table's own; what is known beyond it is how the columns
  // are stored.
  GDbStatus describe(GDbDatabase* database, const std::string& name,
                     Description* description) const override {
    GDbTable* opened = nullptr;
    GDbStatus status = database->openTable(name, nullptr, &opened);
    if (status != GDbNoError) return status;
    const std::unique_ptr<GDbTable> table(opened);
    GDbStructure* found = nullptr;
    status = table->getStructure(&found);
    if (status != GDbNoError) return status;
    description->structure = *std::unique_ptr<GDbStructure>(found);
    std::unique_ptr<Store> store;
    status = openAgain(*database, &store);
    if (status != GDbNoError) return status;
    const TableInfo* const info = store->findTable(name.c_str());
    if (info == nullptr) return GDbInvalidTableName;
    for (const tessel::Column& column : info->columns)
      description->columns.push_back({storageName(column), false});
    return GDbNoError;
  }
};

}  // namespace

bool registerCatalog() {
  GDbCatalog::registerCatalog(new Catalog);
  return true;
}

}  // namespace tessel
