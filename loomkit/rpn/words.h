// SPDX-License-Identifier: MIT
// Extension: the names of the built-in words, for hosts that complete or
// document what a user types.
#ifndef LOOMKIT_RPN_WORDS_H
#define LOOMKIT_RPN_WORDS_H

#include <string>
#include <vector>

#include "loomkit/platform/export.h"

/// The names of all built-in words, sorted bytewise. Operators are no words.
LOOMKIT_API std::vector<std::string> gRpnBuiltinWords();

#endif  // LOOMKIT_RPN_WORDS_H
