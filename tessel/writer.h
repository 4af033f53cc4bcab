// SPDX-License-Identifier: MIT
// Extension: GTesselWriter, which makes store files for the backend "tessel".
//
//   GTesselWriter writer("parts.tessel");
//   writer.addTable("parts", table);              // any table of any database
//   if (writer.commit() != GDbNoError) gOutput->error(writer.getErrMsg().c_str());
//
// docs/formats/tessel.md tells what is in the file.
#ifndef TESSEL_WRITER_H
#define TESSEL_WRITER_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/db/record.h"
#include "loomkit/db/status.h"
#include "loomkit/db/structure.h"
#include "loomkit/db/table.h"
#include "loomkit/platform/export.h"

namespace tessel {
class StoreWriter;
}

/// Writes tables, one after the other, into a new file, which commit() brings to
/// the disk and moves into the target's place. Until then, and when anything
/// fails, the target is as it was. The same tables give the same bytes.
///
/// Every column takes the narrowest form that holds its values: integers of 8, 16
/// or 32 bits, numbers that floats hold as floats, texts of a fixed length, in a
/// dictionary, or one behind the other. A store knows no NULL: the 0 or the empty
/// text that a record has in its place is written.
///
/// After the first failure every call fails with its status. For one thread at a
/// time.
class LOOMKIT_API GTesselWriter {
 public:
  /// What is kept in memory at most, but for one row and the dictionaries; the
  /// rest goes to a scratch file beside the target.
  static constexpr std::size_t defaultMemory = std::size_t{64} << 20;

  explicit GTesselWriter(const std::string& path, std::size_t memory = defaultMemory);
  GTesselWriter(const GTesselWriter&) = delete;
  GTesselWriter& operator=(const GTesselWriter&) = delete;
  ~GTesselWriter();

  /// Fields of the next table to be written as 32-bit patterns, which are read
  /// as UInt and match no caller's structure. They must be Int or UInt.
  void setPatternFields(const std::vector<std::string>& names);

  /// Starts a table with the fields of `structure`. It gets the indexes of the
  /// structure, a unique one over all fields that are isPrimKey(), and one over
  /// each field that isKey(); none twice. GDbTableExists, GDbInvalidTableName,
  /// GDbInvalidFieldName (empty, double, or unknown to an index),
  /// GDbInvalidFieldType (neither a number nor a text), GDbInvalidArgument (a
  /// table without fields).
  GDbStatus beginTable(const std::string& name, const GDbStructure& structure);
  /// Copies a row. GDbFieldCountMismatch, GDbFieldTypeMismatch; GDbDatabaseFull
  /// beyond 2,147,483,647 rows.
  GDbStatus addRecord(const GDbRecord& record);
  GDbStatus endTable();

  /// Writes a whole table, with its own structure or with a given one, which must
  /// have the same fields.
  GDbStatus addTable(const std::string& name, GDbTable* table,
                     const GDbStructure* structure = nullptr);

  /// Completes the file and puts it into the target's place. GDbNonUniqueKey: two
  /// rows of a unique index have the same key.
  GDbStatus commit();

  /// "PATH: REASON" after a failure, else empty.
  [[nodiscard]] const std::string& getErrMsg() const;

 private:
  std::unique_ptr<tessel::StoreWriter> impl;
};

#endif  // TESSEL_WRITER_H
