// SPDX-License-Identifier: MIT
// Number readers that do not depend on the machine or the locale.
//
//   const char* end;
//   double value = gParseCDouble("1.5e3x", &end);   // 1500, end at the x
#ifndef LOOMKIT_TEXT_NUMBER_H
#define LOOMKIT_TEXT_NUMBER_H

#include "loomkit/platform/export.h"

/// Reads white space, a sign, digits with an optional point, and an optional
/// exponent. `*end` (unless `end` is null) receives the position behind the
/// number, or `s` when nothing was read. The point is always '.'; errno is not
/// touched; out of range gives an infinity or zero.
///
/// The value is not the correctly rounded one. Digits are folded in by groups
/// of eight, and scaled by powers of ten that are products of 10 or 0.1, one
/// factor after the other. Stored values depend on these exact last bits.
LOOMKIT_API double gParseCDouble(const char* s, const char** end);

/// The same; the result tells whether anything was read, whatever follows it.
/// `*value` is set in any case.
LOOMKIT_API bool gParseCDouble(const char* s, double* value);
LOOMKIT_API bool gParseCDouble(const char* s, float* value);

#endif  // LOOMKIT_TEXT_NUMBER_H
