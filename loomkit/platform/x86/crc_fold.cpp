// SPDX-License-Identifier: MIT
// V. Gopal et al., "Fast CRC Computation for Generic Polynomials Using the
// PCLMULQDQ Instruction", Intel, 2009: the data is folded 64 bytes at a time
// into four registers, those into one, and the rest of 128 bits is reduced by
// Barrett's method. The constants are powers of x modulo the polynomial, bit
// reflected, as the paper lists them for the polynomial of gzip.
#include "loomkit/platform/crc_fold.h"

#include <immintrin.h>

namespace loomkit::platform {
namespace {

[[gnu::target("pclmul,sse4.1")]] inline __m128i load(const unsigned char* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// Moves `x` on by the distance of the constants and adds `next`.
[[gnu::target("pclmul,sse4.1")]] inline __m128i fold(__m128i x, __m128i constants, __m128i next) {
  const __m128i low = _mm_clmulepi64_si128(x, constants, 0x00);
  const __m128i high = _mm_clmulepi64_si128(x, constants, 0x11);
  return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

}  // namespace

bool canFoldCrc32() noexcept {
  static const bool can = __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
  return can;
}

[[gnu::target("pclmul,sse4.1")]] std::uint32_t foldCrc32(std::uint32_t state,
                                                         const unsigned char* data,
                                                         std::size_t size) noexcept {
  const __m128i by512 = _mm_set_epi64x(0x1c6e41596, 0x154442bd4);
  const __m128i by128 = _mm_set_epi64x(0x0ccaa009e, 0x1751997d0);
  const unsigned char* p = data;
  const unsigned char* const end = data + size;

  __m128i x0 = _mm_xor_si128(load(p), _mm_cvtsi32_si128(static_cast<int>(state)));
  __m128i x1 = load(p + 16);
  __m128i x2 = load(p + 32);
  __m128i x3 = load(p + 48);
  for (p += 64; end - p >= 64; p += 64) {
    x0 = fold(x0, by512, load(p));
    x1 = fold(x1, by512, load(p + 16));
    x2 = fold(x2, by512, load(p + 32));
    x3 = fold(x3, by512, load(p + 48));
  }
  x0 = fold(x0, by128, x1);
  x0 = fold(x0, by128, x2);
  x0 = fold(x0, by128, x3);
  for (; p != end; p += 16) x0 = fold(x0, by128, load(p));

  // 128 bits to 64, then to 32.
  const __m128i low32 = _mm_setr_epi32(-1, 0, -1, 0);
  const __m128i by32 = _mm_set_epi64x(0, 0x163cd6124);
  const __m128i barrett = _mm_set_epi64x(0x1f7011641, 0x1db710641);
  x0 = _mm_xor_si128(_mm_srli_si128(x0, 8), _mm_clmulepi64_si128(x0, by128, 0x10));
  x0 = _mm_xor_si128(_mm_srli_si128(x0, 4),
                     _mm_clmulepi64_si128(_mm_and_si128(x0, low32), by32, 0x00));
  __m128i quotient = _mm_clmulepi64_si128(_mm_and_si128(x0, low32), barrett, 0x10);
  quotient = _mm_clmulepi64_si128(_mm_and_si128(quotient, low32), barrett, 0x00);
  return static_cast<std::uint32_t>(_mm_extract_epi32(_mm_xor_si128(quotient, x0), 1));
}

}  // namespace loomkit::platform
