// SPDX-License-Identifier: MIT
// FramePool: the memory that blocks of a file are read into.
#ifndef TESSEL_STORE_FRAME_POOL_H
#define TESSEL_STORE_FRAME_POOL_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "loomkit/platform/large_pages.h"

namespace tessel {

/// Hands out frames of the size of a block, which live as long as the pool.
///
/// A large file's frames come from large pages: a lookup touches a handful of
/// places far from each other, and with small pages the search for each place's
/// page costs as much as the place itself. The first frames are single blocks of
/// memory all the same, so that whoever looks up a row or two pays for no more.
class FramePool {
 public:
  /// For a file of so many blocks.
  void prepare(std::uint32_t blockCount) { usesLargePages = blockCount >= fewestForLargePages; }

  /// Null when there is no memory.
  unsigned char* take();

 private:
  static constexpr std::size_t singleFrames = 64;
  // 4 MiB, so that a large page is never more than half of the file.
  static constexpr std::uint32_t fewestForLargePages = 256;

  struct LargeFree {
    void operator()(unsigned char* page) const {
      ::operator delete (page, std::align_val_t{loomkit::platform::largePageSize});
    }
  };

  unsigned char* takeSingle();
  unsigned char* takeOfLargePage();

  bool usesLargePages = false;
  std::vector<std::unique_ptr<unsigned char[]>> singles;
  std::vector<std::unique_ptr<unsigned char, LargeFree>> pages;
  std::size_t room = 0;  // frames of the last page that nobody has
};

}  // namespace tessel

#endif  // TESSEL_STORE_FRAME_POOL_H
