// SPDX-License-Identifier: MIT
#include "loomkit/db/xbase/xbase_catalog.h"

#include "loomkit/db/xbase/xbase_data.h"
#include "loomkit/db/xbase/xbase_database.h"
#include "loomkit/db/xbase/xbase_directory.h"
#include "loomkit/db/xbase/xbase_record.h"
#include "loomkit/streams/directory.h"
#include "loomkit/text/string_util.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/index_file.h"

namespace loomkit {
namespace {

constexpr char tableExtension[] = ".DBF";

// A letter with its width, as in "C(20)" or "N(10,2)".
std::string declaredType(const xbase::Field& field) {
  const std::string letter(1, field.type);
  const std::string width = std::to_string(field.width);
  if (field.decimals > 0) return letter + "(" + width + "," + std::to_string(field.decimals) + ")";
  return field.type == 'C' || field.type == 'N' || field.type == 'F' ? letter + "(" + width + ")"
                                                                     : letter;
}

// The columns of a tag whose expression joins fields; empty for any other.
std::string columnsOf(const xbase::Tag& tag) {
  std::vector<std::string> parts;
  gSplit(xbase::tagExpression(tag), "+", &parts);
  for (std::string& part : parts) {
    constexpr char strPrefix[] = "STR(";
    constexpr std::size_t prefixLength = sizeof strPrefix - 1;
    if (part.compare(0, prefixLength, strPrefix) == 0)
      part = part.substr(prefixLength, part.find(',') - prefixLength);
  }
  const std::string columns = gJoin(",", parts);
  // The backend makes an expression of these columns. When it is not that of the tag,
  // the tag does not join columns.
  const GDbXBaseIndex index(GDbIndex(tag.name, columns, tag.unique, tag.descending),
                            *tag.index->data);
  const bool same = index.isValid() && index.getExpression() == xbase::tagExpression(tag);
  return same ? columns : std::string();
}

void describeFields(const xbase::DataFile& data, GDbCatalog::Description* description) {
  for (const xbase::Field& field : data.fields) {
    description->structure.appendField(GDbField(field.name, naturalType(field),
                                                static_cast<int>(field.width),
                                                static_cast<int>(field.decimals), false, false));
    description->columns.push_back({declaredType(field), false});
  }
}

void describeIndexes(const xbase::IndexFile& file, GDbCatalog::Description* description) {
  for (const auto& tag : file.tags) {
    const std::string columns = tag->filter == nullptr ? columnsOf(*tag) : std::string();
    if (!columns.empty())
      description->structure.addIndex(GDbIndex(tag->name, columns, tag->unique, tag->descending));
  }
}

// Opens the files of a table that nobody has open, describes it, and closes them.
GDbStatus describeFiles(const GDbXBaseDirectory& directory, const std::string& upperName,
                        GDbCatalog::Description* description) {
  xbase::Engine& engine = gDbXBaseEngine();
  const auto native = [&](const char* extension) {
    return GDirectory::unix2nativePath(directory.pathOf(upperName + extension));
  };
  engine.readOnly = true;
  const std::unique_ptr<xbase::DataFile> data = xbase::openDataFile(engine, native(tableExtension));
  if (data != nullptr) {
    describeFields(*data, description);
    const std::string indexPath = native(".CDX");
    const xbase::Reporting reporting = engine.report;
    engine.report = xbase::Reporting::none();
    const xbase::IndexFile* index =
        indexPath.empty() ? nullptr : xbase::openIndex(*data, indexPath);
    if (index != nullptr) describeIndexes(*index, description);
    engine.report = reporting;
  }
  engine.readOnly = false;
  engine.errorCode = 0;
  return data != nullptr ? GDbNoError : GDbCantOpenFile;
}

}  // namespace

bool XBaseCatalog::serves(const GDbDatabase& database) const {
  return dynamic_cast<const GDbXBase*>(&database) != nullptr;
}

GDbStatus XBaseCatalog::appendTables(GDbDatabase* database, std::vector<Table>* tables) const {
  const GDbXBaseDirectory* directory = static_cast<GDbXBase*>(database)->getDirectory();
  if (directory == nullptr) return GDbNotOpen;
  const auto& files = directory->getFiles();
  // Names that differ in letter case only are one table.
  for (auto file = files.begin(); file != files.end(); file = files.upper_bound(file->first)) {
    const std::size_t stem = file->first.size() - (sizeof tableExtension - 1);
    if (file->first.compare(stem, std::string::npos, tableExtension) == 0)
      tables->push_back({file->first.substr(0, stem), Kind::table});
  }
  return GDbNoError;
}

GDbStatus XBaseCatalog::describe(GDbDatabase* database, const std::string& name,
                                 Description* description) const {
  const GDbXBaseDirectory* directory = static_cast<GDbXBase*>(database)->getDirectory();
  if (directory == nullptr) return GDbNotOpen;
  const std::string upperName = upperCased(name);
  if (directory->pathOf(upperName + tableExtension).empty()) return GDbInvalidTableName;
  description->structure = GDbStructure(true, 10);
  const GDbXBaseData* open = directory->findTable(upperName);
  if (open == nullptr || open->getIndexFile() == nullptr)
    return describeFiles(*directory, upperName, description);
  describeFields(open->getFile(), description);
  describeIndexes(*open->getIndexFile(), description);
  return GDbNoError;
}

}  // namespace loomkit
