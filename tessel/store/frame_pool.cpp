// SPDX-License-Identifier: MIT
#include "tessel/store/frame_pool.h"

#include <utility>

#include "tessel/store/layout.h"

namespace tessel {

namespace {

constexpr std::size_t pageSize = loomkit::platform::largePageSize;
constexpr std::size_t framesPerPage = pageSize / layout::blockSize;

}  // namespace

unsigned char* FramePool::take() {
  try {
    return usesLargePages && singles.size() >= singleFrames ? takeOfLargePage() : takeSingle();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

unsigned char* FramePool::takeSingle() {
  // Not filled with zeros: a block is read over it.
  singles.push_back(std::make_unique_for_overwrite<unsigned char[]>(layout::blockSize));
  return singles.back().get();
}

unsigned char* FramePool::takeOfLargePage() {
  if (room == 0) {
    std::unique_ptr<unsigned char, LargeFree> page(
        static_cast<unsigned char*>(::operator new (pageSize, std::align_val_t{pageSize})));
    loomkit::platform::preferLargePages(page.get(), pageSize);
    pages.push_back(std::move(page));
    room = framesPerPage;
  }
  --room;
  return pages.back().get() + room * layout::blockSize;
}

}  // namespace tessel
