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
/// Records that a table hands out are copies: they belong to the caller's
/// GDbRecordSet, and stay valid when the table is closed or deleted.
///
/// A host may keep the pair (getTableIdx(), getSeqNo()) in place of the pointer
/// and ask getTable() for it: the pair of a deleted table gives null.
class LOOMKIT_API GDbTable {
 public:
  /// A copy is not registered with the database, and takes the handle of its original
  /// along, so that getTable() never gives the copy.
  GDbTable(const GDbTable&);
  GDbTable& operator=(const GDbTable&);

  /// Takes the table out of its database, so that its handle gives null from now on.
  /// Requires: the database has not been deleted.
  virtual ~GDbTable();

  /// Gives back what the table holds open. Repeatable; the destructor of a backend's
  /// table calls it.
  virtual GDbStatus closeTable();

  /// Stores the zero-based number of a field in `*id`. An SQL table wants the name
  /// spelled exactly. GDbInvalidFieldName: there is none of that name;
  /// GDbInvalidArgument: a pointer is null. On failure `*id` stays as it is.
  virtual GDbStatus getFieldId(const char* name, int* id) = 0;

  /// Stores a new structure in `*structure`, which the caller deletes and which may
  /// outlive the table. Its field numbers are those of the records. Start with a
  /// null `*structure`, since some backends leave it as it is on failure.
  virtual GDbStatus getStructure(GDbStructure** structure) = 0;

  /// Appends to `result` the records that match `key`: lookupKeys() with one key.
  virtual GDbStatus lookupKey(const GDbKey& key, GDbRecordSet* result);

  /// Appends to `result` the records that match all of the `count` keys. No match
  /// is success. The keys stay the caller's, and are not needed after the call.
  /// GDbInvalidArgument: a key's field is not in the table, its text is null,
  /// `result` is null, or there is no array of keys; GDbFieldTypeMismatch: an SQL or
  /// xBase column is of another type than its key; GDbNoIndex: an xBase table has
  /// no index over these fields. After a failure `result` may hold some records.
  ///
  /// The first lookup in certain fields of a CSV table reads the whole file, to
  /// build an index for the next ones. A CSV lookup also moves the scan position:
  /// a CSV table must not be looked up in the middle of a scan.
  virtual GDbStatus lookupKeys(const GDbKey* keys, int count, GDbRecordSet* result) = 0;

  /// Scan in the table's own order, one record a call: getFirstRecord() starts anew,
  /// getNextRecord() goes on. At the end nothing is appended and the status is 0. An
  /// SQL table clears `result` first; the others append. A table has one scan
  /// position. GDbInvalidArgument: `result` is null; GDbNoRecordNumber: an xBase
  /// scan has not begun, or is over.
  virtual GDbStatus getFirstRecord(GDbRecordSet* result) = 0;
  virtual GDbStatus getNextRecord(GDbRecordSet* result) = 0;

  /// Inserts copies of all records in order, up to the first failure. The records
  /// stay the set's; each has the table's fields in the order of its structure.
  /// GDbFieldCountMismatch: a record has more or fewer fields;
  /// GDbFieldTypeMismatch: a field is of another type than its column;
  /// GDbInsertNotSupported where the backend only reads; GDbTableReadOnly where
  /// only this table cannot be changed.
  virtual GDbStatus insertRecords(const GDbRecordSet& records) = 0;

  /// Deletes the records that match `key`: deleteKeys() with one key.
  virtual GDbStatus deleteKey(const GDbKey& key);

  /// Deletes the records that match all of the `count` keys. No match is success.
  /// GDbDeleteNotSupported where the backend only reads; GDbTableReadOnly where only
  /// this table cannot be changed; the keys fail as with lookupKeys().
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
  /// Registers the table with `database`, which stays the caller's. Requires:
  /// `database` outlives the table.
  GDbTable(GDbDatabase* database, const std::string& name);

  /// The database that was given to the constructor.
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
