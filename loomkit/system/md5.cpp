// SPDX-License-Identifier: MIT
#include "loomkit/system/md5.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "loomkit/text/binary.h"

namespace {

constexpr std::size_t blockSize = 64;
constexpr std::size_t lengthOffset = 56;  // of the bit count in the last block
using State = std::array<std::uint32_t, 4>;

constexpr State initialState = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

// The functions of the four rounds. Each combines the value that was computed last
// at the very end, because that is the one that the processor still waits for.
struct F {
  static std::uint32_t of(std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    return ((c ^ d) & b) ^ d;
  }
};
struct G {
  static std::uint32_t of(std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    return (~d & c) + (d & b);
  }
};
struct H {
  static std::uint32_t of(std::uint32_t b, std::uint32_t c, std::uint32_t d) { return c ^ d ^ b; }
};
struct I {
  static std::uint32_t of(std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    return c ^ (b | ~d);
  }
};

// One of the 64 steps.
template <typename Function, int shift, std::uint32_t constant>
inline void step(std::uint32_t& a, std::uint32_t b, std::uint32_t c, std::uint32_t d,
                 std::uint32_t word) {
  a = std::rotl(a + word + constant + Function::of(b, c, d), shift) + b;
}

// Four steps, after which the four variables stand in their places again.
template <typename Function, int s0, int s1, int s2, int s3, std::uint32_t k0, std::uint32_t k1,
          std::uint32_t k2, std::uint32_t k3>
inline void steps(State& s, std::uint32_t w0, std::uint32_t w1, std::uint32_t w2,
                  std::uint32_t w3) {
  step<Function, s0, k0>(s[0], s[1], s[2], s[3], w0);
  step<Function, s1, k1>(s[3], s[0], s[1], s[2], w1);
  step<Function, s2, k2>(s[2], s[3], s[0], s[1], w2);
  step<Function, s3, k3>(s[1], s[2], s[3], s[0], w3);
}

template <std::uint32_t... k>
inline void stepsF(State& s, std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  steps<F, 7, 12, 17, 22, k...>(s, a, b, c, d);
}
template <std::uint32_t... k>
inline void stepsG(State& s, std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  steps<G, 5, 9, 14, 20, k...>(s, a, b, c, d);
}
template <std::uint32_t... k>
inline void stepsH(State& s, std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  steps<H, 4, 11, 16, 23, k...>(s, a, b, c, d);
}
template <std::uint32_t... k>
inline void stepsI(State& s, std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  steps<I, 6, 10, 15, 21, k...>(s, a, b, c, d);
}

// Takes `count` blocks of 64 bytes.
void transform(State& state, const unsigned char* data, std::size_t count) {
  State s = state;
  for (; count != 0; --count, data += blockSize) {
    const State before = s;
    const auto w = [data](int i) { return loomkit::loadLe32(data + 4 * i); };
    stepsF<0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee>(s, w(0), w(1), w(2), w(3));
    stepsF<0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501>(s, w(4), w(5), w(6), w(7));
    stepsF<0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be>(s, w(8), w(9), w(10), w(11));
    stepsF<0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821>(s, w(12), w(13), w(14), w(15));
    stepsG<0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa>(s, w(1), w(6), w(11), w(0));
    stepsG<0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8>(s, w(5), w(10), w(15), w(4));
    stepsG<0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed>(s, w(9), w(14), w(3), w(8));
    stepsG<0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a>(s, w(13), w(2), w(7), w(12));
    stepsH<0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c>(s, w(5), w(8), w(11), w(14));
    stepsH<0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70>(s, w(1), w(4), w(7), w(10));
    stepsH<0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05>(s, w(13), w(0), w(3), w(6));
    stepsH<0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665>(s, w(9), w(12), w(15), w(2));
    stepsI<0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039>(s, w(0), w(7), w(14), w(5));
    stepsI<0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1>(s, w(12), w(3), w(10), w(1));
    stepsI<0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1>(s, w(8), w(15), w(6), w(13));
    stepsI<0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391>(s, w(4), w(11), w(2), w(9));
    for (std::size_t i = 0; i < s.size(); ++i) s[i] += before[i];
  }
  state = s;
}

}  // namespace

struct GMD5Checker::Context {
  State state = initialState;
  std::uint32_t bits[2] = {0, 0};  // of all data, the low word first
  unsigned char block[blockSize];

  [[nodiscard]] std::size_t filled() const { return bits[0] / 8 % blockSize; }

  void count(unsigned size) {
    const std::uint64_t sum = (std::uint64_t{bits[1]} << 32 | bits[0]) + std::uint64_t{size} * 8;
    bits[0] = static_cast<std::uint32_t>(sum);
    bits[1] = static_cast<std::uint32_t>(sum >> 32);
  }

  void update(const unsigned char* data, std::size_t size) {
    const std::size_t before = filled();
    count(static_cast<unsigned>(size));
    if (before != 0) {
      const std::size_t taken = std::min(size, blockSize - before);
      std::memcpy(block + before, data, taken);
      if (before + taken < blockSize) return;
      transform(state, block, 1);
      data += taken;
      size -= taken;
    }
    transform(state, data, size / blockSize);
    const std::size_t rest = size % blockSize;
    if (rest != 0) std::memcpy(block, data + (size - rest), rest);
  }

  void finish(unsigned char* result) {
    std::size_t used = filled();
    block[used++] = 0x80;
    if (used > lengthOffset) {
      std::memset(block + used, 0, blockSize - used);
      transform(state, block, 1);
      used = 0;
    }
    std::memset(block + used, 0, lengthOffset - used);
    loomkit::storeLe32(block + lengthOffset, bits[0]);
    loomkit::storeLe32(block + lengthOffset + 4, bits[1]);
    transform(state, block, 1);
    for (std::size_t i = 0; i < state.size(); ++i) loomkit::storeLe32(result + 4 * i, state[i]);
    state[0] = 0;  // so that a use without reset() is plainly wrong, not nearly right
  }
};

GMD5Checker::GMD5Checker() : context(std::make_shared<Context>()), digest{}, hexDigest{} {}
GMD5Checker::GMD5Checker(const GMD5Checker&) = default;
GMD5Checker& GMD5Checker::operator=(const GMD5Checker&) = default;
GMD5Checker::~GMD5Checker() = default;

void GMD5Checker::update(const unsigned char* data, unsigned int size) {
  if (size != 0) context->update(data, size);
}

void GMD5Checker::reset() { *context = Context(); }

void GMD5Checker::final() {
  context->finish(digest);
  // By hand: formatting would take three times as long as the digest of a short text.
  constexpr char digits[] = "0123456789abcdef";
  char* hex = hexDigest;
  for (const unsigned char byte : digest) {
    *hex++ = digits[byte >> 4];
    *hex++ = digits[byte & 15];
  }
  *hex = '\0';
}

const unsigned char* GMD5Checker::getDigest() const { return digest; }

const char* GMD5Checker::asString() const { return hexDigest; }
