// SPDX-License-Identifier: MIT
// Binary records, byte by byte: loads and stores of little- and big-endian
// numbers whatever the machine's own order is, and ByteReader, the one bounded
// cursor through which every format of the library decodes its fields.
//
//   ByteReader in(bytes, size);
//   const std::uint32_t signature = in.le32();
//   const std::uint16_t count = in.le16();
//   if (!in.ok()) return false;   // asked once, after the fields
#ifndef LOOMKIT_TEXT_BINARY_H
#define LOOMKIT_TEXT_BINARY_H

#include <cstddef>
#include <cstdint>

namespace loomkit {

/// Loads of 2, 4 and 8 bytes at `p`. Requires: that many bytes are readable.
inline std::uint16_t loadLe16(const unsigned char* p) noexcept {
  return static_cast<std::uint16_t>(p[0] | p[1] << 8);
}
inline std::uint32_t loadLe32(const unsigned char* p) noexcept {
  return p[0] | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[3]} << 24;
}
inline std::uint64_t loadLe64(const unsigned char* p) noexcept {
  return loadLe32(p) | std::uint64_t{loadLe32(p + 4)} << 32;
}
inline std::uint16_t loadBe16(const unsigned char* p) noexcept {
  return static_cast<std::uint16_t>(p[0] << 8 | p[1]);
}
inline std::uint32_t loadBe32(const unsigned char* p) noexcept {
  return std::uint32_t{p[0]} << 24 | std::uint32_t{p[1]} << 16 | std::uint32_t{p[2]} << 8 | p[3];
}
inline std::uint64_t loadBe64(const unsigned char* p) noexcept {
  return std::uint64_t{loadBe32(p)} << 32 | loadBe32(p + 4);
}

/// Stores of 2, 4 and 8 bytes at `p`. Requires: that many bytes are writable.
inline void storeLe16(unsigned char* p, std::uint16_t v) noexcept {
  p[0] = static_cast<unsigned char>(v);
  p[1] = static_cast<unsigned char>(v >> 8);
}
inline void storeLe32(unsigned char* p, std::uint32_t v) noexcept {
  storeLe16(p, static_cast<std::uint16_t>(v));
  storeLe16(p + 2, static_cast<std::uint16_t>(v >> 16));
}
inline void storeLe64(unsigned char* p, std::uint64_t v) noexcept {
  storeLe32(p, static_cast<std::uint32_t>(v));
  storeLe32(p + 4, static_cast<std::uint32_t>(v >> 32));
}
inline void storeBe32(unsigned char* p, std::uint32_t v) noexcept {
  p[0] = static_cast<unsigned char>(v >> 24);
  p[1] = static_cast<unsigned char>(v >> 16);
  p[2] = static_cast<unsigned char>(v >> 8);
  p[3] = static_cast<unsigned char>(v);
}

/// A cursor over `size` bytes that it does not own. A read beyond the end gives
/// zeros, moves nothing, and makes ok() false for good.
class ByteReader {
 public:
  ByteReader(const void* bytes, std::size_t size) noexcept
      : next(static_cast<const unsigned char*>(bytes)), left(size) {}

  [[nodiscard]] bool ok() const noexcept { return good; }
  [[nodiscard]] std::size_t remaining() const noexcept { return left; }

  std::uint8_t u8() noexcept {
    const unsigned char* p = take(1);
    return p != nullptr ? *p : std::uint8_t{0};
  }
  std::uint16_t le16() noexcept {
    const unsigned char* p = take(2);
    return p != nullptr ? loadLe16(p) : std::uint16_t{0};
  }
  std::uint32_t le32() noexcept {
    const unsigned char* p = take(4);
    return p != nullptr ? loadLe32(p) : 0;
  }

  /// The next `count` bytes, or null when fewer are left.
  const unsigned char* take(std::size_t count) noexcept {
    if (!good || count > left) {
      good = false;
      return nullptr;
    }
    const unsigned char* p = next;
    next += count;
    left -= count;
    return p;
  }

 private:
  const unsigned char* next;
  std::size_t left;
  bool good = true;
};

}  // namespace loomkit

#endif  // LOOMKIT_TEXT_BINARY_H
