// SPDX-License-Identifier: MIT
// The crc32 instruction of SSE 4.2, eight bytes at a time where registers are
// that wide.
#include "loomkit/platform/crc32c.h"

#include <nmmintrin.h>

#include <cstring>

namespace loomkit::platform {
namespace {

#ifdef __x86_64__
using Word = std::uint64_t;
[[gnu::target("sse4.2")]] inline std::uint32_t step(std::uint32_t state, Word word) {
  return static_cast<std::uint32_t>(_mm_crc32_u64(state, word));
}
#else
using Word = std::uint32_t;
[[gnu::target("sse4.2")]] inline std::uint32_t step(std::uint32_t state, Word word) {
  return _mm_crc32_u32(state, word);
}
#endif

}  // namespace

bool canStepCrc32c() noexcept {
  static const bool can = __builtin_cpu_supports("sse4.2");
  return can;
}

[[gnu::target("sse4.2")]] std::uint32_t stepCrc32c(std::uint32_t state, const unsigned char* data,
                                                   std::size_t size) noexcept {
  for (; size >= sizeof(Word); data += sizeof(Word), size -= sizeof(Word)) {
    Word word = 0;
    std::memcpy(&word, data, sizeof word);
    state = step(state, word);
  }
  for (; size != 0; ++data, --size) state = _mm_crc32_u8(state, *data);
  return state;
}

}  // namespace loomkit::platform
