// SPDX-License-Identifier: MIT
#include "tessel/writer.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <limits>
#include <optional>

#include "loomkit/platform/hul.h"
#include "loomkit/text/string_util.h"
#include "tessel/builder/directory_writer.h"
#include "tessel/builder/output_file.h"
#include "tessel/builder/table_builder.h"
#include "tessel/builder/workspace.h"
#include "tessel/store/layout.h"
#include "tessel/store/unique_check.h"

namespace {

// The columns of an index by their numbers. What is wrong with their names, or "".
std::string findColumns(const GDbStructure& structure, const std::string& names,
                        std::vector<std::int32_t>* numbers) {
  std::vector<std::string> parts;
  // A field's own name may hold a comma.
  if (structure.getFieldId(names) >= 0)
    parts.push_back(names);
  else
    gSplit(names, ",", &parts);
  for (const std::string& part : parts) {
    const int number = structure.getFieldId(part);
    if (number < 0) return "no field '" + part + "'";
    if (std::find(numbers->begin(), numbers->end(), number) != numbers->end())
      return part + " is there twice";
    numbers->push_back(number);
  }
  return {};
}

// The indexes of the structure, and those that its fields ask for.
std::vector<GDbIndex> wantedIndexes(const GDbStructure& structure) {
  std::vector<GDbIndex> indexes = structure.getIndices();
  std::string primary;
  const auto add = [&indexes](const std::string& columns, bool unique) {
    const auto same = [&columns](const GDbIndex& index) { return index.getColumns() == columns; };
    if (std::none_of(indexes.begin(), indexes.end(), same))
      indexes.emplace_back(columns, columns, unique, false);
  };
  for (const GDbField& field : structure.getFields())
    if (field.isPrimKey()) primary += (primary.empty() ? "" : ",") + field.getName();
  if (!primary.empty()) add(primary, true);
  for (const GDbField& field : structure.getFields())
    if (field.isKey()) add(field.getName(), false);
  return indexes;
}

TslType storedType(GDbFieldType type) { return static_cast<TslType>(type); }

}  // namespace

class tessel::StoreWriter {
 public:
  StoreWriter(const std::string& targetPath, std::size_t memory)
      : path(targetPath), workspace(targetPath, memory) {
    if (out.open(path) != 0) failIo(out.status());
  }

  GDbStatus begin(const std::string& name, const GDbStructure& structure);
  GDbStatus add(const GDbRecord& record);
  GDbStatus end();
  GDbStatus commit();

  GDbStatus fail(GDbStatus newStatus, const std::string& reason) {
    if (status == GDbNoError) {
      status = newStatus;
      message = path + ": " + reason;
    }
    return status;
  }

  GDbStatus status = GDbNoError;
  std::string message;
  std::vector<std::string> patternFields;

 private:
  GDbStatus failIo(int ioStatus) { return fail(GDbIoError, hulStrError(ioStatus)); }
  GDbStatus checkIo();
  GDbStatus addFields(const GDbStructure& structure, tessel::TableInfo* table);
  GDbStatus addIndexes(const GDbStructure& structure);
  GDbStatus checkUnique();
  GDbStatus takeValue(const GDbRecord& record, std::size_t field);
  const char* keep(const std::string& name) { return names.emplace_back(name).c_str(); }

  std::string path;
  tessel::Workspace workspace;
  tessel::OutputFile out;
  std::deque<std::string> names;
  std::vector<tessel::TableInfo> tables;
  std::optional<tessel::TableBuilder> builder;  // of the last table, while it is open
  std::vector<TslType> types;                   // of its columns
  std::vector<GDbFieldType> fieldTypes;
  std::vector<tessel::RowValue> row;
  std::vector<tessel::UniqueSuspect> suspects;
  bool committed = false;
};

GDbStatus tessel::StoreWriter::checkIo() {
  if (workspace.status() != 0) return failIo(workspace.status());
  if (out.status() != 0) return failIo(out.status());
  return status;
}

GDbStatus tessel::StoreWriter::begin(const std::string& name, const GDbStructure& structure) {
  if (status != GDbNoError) return status;
  if (committed || builder) return fail(GDbInvalidState, "a table cannot begin here");
  if (name.empty() || name.find('\0') != std::string::npos)
    return fail(GDbInvalidTableName, "'" + name + "' is no name of a table");
  for (const tessel::TableInfo& table : tables)
    if (name == table.name) return fail(GDbTableExists, name + ": there is one of that name");
  if (structure.getNumFields() == 0) return fail(GDbInvalidArgument, name + ": no fields");
  tessel::TableInfo table;
  table.name = keep(name);
  if (addFields(structure, &table) != GDbNoError) return status;
  tables.push_back(std::move(table));
  builder.emplace(&workspace, types);
  if (addIndexes(structure) == GDbNoError) builder->start();
  patternFields.clear();
  return status;
}

GDbStatus tessel::StoreWriter::addFields(const GDbStructure& structure, tessel::TableInfo* table) {
  types.clear();
  fieldTypes.clear();
  for (const GDbField& field : structure.getFields()) {
    const std::string& name = field.getName();
    const std::string place = std::string(table->name) + "." + name;
    const auto same = [&name](const GDbField& other) { return other.getName() == name; };
    if (name.empty() || name.find('\0') != std::string::npos ||
        std::count_if(structure.getFields().begin(), structure.getFields().end(), same) != 1)
      return fail(GDbInvalidFieldName, place + ": no name for a field, or not the only one");
    const GDbFieldType type = field.getType();
    if (type < GDbFieldInt || type > GDbFieldString)
      return fail(GDbInvalidFieldType, place + ": neither a number nor a text");
    fieldTypes.push_back(type);
    types.push_back(storedType(type));
  }
  for (const std::string& name : patternFields) {
    const int number = structure.getFieldId(name);
    if (number < 0) return fail(GDbInvalidFieldName, name + ": no such field");
    TslType& type = types[static_cast<std::size_t>(number)];
    if (type != TslTypeSigned && type != TslTypeUnsigned)
      return fail(GDbInvalidFieldType, name + ": not an integer");
    type = TslTypePattern;
  }
  row.resize(types.size());
  for (const GDbField& field : structure.getFields()) {
    table->columns.emplace_back();
    table->columns.back().name = keep(field.getName());
  }
  return GDbNoError;
}

GDbStatus tessel::StoreWriter::addIndexes(const GDbStructure& structure) {
  for (const GDbIndex& index : wantedIndexes(structure)) {
    std::vector<std::int32_t> numbers;
    const std::string wrong = findColumns(structure, index.getColumns(), &numbers);
    if (!wrong.empty())
      return fail(GDbInvalidFieldName, "index on " + index.getColumns() + ": " + wrong);
    const std::string& name = index.getName().empty() ? index.getColumns() : index.getName();
    builder->addIndex(keep(name), index.isUnique(), numbers);
  }
  return GDbNoError;
}

GDbStatus tessel::StoreWriter::takeValue(const GDbRecord& record, std::size_t field) {
  const auto number = static_cast<int>(field);
  if (record.getFieldType(number) != fieldTypes[field])
    return fail(GDbFieldTypeMismatch, "row " + std::to_string(builder->rowCount()) + ", field " +
                                          std::to_string(field) + ": another type");
  tessel::RowValue& value = row[field];
  switch (fieldTypes[field]) {
    case GDbFieldInt:
      value.integer = static_cast<std::uint32_t>(record.getIntField(number));
      break;
    case GDbFieldUInt:
      value.integer = record.getUIntField(number);
      break;
    case GDbFieldFloat:
      value.floating = record.getFloatField(number);
      break;
    default:
      value.text = record.getStringField(number);
      if (value.text.size() > std::numeric_limits<std::uint32_t>::max())
        return fail(GDbRowTooBig, "a text of more than 4 GiB");
  }
  return GDbNoError;
}

GDbStatus tessel::StoreWriter::add(const GDbRecord& record) {
  if (status != GDbNoError) return status;
  if (!builder) return fail(GDbInvalidState, "no table has begun");
  if (static_cast<std::size_t>(record.getNumFields()) != types.size())
    return fail(GDbFieldCountMismatch,
                "row " + std::to_string(builder->rowCount()) + ": another number of fields");
  if (builder->rowCount() == tessel::layout::maxRows)
    return fail(GDbDatabaseFull, "no more rows fit in a table");
  for (std::size_t i = 0; i < types.size(); ++i)
    if (takeValue(record, i) != GDbNoError) return status;
  builder->addRow(row);
  return checkIo();
}

GDbStatus tessel::StoreWriter::end() {
  if (status != GDbNoError) return status;
  if (!builder) return fail(GDbInvalidState, "no table has begun");
  tessel::TableInfo& table = tables.back();
  tessel::TableInfo written;
  std::vector<std::size_t> indexes;
  const bool fits = builder->write(&out, &written, &indexes);
  builder.reset();
  if (!fits) return fail(GDbDatabaseFull, "more than the format can hold");
  for (std::size_t i = 0; i < table.columns.size(); ++i)
    written.columns[i].name = table.columns[i].name;
  written.name = table.name;
  table = std::move(written);
  for (const std::size_t index : indexes) suspects.push_back({tables.size() - 1, index});
  return checkIo();
}

// The file that is about to take its place tells whether rows whose hashes are
// the same have the same key.
GDbStatus tessel::StoreWriter::checkUnique() {
  for (const tessel::UniqueSuspect& suspect : suspects) {
    std::optional<tessel::Twins> twins;
    const tessel::Error error = tessel::checkUnique(out.path(), suspect, &twins);
    if (error == tessel::Error::outOfMemory) return fail(GDbOutOfMemory, "out of memory");
    if (error != tessel::Error::none) return fail(GDbIoError, "cannot be read again");
    const tessel::TableInfo& table = tables[suspect.table];
    if (twins)
      return fail(GDbNonUniqueKey, std::string(table.name) + ": records " +
                                       std::to_string(twins->first + 1) + " and " +
                                       std::to_string(twins->second + 1) +
                                       " have the same key in the unique index " +
                                       table.indexes[suspect.index].name);
  }
  return GDbNoError;
}

GDbStatus tessel::StoreWriter::commit() {
  if (status != GDbNoError) return status;
  if (builder || committed) return fail(GDbInvalidState, "nothing to commit");
  const std::vector<std::uint32_t> groupSums = out.endData();
  const std::vector<unsigned char> directory = tessel::writeDirectory(tables, groupSums);
  if (directory.empty()) return fail(GDbDatabaseFull, "more than the format can hold");
  out.finish(directory);
  if (checkIo() != GDbNoError || checkUnique() != GDbNoError) return status;
  out.commit();
  committed = true;
  return checkIo();
}

GTesselWriter::GTesselWriter(const std::string& path, std::size_t memory)
    : impl(std::make_unique<tessel::StoreWriter>(path, memory)) {}
GTesselWriter::~GTesselWriter() = default;

void GTesselWriter::setPatternFields(const std::vector<std::string>& names) {
  impl->patternFields = names;
}

GDbStatus GTesselWriter::beginTable(const std::string& name, const GDbStructure& structure) {
  return impl->begin(name, structure);
}
GDbStatus GTesselWriter::addRecord(const GDbRecord& record) { return impl->add(record); }
GDbStatus GTesselWriter::endTable() { return impl->end(); }
GDbStatus GTesselWriter::commit() { return impl->commit(); }
const std::string& GTesselWriter::getErrMsg() const { return impl->message; }

GDbStatus GTesselWriter::addTable(const std::string& name, GDbTable* table,
                                  const GDbStructure* structure) {
  std::unique_ptr<GDbStructure> own;
  if (structure == nullptr) {
    GDbStructure* found = nullptr;
    const GDbStatus status = table->getStructure(&found);
    if (status != GDbNoError) return impl->fail(status, name + ": " + gDbStrError(status));
    own.reset(found);
    structure = found;
  }
  if (beginTable(name, *structure) != GDbNoError) return impl->status;
  GDbRecordSet set;
  GDbStatus status = table->getFirstRecord(&set);
  while (status == GDbNoError && set.getNumRecords() > 0) {
    if (addRecord(*set.getRecord(0)) != GDbNoError) return impl->status;
    set.clear();
    status = table->getNextRecord(&set);
  }
  if (status != GDbNoError) return impl->fail(status, name + ": " + gDbStrError(status));
  return endTable();
}
