// SPDX-License-Identifier: MIT
#include <algorithm>

#include "loomkit/db/csv/csv_database.h"
#include "loomkit/db/csv/csv_format.h"
#include "loomkit/db/csv/csv_index.h"
#include "loomkit/db/csv/csv_line_reader.h"
#include "loomkit/db/key_check.h"
#include "loomkit/db/record_owner.h"
#include "loomkit/text/letter_case.h"

using loomkit::Block;
using loomkit::RecordOwner;

GDbCSVTable::GDbCSVTable(GDbCSV* owner, const std::string& tableName,
                         const GDbStructure& tableStructure, std::unique_ptr<std::istream> stream)
    : GDbTable(owner, tableName),
      structure(std::make_unique<GDbStructure>(tableStructure)),
      lines(std::make_unique<loomkit::CsvLineReader>(std::move(stream))),
      layout(std::make_unique<loomkit::CsvLayout>(tableStructure)) {}

GDbCSVTable::~GDbCSVTable() { GDbCSVTable::closeTable(); }

GDbStatus GDbCSVTable::closeTable() {
  indexes.clear();
  structure.reset();
  layout.reset();
  lines.reset();
  return GDbTable::closeTable();
}

GDbStatus GDbCSVTable::getFieldId(const char* fieldName, int* id) {
  if (structure == nullptr) return GDbTableNotOpen;
  if (fieldName == nullptr || id == nullptr) return GDbInvalidArgument;
  const int found = structure->getFieldId(fieldName);
  if (found < 0) return GDbInvalidFieldName;
  *id = found;
  return GDbNoError;
}

GDbStatus GDbCSVTable::getStructure(GDbStructure** result) {
  if (structure == nullptr) return GDbTableNotOpen;
  if (result == nullptr) return GDbInvalidArgument;
  *result = new GDbStructure(*structure);
  return GDbNoError;
}

// Reads the next line that is a record. Blank lines are none, unless a record
// has only one field: there an empty line is an empty text.
GDbStatus GDbCSVTable::readLine(bool* found) {
  using Result = loomkit::CsvLineReader::Result;
  *found = false;
  for (;;) {
    const Result result = lines->read();
    if (result == Result::failed) return GDbIoError;
    if (result == Result::end) return GDbNoError;
    const std::string& line = lines->line();
    const bool blank = layout->numFields() != 1 && loomkit::isBlankLine(line.data(), line.size());
    // A blank rest behind the last terminator is read like any other text.
    if (blank && lines->hadTerminator()) continue;
    *found = true;
    return GDbNoError;
  }
}

// Gives null at the end of the data.
GDbStatus GDbCSVTable::readRecord(GDbRecord** record) {
  *record = nullptr;
  if (structure == nullptr) return GDbTableNotOpen;
  bool found = false;
  GDbStatus status = readLine(&found);
  if (status != GDbNoError || !found) return status;
  const std::string& line = lines->line();
  Block block(::operator new(layout->blockSize(line.size())));
  status = layout->parse(line.c_str(), line.size(), block.get(), record);
  if (status == GDbNoError) static_cast<void>(block.release());  // the record is the block
  return status;
}

GDbStatus GDbCSVTable::checkFirstLine() {
  if (!lines->seek(0)) return GDbIoError;
  GDbRecord* record = nullptr;
  const GDbStatus status = readRecord(&record);
  const RecordOwner owner(record);
  return status;
}

GDbStatus GDbCSVTable::getFirstRecord(GDbRecordSet* result) {
  if (structure == nullptr) return GDbTableNotOpen;
  if (result == nullptr) return GDbInvalidArgument;
  if (!lines->seek(0)) return GDbIoError;
  return getNextRecord(result);
}

GDbStatus GDbCSVTable::getNextRecord(GDbRecordSet* result) {
  if (result == nullptr) return structure == nullptr ? GDbTableNotOpen : GDbInvalidArgument;
  GDbRecord* record = nullptr;
  const GDbStatus status = readRecord(&record);
  if (record != nullptr) result->addRecord(record);
  return status;
}

GDbStatus GDbCSVTable::insertRecords(const GDbRecordSet& /*records*/) {
  return GDbInsertNotSupported;
}

GDbStatus GDbCSVTable::deleteKeys(const GDbKey* /*keys*/, int /*count*/) {
  return GDbDeleteNotSupported;
}

GDbStatus GDbCSVTable::lookupKeys(const GDbKey* keys, int count, GDbRecordSet* result) {
  if (structure == nullptr) return GDbTableNotOpen;
  if (result == nullptr || !loomkit::areReadable(keys, count)) return GDbInvalidArgument;
  std::string fieldNames;
  GDbStatus status = indexName(keys, count, &fieldNames);
  if (status != GDbNoError) return status;
  auto found = indexes.find(fieldNames);
  if (found == indexes.end()) {
    std::unique_ptr<loomkit::CsvIndex> index;
    status = buildIndex(keys, count, &index);
    if (status != GDbNoError) return status;
    found = indexes.emplace(fieldNames, std::move(index)).first;
  }
  return addMatches(*found->second, keys, count, result);
}

GDbStatus GDbCSVTable::indexName(const GDbKey* keys, int count, std::string* fieldNames) const {
  for (int i = 0; i < count; ++i) {
    const int field = keys[i].field;
    if (field < 0 || field >= structure->getNumFields()) return GDbInvalidArgument;
    if (i != 0) *fieldNames += ',';
    *fieldNames += loomkit::lowerCased(structure->getField(field).getName());
  }
  return GDbNoError;
}

GDbStatus GDbCSVTable::buildIndex(const GDbKey* keys, int count,
                                  std::unique_ptr<loomkit::CsvIndex>* index) {
  std::vector<int> fields(static_cast<std::size_t>(std::max(count, 0)));
  std::transform(keys, keys + fields.size(), fields.begin(),
                 [](const GDbKey& key) { return key.field; });
  auto built = std::make_unique<loomkit::CsvIndex>(std::move(fields));
  if (!lines->seek(0)) return GDbIoError;
  Block block;  // one for all records: none of them outlives its turn
  std::size_t room = 0;
  for (;;) {
    bool found = false;
    GDbStatus status = readLine(&found);
    if (status != GDbNoError) return status;
    if (!found) break;
    const std::string& line = lines->line();
    const std::size_t needed = layout->blockSize(line.size());
    if (needed > room) {
      room = needed * 2;
      block.reset(::operator new(room));
    }
    GDbRecord* record = nullptr;
    status = layout->parse(line.c_str(), line.size(), block.get(), &record);
    if (status != GDbNoError) return status;
    built->add(*record, lines->lineStart());
  }
  built->sort();
  *index = std::move(built);
  return GDbNoError;
}

GDbStatus GDbCSVTable::addMatches(const loomkit::CsvIndex& index, const GDbKey* keys, int count,
                                  GDbRecordSet* result) {
  const auto [first, last] = index.find(loomkit::csvKeyHash(keys, count));
  for (auto entry = first; entry != last; ++entry) {
    if (!lines->seek(entry->position)) return GDbIoError;
    GDbRecord* record = nullptr;
    const GDbStatus status = readRecord(&record);
    if (status != GDbNoError) return status;
    if (record == nullptr) return GDbInternalError;  // the file has shrunk
    RecordOwner owner(record);
    if (loomkit::csvKeysMatch(*record, keys, count)) result->addRecord(owner.release());
  }
  return GDbNoError;
}
