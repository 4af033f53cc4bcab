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

/// How the bytes of a binary value are laid out; all numbers are big-endian. The
/// binary forms of other types are not read here.
enum class PgForm { none, boolean, int2, int4, int8, float4, float8, text, bytes, uuid, jsonb };

/// A type of the server's.
struct PgType {
  PgOid oid;
  PgForm form;
  GDbFieldType field;  ///< what a column of it is read as

  /// A result comes in one form for all columns: in text when one of them has no
  /// binary form.
  [[nodiscard]] bool readsBinary() const { return form != PgForm::none; }
};

/// The type of that number, which is one of a table: the integers are Int, float4 and
/// float8 Float, bytea is Blob, all else String.
const PgType& pgType(PgOid oid);

/// One value of a result. Valid as long as the result.
struct PgValue {
  const PgType* type;
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
