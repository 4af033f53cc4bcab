// SPDX-License-Identifier: MIT
// Extension: gParseObject, which says where and why a text is no object.
#ifndef LOOMKIT_OBJECT_OBJECT_READER_H
#define LOOMKIT_OBJECT_OBJECT_READER_H

#include <cstddef>
#include <string>

#include "loomkit/object/object.h"
#include "loomkit/platform/export.h"

/// How deep sequences may be nested in a text: far beyond real data, and not so
/// deep that a host's own recursion over the objects would be in danger.
constexpr int gObjectMaxDepth = 10000;

/// Where a text stopped being the notation of an object.
struct GObjectError {
  std::size_t offset = 0;  ///< in bytes from the start of the text
  std::string reason;      ///< empty: it did not
};

/// Reads a text that holds one object and nothing else but white space. The
/// object belongs to the caller. On failure the result is null and `*error`
/// says why; on success its reason is empty, and null means NULL.
LOOMKIT_API GObject* gParseObject(const std::string& text, GObjectError* error);

#endif  // LOOMKIT_OBJECT_OBJECT_READER_H
