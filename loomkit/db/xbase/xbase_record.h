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

  /// One block with every field of the file. Texts go through `decoder` unless it
  /// is null. The caller owns the record. Null: a text is none of its code set,
  /// which has been logged. Requires: `data` has the fields of the table that this
  /// object was made for.
  GDbRecord* make(xbase::DataFile& data, HulTextCodec* decoder);

 private:
  bool prepareTexts(xbase::DataFile& data, HulTextCodec* decoder, std::size_t* bytes);
  bool prepareText(xbase::DataFile& data, std::size_t field, HulTextCodec* decoder);

  std::vector<GDbFieldType> types;
  std::size_t numberCount = 0;
  std::vector<std::string> converted;   // texts that are no copies of the record's
  std::vector<std::string_view> texts;  // by field
};

}  // namespace loomkit

#endif  // LOOMKIT_DB_XBASE_XBASE_RECORD_H
