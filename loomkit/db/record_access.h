// SPDX-License-Identifier: MIT
// RecordAccess: what the library itself may do with a record beyond its public
// interface. Private to the library.
#ifndef LOOMKIT_DB_RECORD_ACCESS_H
#define LOOMKIT_DB_RECORD_ACCESS_H

#include <cstdint>

#include "loomkit/db/record.h"

namespace loomkit {

/// The value block of an integer that needs more than 32 bits. The lower half comes
/// first, whatever the machine's byte order: GDbRecord::getIntField() reads it.
class WideInt {
 public:
  explicit WideInt(std::int64_t value)
      : low(static_cast<std::int32_t>(value)), high(static_cast<std::int32_t>(value >> 32)) {}

  [[nodiscard]] std::int64_t value() const {
    return std::int64_t{high} * (std::int64_t{1} << 32) + static_cast<std::uint32_t>(low);
  }

 private:
  std::int32_t low;
  std::int32_t high;
};

/// The entry of such a field in a record's type array.
inline constexpr auto wideIntType = static_cast<GDbFieldType>(GDbFieldInt | GDbFieldWideFlag);

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
  /// Whether the field is an integer that needs more than 32 bits.
  static bool isWide(const GDbRecord& record, int field) {
    return (record.types[field] & GDbFieldWideFlag) != 0;
  }
  /// Appends an Int field of up to 64 bits, of which a getter of the record reads the
  /// lower 32. Without memory for it the field has no value, as with addIntField().
  static void addInt64(GDbRecord* record, std::int64_t value);
  /// All bits of an Int field. Requires: it has a value.
  static std::int64_t getInt64(const GDbRecord& record, int field);
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
