// SPDX-License-Identifier: MIT
// Opening tables and fitting their index files.
#include "loomkit/db/xbase/xbase_data.h"

#include <algorithm>

#include "loomkit/db/structure.h"
#include "loomkit/db/xbase/xbase_directory.h"
#include "loomkit/streams/directory.h"
#include "loomkit/streams/file.h"
#include "loomkit/text/output.h"
#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/dbf_layout.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/index_file.h"

namespace xbase = loomkit::xbase;

namespace {

void reportError(const std::string& text) { gOutput->error(gDataSysName, text.c_str()); }

// While the object lives, the engine opens files for reading only if `readOnly` is true.
class ReadOnlySwitch {
 public:
  explicit ReadOnlySwitch(bool readOnly) { gDbXBaseEngine().readOnly = readOnly; }
  ReadOnlySwitch(const ReadOnlySwitch&) = delete;
  ReadOnlySwitch& operator=(const ReadOnlySwitch&) = delete;
  ~ReadOnlySwitch() { xbase::theEngine().readOnly = false; }
};

// The path of a new index file: that of the table with another extension.
std::string indexPathOf(const std::string& tablePath) {
  const std::size_t dot = tablePath.rfind('.');
  const std::size_t slash = tablePath.rfind('/');
  const bool hasDot = dot != std::string::npos && (slash == std::string::npos || dot > slash);
  return tablePath.substr(0, hasDot ? dot : tablePath.size()) + ".cdx";
}

}  // namespace

bool gDbXBaseHasTableName(const std::string& path) {
  const std::string name = path.substr(path.rfind('/') + 1);
  return std::min(name.find('.'), name.size()) <= xbase::dbf::longestName;
}

xbase::Engine& gDbXBaseEngine() {
  static const bool initialised = [] {
    xbase::Engine& engine = xbase::theEngine();
    engine.autoOpen = false;
    engine.safety = false;
    engine.report = xbase::Reporting::expressionsOnly();
    return true;
  }();
  static_cast<void>(initialised);
  xbase::theEngine().errorCode = 0;
  return xbase::theEngine();
}

GDbStatus GDbXBaseData::open(GDbXBaseDirectory* directory, const std::string& name,
                             GDbXBaseData** data) {
  const std::string fileName = name + ".DBF";
  const std::string path = directory->pathOf(fileName);
  if (path.empty()) return GDbInvalidTableName;
  if (!gDbXBaseHasTableName(path)) return GDbInvalidFileName;
  const bool readOnly = !GFile(path).isWritable();
  xbase::Engine& engine = gDbXBaseEngine();
  std::unique_ptr<xbase::DataFile> file;
  {
    const ReadOnlySwitch guard(readOnly);
    file = xbase::openDataFile(engine, GDirectory::unix2nativePath(path));
  }
  if (file == nullptr) {
    reportError("Unexpected error: failed to open \"" + directory->diskNameOf(fileName) +
                "\": XBase error " + std::to_string(engine.errorCode));
    return GDbCantOpenFile;
  }
  *data = new GDbXBaseData(directory, name, readOnly, std::move(file));
  return GDbNoError;
}

GDbXBaseData::GDbXBaseData(GDbXBaseDirectory* owner, const std::string& upperName, bool isReadOnly,
                           std::unique_ptr<xbase::DataFile> file)
    : directory(owner), name(upperName), readOnly(isReadOnly), dataFile(std::move(file)) {
  directory->enterTable(name, this);
}

GDbXBaseData::~GDbXBaseData() {
  directory->leaveTable(name);
  gDbXBaseEngine();
  // The table closes its index file before itself.
  xbase::close(*dataFile);
}

void GDbXBaseData::release() {
  if (--refCount == 0) delete this;
}

GDbStatus GDbXBaseData::findFieldTypes(const GDbStructure& structure,
                                       std::vector<GDbFieldType>* types) const {
  types->assign(dataFile->fields.size(), GDbFieldNone);
  for (const GDbField& field : structure.getFields()) {
    const std::string fieldName = gDbXBaseNormalize(field.getName());
    if (fieldName.empty()) return GDbInvalidArgument;
    const int number = xbase::fieldNumber(*dataFile, fieldName);
    if (number < 0) return GDbInvalidFieldName;
    const auto id = static_cast<std::size_t>(number);
    if (!gDbXBaseTypesFit(field.getType(), dataFile->fields[id])) return GDbFieldTypeMismatch;
    (*types)[id] = field.getType();
  }
  return GDbNoError;
}

GDbStatus GDbXBaseData::collectIndexes(const std::vector<GDbIndex>& wanted,
                                       GDbXBaseIndexes* collected) const {
  for (const GDbIndex& index : wanted) {
    const std::string indexName = loomkit::upperCased(index.getName());
    const GDbXBaseIndex made(index, *dataFile);
    if (!made.isValid() || !collected->emplace(indexName, made).second) return GDbInvalidArgument;
    const auto known = indexes.find(indexName);
    if (known != indexes.end() && !made.isLike(known->second)) return GDbInvalidArgument;
  }
  return GDbNoError;
}

// The records are all in the table, and an index file can be made from them again. So
// one that cannot be opened is deleted.
void GDbXBaseData::openIndexFile() {
  const std::string path = directory->pathOf(indexFileName());
  if (path.empty()) return;
  if (!readOnly && !GFile(path).isWritable()) readOnly = true;
  {
    const ReadOnlySwitch guard(readOnly);
    indexFile = xbase::openIndex(*dataFile, GDirectory::unix2nativePath(path));
  }
  if (indexFile != nullptr) return;
  gDbXBaseEngine();
  const std::string warning = "Unable to open index file \"" + path + "\"";
  gOutput->warning(gDataSysName, warning.c_str());
  directory->removeFile(indexFileName());
}

bool GDbXBaseData::indexFileHas(const GDbXBaseIndexes& wanted) const {
  for (const auto& [indexName, index] : wanted) {
    const xbase::Tag* tag = xbase::findTag(*indexFile, indexName);
    if (tag == nullptr || xbase::tagExpression(*tag) != index.getExpression()) return false;
  }
  return true;
}

GDbStatus GDbXBaseData::fitIndexes(const std::vector<GDbIndex>& wanted) {
  if (wanted.empty()) return GDbNoError;
  gDbXBaseEngine();
  GDbXBaseIndexes collected;
  const GDbStatus status = collectIndexes(wanted, &collected);
  if (status != GDbNoError) return status;
  if (indexFile == nullptr) openIndexFile();
  if (indexFile == nullptr || !indexFileHas(collected))
    return rebuildIndexFile(std::move(collected));
  indexes = std::move(collected);
  return GDbNoError;
}

GDbStatus GDbXBaseData::deleteIndexFile() {
  if (directory->pathOf(indexFileName()).empty()) return GDbNoError;
  return directory->removeFile(indexFileName()) ? GDbNoError : GDbCantDeleteIndex;
}

// The new file has the wanted indexes and those that the table has already.
GDbStatus GDbXBaseData::rebuildIndexFile(GDbXBaseIndexes wanted) {
  if (indexFile != nullptr) xbase::closeIndex(*indexFile);
  indexFile = nullptr;
  gDbXBaseEngine();
  wanted.insert(indexes.begin(), indexes.end());
  GDbStatus status = deleteIndexFile();
  if (status != GDbNoError) return status;
  indexes.clear();
  status = createIndexFile(wanted);
  if (status == GDbNoError) indexes = std::move(wanted);
  return status;
}

GDbStatus GDbXBaseData::createIndexFile(const GDbXBaseIndexes& wanted) {
  std::vector<xbase::TagDescription> tags;
  for (const auto& [indexName, index] : wanted) {
    if (indexName.size() > xbase::dbf::longestName) return GDbInvalidIndexName;
    tags.push_back({indexName, index.getExpression(), "", index.isUnique(), index.isDescending()});
  }
  const std::string tablePath = directory->pathOf(name + ".DBF");
  if (tablePath.empty()) {
    reportError("Can't get DBF file name of open table \"" + name + "\"");
    return GDbInternalError;
  }
  indexFile =
      xbase::createIndex(*dataFile, GDirectory::unix2nativePath(indexPathOf(tablePath)), tags);
  if (indexFile == nullptr) {
    gDbXBaseEngine();
    const GDbStatus status = deleteIndexFile();
    return status == GDbNoError ? GDbCantCreateIndex : status;
  }
  if (directory->enterNewFile(indexFileName())) return GDbNoError;
  xbase::closeIndex(*indexFile);
  indexFile = nullptr;
  gDbXBaseEngine();
  GFile(indexPathOf(tablePath)).remove();
  reportError("Can't get name of generated index file for table \"" + name + "\"");
  return GDbInternalError;
}
