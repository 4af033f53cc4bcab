// SPDX-License-Identifier: MIT
#include "loomkit/db/xbase/xbase_database.h"

#include <algorithm>
#include <cctype>

#include "loomkit/db/locator.h"
#include "loomkit/db/structure.h"
#include "loomkit/db/xbase/xbase_catalog.h"
#include "loomkit/db/xbase/xbase_data.h"
#include "loomkit/db/xbase/xbase_directory.h"
#include "loomkit/streams/directory.h"
#include "loomkit/streams/file.h"
#include "loomkit/text/output.h"
#include "loomkit/xbase/dbf_layout.h"
#include "loomkit/xbase/engine.h"

namespace xbase = loomkit::xbase;

namespace {

std::string lowerCased(const std::string& text) {
  std::string lower = text;
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  });
  return lower;
}

// The letter of a column of that type; NUL for a type that makes none.
char letterOf(GDbFieldType type) {
  switch (type) {
    case GDbFieldInt:
    case GDbFieldUInt:
      return 'N';
    case GDbFieldFloat:
      return 'F';
    case GDbFieldString:
      return 'C';
    default:
      return '\0';
  }
}

GDbStatus describeFields(const GDbStructure& structure,
                         std::vector<xbase::FieldDescription>* fields) {
  for (const GDbField& field : structure.getFields()) {
    const char letter = letterOf(field.getType());
    if (letter == '\0') return GDbInvalidArgument;
    // A negative width becomes a very large one here, which the engine refuses.
    fields->push_back({field.getName(), letter, static_cast<unsigned>(field.getWidth()),
                       static_cast<unsigned>(field.getDecDigits())});
  }
  return GDbNoError;
}

}  // namespace

GDbXBase::GDbXBase(const std::string& locator, GDbXBaseDirectory* shared)
    : GDbDatabase(locator), directory(shared) {
  directory->addRef();
}

GDbXBase::~GDbXBase() { GDbXBase::closeDatabase(); }

GDbStatus GDbXBase::closeDatabase() {
  const GDbStatus status = GDbDatabase::closeDatabase();
  if (directory != nullptr) directory->release();
  directory = nullptr;
  return status;
}

GDbStatus GDbXBase::openTable(const std::string& tableName, const GDbStructure* structure,
                              GDbTable** table) {
  if (directory == nullptr) return GDbNotOpen;
  if (structure == nullptr || table == nullptr) return GDbInvalidArgument;
  const std::string upperName = loomkit::upperCased(tableName);
  GDbXBaseData* found = directory->findTable(upperName);
  GDbStatus status = GDbNoError;
  if (found != nullptr) {
    found->addRef();
  } else {
    status = GDbXBaseData::open(directory, upperName, &found);
    if (status != GDbNoError) return status;
  }
  const loomkit::Reference<GDbXBaseData> data(found);
  std::vector<GDbFieldType> fieldTypes;
  status = data->findFieldTypes(*structure, &fieldTypes);
  if (status == GDbNoError) status = data->fitIndexes(structure->getIndices());
  if (status == GDbNoError) *table = new GDbXBaseTable(this, tableName, data.get(), fieldTypes);
  return status;
}

GDbStatus GDbXBase::createTable(const std::string& tableName, const GDbStructure* structure,
                                GDbTable** table) {
  if (directory == nullptr) return GDbNotOpen;
  if (structure == nullptr || table == nullptr) return GDbInvalidArgument;
  const std::string fileName = loomkit::upperCased(tableName) + ".DBF";
  if (!directory->diskNameOf(fileName).empty()) return GDbTableExists;
  const std::string path = directory->getPath() + "/" + lowerCased(tableName) + ".dbf";
  if (!gDbXBaseHasTableName(path)) return GDbInvalidFileName;
  std::vector<xbase::FieldDescription> fields;
  const GDbStatus status = describeFields(*structure, &fields);
  if (status != GDbNoError) return status;
  xbase::Engine& engine = gDbXBaseEngine();
  const std::unique_ptr<xbase::DataFile> made =
      xbase::createDataFile(engine, GDirectory::unix2nativePath(path), fields);
  if (made == nullptr) {
    const std::string text = "Failed to create table \"" + tableName + "\" (" + path +
                             "): XBase error " + std::to_string(engine.errorCode);
    gOutput->error(gDataSysName, text.c_str());
    return GDbCantCreateTable;
  }
  xbase::close(*made);
  if (!directory->enterNewFile(fileName)) {
    const std::string text = "Can't get name of new table file for table \"" + tableName + "\"";
    gOutput->error(gDataSysName, text.c_str());
    return GDbInternalError;
  }
  return openTable(tableName, structure, table);
}

GDbStatus GDbXBase::deleteTable(const std::string& tableName) {
  if (directory == nullptr) return GDbNotOpen;
  const std::string upperName = loomkit::upperCased(tableName);
  if (directory->findTable(upperName) != nullptr) return GDbTableInUse;
  GDbStatus status = GDbNoError;
  const std::string indexName = upperName + ".CDX";
  if (!directory->diskNameOf(indexName).empty() && !directory->removeFile(indexName))
    status = GDbCantDeleteIndex;
  if (!directory->removeFile(upperName + ".DBF")) status = GDbCantDeleteTable;
  return status;
}

void GDbXBase::setEncoding(const char* encoding) {
  if (directory != nullptr) directory->setEncoding(encoding);
}

// The factory and the catalog are made while the library is being loaded; the
// registries keep them to the end of the process.
namespace loomkit::backends {
extern const GDbDbFactory* const xbase;
const GDbDbFactory* const xbase = [] {
  GDbCatalog::registerCatalog(new XBaseCatalog);
  return new GDbXBaseFactory;
}();
}  // namespace loomkit::backends

GDbXBaseFactory::GDbXBaseFactory() : GDbDbFactory("xbase") { GDbDatabase::registerDbFactory(this); }

GDbStatus GDbXBaseFactory::openDatabase(const char* locator, GDbDatabase** database) {
  if (locator == nullptr || database == nullptr) return GDbInvalidArgument;
  gDbXBaseEngine();
  loomkit::Locator parts;
  if (!loomkit::splitLocator(locator, &parts)) return GDbInvalidLocator;
  const std::string realPath = GFile(parts.path).getRealPath();
  if (!GDirectory(realPath).exists()) return GDbCantOpenDirectory;
  const loomkit::Reference<GDbXBaseDirectory> directory(GDbXBaseDirectory::obtain(realPath));
  *database = new GDbXBase(locator, directory.get());
  return GDbNoError;
}
