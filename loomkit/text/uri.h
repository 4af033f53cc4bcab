// SPDX-License-Identifier: MIT
// URIs (RFC 3986): percent escapes and the recognition of a scheme.
//
//   gEscapeURIComponent("a b/c", "/")        // "a%20b/c"
//   gUnescapePartOfURI("a%20b")              // "a b"
//   gNormalizeURI("a%7e%2fb c")              // "a~%2Fb%20c"
//   gIsURI("C:/x")                           // false: a drive, not a scheme
//
// All work on bytes and are re-entrant; none fails.
#ifndef LOOMKIT_TEXT_URI_H
#define LOOMKIT_TEXT_URI_H

#include <string>

#include "loomkit/platform/export.h"

/// The text with every byte escaped as '%' and two capital hexadecimal digits,
/// except letters, digits, "-_.~" and those reserved characters
/// (":/?#[]@!$&'()*+,;=") that `allowed` names; other characters in `allowed`
/// are ignored. A null `allowed` means "!$&'()*+,;=".
LOOMKIT_API std::string gEscapeURIComponent(const char* text, const char* allowed);
LOOMKIT_API std::string gEscapeURIComponent(const std::string& text, const char* allowed);

/// The text with each '%' and two hexadecimal digits turned into their byte,
/// zero included. Any other '%' stays.
LOOMKIT_API std::string gUnescapePartOfURI(const char* text);
LOOMKIT_API std::string gUnescapePartOfURI(const std::string& text);

/// The URI in canonical escaping: what need not be escaped is not, what must be
/// is, and digits are capitals. Reserved characters stay as they are, escaped or
/// not, so that the meaning stays. A '%' without two digits becomes "%25".
LOOMKIT_API std::string gNormalizeURI(const char* uri);
LOOMKIT_API std::string gNormalizeURI(const std::string& uri);

/// Whether the text starts with a scheme and its colon: a letter, then at least
/// one letter, digit, '+', '-' or '.'.
LOOMKIT_API bool gIsURI(const char* text);
LOOMKIT_API bool gIsURI(const std::string& text);

#endif  // LOOMKIT_TEXT_URI_H
