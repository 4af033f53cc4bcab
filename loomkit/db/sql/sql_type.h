// SPDX-License-Identifier: MIT
// How SQL sees field types. Private to the library.
#ifndef LOOMKIT_DB_SQL_SQL_TYPE_H
#define LOOMKIT_DB_SQL_SQL_TYPE_H

#include "loomkit/db/field.h"

namespace loomkit {

/// The type as SQL tells it apart: SQL has one kind of integer, so UInt is Int.
constexpr GDbFieldType sqlType(GDbFieldType type) {
  return type == GDbFieldUInt ? GDbFieldInt : type;
}

}  // namespace loomkit

#endif  // LOOMKIT_DB_SQL_SQL_TYPE_H
