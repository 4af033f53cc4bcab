// SPDX-License-Identifier: MIT
// RowRecord: makes records of rows, each in one block of memory. Private to the
// driver.
//
//   maker.start(columns);
//   for (each column) maker.add(value, isNull);
//   GDbRecord* record = maker.make();
#ifndef LOOMKIT_DB_POSTGRESQL_ROW_RECORD_H
#define LOOMKIT_DB_POSTGRESQL_ROW_RECORD_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "loomkit/db/postgresql/column_value.h"
#include "loomkit/db/record.h"

namespace loomkit {

/// Gathers the values of a row in memory that it keeps for the next one.
class RowRecord {
 public:
  void start(std::size_t columns);
  /// Adds a column; a NULL is a placeholder with the NULL bit. Of an integer beyond 32
  /// bits, GDbTypedRow reads all.
  void add(const PgValue& value, bool isNull);
  /// The record, which the caller owns.
  [[nodiscard]] GDbRecord* make() const;

 private:
  struct Slot {
    GDbFieldType type;
    std::size_t offset;  // of the value in `body`
  };

  char* begin(GDbFieldType type, bool isNull, std::size_t alignment, std::size_t size);
  void addInteger(std::int64_t value, bool isNull);
  void addFloat(double value, bool isNull);
  void addBlob(const PgValue& value, bool isNull);
  void addText(const PgValue& value, bool isNull);

  std::vector<Slot> slots;  // those of the row are at the begin
  std::size_t count = 0;
  std::vector<char> body;  // aligned as the block behind the pointers is
  std::size_t used = 0;    // of the body
  std::string room;
};

}  // namespace loomkit

#endif  // LOOMKIT_DB_POSTGRESQL_ROW_RECORD_H
