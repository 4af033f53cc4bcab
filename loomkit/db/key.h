// SPDX-License-Identifier: MIT
// GDbKey: one term of a lookup, a field number and the value it must have.
//
//   GDbKey keys[] = {GDbKey(0, 17), GDbKey(2, "blue")};
//   table->lookupKeys(keys, 2, &result);
#ifndef LOOMKIT_DB_KEY_H
#define LOOMKIT_DB_KEY_H

#include <cstdint>

#include "loomkit/db/field.h"
#include "loomkit/platform/export.h"

/// One term of a lookup. A string key borrows the caller's text, so that a
/// lookup allocates nothing; after dupString() it owns a private copy. Copies
/// of a borrowing key borrow, copies of an owning key own a copy of their own.
///
/// The members are public for the backends, which read them directly. A key with
/// a null text is refused by every lookup with GDbInvalidArgument. For one thread
/// at a time.
class LOOMKIT_API GDbKey {
 public:
  /// Field 0 and GDbFieldNone, which matches nothing. It makes room in an array
  /// whose terms are assigned later.
  GDbKey();
  /// Throws std::bad_alloc when an owned text cannot be copied.
  GDbKey(const GDbKey& other);
  /// A term of each type: the field of that zero-based number must hold `value`.
  /// The constructor chosen decides the type of the term, and an SQL table refuses
  /// another type than the column's with GDbFieldTypeMismatch; it makes no
  /// difference between the two integer types.
  GDbKey(int field, int value);
  GDbKey(int field, unsigned value);
  GDbKey(int field, double value);
  /// A term whose text is NUL-terminated and stays the caller's. Requires: `value`
  /// stays valid while the key, or a copy of it, borrows it.
  GDbKey(int field, const char* value);
  /// Releases an owned text first. Assigning a key to itself does nothing.
  GDbKey& operator=(const GDbKey& other);
  ~GDbKey();

  /// Makes a borrowing string key own a copy of its text. Other keys, and a
  /// key that owns already, stay as they are. Call it when the key is to outlive
  /// the text that it was made from.
  void dupString();

  /// The value; `type` says which member counts.
  union Value {
    std::int32_t intValue;    ///< for GDbFieldInt
    std::uint32_t uintValue;  ///< for GDbFieldUInt
    double floatValue;        ///< for GDbFieldFloat
    const char* stringValue;  ///< for GDbFieldString; NUL-terminated
  };

  std::int32_t field = 0;   ///< zero-based field number
  GDbFieldType type : 8;    ///< 8 bits wide; GDbFieldNone at first
  bool ownsString = false;  ///< counts for GDbFieldString only
  Value value;

 private:
  void copyString();
  void release();
};

#endif  // LOOMKIT_DB_KEY_H
