// SPDX-License-Identifier: MIT
// Helpers on NUL-terminated texts and on std::string: bounded printing and
// copying, tokens, comparison without case, splitting, joining, replacing.
//
//   std::vector<std::string> fields;
//   gSplit("a,b,,c", ",", &fields);          // "a" "b" "" "c"
//   gJoin("+", fields);                      // "a+b++c"
//
// All are re-entrant and none reports an error.
#ifndef LOOMKIT_TEXT_STRING_UTIL_H
#define LOOMKIT_TEXT_STRING_UTIL_H

#include <cstdarg>
#include <string>
#include <vector>

#include "loomkit/platform/export.h"

/// Prints into the `size` bytes at `buf` and always terminates them. The result
/// is the C library's; a negative one, or one not below `size`, tells that the
/// text was cut off. With `size` 0 the result is -1 and nothing is touched.
[[gnu::format(printf, 3, 4)]] LOOMKIT_API int gsnprintf(char* buf, unsigned size,
                                                        const char* format, ...);
[[gnu::format(printf, 3, 0)]] LOOMKIT_API int gvsnprintf(char* buf, unsigned size,
                                                         const char* format, va_list args);

/// Copies as much of `src` as fits into the `size` bytes at `dst`, terminates it
/// unless `size` is 0, and returns the length of `src`: a result at or above
/// `size` tells that the copy was cut off.
LOOMKIT_API unsigned gStrCopy(char* dst, const char* src, unsigned size);

/// The next token of a text, ended by writing NUL over the delimiter behind it;
/// null when there is none. Pass the text first and null from then on; `*state`
/// keeps the position. With empty `delimiters` the whole text is one token.
LOOMKIT_API char* gStrTok(char* str, const char* delimiters, char** state);

/// Compares without regard to case, in the C library's current locale. The
/// result is the difference of the first two characters that differ, as
/// unsigned bytes, or 0. The second form looks at `n` characters at most.
LOOMKIT_API int gStrCaseCmp(const char* a, const char* b);
LOOMKIT_API int gStrCaseCmp(const char* a, const char* b, unsigned n);

/// Splits `s` at each character of `delimiters` (white space, when null or
/// empty), replaces the contents of `*out` by the fields, and returns `*out`.
///
/// With `maxFields`, at most that many fields are made and the last one holds
/// the unsplit rest; 0 makes none. With `skipEmpty`, empty fields inside the
/// text are dropped; the last field is kept even when it is empty, so an empty
/// text and one that ends in a delimiter end in an empty field either way.
LOOMKIT_API std::vector<std::string>& gSplit(const std::string& s, const char* delimiters,
                                             std::vector<std::string>* out);
LOOMKIT_API std::vector<std::string>& gSplit(const std::string& s, const char* delimiters,
                                             std::vector<std::string>* out, unsigned maxFields);
LOOMKIT_API std::vector<std::string>& gSplit(const std::string& s, const char* delimiters,
                                             std::vector<std::string>* out, bool skipEmpty);
LOOMKIT_API std::vector<std::string>& gSplit(const std::string& s, const char* delimiters,
                                             std::vector<std::string>* out, unsigned maxFields,
                                             bool skipEmpty);

/// Extension: lets a plain number stand for `maxFields`, which would otherwise
/// be ambiguous with `skipEmpty`.
inline std::vector<std::string>& gSplit(const std::string& s, const char* delimiters,
                                        std::vector<std::string>* out, int maxFields) {
  return gSplit(s, delimiters, out, static_cast<unsigned>(maxFields));
}

/// The items in order with `separator` between them. The second form joins
/// `count` items from index `first` on, clipped to those that there are.
LOOMKIT_API std::string gJoin(const char* separator, const std::vector<std::string>& items);
LOOMKIT_API std::string gJoin(const char* separator, const std::vector<std::string>& items,
                              unsigned first, unsigned count);

/// Replaces every occurrence of `from`, from the start on; what was inserted is
/// not searched again. Requires: `from` is not empty.
LOOMKIT_API void gReplace(std::string* s, const char* from, const char* to);

/// Makes room for `extra` more characters. A capacity that has to grow becomes
/// one below a power of two, so that a text built piece by piece reallocates a
/// logarithmic number of times.
LOOMKIT_API void gExpReserve(std::string* s, unsigned extra);

#endif  // LOOMKIT_TEXT_STRING_UTIL_H
