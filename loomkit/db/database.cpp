// SPDX-License-Identifier: MIT
#include "loomkit/db/database.h"

#include <algorithm>

#include "loomkit/db/backends.h"
#include "loomkit/db/locator.h"
#include "loomkit/db/slot_table.h"
#include "loomkit/db/table.h"
#include "loomkit/text/output.h"

// Ready before any constructor runs, because factories register from theirs.
constinit std::vector<GDbDatabase*> GDbDatabase::sDatabases;
constinit std::vector<GDbDbFactory*>* GDbDatabase::sDbFactories = nullptr;
constinit std::int32_t GDbDatabase::sSeqNo = 1;

namespace loomkit::backends {
// Whoever links the registry links the backends.
extern const GDbDbFactory* const* const* const linked;
const GDbDbFactory* const* const* const linked = all;
}  // namespace loomkit::backends

GDbDatabase::GDbDatabase(const std::string& locator) : name(locator) {
  dbIdx = loomkit::takeSlot(&sDatabases, this);
  seqNo = sSeqNo++;
}

// A copy is registered nowhere.
GDbDatabase::GDbDatabase(const GDbDatabase&) = default;
GDbDatabase& GDbDatabase::operator=(const GDbDatabase&) = default;

// Each table takes itself out of `tables` while it is deleted, so the walk goes
// over a copy. Callers still delete their tables first: a derived database is
// half gone by now.
GDbDatabase::~GDbDatabase() {
  const std::vector<GDbTable*> left = tables;
  for (GDbTable* table : left) delete table;
  GDbDatabase*& slot = sDatabases[static_cast<std::size_t>(dbIdx)];
  if (slot == this) slot = nullptr;
}

GDbStatus GDbDatabase::closeDatabase() { return closeTables(); }

void GDbDatabase::setEncoding(const char* /*encoding*/) {
  // "supportet" is what the line has always said; log filters match it.
  const std::string text = "codeset conversion is not supportet for this type of database: " + name;
  gOutput->log(0, gDataSysName, text.c_str());
}

void GDbDatabase::registerDbFactory(GDbDbFactory* factory) {
  if (sDbFactories == nullptr) sDbFactories = new std::vector<GDbDbFactory*>;
  sDbFactories->push_back(factory);
}

GDbStatus GDbDatabase::openDatabase(const char* locator, GDbDatabase** database) {
  if (locator == nullptr || database == nullptr) return GDbInvalidArgument;
  const std::string id = loomkit::locatorType(locator);
  if (id.empty()) return GDbInvalidLocator;
  if (sDbFactories == nullptr) return GDbInvalidTypeId;
  for (GDbDbFactory* factory : *sDbFactories)
    if (factory->getDbTypeId() == id) return factory->openDatabase(locator, database);
  return GDbInvalidTypeId;
}

GDbDatabase* GDbDatabase::getDatabase(int dbIdx, int seqNo) {
  return loomkit::findSlot(sDatabases, dbIdx, seqNo);
}

GDbStatus GDbDatabase::closeTables() {
  GDbStatus result = GDbNoError;
  for (GDbTable* table : tables) {
    const GDbStatus status = table->closeTable();
    if (result == GDbNoError) result = status;
  }
  return result;
}

bool GDbDatabase::isTableOpen(const std::string& tableName) const {
  const auto found = std::find_if(tables.begin(), tables.end(), [&](const GDbTable* table) {
    return table->getName() == tableName;
  });
  return found != tables.end() && (*found)->isTableOpen();
}

void GDbDatabase::registerTable(GDbTable* table) { tables.push_back(table); }

void GDbDatabase::unregisterTable(GDbTable* table) {
  tables.erase(std::remove(tables.begin(), tables.end(), table), tables.end());
}

GDbDbFactory::GDbDbFactory(const std::string& dbTypeId) : typeId(dbTypeId) {}
GDbDbFactory::GDbDbFactory(const GDbDbFactory&) = default;
GDbDbFactory& GDbDbFactory::operator=(const GDbDbFactory&) = default;
GDbDbFactory::~GDbDbFactory() = default;
