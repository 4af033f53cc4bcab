// SPDX-License-Identifier: MIT
// Extension: gParseObject, which says where and why a text is no object.
//
//   GObjectError error;
//   GRef2<GObject> object = gParseObject("[1, 2", &error);
//   if (!error.reason.empty()) ...   // "',' or ']' expected" at offset 5
#ifndef LOOMKIT_OBJECT_OBJECT_READER_H
#define LOOMKIT_OBJECT_OBJECT_READER_H

#include <cstddef>
#include <string>

#include "loomkit/object/object.h"
#include "loomkit/platform/export.h"

/// The number of sequences that may be nested in each other in a text. It is far
/// beyond what real data need, and small enough that a host which walks over the
/// objects by recursion is not in danger.
constexpr int gObjectMaxDepth = 10000;

/// Where and why a text is not the notation of an object.
struct GObjectError {
  std::size_t offset = 0;  ///< in bytes from the start of the text
  std::string reason;      ///< in English; empty if there was no error
};

/// Reads a text that holds one object, and nothing else but white space. The
/// result has no reference and belongs to the caller.
///
/// A whole number beyond 32 bits is read as a float, where GObject::parseCb() gives the
/// nearest that has 32 bits; one of more than 15 digits, which the notation could not
/// write unchanged, is an error.
///
/// On failure the result is null and `*error` says where and why. On success the
/// reason in `*error` is empty; a null result then stands for the word NULL.
/// Requires: `error` is not null.
LOOMKIT_API GObject* gParseObject(const std::string& text, GObjectError* error);

#endif  // LOOMKIT_OBJECT_OBJECT_READER_H
