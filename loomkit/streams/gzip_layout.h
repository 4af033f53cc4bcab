// SPDX-License-Identifier: MIT
// A gzip file on the disk (RFC 1952): a header of ten bytes, the parts that its
// flags announce, raw deflated data, and a trailer of eight bytes. This is the
// only place that knows the offsets; docs/formats/gzip.md explains the fields. All
// numbers are little-endian.
#ifndef LOOMKIT_STREAMS_GZIP_LAYOUT_H
#define LOOMKIT_STREAMS_GZIP_LAYOUT_H

#include <cstddef>
#include <cstdint>

#include "loomkit/text/binary.h"

namespace loomkit::gzip {

namespace header {
inline constexpr U8 magic0{0};
inline constexpr U8 magic1{1};
inline constexpr U8 method{2};
inline constexpr U8 flags{3};
// Nothing here reads the three that follow.
inline constexpr Le32 time{4};
inline constexpr U8 effort{8};
inline constexpr U8 system{9};
inline constexpr std::size_t size = 10;
static_assert(method.offset == magic1.end() && time.offset == flags.end());
static_assert(effort.offset == time.end() && size == system.end());

inline constexpr std::uint8_t magic0Value = 0x1f;
inline constexpr std::uint8_t magic1Value = 0x8b;
inline constexpr std::uint8_t methodDeflate = 8;
inline constexpr std::uint8_t systemUnix = 3;
}  // namespace header

/// Bits of the header's flags, and the parts that they announce behind it. The
/// parts stand in the order extra field, name, comment, checksum.
enum Flags {
  headerCrc = 0x02,    ///< two bytes of checksum of the header
  extraField = 0x04,   ///< a length, see extra::length, and as many bytes
  fileName = 0x08,     ///< a zero-terminated text
  comment = 0x10,      ///< a zero-terminated text
  reservedBits = 0xe0  ///< must be clear
};

/// In front of an extra field.
namespace extra {
inline constexpr Le16 length{0};
inline constexpr std::size_t size = 2;
}  // namespace extra

namespace trailer {
inline constexpr Le32 crc{0};     ///< of the content
inline constexpr Le32 length{4};  ///< of the content, modulo 2^32
inline constexpr std::size_t size = 8;
static_assert(length.offset == crc.end() && size == length.end());
}  // namespace trailer

}  // namespace loomkit::gzip

#endif  // LOOMKIT_STREAMS_GZIP_LAYOUT_H
