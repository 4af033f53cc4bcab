// SPDX-License-Identifier: MIT
#include "loomkit/db/sql/sql_table.h"

#include <memory>

#include "loomkit/db/key_check.h"
#include "loomkit/db/record_access.h"
#include "loomkit/db/sql/sql_database_impl.h"
#include "loomkit/db/sql/sql_type.h"

namespace {

using loomkit::sqlType;

std::string quotedNames(const GSqlDatabaseImpl& database, const GDbStructure& structure) {
  std::string list;
  for (const GDbField& field : structure.getFields()) {
    if (!list.empty()) list += ", ";
    list += database.quoteName(field.getName());
  }
  return list;
}

GDbStatus bindKey(GSqlQuery* query, int index, const GDbKey& key) {
  switch (key.type) {
    case GDbFieldInt:
    case GDbFieldUInt:
      return query->bindInt(index, key.value.intValue);
    case GDbFieldFloat:
      return query->bindDouble(index, key.value.floatValue);
    case GDbFieldString:
      return query->bindText(index, key.value.stringValue, -1, false);
    default:
      return GDbInvalidArgument;
  }
}

GDbStatus bindKeysAndExec(GSqlQuery* query, const GDbKey* keys, int count) {
  for (int i = 0; i < count; ++i) {
    const GDbStatus status = bindKey(query, i, keys[i]);
    if (status != GDbNoError) return status;
  }
  return query->exec();
}

}  // namespace

GSqlTable::GSqlTable(GSqlDatabaseImpl* owner, const std::string& tableName,
                     GDbStructure* realStructure)
    : GDbTable(owner, tableName),
      structure(realStructure),
      fieldList(quotedNames(*owner, *realStructure)) {}

GSqlTable::~GSqlTable() { GSqlTable::closeTable(); }

GSqlDatabaseImpl* GSqlTable::getSqlDatabase() const {
  return static_cast<GSqlDatabaseImpl*>(getDatabase());
}

std::string GSqlTable::quotedName() const { return getSqlDatabase()->quoteTable(getName()); }

GDbStatus GSqlTable::closeTable() {
  delete structure;
  structure = nullptr;
  return GDbTable::closeTable();
}

// Exact, whatever the structure says about letter case: hosts that ask an SQL
// table rely on getting the column that they spelled.
GDbStatus GSqlTable::getFieldId(const char* fieldName, int* id) {
  if (structure == nullptr) return GDbTableNotOpen;
  if (fieldName == nullptr || id == nullptr) return GDbInvalidArgument;
  for (int i = 0; i < structure->getNumFields(); ++i) {
    if (structure->getField(i).getName() != fieldName) continue;
    *id = i;
    return GDbNoError;
  }
  return GDbInvalidFieldName;
}

GDbStatus GSqlTable::getStructure(GDbStructure** result) {
  if (result != nullptr) *result = nullptr;
  if (structure == nullptr) return GDbTableNotOpen;
  if (result == nullptr) return GDbInvalidArgument;
  *result = new GDbStructure(*structure);
  return GDbNoError;
}

GDbStatus GSqlTable::makeWhere(const GDbKey* keys, int count, std::string* where) const {
  if (getDatabase() == nullptr) return GDbNotOpen;
  if (structure == nullptr) return GDbTableNotOpen;
  if (count < 1 || !loomkit::areReadable(keys, count)) return GDbInvalidArgument;
  for (int i = 0; i < count; ++i) {
    const GDbKey& key = keys[i];
    if (key.field < 0 || key.field >= structure->getNumFields()) return GDbInvalidArgument;
    const GDbField& field = structure->getField(key.field);
    if (sqlType(key.type) != sqlType(field.getType())) return GDbFieldTypeMismatch;
    if (i != 0) *where += " AND ";
    *where += getSqlDatabase()->quoteName(field.getName()) + " = ?";
  }
  return GDbNoError;
}

GDbStatus GSqlTable::lookupKeys(const GDbKey* keys, int count, GDbRecordSet* result) {
  std::string where;
  GDbStatus status = makeWhere(keys, count, &where);
  if (status != GDbNoError) return status;
  if (result == nullptr) return GDbInvalidArgument;
  GSqlDatabaseImpl* sql = getSqlDatabase();
  GSqlQuery query;
  status = sql->getLookupQuery(getName(), where, fieldList, &query);
  if (status == GDbNoError) status = bindKeysAndExec(&query, keys, count);
  if (status == GDbNoError) status = query.getResult(result);
  // A query that failed is not handed back: the next lookup prepares anew.
  if (status == GDbNoError) sql->putLookupQuery(getName(), where, fieldList, query);
  return status;
}

GDbStatus GSqlTable::getFirstRecord(GDbRecordSet* result) {
  if (structure == nullptr) return GDbTableNotOpen;
  if (result == nullptr) return GDbInvalidArgument;
  if (scanQuery.isNull())
    scanQuery =
        GSqlQuery::forScan(getSqlDatabase(), "SELECT " + fieldList + " FROM " + quotedName() + ";");
  const GDbStatus status = scanQuery.exec();
  return status == GDbNoError ? getNextRecord(result) : status;
}

GDbStatus GSqlTable::getNextRecord(GDbRecordSet* result) {
  if (result != nullptr) result->clear();
  if (structure == nullptr) return GDbTableNotOpen;
  if (result == nullptr) return GDbInvalidArgument;
  GDbRecord* record = nullptr;
  const GDbStatus status = scanQuery.next(&record);
  if (status == GDbNoMoreRecords) return scanQuery.reset();
  if (status != GDbNoError) return status;
  if (record == nullptr) return GDbInternalError;
  result->addRecord(record);
  return GDbNoError;
}

std::string GSqlTable::insertStatement() const {
  std::string marks = "?";
  for (int i = 1; i < structure->getNumFields(); ++i) marks += ", ?";
  return "INSERT INTO " + quotedName() + " (" + fieldList + ") VALUES (" + marks + ");";
}

GDbStatus GSqlTable::insertRecords(const GDbRecordSet& records) {
  if (getDatabase() == nullptr) return GDbNotOpen;
  if (structure == nullptr) return GDbTableNotOpen;
  if (insertQuery.isNull()) insertQuery = GSqlQuery(getSqlDatabase(), insertStatement());
  return insertQuery.execMany(records.getNumRecords(),
                              [&](unsigned i) { return bindRecord(*records.getRecord(i)); });
}

GDbStatus GSqlTable::bindRecord(const GDbRecord& record) {
  if (record.getNumFields() != structure->getNumFields()) return GDbFieldCountMismatch;
  GDbStatus status = insertQuery.reset();
  for (int i = 0; i < record.getNumFields() && status == GDbNoError; ++i)
    status = bindField(record, i);
  return status;
}

GDbStatus GSqlTable::bindField(const GDbRecord& record, int field) {
  const GDbFieldType type = sqlType(record.getFieldType(field));
  if (type != sqlType(structure->getField(field).getType())) return GDbFieldTypeMismatch;
  // A number for which there was no memory has no value.
  if (loomkit::RecordAccess::value(record, field) == nullptr) return GDbInvalidArgument;
  switch (type) {
    case GDbFieldInt:
      return insertQuery.bindInt(field, record.getIntField(field));
    case GDbFieldFloat:
      return insertQuery.bindDouble(field, record.getFloatField(field));
    case GDbFieldString:
      return insertQuery.bindText(field, record.getStringField(field), -1, false);
    case GDbFieldBlob: {
      const void* data = nullptr;
      unsigned size = 0;
      record.getBlobField(field, &data, &size);
      return insertQuery.bindBlob(field, const_cast<void*>(data), size, false);
    }
    default:
      return GDbFieldTypeMismatch;
  }
}

GDbStatus GSqlTable::deleteKeys(const GDbKey* keys, int count) {
  std::string where;
  const GDbStatus status = makeWhere(keys, count, &where);
  if (status != GDbNoError) return status;
  GSqlQuery query(getSqlDatabase(), "DELETE FROM " + quotedName() + " WHERE " + where + ";");
  return bindKeysAndExec(&query, keys, count);
}
