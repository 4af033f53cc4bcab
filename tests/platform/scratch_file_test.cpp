// SPDX-License-Identifier: MIT
#include "loomkit/platform/scratch_file.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "loomkit/platform/hul.h"
#include "tests/scratch_directory.h"

namespace {

using loomkit::platform::ScratchFile;
using loomkit::testing::ScratchDirectory;

// `size` bytes from `offset` on, or the status.
std::string readFrom(const ScratchFile& file, std::uint64_t offset, std::size_t size) {
  std::string bytes(size, '?');
  const int status = file.read(offset, bytes.data(), size);
  return status == 0 ? bytes : "status " + std::to_string(status);
}

bool isEmpty(const std::string& directory) { return std::filesystem::is_empty(directory); }

TEST(ScratchFile, GivesBackWhatWasWritten) {
  const ScratchDirectory scratch;
  ScratchFile file;
  EXPECT_FALSE(file.isOpen());
  ASSERT_EQ(file.create(scratch / "target"), 0);
  EXPECT_TRUE(file.isOpen());
  EXPECT_EQ(file.write(0, "one two", 7), 0);
  EXPECT_EQ(file.write(4, "TWO", 3), 0) << "over what is there";
  EXPECT_EQ(readFrom(file, 0, 7), "one TWO");
  EXPECT_EQ(readFrom(file, 2, 3), "e T");
  EXPECT_EQ(readFrom(file, 0, 0), "");
}

TEST(ScratchFile, HasNoNameWhileItIsOpenAndNoneAfterwards) {
  const ScratchDirectory scratch;
  std::filesystem::create_directory(scratch / "in");
  {
    ScratchFile file;
    ASSERT_EQ(file.create(scratch / "in/target"), 0);
    ASSERT_EQ(file.write(0, "bytes", 5), 0);
    EXPECT_TRUE(isEmpty(scratch / "in"));
  }
  EXPECT_TRUE(isEmpty(scratch / "in"));
}

TEST(ScratchFile, HoldsWhatLiesFarOut) {
  const ScratchDirectory scratch;
  ScratchFile file;
  ASSERT_EQ(file.create(scratch / "target"), 0);
  constexpr std::uint64_t far = std::uint64_t{5} << 30;
  ASSERT_EQ(file.write(far, "end", 3), 0) << "a file of holes, that takes no room";
  EXPECT_EQ(readFrom(file, far, 3), "end");
  EXPECT_EQ(readFrom(file, far - 2, 5), std::string("\0\0end", 5));
}

TEST(ScratchFile, FailsToReadBeyondItsEnd) {
  const ScratchDirectory scratch;
  ScratchFile file;
  ASSERT_EQ(file.create(scratch / "target"), 0);
  ASSERT_EQ(file.write(0, "bytes", 5), 0);
  char byte = 0;
  EXPECT_LT(file.read(5, &byte, 1), 0);
  EXPECT_EQ(errno, EIO);
  char all[6];
  EXPECT_LT(file.read(0, all, sizeof all), 0) << "a part is not enough";
}

TEST(ScratchFile, TwoOfANeighbourAreTwoFiles) {
  const ScratchDirectory scratch;
  ScratchFile first;
  ScratchFile second;
  ASSERT_EQ(first.create(scratch / "target"), 0);
  ASSERT_EQ(second.create(scratch / "target"), 0);
  EXPECT_EQ(first.write(0, "first", 5), 0);
  EXPECT_EQ(second.write(0, "other", 5), 0);
  EXPECT_EQ(readFrom(first, 0, 5), "first");
  EXPECT_EQ(readFrom(second, 0, 5), "other");
}

TEST(ScratchFile, ANeighbourWithoutADirectoryIsInTheWorkingDirectory) {
  const ScratchDirectory scratch;
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(scratch / "");
  ScratchFile file;
  EXPECT_EQ(file.create("target"), 0);
  EXPECT_EQ(file.write(0, "x", 1), 0);
  EXPECT_TRUE(isEmpty("."));
  std::filesystem::current_path(before);
}

TEST(ScratchFile, IsNotMadeWhereThereIsNoDirectory) {
  const ScratchDirectory scratch;
  ScratchFile file;
  EXPECT_LT(file.create(scratch / "none/target"), 0);
  EXPECT_FALSE(file.isOpen());
  EXPECT_LT(file.write(0, "x", 1), 0);
  char byte = 0;
  EXPECT_LT(file.read(0, &byte, 1), 0);
}

}  // namespace
