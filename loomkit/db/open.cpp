// SPDX-License-Identifier: MIT
#include "loomkit/db/open.h"

#include "loomkit/db/catalog.h"

namespace loomkit {
namespace {

// The columns that the catalog tells of a table and that have a type.
GDbStatus knownColumns(GDbDatabase* database, const std::string& name, GDbStructure* known) {
  GDbCatalog::Description description;
  const GDbStatus status = GDbCatalog::describeTable(database, name, &description);
  for (const GDbField& field : description.structure.getFields())
    if (field.getType() != GDbFieldNone) known->appendField(field);
  return status;
}

}  // namespace

Database::Database(std::unique_ptr<GDbDatabase> opened, GDbStatus reason)
    : database(std::move(opened)), status(database != nullptr ? GDbStatus(GDbNoError) : reason) {}

Table Database::openTable(const std::string& name, const GDbStructure* structure) const {
  Table result;
  result.status = status;
  if (database == nullptr) return result;
  GDbStructure known;
  if (structure == nullptr) {
    result.status = knownColumns(database.get(), name, &known);
    // A backend without a catalog may know its tables all the same.
    if (result.status == GDbNoError)
      structure = &known;
    else if (result.status != GDbInvalidTypeId)
      return result;
  }
  GDbTable* opened = nullptr;
  result.status = database->openTable(name, structure, &opened);
  if (result.status != GDbNoError) return result;
  result.table.reset(opened);
  result.database = database;
  return result;
}

Table Database::createTable(const std::string& name, const GDbStructure& structure) const {
  Table result;
  result.status = status;
  if (database == nullptr) return result;
  GDbTable* created = nullptr;
  result.status = database->createTable(name, &structure, &created);
  if (result.status != GDbNoError) return result;
  result.table.reset(created);
  result.database = database;
  return result;
}

Table& Table::operator=(Table&& other) noexcept {
  table = std::move(other.table);
  database = std::move(other.database);
  status = other.status;
  return *this;
}

Table::~Table() = default;

GDbStructure Table::getStructure() const {
  GDbStructure* found = nullptr;
  if (table == nullptr || table->getStructure(&found) != GDbNoError) return {};
  const std::unique_ptr<GDbStructure> owner(found);
  return *found;
}

Database open(const std::string& locator) {
  GDbDatabase* opened = nullptr;
  const GDbStatus status = GDbDatabase::openDatabase(locator.c_str(), &opened);
  // After a failure the pointer is the backend's, and nothing is to be deleted.
  return status == GDbNoError ? Database(std::unique_ptr<GDbDatabase>(opened))
                              : Database(nullptr, status);
}

RecordOwner makeRecord() { return RecordOwner(new GDbRecord); }

}  // namespace loomkit
