// SPDX-License-Identifier: MIT
#include "tessel/store/frame_pool.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tessel/store/layout.h"

namespace {

using tessel::FramePool;
using tessel::layout::blockSize;

// Small files and large ones: frames from large pages begin behind the first 64.
TEST(TesselFramePool, GivesEachFrameToOneOwnerOnly) {
  for (const std::uint32_t blockCount : {255U, 256U}) {
    FramePool pool;
    pool.prepare(blockCount);
    std::vector<unsigned char*> frames;
    for (int i = 0; i < 400; ++i) {
      frames.push_back(pool.take());
      ASSERT_NE(frames.back(), nullptr);
      std::memset(frames.back(), i % 251, blockSize);
    }
    for (int i = 0; i < 400; ++i)
      ASSERT_EQ(std::string(frames[static_cast<std::size_t>(i)],
                            frames[static_cast<std::size_t>(i)] + blockSize),
                std::string(blockSize, static_cast<char>(i % 251)))
          << blockCount << ", " << i;
  }
}

}  // namespace
