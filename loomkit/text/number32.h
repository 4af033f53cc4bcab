// SPDX-License-Identifier: MIT
// The C library's integer readers as on a machine whose long has 32 bits. They
// serve the whole library, so that a number is read alike on every machine.
#ifndef LOOMKIT_TEXT_NUMBER32_H
#define LOOMKIT_TEXT_NUMBER32_H

#include <cstdint>

namespace loomkit {

/// strtol() and strtoul() of a machine whose long has 32 bits: a number out of
/// that range is clamped and sets errno to ERANGE; errno is left alone
/// otherwise. As there, a '-' before an unsigned number negates it modulo 2^32.
/// `*end` (unless `end` is null) receives the position behind the number, or
/// `s`. `base` is 0 or 2 to 36.
std::int32_t parseLong32(const char* s, const char** end, int base);
std::uint32_t parseUnsignedLong32(const char* s, const char** end, int base);

}  // namespace loomkit

#endif  // LOOMKIT_TEXT_NUMBER32_H
