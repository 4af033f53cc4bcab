// SPDX-License-Identifier: MIT
#include "store_copy.h"

#include <memory>

#include "command.h"
#include "db_host.h"
#include "loomkit/db/catalog.h"
#include "loomkit/db/locator.h"
#include "loomkit/streams/file.h"
#include "loomkit/text/string_util.h"
#include "progress_bar.h"
#include "tessel/writer.h"

namespace loom {

namespace {

constexpr std::string_view uniqueMark = ":unique";

void requireWritten(const GTesselWriter& writer, GDbStatus status) {
  if (status != GDbNoError) throw Failure(ExitCode::cannotWrite, writer.getErrMsg());
}

// The file of a store: the path, or with the suffix where only that is there.
std::string storePath(const std::string& locator) {
  loomkit::Locator parts;
  loomkit::splitLocator(locator, &parts);
  const std::string withSuffix = parts.path + ".tessel";
  return !GFile(parts.path).exists() && GFile(withSuffix).exists() ? withSuffix : parts.path;
}

// The fields of a table that are stored as patterns, which must stay such.
std::vector<std::string> patternFields(GDbDatabase* database, const std::string& table) {
  std::vector<std::string> names;
  GDbCatalog::Description description;
  require(GDbCatalog::describeTable(database, table, &description), table);
  for (std::size_t i = 0; i < description.columns.size(); ++i)
    if (description.columns[i].declaredType == "pattern of 32 bits")
      names.push_back(description.structure.getField(static_cast<int>(i)).getName());
  return names;
}

// What the file has already.
void keepTables(const std::string& locator, const std::string& path, GTesselWriter* writer) {
  if (!GFile(path).exists()) return;
  const DbHost old(locator);
  for (const std::string& name : old.tables()) {
    const std::unique_ptr<GDbTable> table = old.table(name);
    writer->setPatternFields(patternFields(old.database(), name));
    requireWritten(*writer, writer->addTable(name, table.get()));
  }
}

void addIndexes(const std::vector<std::string>& indexes, GDbStructure* structure) {
  for (std::string columns : indexes) {
    const bool unique = columns.size() >= uniqueMark.size() &&
                        columns.substr(columns.size() - uniqueMark.size()) == uniqueMark;
    if (unique) columns.erase(columns.size() - uniqueMark.size());
    structure->addIndex(GDbIndex(columns, columns, unique, false));
  }
}

}  // namespace

unsigned long copyToStore(const CopyJob& job) {
  const std::unique_ptr<RowSource> source = job.open();
  const std::string path = storePath(job.locator);
  GDbStructure structure = structureOf(*source);
  for (const GDbIndex& index : job.shape.indexes) structure.addIndex(index);
  if (!job.shape.primaryKey.empty())
    structure.addIndex(GDbIndex("primary", gJoin(",", job.shape.primaryKey), true, false));
  addIndexes(job.storeIndexes, &structure);
  GTesselWriter writer(path);
  keepTables(job.locator, path, &writer);
  requireWritten(writer, writer.beginTable(job.name, structure));
  {
    ProgressBar progress(source->name(), job.total);
    Row row;
    while (source->next(&row)) {
      requireWritten(writer, writer.addRecord(*recordOf(*source, row, job.name)));
      showRows(progress, *source);
    }
  }
  requireWritten(writer, writer.endTable());
  requireWritten(writer, writer.commit());
  reportLeftOut(job.name, job.shape.rest);
  return source->number();
}

}  // namespace loom
