// SPDX-License-Identifier: MIT
// GDbTable: typed records that can be looked up by key, scanned, added to and
// deleted from.
//
//   GDbRecordSet rows;
//   GDbStatus status = table->getFirstRecord(&rows);
//   for (unsigned seen = 0; status == GDbNoError && rows.getNumRecords() > seen;) {
//     ...
//     seen = rows.getNumRecords();
//     status = table->getNextRecord(&rows);
//   }
//
// GDbTableScan (table_scan.h) writes such a loop as `for (auto row : scan)`.
#ifndef LOOMKIT_DB_TABLE_H
#define LOOMKIT_DB_TABLE_H

#include <cstdint>
#include <string>
#include <vector>

#include "loomkit/db/key.h"
#include "loomkit/db/record_set.h"
#include "loomkit/db/status.h"
#include "loomkit/db/structure.h"
#include "loomkit/platform/export.h"

class GDbDatabase;

/// A table, given out by its database. The caller owns it and deletes it before
/// the database. It may be closed earlier and never opens again; after that
/// every operation gives GDbTableNotOpen. For one thread at a time.
///
/// (getTableIdx(), getSeqNo()) is a safe handle, as with GDbDatabase.
class LOOMKIT_API GDbTable {
 public:
  GDbTable(const GDbTable&);
  GDbTable& operator=(const GDbTable&);

  /// Leaves the database's list and frees the slot.
  virtual ~GDbTable();

  /// Gives back what the table holds open. Repeatable; the destructor calls it.
  virtual GDbStatus closeTable();

  /// Stores the number of a field in `*id`. GDbInvalidFieldName: there is none of that name.
  virtual GDbStatus getFieldId(const char* name, int* id) = 0;

  /// Stores a new structure in `*structure`, which the caller deletes.
  virtual GDbStatus getStructure(GDbStructure** structure) = 0;

  /// lookupKeys() with one key.
  virtual GDbStatus lookupKey(const GDbKey& key, GDbRecordSet* result);

  /// Appends to `result` the records that match all of the `count` keys. No match
  /// is success. GDbInvalidArgument: a key's field is not in the table, its text
  /// is null, or there is no array of keys.
  virtual GDbStatus lookupKeys(const GDbKey* keys, int count, GDbRecordSet* result) = 0;

  /// Scan in the table's own order, one record a call. At the end nothing is
  /// appended and the status is 0. A SQL table clears `result` first; the
  /// others append.
  virtual GDbStatus getFirstRecord(GDbRecordSet* result) = 0;
  virtual GDbStatus getNextRecord(GDbRecordSet* result) = 0;

  /// Inserts copies of all records in order, up to the first failure.
  /// GDbInsertNotSupported where the backend only reads.
  virtual GDbStatus insertRecords(const GDbRecordSet& records) = 0;

  /// deleteKeys() with one key.
  virtual GDbStatus deleteKey(const GDbKey& key);

  /// Deletes the records that match all of the keys. GDbDeleteNotSupported
  /// where the backend only reads.
  virtual GDbStatus deleteKeys(const GDbKey* keys, int count) = 0;

  /// The table of a handle; null when there is none or it is another by now.
  static GDbTable* getTable(int tableIdx, int seqNo);

  /// The name that the table was opened with, the two numbers of its handle, and
  /// whether it has not been closed.
  [[nodiscard]] const std::string& getName() const { return name; }
  [[nodiscard]] int getSeqNo() const { return seqNo; }
  [[nodiscard]] int getTableIdx() const { return tableIdx; }
  [[nodiscard]] bool isTableOpen() const { return open; }

 protected:
  /// Registers the table with `database`, which must outlive it.
  GDbTable(GDbDatabase* database, const std::string& name);

  [[nodiscard]] GDbDatabase* getDatabase() const { return database; }

 private:
  GDbDatabase* database;
  std::string name;
  bool open = true;
  std::int32_t tableIdx = 0;
  std::int32_t seqNo = 0;

  static std::vector<GDbTable*> sTables;  // null: a free slot
  static std::int32_t sSeqNo;
};

#endif  // LOOMKIT_DB_TABLE_H
