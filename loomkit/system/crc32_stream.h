// SPDX-License-Identifier: MIT
// Extension: GCRC32Stream, the checksum of GCRC32 over data that come piece by
// piece.
//
//   GCRC32Stream crc;
//   while (std::size_t size = next(block)) crc.update(block, size);
//   use(crc.get());
#ifndef LOOMKIT_SYSTEM_CRC32_STREAM_H
#define LOOMKIT_SYSTEM_CRC32_STREAM_H

#include <cstddef>
#include <cstdint>

#include "loomkit/platform/export.h"

/// A running CRC-32. It is a plain value: a copy goes on by itself from where the
/// computation stands. Nothing fails or throws. One thread at a time uses an object.
class LOOMKIT_API GCRC32Stream {
 public:
  /// Adds `size` bytes, which stay the caller's.
  void update(const void* data, std::size_t size);

  /// The checksum of all data so far; 0 at first.
  [[nodiscard]] std::uint32_t get() const { return ~state; }

 private:
  std::uint32_t state = 0xFFFFFFFF;
};

#endif  // LOOMKIT_SYSTEM_CRC32_STREAM_H
