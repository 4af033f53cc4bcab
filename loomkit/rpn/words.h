// SPDX-License-Identifier: MIT
// Extension: the names of the built-in words, for hosts that complete or
// document what a user types.
//
//   for (const std::string& word : gRpnBuiltinWords()) completer.add(word);
#ifndef LOOMKIT_RPN_WORDS_H
#define LOOMKIT_RPN_WORDS_H

#include <string>
#include <vector>

#include "loomkit/platform/export.h"

/// The names of all words that every evaluator knows, sorted bytewise: constants
/// such as M_PI, functions such as sin and stack words such as dup. Operators
/// such as + are not among them, and neither are the functions of a host. Any
/// thread may call it.
LOOMKIT_API std::vector<std::string> gRpnBuiltinWords();

#endif  // LOOMKIT_RPN_WORDS_H
