// SPDX-License-Identifier: MIT
// GDbRecordSet: the rows that a lookup or a scan hands out.
#ifndef LOOMKIT_DB_RECORD_SET_H
#define LOOMKIT_DB_RECORD_SET_H

#include <vector>

#include "loomkit/db/record.h"
#include "loomkit/platform/export.h"

/// Rows in order; the set owns them. For one thread at a time.
class LOOMKIT_API GDbRecordSet {
 public:
  GDbRecordSet();
  GDbRecordSet(const GDbRecordSet&) = delete;
  GDbRecordSet& operator=(const GDbRecordSet&) = delete;
  virtual ~GDbRecordSet();

  /// Deletes every record.
  void clear();
  /// Takes `record` over and appends it.
  void addRecord(GDbRecord* record);
  [[nodiscard]] unsigned getNumRecords() const { return static_cast<unsigned>(records.size()); }
  /// Requires: `i` is below getNumRecords(). The record stays the set's.
  [[nodiscard]] const GDbRecord* getRecord(unsigned i) const { return records[i]; }
  /// Takes record `i` out; later ones move down, and the caller owns it.
  /// Requires: `i` is below getNumRecords().
  [[nodiscard]] GDbRecord* releaseRecord(unsigned i);

 private:
  std::vector<GDbRecord*> records;
};

#endif  // LOOMKIT_DB_RECORD_SET_H
