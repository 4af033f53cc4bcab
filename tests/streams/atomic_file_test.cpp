// SPDX-License-Identifier: MIT
#include "loomkit/streams/atomic_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <vector>

#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

namespace fs = std::filesystem;

std::size_t filesIn(const ScratchDirectory& scratch) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(scratch.path()), fs::directory_iterator()));
}

TEST(GAtomicFile, MakesAFile) {
  const ScratchDirectory scratch;
  GAtomicFile file(scratch / "new");
  ASSERT_TRUE(file.isOpen());
  file.out() << "text\r\n" << std::string(1000, 'x');
  EXPECT_FALSE(fs::exists(scratch / "new")) << "not before commit()";
  EXPECT_TRUE(file.commit());
  EXPECT_FALSE(file.isOpen());
  EXPECT_EQ(scratch.read("new"), "text\r\n" + std::string(1000, 'x'));
  EXPECT_EQ(filesIn(scratch), 1U);
  EXPECT_EQ(file.getErrMsg(), "");
}

TEST(GAtomicFile, ReplacesAFile) {
  const ScratchDirectory scratch;
  const std::string path = scratch.write("old", "old");
  GAtomicFile file(path);
  file.out() << "new";
  EXPECT_EQ(scratch.read("old"), "old");
  EXPECT_TRUE(file.commit());
  EXPECT_EQ(scratch.read("old"), "new");
}

TEST(GAtomicFile, WritesWhateverSizeInWhateverSteps) {
  const ScratchDirectory scratch;
  std::string expected;
  GAtomicFile file(scratch / "f");
  for (const std::size_t size : {0U, 1U, 65535U, 65536U, 65537U, 3U, 200000U, 10U}) {
    const std::string text(size, static_cast<char>('a' + expected.size() % 26));
    file.out() << text;
    file.out().put('\n');
    expected += text + '\n';
  }
  EXPECT_TRUE(file.commit());
  EXPECT_EQ(scratch.read("f"), expected);
}

TEST(GAtomicFile, CanGoBackAndForth) {
  const ScratchDirectory scratch;
  GAtomicFile file(scratch / "f");
  file.out() << "0123456789";
  EXPECT_EQ(file.out().tellp(), std::streampos(10));
  file.out().seekp(2) << "ab";
  file.out().seekp(3, std::ios::cur) << "c";
  EXPECT_TRUE(file.out().seekp(10));
  file.out() << "end";
  EXPECT_TRUE(file.commit());
  EXPECT_EQ(scratch.read("f"), "01ab456c89end");
  GAtomicFile other(scratch / "g");
  EXPECT_FALSE(other.out().seekp(0, std::ios::end));
}

TEST(GAtomicFile, LeavesNothingBehindWithoutCommit) {
  const ScratchDirectory scratch;
  const std::string path = scratch.write("old", "old");
  { GAtomicFile(path).out() << "new"; }
  GAtomicFile file(path);
  file.out() << "new";
  file.discard();
  EXPECT_FALSE(file.isOpen());
  file.out() << "more" << std::flush;
  EXPECT_FALSE(file.out());
  EXPECT_FALSE(file.commit());
  EXPECT_EQ(file.getErrMsg(), path + ": nothing to commit");
  EXPECT_EQ(scratch.read("old"), "old");
  EXPECT_EQ(filesIn(scratch), 1U);
}

TEST(GAtomicFile, CommitsOnce) {
  const ScratchDirectory scratch;
  GAtomicFile file(scratch / "f");
  EXPECT_TRUE(file.commit());
  EXPECT_FALSE(file.commit());
  EXPECT_EQ(file.getErrMsg(), scratch / "f" + ": nothing to commit");
  EXPECT_EQ(scratch.read("f"), "");
}

TEST(GAtomicFile, AStreamThatItsUserFailedIsNotCommitted) {
  const ScratchDirectory scratch;
  const std::string path = scratch.write("old", "old");
  GAtomicFile file(path);
  file.out() << "half";
  file.out().setstate(std::ios::failbit);
  EXPECT_FALSE(file.commit());
  EXPECT_EQ(file.getErrMsg(), path + ": the content could not be written");
  EXPECT_EQ(scratch.read("old"), "old");
  EXPECT_EQ(filesIn(scratch), 1U);
}

TEST(GAtomicFile, AModelThatIsGoneIsAFailure) {
  const ScratchDirectory scratch;
  GAtomicFile::Options options;
  options.likeFile = scratch / "none";
  GAtomicFile file(scratch / "new", options);
  EXPECT_FALSE(file.commit());
  EXPECT_EQ(filesIn(scratch), 0U);
}

TEST(GAtomicFile, AllThatIsUnfinishedCanBeDiscardedAtOnce) {
  const ScratchDirectory scratch;
  std::vector<std::unique_ptr<GAtomicFile>> files;
  // More than the table has room for at first.
  for (int i = 0; i < 100; ++i) {
    files.push_back(std::make_unique<GAtomicFile>(scratch / std::to_string(i)));
    files.back()->out() << i << std::flush;
  }
  ASSERT_TRUE(files[50]->commit());
  files[51]->discard();
  EXPECT_EQ(filesIn(scratch), 99U);
  GAtomicFile::discardAll();
  EXPECT_EQ(filesIn(scratch), 1U) << "only the one that was committed";
  EXPECT_FALSE(files[0]->commit()) << "it is gone";
  GAtomicFile later(scratch / "later");
  files.clear();
  EXPECT_TRUE(later.commit());
  EXPECT_EQ(filesIn(scratch), 2U);
}

}  // namespace
}  // namespace loomkit::testing
