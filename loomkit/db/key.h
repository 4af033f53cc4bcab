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
  /// Field 0 and GDbFieldNone, which matches nothing.
  GDbKey();
  GDbKey(const GDbKey& other);
  /// Terms of each type: the field of that zero-based number must hold `value`.
  GDbKey(int field, int value);
  GDbKey(int field, unsigned value);
  GDbKey(int field, double value);
  /// Requires: `value` stays valid while the key borrows it.
  GDbKey(int field, const char* value);
  /// Releases an owned text first. Assigning a key to itself does nothing.
  GDbKey& operator=(const GDbKey& other);
  ~GDbKey();

  /// Makes a borrowing string key own a copy of its text. Other keys, and a
  /// key that owns already, stay as they are.
  void dupString();

  /// The value; `type` says which member counts.
  union Value {
    std::int32_t intValue;
    std::uint32_t uintValue;
    double floatValue;
    const char* stringValue;
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
