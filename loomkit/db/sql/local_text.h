// SPDX-License-Identifier: MIT
// Texts on their way to and from a database: UTF-8 there, the local encoding here.
// Private to the library.
#ifndef LOOMKIT_DB_SQL_LOCAL_TEXT_H
#define LOOMKIT_DB_SQL_LOCAL_TEXT_H

#include <cstddef>
#include <memory>
#include <string>

#include "loomkit/platform/hul.h"

namespace loomkit {

struct HulFree {
  void operator()(char* text) const { hulFree(text); }
};
/// A text that hulFree() releases.
using HulText = std::unique_ptr<char, HulFree>;

/// `text` (of `length` bytes; -1: to the terminator) as UTF-8. When it cannot
/// be converted, `logText` with the reason in its next placeholder is logged
/// and the result is a plain copy. `*utf8Length` (unless null) receives the
/// result's length.
HulText toUtf8(const char* text, int length, int* utf8Length, const char* logText);

/// Whether a text is the same in every encoding. Nearly every text is.
bool isAscii(const char* text, std::size_t length);

/// `length` bytes of UTF-8 in the local encoding, up to the first NUL. Bytes
/// that cannot be converted are taken as they are.
void fromUtf8(const char* utf8, int length, std::string* text);

}  // namespace loomkit

#endif  // LOOMKIT_DB_SQL_LOCAL_TEXT_H
