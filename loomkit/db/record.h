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
/// only. No getter checks the field number or the type. A field that is SQL NULL
/// holds a placeholder of its type; GDbTypedRow tells it from a value.
///
/// A row to be inserted is built field by field, and a GDbRecordSet takes it over:
///
///   loomkit::RecordOwner record = loomkit::makeRecord();   // open.h
///   record->addIntField(17);
///   record->addStringField("blue");
///   rows.addRecord(record.release());
///
/// A single-block record lies in one allocation of `operator new` together
/// with its arrays and values; fields are never added to it.
///
/// Assignment copies the four members: both records then share all storage, and
/// only one of them may be released. For one thread at a time.
class LOOMKIT_API GDbRecord {
 public:
  /// No fields. A record of `new` can have fields added.
  GDbRecord();
  GDbRecord(const GDbRecord&) = default;
  /// Takes the arrays over as they are. With `singleBlock`, they and the values
  /// lie in the block that starts at this record; otherwise the arrays and each
  /// value are blocks of `operator new`, which deleteRecord() frees. This is for
  /// backends; a host adds fields to an empty record. Fields can be added to such a
  /// record only when its arrays have the room that addField() would have given
  /// them: the count rounded up to a power of two, and 4 entries at least.
  GDbRecord(bool singleBlock, int numFields, GDbFieldType* types, void** values);
  GDbRecord& operator=(const GDbRecord&) = default;

  /// Releases the record and what it owns, so that every pointer that a getter gave
  /// ends with it. Aborts the process when a field is GDbFieldNone, which only a
  /// damaged record can have; a single-block record is not looked at. Requires: no
  /// GDbRecordSet owns the record.
  void deleteRecord();

  /// How many fields there are.
  [[nodiscard]] int getNumFields() const { return numFields; }

  /// The type of a field, without its further bits. Requires: `field` is at least 0
  /// and below getNumFields().
  [[nodiscard]] GDbFieldType getFieldType(int field) const {
    return static_cast<GDbFieldType>(types[field] & ~(GDbFieldNullFlag | GDbFieldWideFlag));
  }
  /// The value of a field. Requires: `field` is a field number and the field is of
  /// that type; getIntField() and getUIntField() read the same 32 bits. A text is
  /// NUL-terminated, stays the record's, and is valid until the record is released.
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

  /// Append a field with a copy of the value, whose number is the count before the
  /// call. Values that were read before stay where they are. Requires: the record
  /// is not a single block.
  ///
  /// When the block of a number cannot be allocated, the field is appended with a
  /// null pointer: its getter must not be called, GDbTypedRow shows it as NULL, and
  /// an SQL table refuses to insert it with GDbInvalidArgument. Where a text, a blob
  /// or the arrays cannot be allocated, std::bad_alloc is thrown and the record is
  /// as it was.
  void addIntField(int value);
  void addUIntField(unsigned value);
  void addFloatField(double value);
  /// Requires: `value` is not null; it ends at the first NUL byte. A std::string is
  /// copied whole, although getStringField() tells no length.
  void addStringField(const char* value);
  void addStringField(const std::string& value);
  /// Copies `size` bytes. Requires: `data` is not null, unless `size` is 0.
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
