// SPDX-License-Identifier: MIT
// The library's records made of a table's. Private to the backend.
#ifndef LOOMKIT_DB_XBASE_XBASE_RECORD_H
#define LOOMKIT_DB_XBASE_XBASE_RECORD_H

#include <vector>

#include "loomkit/db/field.h"
#include "loomkit/db/record.h"
#include "loomkit/xbase/data_file.h"

struct HulTextCodec;

namespace loomkit {

/// The type in which a field is read when nobody asks for another.
GDbFieldType naturalType(const xbase::Field& field);

/// Makes a record of the current one of `data`, as one block: every field of the
/// file, in the types of `types`, where GDbFieldNone is the natural one. Texts go
/// through `decoder` unless it is null. The caller owns the record. Null: a text
/// is none of its code set, which has been logged.
GDbRecord* makeRecord(xbase::DataFile& data, const std::vector<GDbFieldType>& types,
                      HulTextCodec* decoder);

}  // namespace loomkit

#endif  // LOOMKIT_DB_XBASE_XBASE_RECORD_H
