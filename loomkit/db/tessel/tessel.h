// SPDX-License-Identifier: MIT
// The table store's ten calls and the records that cross them. The adapter in
// this folder makes the calls; the embedded store in tessel/ answers them, or
// another library that was chosen with -DLOOMKIT_TESSEL=<library>.
//
//   const int database = tsl_open_database("parts.tessel", 0);
//   const int table = tsl_open_table(database, "parts", 0);
//   TslResultSet set = {0, 0, nullptr};
//   if (tsl_lookup_recno(table, 0, 1, 0, &set) == 0) {
//     ...
//     tsl_free_result_set(&set);
//   }
//
// The records are the same 32-bit words on every 32-bit machine; where pointers
// are wider the records grow with them, and nothing else changes.
#ifndef LOOMKIT_DB_TESSEL_TESSEL_H
#define LOOMKIT_DB_TESSEL_TESSEL_H

#include <cstddef>
#include <cstdint>

/// The type code of a field, a key or a value.
enum TslType : std::int32_t {
  TslTypeSigned = 1,    ///< 32-bit signed
  TslTypeUnsigned = 2,  ///< 32-bit unsigned
  TslTypeFloating = 3,  ///< IEEE double
  TslTypeText = 4,      ///< NUL-terminated bytes
  TslTypePattern = 5    ///< 32 bits, presented as unsigned; never in a key
};

/// How a field is stored.
enum TslStorage : std::int32_t {
  TslStorageInt8 = 1,
  TslStorageUInt8 = 2,
  TslStorageInt16 = 3,
  TslStorageUInt16 = 4,
  TslStorageInt32 = 5,
  TslStorageUInt32 = 6,
  TslStorageFloat = 7,
  TslStorageDouble = 8,
  TslStorageFixedText = 9,
  TslStorageText = 10
};

/// One field of a table.
struct TslField {
  const char* name;
  std::int32_t storage;  ///< TslStorage
  std::int32_t type;     ///< TslType
  std::int32_t length;   ///< bytes of a fixed text field, terminator included
  std::int32_t unused4;
  std::int32_t unused5;
  std::int32_t indexed;  ///< non-zero: the field is part of an index
};

/// One index of a table.
struct TslIndex {
  const char* name;
  std::int32_t unused1;
  std::int32_t unique;  ///< non-zero: no two records have the same key
  std::int32_t columnCount;
  const std::int32_t* columns;  ///< field numbers
};

/// What a table is made of.
struct TslTableDescr {
  std::int32_t unused0;
  std::int32_t unused1;
  std::int32_t fieldCount;
  const TslField* fields;
  std::int32_t keysNeedIndex;  ///< non-zero: a key field without an index is refused
  std::int32_t indexCount;
  const TslIndex* indexes;
};

/// The value of a key or of a field in a result; its type code stands beside it.
union TslContent {
  std::int32_t signedValue;
  std::uint32_t unsignedValue;
  double floatingValue;
  const char* textValue;
};

/// One term of a lookup: the field must have the value.
struct TslKey {
  std::int32_t field;
  std::int32_t type;  ///< TslType; 0 is no type
  TslContent value;
};

/// One value of a result.
struct TslValue {
  std::int32_t type;
  std::int32_t unused1;
  TslContent value;
};

/// One row of a result.
struct TslRow {
  std::int32_t unused0;
  std::int32_t valueCount;
  const TslValue* values;
};

/// What a lookup gives. The caller zeroes it before the call and releases what
/// the call has filled in with tsl_free_result_set().
struct TslResultSet {
  std::int32_t rowCount;
  std::int32_t unused1;
  const TslRow* rows;
};

// On a 32-bit machine each member lies at its word.
static_assert(sizeof(void*) != 4 ||
              (offsetof(TslField, name) == 0 && offsetof(TslField, storage) == 4 &&
               offsetof(TslField, type) == 8 && offsetof(TslField, length) == 12 &&
               offsetof(TslField, unused4) == 16 && offsetof(TslField, unused5) == 20 &&
               offsetof(TslField, indexed) == 24 && sizeof(TslField) == 28));
static_assert(sizeof(void*) != 4 ||
              (offsetof(TslIndex, name) == 0 && offsetof(TslIndex, unused1) == 4 &&
               offsetof(TslIndex, unique) == 8 && offsetof(TslIndex, columnCount) == 12 &&
               offsetof(TslIndex, columns) == 16 && sizeof(TslIndex) == 20));
static_assert(sizeof(void*) != 4 ||
              (offsetof(TslTableDescr, unused0) == 0 && offsetof(TslTableDescr, unused1) == 4 &&
               offsetof(TslTableDescr, fieldCount) == 8 && offsetof(TslTableDescr, fields) == 12 &&
               offsetof(TslTableDescr, keysNeedIndex) == 16 &&
               offsetof(TslTableDescr, indexCount) == 20 &&
               offsetof(TslTableDescr, indexes) == 24 && sizeof(TslTableDescr) == 28));
static_assert(sizeof(void*) != 4 ||
              (offsetof(TslRow, unused0) == 0 && offsetof(TslRow, valueCount) == 4 &&
               offsetof(TslRow, values) == 8 && sizeof(TslRow) == 12));
static_assert(sizeof(void*) != 4 ||
              (offsetof(TslResultSet, rowCount) == 0 && offsetof(TslResultSet, unused1) == 4 &&
               offsetof(TslResultSet, rows) == 8 && sizeof(TslResultSet) == 12));
// Keys and values are the same on every machine.
static_assert(sizeof(TslContent) == 8);
static_assert(offsetof(TslKey, field) == 0 && offsetof(TslKey, type) == 4 &&
              offsetof(TslKey, value) == 8 && sizeof(TslKey) == 16);
static_assert(offsetof(TslValue, type) == 0 && offsetof(TslValue, unused1) == 4 &&
              offsetof(TslValue, value) == 8 && sizeof(TslValue) == 16);

extern "C" {

/// Opens the store at `path`; `reserved` is 0 here and below. A handle, or -1.
int tsl_open_database(const char* path, int reserved);
/// 0, or -1.
int tsl_close_database(int database);

/// Opens a table of a store by its exact name. A handle, or -1.
int tsl_open_table(int database, const char* name, int reserved);
/// 0, or -1.
int tsl_close_table(int table);

/// The description of a table, or null. It stays the library's, and stays valid
/// until tsl_free_table_descr().
TslTableDescr* tsl_get_table_descr(int table);
void tsl_free_table_descr(TslTableDescr* descr);

/// Finds the rows that match all of `count` keys, which are read during the call
/// only. 0, or -1. No such row is success.
int tsl_lookup_keys(int table, const TslKey* keys, int count, int reserved, TslResultSet* set);
/// Gets `count` rows from row number `first` on, counted from 0, and fewer at
/// the end of the table. 0, or -1.
int tsl_lookup_recno(int table, int first, int count, int reserved, TslResultSet* set);
void tsl_free_result_set(TslResultSet* set);

/// The number of the last failed call's error. Ask on the thread of that call,
/// directly after it.
int tsl_get_error(void);
}

#endif  // LOOMKIT_DB_TESSEL_TESSEL_H
