// SPDX-License-Identifier: MIT
// GDbXBaseTable: reading and changing the records of a table.
#include <algorithm>
#include <cstdint>
#include <memory>

#include "loomkit/db/record_access.h"
#include "loomkit/db/record_set.h"
#include "loomkit/db/structure.h"
#include "loomkit/db/xbase/xbase_data.h"
#include "loomkit/db/xbase/xbase_database.h"
#include "loomkit/db/xbase/xbase_directory.h"
#include "loomkit/db/xbase/xbase_record.h"
#include "loomkit/text/output.h"
#include "loomkit/text/string_util.h"
#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/dbf_layout.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/field.h"
#include "loomkit/xbase/index_file.h"

namespace xbase = loomkit::xbase;

namespace {

constexpr std::uint32_t unknownRecord = 0xFFFFFFFF;

// Reports a failure of the engine that has no status of its own.
GDbStatus unexpected(const std::string& what, int code) {
  const std::string text = "Unexpected error: " + what + ": XBase error " + std::to_string(code);
  gOutput->error(gDataSysName, text.c_str());
  return GDbUnknownError;
}

// The status for the code with which the engine has ended a change. What has failed is
// said by `what` and the table's name.
GDbStatus changeStatus(int code, const char* what, const GDbXBaseData& table) {
  if (code == xbase::ok) return GDbNoError;
  if (code == xbase::locked) return GDbLockFailed;
  if (code == xbase::notUnique) return GDbNonUniqueKey;
  return unexpected(what + table.getName(), code);
}

// Whether no key is a null pointer, nor holds one as its text.
bool areKeys(const GDbKey* keys, int count) {
  if (keys == nullptr) return count < 1;
  return std::none_of(keys, keys + std::max(count, 0), [](const GDbKey& key) {
    return key.type == GDbFieldString && key.value.stringValue == nullptr;
  });
}

/// One key of a table: finds its records, one after the other.
class KeySearch {
 public:
  explicit KeySearch(GDbXBaseData* table) : data(table) {}

  /// Goes to the first record with the keys. `*found` is false for none.
  GDbStatus begin(const GDbKey* keys, int count, bool* found);
  /// Goes on to the next.
  GDbStatus next(bool* found);

 private:
  GDbXBaseData* data;
  std::string indexName;
};

GDbStatus KeySearch::begin(const GDbKey* keys, int count, bool* found) {
  *found = false;
  const GDbXBaseIndex* index = nullptr;
  GDbStatus status = data->findIndex(keys, count, &index, &indexName);
  if (status != GDbNoError) return status;
  std::string key;
  status = data->buildKey(*index, keys, count, &key);
  if (status != GDbNoError) return status;
  xbase::DataFile& file = data->getFile();
  const int code = xbase::seek(file, key);
  if (code == xbase::locked) return GDbLockFailed;
  if (code < 0)
    return unexpected("failed to lookup key \"" + key + "\" in index " + indexName + " of table " +
                          data->getName(),
                      code);
  *found = code == xbase::ok;
  return GDbNoError;
}

GDbStatus KeySearch::next(bool* found) {
  *found = false;
  xbase::DataFile& file = data->getFile();
  const int code = xbase::seekNext(file);
  if (code == xbase::locked) return GDbLockFailed;
  if (code < 0)
    return unexpected(
        "failed to skip to next record using index " + indexName + " of table " + data->getName(),
        code);
  *found = code == xbase::ok;
  return GDbNoError;
}

// Numbers of eight digits lose their last one and get a zero in front: the text
// has nine, and the room is for eight. Tables that exist were written so, and
// those who read them count on it.
void assignDate(xbase::DataFile& file, std::size_t field, const GDbRecord& record) {
  char text[9];
  const int id = static_cast<int>(field);
  if (record.getFieldType(id) == GDbFieldInt) {
    gsnprintf(text, sizeof text, "%09d", record.getIntField(id));
  } else {
    gsnprintf(text, sizeof text, "%09u", record.getUIntField(id));
  }
  xbase::assignText(file, field, text);
}

void assignNumber(xbase::DataFile& file, std::size_t field, const GDbRecord& record) {
  const int id = static_cast<int>(field);
  switch (record.getFieldType(id)) {
    case GDbFieldInt:
      xbase::assignLong(file, field, record.getIntField(id));
      break;
    case GDbFieldUInt:
      xbase::assignLong(file, field, record.getUIntField(id));
      break;
    default:
      xbase::assignDouble(file, field, record.getFloatField(id));
  }
}

void assignField(xbase::DataFile& file, std::size_t field, const GDbRecord& record) {
  const int id = static_cast<int>(field);
  switch (file.fields[field].type) {
    case 'C':
      xbase::assignText(file, field, record.getStringField(id));
      break;
    case 'M':
      xbase::assignMemo(file, field, record.getStringField(id));
      break;
    case 'D':
      assignDate(file, field, record);
      break;
    case 'L':
      // The field may be signed or unsigned: both have the same bits for zero.
      xbase::assignChar(file, field, record.getUIntField(id) != 0 ? 'T' : 'F');
      break;
    default:
      assignNumber(file, field, record);
  }
}

}  // namespace

GDbXBaseTable::GDbXBaseTable(GDbXBase* owner, const std::string& tableName, GDbXBaseData* shared,
                             const std::vector<GDbFieldType>& types)
    : GDbTable(owner, tableName),
      data(shared),
      maker(std::make_unique<loomkit::XBaseRecordMaker>(shared->getFile(), types)),
      recordNumber(unknownRecord) {
  data->addRef();
}

GDbXBaseTable::~GDbXBaseTable() { GDbXBaseTable::closeTable(); }

GDbStatus GDbXBaseTable::closeTable() {
  if (data != nullptr) data->release();
  data = nullptr;
  return GDbTable::closeTable();
}

GDbStatus GDbXBaseTable::getFieldId(const char* fieldName, int* id) {
  if (data == nullptr) return GDbTableNotOpen;
  if (fieldName == nullptr || id == nullptr) return GDbInvalidArgument;
  const std::string_view cut = std::string_view(fieldName).substr(0, xbase::dbf::longestName);
  const int number = xbase::fieldNumber(data->getFile(), cut);
  if (number < 0) return GDbInvalidFieldName;
  *id = number;
  return GDbNoError;
}

GDbStatus GDbXBaseTable::getStructure(GDbStructure** result) {
  if (data == nullptr) return GDbTableNotOpen;
  if (result == nullptr) return GDbInvalidArgument;
  auto structure = std::make_unique<GDbStructure>(true, xbase::dbf::longestName);
  for (const xbase::Field& field : data->getFile().fields)
    structure->appendField(GDbField(field.name, loomkit::naturalType(field),
                                    static_cast<int>(field.width), static_cast<int>(field.decimals),
                                    false, false));
  for (const auto& entry : data->getIndexes()) structure->addIndex(entry.second);
  *result = structure.release();
  return GDbNoError;
}

GDbStatus GDbXBaseTable::appendRecord(const char* plain, GDbRecordSet* result) {
  GDbRecord* record = maker->make(data->getFile(), plain, data->getDirectory()->getDecoder());
  // A text that cannot be converted costs its record, and nothing else.
  if (record != nullptr) result->addRecord(record);
  return GDbNoError;
}

GDbStatus GDbXBaseTable::lookupKeys(const GDbKey* keys, int count, GDbRecordSet* result) {
  if (data == nullptr || data->getIndexFile() == nullptr) return GDbTableNotOpen;
  if (!areKeys(keys, count) || result == nullptr) return GDbInvalidArgument;
  gDbXBaseEngine();
  KeySearch search(data);
  bool found = false;
  GDbStatus status = search.begin(keys, count, &found);
  while (status == GDbNoError && found) {
    if (!xbase::isDeleted(data->getFile())) appendRecord(nullptr, result);
    status = search.next(&found);
  }
  return status;
}

GDbStatus GDbXBaseTable::getFirstRecord(GDbRecordSet* result) {
  if (result == nullptr) return data == nullptr ? GDbTableNotOpen : GDbInvalidArgument;
  recordNumber = 0;
  return getNextRecord(result);
}

GDbStatus GDbXBaseTable::getNextRecord(GDbRecordSet* result) {
  if (data == nullptr) {
    recordNumber = unknownRecord;
    return GDbTableNotOpen;
  }
  if (result == nullptr) return GDbInvalidArgument;
  if (recordNumber == unknownRecord) return GDbNoRecordNumber;
  xbase::DataFile& file = data->getFile();
  file.engine->errorCode = xbase::ok;
  file.selected = nullptr;
  std::uint32_t number = recordNumber + 1;
  const char* plain = nullptr;
  int code = xbase::go(file, number, &plain);
  while (code == xbase::ok && xbase::isDeleted(file)) code = xbase::go(file, ++number, &plain);
  if (code == xbase::ok) {
    recordNumber = number;
    return appendRecord(plain, result);
  }
  recordNumber = unknownRecord;
  if (code == xbase::locked) return GDbLockFailed;
  if (code == xbase::noSuchRecord)
    return number - 1 == file.recordCount ? GDbNoError : GDbInvalidArgument;
  return unexpected(
      "failed to seek to record " + std::to_string(number) + " in table " + data->getName(), code);
}

GDbStatus GDbXBaseTable::insertRecord(const GDbRecord& record) {
  xbase::DataFile& file = data->getFile();
  const std::size_t count = file.fields.size();
  if (static_cast<std::size_t>(record.getNumFields()) != count) return GDbFieldCountMismatch;
  for (std::size_t i = 0; i < count; ++i) {
    const int id = static_cast<int>(i);
    if (!gDbXBaseTypesFit(record.getFieldType(id), file.fields[i])) return GDbFieldTypeMismatch;
    // A number for which there was no memory.
    if (loomkit::RecordAccess::value(record, id) == nullptr) return GDbInvalidArgument;
  }
  const GDbStatus status = changeStatus(xbase::startAppend(file),
                                        "failed to start appending a new record to table ", *data);
  if (status != GDbNoError) return status;
  xbase::blank(file);
  xbase::unmarkDeleted(file);
  for (std::size_t i = 0; i < count; ++i) assignField(file, i, record);
  return changeStatus(xbase::finishAppend(file), "failed to append a new record to table ", *data);
}

GDbStatus GDbXBaseTable::insertRecords(const GDbRecordSet& records) {
  if (data == nullptr || data->getIndexFile() == nullptr) return GDbTableNotOpen;
  if (data->isReadOnly()) return GDbTableReadOnly;
  gDbXBaseEngine();
  for (unsigned i = 0; i < records.getNumRecords(); ++i) {
    const GDbStatus status = insertRecord(*records.getRecord(i));
    if (status != GDbNoError) return status;
  }
  return changeStatus(xbase::flush(data->getFile()), "failed to flush appended record(s) of table ",
                      *data);
}

GDbStatus GDbXBaseTable::deleteKeys(const GDbKey* keys, int count) {
  if (data == nullptr || data->getIndexFile() == nullptr) return GDbTableNotOpen;
  if (data->isReadOnly()) return GDbTableReadOnly;
  if (!areKeys(keys, count)) return GDbInvalidArgument;
  gDbXBaseEngine();
  xbase::DataFile& file = data->getFile();
  KeySearch search(data);
  bool found = false;
  GDbStatus status = search.begin(keys, count, &found);
  if (status != GDbNoError || !found) return status;
  while (found) {
    xbase::markDeleted(file);
    status = search.next(&found);
    if (status != GDbNoError) return status;
  }
  int code = xbase::pack(file);
  if (code == xbase::ok) code = xbase::flush(file);
  if (code == xbase::ok) return GDbNoError;
  if (code == xbase::locked) return GDbLockFailed;
  return unexpected("failed to flush deleted record(s) of table " + data->getName(), code);
}
