// SPDX-License-Identifier: MIT
// The gzip wrapper (RFC 1952): a header of ten bytes and what its flags
// announce, raw deflated data, and a trailer of eight bytes.
#ifndef LOOMKIT_STREAMS_GZIP_LAYOUT_H
#define LOOMKIT_STREAMS_GZIP_LAYOUT_H

namespace loomkit::gzip {

constexpr int magic0 = 0x1f;
constexpr int magic1 = 0x8b;
constexpr int methodDeflate = 8;
/// Behind the flags: time of change (4), compressor's flags (1), system (1).
constexpr int skippedBytes = 6;
constexpr int systemUnix = 3;

enum Flags {
  headerCrc = 0x02,    ///< two bytes of CRC behind all the rest
  extraField = 0x04,   ///< a length of two bytes, little-endian, and as many bytes
  fileName = 0x08,     ///< a zero-terminated text
  comment = 0x10,      ///< a zero-terminated text
  reservedBits = 0xe0  ///< must be clear
};

constexpr int headerSize = 10;
/// CRC-32 of the content and its length modulo 2^32, both little-endian.
constexpr int trailerSize = 8;

constexpr char plainHeader[] = {
    magic0, static_cast<char>(magic1), methodDeflate, 0, 0, 0, 0, 0, 0, systemUnix};
static_assert(sizeof plainHeader == headerSize);
static_assert(4 + skippedBytes == headerSize);

}  // namespace loomkit::gzip

#endif  // LOOMKIT_STREAMS_GZIP_LAYOUT_H
