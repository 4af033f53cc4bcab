// SPDX-License-Identifier: MIT
// The library's records made of a table's. Private to the backend.
#ifndef LOOMKIT_DB_XBASE_XBASE_RECORD_H
#define LOOMKIT_DB_XBASE_XBASE_RECORD_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "loomkit/db/field.h"
#include "loomkit/db/record.h"
#include "loomkit/text/fixed_number.h"
#include "loomkit/xbase/data_file.h"

struct HulTextCodec;

namespace loomkit {

/// The type in which a field is read when nobody asks for another.
GDbFieldType naturalType(const xbase::Field& field);

/// Makes records of the current one of a table. It keeps its working room from
/// one record to the next.
class XBaseRecordMaker {
 public:
  /// `types` has an entry for each field; GDbFieldNone is the natural one.
  XBaseRecordMaker(const xbase::DataFile& data, const std::vector<GDbFieldType>& types);

  /// One block with every field of the file. `plain` is where the record's bytes are, if
  /// it is known that none of them is zero, and null otherwise. Texts go through
  /// `decoder` unless it is null. The caller owns the record. Null: a text is none of its
  /// code set, which has been logged. Requires: `data` has the fields of the table that
  /// this object was made for.
  GDbRecord* make(xbase::DataFile& data, const char* plain, HulTextCodec* decoder);

 private:
  enum class Kind { text, memo, logical, floating, integer, unsignedInteger };

  // Where a field stands in the record, and what becomes of it.
  struct Column {
    std::size_t field = 0;
    std::size_t offset = 0;
    std::size_t width = 0;
    GDbFieldType type = GDbFieldNone;
    Kind kind = Kind::text;
    // Of a number: the form that it usually has, and where it stands in the block.
    FixedColumn form;
    std::size_t place = 0;
  };

  static Column columnOf(const xbase::Field& field, std::size_t number, GDbFieldType wanted);
  static Kind kindOf(const xbase::Field& field, GDbFieldType type);
  const char* withoutZeros(const std::string& record);
  // Inline, like putNumber(): the calls alone would cost a scan a fifteenth of its time.
  bool prepareTexts(xbase::DataFile& data, const char* bytes, HulTextCodec* decoder,
                    std::size_t* room);
  bool convertText(xbase::DataFile& data, const Column& column, HulTextCodec* decoder,
                   std::string_view* text);
  void putNumber(const Column& column, const char* text, void* out);
  void putOther(const Column& column, std::string_view text, void* out);

  int fieldCount;
  std::vector<Column> numberColumns;
  std::vector<Column> textColumns;
  // Where the parts of a record's block begin.
  std::size_t valuesPlace = 0;
  std::size_t typesPlace = 0;
  std::size_t textsPlace = 0;
  std::string cleaned;                  // a record that has zero bytes, without them
  std::string numberText;               // a number that is not read where it stands
  std::vector<std::string> converted;   // texts that are no copies of the record's
  std::vector<std::string_view> texts;  // of textColumns
};

}  // namespace loomkit

#endif  // LOOMKIT_DB_XBASE_XBASE_RECORD_H
