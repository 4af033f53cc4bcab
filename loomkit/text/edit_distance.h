// SPDX-License-Identifier: MIT
// How far two texts are apart.
//
//   gEditDistance("abc", "acb", false)       // 1: one exchange
//   gEditDistance("bc", "xxbcxx", true)      // 0: found as it is
#ifndef LOOMKIT_TEXT_EDIT_DISTANCE_H
#define LOOMKIT_TEXT_EDIT_DISTANCE_H

#include "loomkit/platform/export.h"

/// The least number of insertions, deletions, substitutions and exchanges of
/// two adjacent characters that turn `a` into `b`, where no piece of text is
/// edited twice (the optimal string alignment distance). With `anywhere`, the
/// least distance between `a` and any piece of `b`, the empty one included.
///
/// Uses no heap. The shorter text decides on the stack that is needed: 2 KiB up
/// to 64 characters, 6 KiB up to 1,000, 30 KiB up to 65,000, 200 KiB up to
/// 500,000, 1.5 MiB up to 4,000,000, 6 MiB up to 16,000,000. Two texts longer
/// than that need 800 MiB of stack, and hours: the time is the product of the
/// lengths over 64.
LOOMKIT_API int gEditDistance(const char* a, const char* b, bool anywhere);

#endif  // LOOMKIT_TEXT_EDIT_DISTANCE_H
