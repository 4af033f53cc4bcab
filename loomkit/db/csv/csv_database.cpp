// SPDX-License-Identifier: MIT
#include "loomkit/db/csv/csv_database.h"

#include "loomkit/db/csv/csv_catalog.h"
#include "loomkit/db/csv/csv_format.h"
#include "loomkit/db/csv/csv_index.h"
#include "loomkit/db/csv/csv_line_reader.h"
#include "loomkit/db/locator.h"
#include "loomkit/streams/directory.h"
#include "loomkit/streams/file.h"
#include "loomkit/text/string_util.h"

namespace {

const std::string filesSource = "files";
const std::string zipSource = "zip";

// The value of the option `prefix`, if `option` is that.
bool hasPrefix(const std::string& option, const std::string& prefix, std::string* value) {
  if (option.compare(0, prefix.size(), prefix) != 0) return false;
  *value = option.substr(prefix.size());
  return true;
}

}  // namespace

GDbCSV::GDbCSV(const std::string& locator, const std::string& path,
               const std::vector<std::string>& options)
    : GDbDatabase(locator), directory(path) {
  std::string list;
  for (const std::string& option : options)
    if (!hasPrefix(option, "zipfile=", &zipFile)) hasPrefix(option, "order=", &list);
  if (!list.empty()) {
    gSplit(list, ",", &order);  // an unknown word matches no source
    return;
  }
  order.push_back(filesSource);
  if (!zipFile.empty()) order.push_back(zipSource);
}

GDbCSV::~GDbCSV() {
  GDbCSV::closeDatabase();
  deleteZipReader();
}

GDbStatus GDbCSV::closeDatabase() {
  directory.clear();
  return GDbNoError;
}

std::unique_ptr<std::istream> GDbCSV::openSource(const std::string& source,
                                                 const std::string& file) {
  if (source == filesSource)
    return std::unique_ptr<std::istream>(GFile(directory + "/" + file).getInStream(true));
  if (source == zipSource && !zipFile.empty()) return openZipMember(file);
  return nullptr;
}

std::unique_ptr<std::istream> GDbCSV::openText(const std::string& tableName) {
  for (const std::string& source : order) {
    std::unique_ptr<std::istream> stream = openSource(source, tableName + loomkit::csvSuffix);
    if (stream != nullptr) return stream;
  }
  return nullptr;
}

GDbStatus GDbCSV::listTables(std::set<std::string>* names) {
  if (isClosed()) return GDbNotOpen;
  for (const std::string& source : order) {
    if (source == filesSource && !listFiles(names)) return GDbCantOpenDirectory;
    if (source == zipSource && !zipFile.empty()) listZipMembers(names);
  }
  return GDbNoError;
}

bool GDbCSV::listFiles(std::set<std::string>* names) const {
  GDirectory listed(directory);
  if (!listed.exists()) return false;
  for (const char* file = listed.first(true); file != nullptr; file = listed.next(true)) {
    const std::string table = loomkit::csvTableName(file);
    if (!table.empty() && !GDirectory(directory + "/" + file).exists()) names->insert(table);
  }
  return true;
}

GDbStatus GDbCSV::openTable(const std::string& tableName, const GDbStructure* structure,
                            GDbTable** table) {
  if (structure == nullptr || table == nullptr) return GDbInvalidArgument;
  std::unique_ptr<std::istream> stream = openText(tableName);
  if (stream == nullptr) return GDbInvalidTableName;
  auto opened = std::make_unique<GDbCSVTable>(this, tableName, *structure, std::move(stream));
  const GDbStatus status = opened->checkFirstLine();
  if (status == GDbNoError) *table = opened.release();
  return status;
}

GDbStatus GDbCSV::createTable(const std::string& /*name*/, const GDbStructure* /*structure*/,
                              GDbTable** /*table*/) {
  return GDbCreateTableNotSupported;
}

GDbStatus GDbCSV::deleteTable(const std::string& /*name*/) { return GDbDeleteTableNotSupported; }

// The factory and the catalog are made while the library is being loaded; the
// registries keep them to the end of the process.
namespace loomkit::backends {
extern const GDbDbFactory* const csv;
const GDbDbFactory* const csv = [] {
  GDbCatalog::registerCatalog(new CsvCatalog);
  return new GDbCSVFactory;
}();
}  // namespace loomkit::backends

GDbCSVFactory::GDbCSVFactory() : GDbDbFactory("csv") { GDbDatabase::registerDbFactory(this); }

GDbStatus GDbCSVFactory::openDatabase(const char* locator, GDbDatabase** database) {
  loomkit::Locator parts;
  if (locator == nullptr || database == nullptr) return GDbInvalidArgument;
  if (!loomkit::splitLocator(locator, &parts)) return GDbInvalidLocator;
  if (!GDirectory(parts.path).exists()) return GDbCantOpenDirectory;
  *database = new GDbCSV(locator, parts.path, parts.options);
  return GDbNoError;
}
