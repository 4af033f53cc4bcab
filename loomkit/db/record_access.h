// SPDX-License-Identifier: MIT
// RecordAccess: what the library itself may do with a record beyond its public
// interface. Private to the library.
#ifndef LOOMKIT_DB_RECORD_ACCESS_H
#define LOOMKIT_DB_RECORD_ACCESS_H

#include "loomkit/db/record.h"

namespace loomkit {

/// Reaches into a GDbRecord for backends and for GDbTypedRow.
struct RecordAccess {
  /// Whether the field carries the NULL bit.
  static bool isNull(const GDbRecord& record, int field) {
    return (record.types[field] & GDbFieldNullFlag) != 0;
  }
  /// Marks the last field as SQL NULL.
  static void markLastNull(GDbRecord* record) {
    GDbFieldType& type = record->types[record->numFields - 1];
    type = static_cast<GDbFieldType>(type | GDbFieldNullFlag);
  }
  /// Appends a String field of `length` bytes.
  static void addText(GDbRecord* record, const char* text, std::size_t length) {
    record->addText(text, length);
  }
  /// A new record with copies of all values, in blocks of their own. The caller
  /// owns it. A field whose type is none of the known ones has no value there.
  static GDbRecord* copy(const GDbRecord& record);
  /// The block of a value; null when its allocation failed.
  static const void* value(const GDbRecord& record, int field) { return record.values[field]; }
};

}  // namespace loomkit

#endif  // LOOMKIT_DB_RECORD_ACCESS_H
