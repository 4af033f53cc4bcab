// SPDX-License-Identifier: MIT
// The values of result columns, in the server's text form or its binary form
// (https://www.postgresql.org/docs/current/datatype.html). Private to the driver.
#ifndef LOOMKIT_DB_POSTGRESQL_COLUMN_VALUE_H
#define LOOMKIT_DB_POSTGRESQL_COLUMN_VALUE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "loomkit/db/field.h"
#include "loomkit/db/postgresql/libpq_api.h"

namespace loomkit {

/// What a column of a type is read as: the integers Int, float4 and float8
/// Float, bytea Blob, all else String.
GDbFieldType pgFieldType(PgOid type);

/// Whether the binary form of a type is read here. A result comes in one form
/// for all columns: in text when one of them needs that.
bool pgReadsBinary(PgOid type);

/// One value of a result. Valid as long as the result.
struct PgValue {
  PgOid type;
  bool binary;
  const char* data;  ///< NUL-terminated behind `length`
  int length;

  /// Of an Int column.
  [[nodiscard]] std::int64_t integer() const;
  /// Of a Float column, exact: the text form has all digits.
  [[nodiscard]] double number() const;
  /// Of a String column, in UTF-8: the text form of its type. The characters are
  /// the value's own, or in `*room`.
  [[nodiscard]] std::string_view text(std::string* room) const;
  /// Of a Blob column. The bytes are the value's own, or in `*room`.
  [[nodiscard]] const char* bytes(std::string* room, std::size_t* size) const;
};

}  // namespace loomkit

#endif  // LOOMKIT_DB_POSTGRESQL_COLUMN_VALUE_H
