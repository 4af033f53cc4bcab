// SPDX-License-Identifier: MIT
// Extension: GCRC32Stream, the checksum of GCRC32 over data that comes piece by
// piece.
#ifndef LOOMKIT_SYSTEM_CRC32_STREAM_H
#define LOOMKIT_SYSTEM_CRC32_STREAM_H

#include <cstddef>
#include <cstdint>

#include "loomkit/platform/export.h"

/// A running CRC-32. A plain value; copying it forks the computation.
class LOOMKIT_API GCRC32Stream {
 public:
  /// Adds `size` bytes.
  void update(const void* data, std::size_t size);

  /// The checksum of all data so far; 0 at first.
  [[nodiscard]] std::uint32_t get() const { return ~state; }

 private:
  std::uint32_t state = 0xFFFFFFFF;
};

#endif  // LOOMKIT_SYSTEM_CRC32_STREAM_H
