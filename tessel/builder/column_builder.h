// SPDX-License-Identifier: MIT
// ColumnBuilder: gathers the values of a column, then writes them into the rows in
// the form that takes the least room.
#ifndef TESSEL_BUILDER_COLUMN_BUILDER_H
#define TESSEL_BUILDER_COLUMN_BUILDER_H

#include <cstdint>
#include <optional>
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

  /// Chooses the form of the column, which the functions below write. No value is
  /// added from here on. Names and places are the caller's affair, and failures are
  /// the file's and the workspace's.
  Column choose();

  /// Writes the entry of the next row.
  void writeEntry(OutputFile* out);
  /// Writes the entry behind the last row's: where the texts of a heap end, else zeros.
  void writeLastEntry(OutputFile* out);
  /// Writes the dictionary and the heap of texts, if they are of such a form.
  void writeSections(OutputFile* out, Column* column);

 private:
  void chooseIntegers();
  void chooseTexts();
  bool nextText(std::string_view* text);
  void writeFixed(OutputFile* out, std::string_view text);

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
  // Once the form is chosen.
  Column form;
  std::optional<SpoolReader> values;
  std::uint64_t textBegin = 0;  // in the heap
};

}  // namespace tessel

#endif  // TESSEL_BUILDER_COLUMN_BUILDER_H
