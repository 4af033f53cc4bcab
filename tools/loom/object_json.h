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

/// Writes an object, which may be null. A list is an object of members when
/// each of its elements is a vector of a string and a value.
void writeJson(JsonWriter& json, const GObject* object);

/// The largest whole number that writeJson() writes as it was read, and the largest that
/// the notation does, whose floats have 15 digits.
inline constexpr double largestInJson = 9007199254740992;  // 2^53
inline constexpr double largestInNotation = 999999999999999;

/// Reads JSON (RFC 8259). No whole number becomes another: those beyond `largest`, with
/// either sign, are refused. On failure null, and `*error` says where and why.
GRef2<GObject> objectOfJson(const std::string& text, double largest, GObjectError* error);

}  // namespace loom

#endif  // LOOM_OBJECT_JSON_H
