// SPDX-License-Identifier: MIT
#include "store_copy.h"

#include <algorithm>
#include <memory>

#include "command.h"
#include "db_host.h"
#include "did_you_mean.h"
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

// Adds an index that was asked for, as COLUMN,...[:unique]. One that is there on the
// same columns serves both, and is unique if one of them is.
void addIndex(std::string columns, std::vector<GDbIndex>* indexes) {
  const bool unique = columns.ends_with(uniqueMark);
  if (unique) columns.erase(columns.size() - uniqueMark.size());
  const auto same = std::find_if(indexes->begin(), indexes->end(), [&](const GDbIndex& index) {
    return index.getColumns() == columns;
  });
  if (same == indexes->end())
    indexes->emplace_back(columns, columns, unique, false);
  else if (unique)
    *same = GDbIndex(same->getName(), columns, true, false);
}

std::vector<GDbIndex> indexesOf(const CopyJob& job) {
  std::vector<GDbIndex> indexes = job.shape.indexes;
  if (!job.shape.primaryKey.empty())
    indexes.emplace_back("primary", gJoin(",", job.shape.primaryKey), true, false);
  for (const std::string& columns : job.storeIndexes) addIndex(columns, &indexes);
  return indexes;
}

// Refuses a column of an index that is none, with a guess at what was meant.
void requireColumns(const GDbIndex& index, const GDbStructure& structure) {
  // A column's own name may hold a comma.
  if (structure.getFieldId(index.getColumns()) >= 0) return;
  std::vector<std::string> names;
  for (const GDbField& field : structure.getFields()) names.push_back(field.getName());
  for (const std::string& column : columnsOf(index))
    if (structure.getFieldId(column) < 0)
      throw Failure(ExitCode::usage, "--index " + index.getColumns() + ": no column '" + column +
                                         "'" + didYouMean(column, names));
}

}  // namespace

unsigned long copyToStore(const CopyJob& job) {
  const std::unique_ptr<RowSource> source = job.open();
  const std::string path = storePath(job.locator);
  GDbStructure structure = structureOf(*source);
  for (const GDbIndex& index : indexesOf(job)) {
    requireColumns(index, structure);
    structure.addIndex(index);
  }
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
