// SPDX-License-Identifier: MIT
// The memo file (.FPT) on the disk: the only place that knows the offsets. A
// header, then blocks of one size; a memo begins on a block and takes as many as
// it needs. docs/formats/fpt.md has the same with an example. Numbers are
// big-endian.
#ifndef LOOMKIT_XBASE_FPT_LAYOUT_H
#define LOOMKIT_XBASE_FPT_LAYOUT_H

#include <cstddef>
#include <cstdint>

#include "loomkit/text/binary.h"

namespace loomkit::xbase::fpt {

namespace header {
inline constexpr Be32 nextFree{0};  ///< the number of the block behind the last memo
/// 0, or 1 for blocks of 64 KiB, whose size does not fit the next field.
inline constexpr Be16 blockSizeHigh{nextFree.end()};
inline constexpr Be16 blockSize{blockSizeHigh.end()};
inline constexpr std::size_t usedSize = blockSize.end();
inline constexpr std::size_t size = 512;
static_assert(usedSize == 8);
}  // namespace header

/// In front of a memo's bytes.
namespace entry {
inline constexpr Be32 type{0};
inline constexpr Be32 length{type.end()};
inline constexpr std::size_t size = length.end();
}  // namespace entry

inline constexpr std::uint32_t typeText = 1;
inline constexpr std::uint32_t largestBlock = 0x10000;

/// The number of the first block that a memo may begin at.
constexpr std::uint32_t firstBlock(std::uint32_t blockSize) {
  return blockSize > header::size ? 1 : static_cast<std::uint32_t>(header::size / blockSize);
}
static_assert(firstBlock(512) == 1 && firstBlock(1) == 512 && firstBlock(1024) == 1);

/// How many blocks a memo of `length` bytes takes.
constexpr std::uint64_t blocksFor(std::uint64_t length, std::uint32_t blockSize) {
  return (blockSize + length + entry::size - 1) / blockSize;
}
static_assert(blocksFor(504, 512) == 1 && blocksFor(505, 512) == 2 && blocksFor(0, 1) == 8);

}  // namespace loomkit::xbase::fpt

#endif  // LOOMKIT_XBASE_FPT_LAYOUT_H
