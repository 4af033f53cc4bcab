// SPDX-License-Identifier: MIT
// GDbRecord: one row of a table, as every backend hands it out.
//
//   const GDbRecord* row = result.getRecord(0);
//   std::printf("%d %s\n", row->getIntField(0), row->getStringField(1));
//
// GDbTypedRow (typed_row.h) reads the same row with every access checked.
#ifndef LOOMKIT_DB_RECORD_H
#define LOOMKIT_DB_RECORD_H

#include <cstdint>
#include <string>

#include "loomkit/db/field.h"
#include "loomkit/platform/export.h"

namespace loomkit {
struct RecordAccess;
}

/// A row: two flat arrays, the types and the pointers to the values. A record
/// is made with `new` or by a backend, and released through deleteRecord()
/// only. No getter checks the field number or the type.
///
/// A single-block record lies in one allocation of `operator new` together
/// with its arrays and values; fields are never added to it.
///
/// Assignment copies the four members: both records then share all storage, and
/// only one of them may be released. For one thread at a time.
class LOOMKIT_API GDbRecord {
 public:
  /// No fields.
  GDbRecord();
  GDbRecord(const GDbRecord&) = default;
  /// Takes the arrays over as they are. With `singleBlock`, they and the values
  /// lie in the block that starts at this record; otherwise the arrays and each
  /// value are blocks of `operator new`.
  GDbRecord(bool singleBlock, int numFields, GDbFieldType* types, void** values);
  GDbRecord& operator=(const GDbRecord&) = default;

  /// Releases the record and what it owns. Aborts when a field is GDbFieldNone.
  void deleteRecord();

  /// How many fields there are.
  [[nodiscard]] int getNumFields() const { return numFields; }

  /// The tag without the NULL bit.
  [[nodiscard]] GDbFieldType getFieldType(int field) const {
    return static_cast<GDbFieldType>(types[field] & ~GDbFieldNullFlag);
  }
  /// The value of a field. Requires: `field` is a field number and the field is of
  /// that type; getIntField() and getUIntField() read the same 32 bits. A text is
  /// NUL-terminated and stays the record's.
  [[nodiscard]] int getIntField(int field) const { return *static_cast<const int*>(values[field]); }
  [[nodiscard]] unsigned getUIntField(int field) const {
    return *static_cast<const unsigned*>(values[field]);
  }
  [[nodiscard]] double getFloatField(int field) const {
    return *static_cast<const double*>(values[field]);
  }
  [[nodiscard]] const char* getStringField(int field) const {
    return static_cast<const char*>(values[field]);
  }
  /// Stores the address and the number of a blob's bytes, which stay the record's.
  /// A field without a value block gives null and 0.
  void getBlobField(int field, const void** data, unsigned* size);
  void getBlobField(int field, const void** data, unsigned* size) const;

  /// Append a field with a copy of the value. When the block of a number cannot
  /// be allocated, the field is appended with a null pointer.
  void addIntField(int value);
  void addUIntField(unsigned value);
  void addFloatField(double value);
  /// Requires: `value` is not null.
  void addStringField(const char* value);
  void addStringField(const std::string& value);
  /// Requires: `data` is not null, unless `size` is 0.
  void addBlobField(const void* data, unsigned size);

 protected:
  ~GDbRecord() = default;

 private:
  friend struct loomkit::RecordAccess;
  void addText(const char* text, std::size_t length);
  void addField(GDbFieldType type, void* value);

  bool singleBlock;
  std::int32_t numFields;
  GDbFieldType* types;
  void** values;
};

#endif  // LOOMKIT_DB_RECORD_H
