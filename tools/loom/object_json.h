// SPDX-License-Identifier: MIT
// Objects as JSON and back.
//
//   NULL null, numbers, "strings" as themselves; true and false are names
//   [1, 2]                    [1, 2]
//   @(["a", 1], ["b", 2])     {"a": 1, "b": 2}
//   @(1, 2)                   {"list": [1, 2]}
//   @symbol                   {"symbol": "symbol"}
//   name                      {"name": "name"}
#ifndef LOOM_OBJECT_JSON_H
#define LOOM_OBJECT_JSON_H

#include <cstddef>
#include <string>

#include "json_writer.h"
#include "loomkit/object/object_reader.h"

namespace loom {

/// Writes an object, which may be null. A list is an object of members when it
/// is not empty and each of its elements is a vector of a string and a value.
void writeJson(JsonWriter& json, const GObject* object);

/// Reads JSON (RFC 8259). Numbers are exact or refused: whole ones have to fit
/// 32 bits or a double. On failure null, and `*error` says where and why.
GRef2<GObject> objectOfJson(const std::string& text, GObjectError* error);

}  // namespace loom

#endif  // LOOM_OBJECT_JSON_H
