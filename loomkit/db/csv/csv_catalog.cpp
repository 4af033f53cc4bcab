// SPDX-License-Identifier: MIT
#include "loomkit/db/csv/csv_catalog.h"

#include "loomkit/db/csv/csv_database.h"
#include "loomkit/db/csv/csv_inference.h"

namespace loomkit {

bool CsvCatalog::serves(const GDbDatabase& database) const {
  return dynamic_cast<const GDbCSV*>(&database) != nullptr;
}

GDbStatus CsvCatalog::appendTables(GDbDatabase* database, std::vector<Table>* tables) const {
  std::set<std::string> names;
  const GDbStatus status = static_cast<GDbCSV*>(database)->listTables(&names);
  for (const std::string& name : names) tables->push_back({name, Kind::table});
  return status;
}

GDbStatus CsvCatalog::describe(GDbDatabase* database, const std::string& name,
                               Description* description) const {
  auto* csv = static_cast<GDbCSV*>(database);
  if (csv->isClosed()) return GDbNotOpen;
  std::unique_ptr<std::istream> text = csv->openText(name);
  if (text == nullptr) return GDbInvalidTableName;
  std::vector<std::string> reasons;
  const GDbStatus status = inferCsvStructure(std::move(text), &description->structure, &reasons);
  if (status != GDbNoError) return status;
  Column column;
  column.nullable = false;  // a text file knows no NULL
  for (const std::string& reason : reasons) {
    column.inferredFrom = reason;
    description->columns.push_back(column);
  }
  description->inferred = true;
  return GDbNoError;
}

}  // namespace loomkit
