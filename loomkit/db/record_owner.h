// SPDX-License-Identifier: MIT
// Extension: owners of records and of the memory that records are made of.
//
//   loomkit::RecordOwner record(rows.releaseRecord(0));
#ifndef LOOMKIT_DB_RECORD_OWNER_H
#define LOOMKIT_DB_RECORD_OWNER_H

#include <memory>
#include <new>

#include "loomkit/db/record.h"

namespace loomkit {

/// Releases a record through GDbRecord::deleteRecord(), which is the only way: its
/// destructor is not public, because some records are one block with their values.
struct RecordDelete {
  /// Requires: `record` is not null and nobody else owns it.
  void operator()(GDbRecord* record) const { record->deleteRecord(); }
};
/// Owns a record until a record set or a caller takes it with release(). What the
/// record handed out ends with it. loomkit::makeRecord() (open.h) makes one.
using RecordOwner = std::unique_ptr<GDbRecord, RecordDelete>;

/// Gives a block back to operator delete.
struct BlockDelete {
  /// Requires: `block` is null or comes from operator new.
  void operator()(void* block) const { ::operator delete(block); }
};
/// Owns a block of operator new until a record takes it. What lies in the block
/// needs no destruction.
using Block = std::unique_ptr<void, BlockDelete>;

}  // namespace loomkit

#endif  // LOOMKIT_DB_RECORD_OWNER_H
