// SPDX-License-Identifier: MIT
// GCRC32: the CRC-32 of IEEE 802.3 over one block.
//
//   GCRC32().get("123456789", 9);   // 0xCBF43926
#ifndef LOOMKIT_SYSTEM_CRC32_H
#define LOOMKIT_SYSTEM_CRC32_H

#include <cstdint>
#include <string>

#include "loomkit/platform/export.h"

/// Computes checksums, with a table of its own that the constructor builds. Each get()
/// stands alone: for data that come piece by piece there is GCRC32Stream. Nothing
/// fails or throws. Several threads can use an object at once.
class LOOMKIT_API GCRC32 {
 public:
  /// Builds the table.
  GCRC32();

  /// The checksum of `size` bytes; 0 for a size of 0 or less.
  unsigned long get(const void* data, int size) const;

  /// The checksum of the text's bytes.
  unsigned long get(const std::string& text) const;

 private:
  std::uint32_t table[256];
};

#endif  // LOOMKIT_SYSTEM_CRC32_H
