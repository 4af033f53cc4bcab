// SPDX-License-Identifier: MIT
// The notation of strings and symbols that expressions, objects and
// configuration files share: C-style quoted strings, the word NULL for no
// text, and symbols, written @name or Symbol("any name").
//
//   const char* end;
//   std::string text = gParseCString("\"a\\tb\" rest", &end, false);
//   if (end == start) ...                    // nothing was read
//
// A reader that finds nothing leaves the end pointer at the start; that is the
// only report. GiString::convertToCString() writes the notation and
// GiString::parseAsCString() reads it inside a string.
//
// Escapes in a quoted string: \" \' \\ \a \b \f \n \r \t \v; one to three octal
// digits; \x and any number of hexadecimal digits (the last two count, and \x
// without one is an x); a backslash before anything else is dropped.
#ifndef LOOMKIT_TEXT_LITERAL_H
#define LOOMKIT_TEXT_LITERAL_H

#include <string>

#include "loomkit/platform/export.h"
#include "loomkit/text/gi_string.h"

/// Reads the quoted string at `s`, behind white space, and sets `*end` behind
/// its closing quote. Without a closing quote the text so far is returned while
/// `*end` is `s`, so `*end` must be looked at. With `acceptNull`, the word NULL
/// reads as the empty text.
LOOMKIT_API std::string gParseCString(const char* s, const char** end, bool acceptNull);
LOOMKIT_API std::string gParseCString(const char* s, const char** end);

/// The same at position `pos` of `s`, as far as a NUL. `*length` (unless null)
/// receives the number of characters consumed, 0 for a failure.
LOOMKIT_API std::string gParseCString(const std::string& s, unsigned pos, unsigned* length,
                                      bool acceptNull);

/// The `n` characters of `s` from `pos` on as a quoted literal; "NULL" when `s`
/// is empty or `n` is 0. gParseCString() with `acceptNull` reads both back.
LOOMKIT_API std::string gConvertToCStringOrNULL(const std::string& s, unsigned pos, unsigned n);

/// Reads the symbol at `s`, behind white space: '@' and a name of letters,
/// digits and '_' that does not begin with a digit, or Symbol("name") with any
/// name. The result begins with '@' in both cases. With `acceptNull`, NULL reads
/// as the empty text, whatever follows it. `*end` is `s` when nothing was read.
LOOMKIT_API std::string gParseSymbol(const char* s, const char** end, bool acceptNull);

#endif  // LOOMKIT_TEXT_LITERAL_H
