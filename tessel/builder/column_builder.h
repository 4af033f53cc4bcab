// SPDX-License-Identifier: MIT
// ColumnBuilder: gathers the values of a column, then writes them in the form
// that takes the least room.
#ifndef TESSEL_BUILDER_COLUMN_BUILDER_H
#define TESSEL_BUILDER_COLUMN_BUILDER_H

#include <cstdint>
#include <string_view>

#include "tessel/builder/output_file.h"
#include "tessel/builder/spool.h"
#include "tessel/builder/text_dictionary.h"
#include "tessel/store/directory.h"

namespace tessel {

/// One column. The values come in the order of the rows, one for each.
class ColumnBuilder {
 public:
  ColumnBuilder(Workspace* workspace, TslType columnType) : type(columnType), spool(workspace) {}

  void addSigned(std::int32_t value);
  /// For unsigned numbers and for patterns.
  void addUnsigned(std::uint32_t value);
  void addFloating(double value);
  /// Requires: fewer than 2^32 bytes.
  void addText(std::string_view text);

  /// Writes the sections of the column. Failures are the file's and the
  /// workspace's. The name and the indexes are the caller's affair.
  Column write(OutputFile* out);

 private:
  void writeIntegers(OutputFile* out, Column* column);
  void writeFloats(OutputFile* out, Column* column);
  void writeTexts(OutputFile* out, Column* column);
  void writeFixed(OutputFile* out, Column* column);
  void writeHeap(OutputFile* out, Column* column);
  void writeDictionary(OutputFile* out, Column* column);
  template <class Visit>
  void forEachText(Visit visit);

  TslType type;
  Spool spool;
  std::uint32_t count = 0;
  // Of the numbers so far.
  std::int64_t least = 0;
  std::int64_t most = 0;
  bool fitsFloat = true;
  // Of the texts so far.
  std::uint64_t textSize = 0;
  std::uint32_t longest = 0;
  TextDictionary dictionary;
};

}  // namespace tessel

#endif  // TESSEL_BUILDER_COLUMN_BUILDER_H
