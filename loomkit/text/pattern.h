// SPDX-License-Identifier: MIT
// Shell-style patterns.
//
//   gPatternMatch("*.[ch]", "number.h", false, false, false)   // true
//
//   *       any characters, none included
//   ?       any one character
//   [a-cx]  one character of the set; [!a-cx] or [^a-cx] one that is not
//   \c      the character c itself
//
// Bytes are compared exactly, in brackets as signed ones. An unnegated "[]"
// matches nothing, a negated "[!]" any character: a ']' always closes a set
// unless a backslash precedes it. There are no character classes.
#ifndef LOOMKIT_TEXT_PATTERN_H
#define LOOMKIT_TEXT_PATTERN_H

#include "loomkit/platform/export.h"

/// Whether `pattern` matches the whole of `text`.
///
/// `noEscape`: a backslash is a character like others. `pathName`: a '/' of the
/// text is matched by a '/' of the pattern only. `period`: a '.' that begins
/// the text, and with `pathName` one behind a '/', is not matched by '*' or '?'
/// (by a bracket it is) as long as no '*' before it had to be tried out.
///
/// No heap, no recursion; the time is bounded by the product of the lengths.
LOOMKIT_API bool gPatternMatch(const char* pattern, const char* text, bool noEscape, bool pathName,
                               bool period);

#endif  // LOOMKIT_TEXT_PATTERN_H
