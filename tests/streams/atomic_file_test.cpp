// SPDX-License-Identifier: MIT
#include "loomkit/streams/atomic_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

namespace fs = std::filesystem;

std::size_t filesIn(const ScratchDirectory& scratch) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(scratch.path()), fs::directory_iterator()));
}

mode_t rightsOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0);
  return status.st_mode & 07777;
}

// A limit on the size of files stands in for a full disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : handler(std::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &before);
    rlimit now = before;
    now.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &now);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
  }

 private:
  rlimit before{};
  void (*handler)(int);
};

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
  const mode_t mask = ::umask(0);
  ::umask(mask);
  EXPECT_EQ(rightsOf(scratch / "new"), 0666 & ~mask);
}

TEST(GAtomicFile, ReplacesAFileAndKeepsItsRights) {
  const ScratchDirectory scratch;
  const std::string path = scratch.write("old", "old");
  ::chmod(path.c_str(), 0640);
  GAtomicFile file(path);
  file.out() << "new";
  EXPECT_EQ(scratch.read("old"), "old");
  EXPECT_TRUE(file.commit());
  EXPECT_EQ(scratch.read("old"), "new");
  EXPECT_EQ(rightsOf(path), 0640U);
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

TEST(GAtomicFile, FollowsLinks) {
  const ScratchDirectory scratch;
  scratch.write("target", "old");
  fs::create_symlink("target", scratch / "link");
  GAtomicFile file(scratch / "link");
  file.out() << "new";
  EXPECT_TRUE(file.commit());
  EXPECT_TRUE(fs::is_symlink(scratch / "link"));
  EXPECT_EQ(scratch.read("target"), "new");
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

TEST(GAtomicFile, RefusesWhatIsNoFile) {
  const ScratchDirectory scratch;
  ::mkfifo((scratch / "pipe").c_str(), 0600);
  struct Case {
    std::string path;
    const char* reason;
  };
  for (const Case& c :
       {Case{scratch.path(), "Is a directory"}, Case{scratch / "pipe", "Invalid argument"},
        Case{"/dev/null", "Invalid argument"},
        Case{scratch / "missing/f", "No such file or directory"}}) {
    GAtomicFile file(c.path);
    EXPECT_FALSE(file.isOpen());
    EXPECT_FALSE(file.out());
    EXPECT_FALSE(file.commit());
    EXPECT_EQ(file.getErrMsg(), c.path + ": " + c.reason);
  }
  EXPECT_EQ(filesIn(scratch), 1U);
}

TEST(GAtomicFile, KeepsTheOldFileWhenTheDiskIsFull) {
  const ScratchDirectory scratch;
  const std::string path = scratch.write("old", "old");
  for (const std::size_t size : {5000U, 100000U, 1000000U}) {
    GAtomicFile file(path);
    bool committed = true;
    {
      const FileSizeLimit limit(4096);
      file.out() << std::string(size, 'x') << "tail";
      committed = file.commit();
    }
    EXPECT_FALSE(committed) << size;
    EXPECT_EQ(file.getErrMsg(), path + ": File too large");
    EXPECT_EQ(scratch.read("old"), "old");
    EXPECT_EQ(filesIn(scratch), 1U);
  }
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

}  // namespace
}  // namespace loomkit::testing
