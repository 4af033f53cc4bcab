// SPDX-License-Identifier: MIT
#include "store_copy.h"

#include <memory>

#include "command.h"
#include "db_host.h"
#include "loomkit/db/catalog.h"
#include "loomkit/db/locator.h"
#include "loomkit/db/table_scan.h"
#include "loomkit/streams/file.h"
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
    const std::unique_ptr<GDbTable> table = old.table(name, "");
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

std::uint64_t countForBar(GDbTable* table) {
  if (!ProgressBar::watched()) return 0;
  std::uint64_t count = 0;
  GDbTableScan scan(table);
  for (auto row = scan.begin(); row != scan.end(); ++row) ++count;
  return count;
}

bool isStoreLocator(const std::string& locator) {
  return loomkit::locatorType(locator) == "tessel";
}

unsigned long copyToStore(GDbTable* source, const std::string& locator, const std::string& name,
                          const std::vector<std::string>& indexes) {
  const std::string path = storePath(locator);
  GDbStructure structure = *structureOf(source);
  addIndexes(indexes, &structure);
  GTesselWriter writer(path);
  keepTables(locator, path, &writer);
  requireWritten(writer, writer.beginTable(name, structure));
  unsigned long count = 0;
  {
    ProgressBar progress(source->getName(), countForBar(source));
    GDbRecordSet one;
    GDbStatus status = source->getFirstRecord(&one);
    while (status == GDbNoError && one.getNumRecords() > 0) {
      requireWritten(writer, writer.addRecord(*one.getRecord(0)));
      one.clear();
      progress.show(++count);
      status = source->getNextRecord(&one);
    }
    require(status, source->getName());
  }
  requireWritten(writer, writer.endTable());
  requireWritten(writer, writer.commit());
  return count;
}

}  // namespace loom
