// SPDX-License-Identifier: MIT
// GDbRecordSet: the rows that a lookup or a scan hands out.
//
//   GDbRecordSet rows;
//   if (table->lookupKey(GDbKey(0, 17), &rows) == GDbNoError)
//     for (unsigned i = 0; i < rows.getNumRecords(); ++i) use(*rows.getRecord(i));
#ifndef LOOMKIT_DB_RECORD_SET_H
#define LOOMKIT_DB_RECORD_SET_H

#include <vector>

#include "loomkit/db/record.h"
#include "loomkit/platform/export.h"

/// Rows in order. The set owns its records, and they end with it, with everything
/// that they handed out. Lookups append to what a set holds; clear() makes it fit
/// for the next one. For one thread at a time.
///
/// A record that is to outlive the set is taken out of it:
///
///   loomkit::RecordOwner first(rows.releaseRecord(0));   // record_owner.h
class LOOMKIT_API GDbRecordSet {
 public:
  /// No records.
  GDbRecordSet();
  /// The copy holds copies of the records, values and NULL bits included, so that
  /// both sets can end. Throws std::bad_alloc when memory runs out; the assignment
  /// then leaves this set as it is, and otherwise deletes its former records.
  GDbRecordSet(const GDbRecordSet& other);
  GDbRecordSet& operator=(const GDbRecordSet& other);
  virtual ~GDbRecordSet();

  /// Deletes every record; the set is empty then.
  void clear();
  /// Takes `record` over and appends it; the caller no longer releases it, even when
  /// the call throws std::bad_alloc. Requires: `record` is not null and no set owns
  /// it.
  void addRecord(GDbRecord* record);
  /// How many records there are.
  [[nodiscard]] unsigned getNumRecords() const { return static_cast<unsigned>(records.size()); }
  /// Requires: `i` is below getNumRecords(). The record stays the set's,
  /// and is valid until it is cleared or assigned to, or ends.
  [[nodiscard]] const GDbRecord* getRecord(unsigned i) const { return records[i]; }
  /// Takes record `i` out; later ones move down, and the caller owns it
  /// and calls deleteRecord() on it. The time grows with the records behind it.
  /// Requires: `i` is below getNumRecords().
  [[nodiscard]] GDbRecord* releaseRecord(unsigned i);

 private:
  std::vector<GDbRecord*> records;
};

#endif  // LOOMKIT_DB_RECORD_SET_H
