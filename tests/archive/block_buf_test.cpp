// SPDX-License-Identifier: MIT
// BlockBuf beside a string: reads and leaps of any size.
#include "loomkit/archive/block_buf.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>

#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

TEST(BlockBuf, ReadsAndLeapsLikeAString) {
  const ScratchDirectory scratch;
  std::mt19937 random(5);
  std::string bytes(400000, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  const std::string path = scratch.write("bytes", bytes);
  for (int round = 0; round < 200; ++round) {
    std::ifstream file(path, std::ios::binary);
    file.seekg(1000);
    DirectoryStream stream(file, 1000);
    std::size_t at = 1000;
    while (at < bytes.size()) {
      ASSERT_EQ(stream.position(), static_cast<std::streamoff>(at));
      const std::size_t most[] = {60, 5000, 70000, 200000};
      const std::size_t count = random() % most[random() % 4];
      switch (random() % 3) {
        case 0: {
          std::string read(count, '\0');
          stream.get().read(read.data(), static_cast<std::streamsize>(count));
          ASSERT_EQ(read.substr(0, static_cast<std::size_t>(stream.get().gcount())),
                    bytes.substr(at, count));
          ASSERT_EQ(stream.get().good(), at + count <= bytes.size());
          break;
        }
        case 1:
          ASSERT_TRUE(stream.get().seekg(static_cast<std::streamoff>(count), std::ios::cur));
          break;
        default:
          ASSERT_TRUE(stream.get().seekg(static_cast<std::streamoff>(at + count)));
      }
      at += count;
    }
  }
}

TEST(BlockBuf, GoesForwardOnly) {
  const ScratchDirectory scratch;
  std::ifstream file(scratch.write("bytes", "0123456789"), std::ios::binary);
  BlockBuf buffer(file.rdbuf(), 0);
  EXPECT_EQ(buffer.pubseekpos(5), std::streampos(5));
  EXPECT_EQ(buffer.pubseekoff(-1, std::ios::cur), std::streampos(-1));
  EXPECT_EQ(buffer.pubseekpos(4), std::streampos(-1));
  EXPECT_EQ(buffer.pubseekoff(0, std::ios::end), std::streampos(-1));
  EXPECT_EQ(buffer.sbumpc(), '5');
  EXPECT_EQ(buffer.pubseekoff(8, std::ios::beg), std::streampos(8));
  EXPECT_EQ(buffer.sbumpc(), '8');
}

}  // namespace
}  // namespace loomkit::testing
