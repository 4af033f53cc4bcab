// SPDX-License-Identifier: MIT
// What GAtomicFile makes of rights, links, limits and signals of POSIX systems.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "loomkit/streams/atomic_file.h"
#include "tests/file_size_limit.h"
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

TEST(GAtomicFile, ANewFileHasTheRightsThatTheMaskLeaves) {
  const ScratchDirectory scratch;
  GAtomicFile file(scratch / "new");
  EXPECT_TRUE(file.commit());
  const mode_t mask = ::umask(0);
  ::umask(mask);
  EXPECT_EQ(rightsOf(scratch / "new"), 0666 & ~mask);
}

TEST(GAtomicFile, KeepsTheRightsOfTheFileThatItReplaces) {
  const ScratchDirectory scratch;
  const std::string path = scratch.write("old", "old");
  ::chmod(path.c_str(), 0640);
  GAtomicFile file(path);
  EXPECT_TRUE(file.commit());
  EXPECT_EQ(rightsOf(path), 0640U);
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

timespec modificationTimeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0);
  return status.st_mtim;
}

TEST(GAtomicFile, AFileMadeLikeAnotherIsNeverMoreOpen) {
  const ScratchDirectory scratch;
  scratch.write("model", "private");
  ::chmod((scratch / "model").c_str(), 04640);
  const timespec times[] = {{1000, 0}, {2000, 500}};
  ::utimensat(AT_FDCWD, (scratch / "model").c_str(), times, 0);
  scratch.write("there", "open to all");
  ::chmod((scratch / "there").c_str(), 0666);
  for (const char* const name : {"new", "there"}) {
    GAtomicFile::Options options;
    options.likeFile = scratch / "model";
    GAtomicFile file(scratch / name, options);
    ASSERT_TRUE(file.isOpen());
    file.out() << "copy" << std::flush;
    for (const auto& entry : fs::directory_iterator(scratch.path())) {
      if (entry.path().filename().string()[0] != '.') continue;
      EXPECT_EQ(rightsOf(entry.path()), 0600U) << "nobody else reads what is not complete";
    }
    ASSERT_TRUE(file.commit()) << file.getErrMsg();
    EXPECT_EQ(rightsOf(scratch / name), 0640U) << "without the set-user-id bit";
    EXPECT_EQ(modificationTimeOf(scratch / name).tv_sec, 2000);
    EXPECT_EQ(modificationTimeOf(scratch / name).tv_nsec, 500);
  }
}

TEST(GAtomicFile, CanReplaceALinkItself) {
  const ScratchDirectory scratch;
  scratch.write("elsewhere", "old");
  fs::create_symlink("elsewhere", scratch / "link");
  GAtomicFile::Options options;
  options.followLinks = false;
  options.sync = false;
  GAtomicFile file(scratch / "link", options);
  file.out() << "new";
  ASSERT_TRUE(file.commit());
  EXPECT_FALSE(fs::is_symlink(scratch / "link"));
  EXPECT_EQ(scratch.read("link"), "new");
  EXPECT_EQ(scratch.read("elsewhere"), "old");
}

TEST(GAtomicFile, ASignalHandlerLeavesNothingBehind) {
  const ScratchDirectory scratch;
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    std::signal(SIGTERM, [](int) {
      GAtomicFile::discardAll();
      ::_exit(7);
    });
    GAtomicFile file(scratch / "target");
    file.out() << "half" << std::flush;
    std::raise(SIGTERM);
    ::_exit(8);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(WEXITSTATUS(status), 7);
  EXPECT_EQ(filesIn(scratch), 0U);
}

}  // namespace
}  // namespace loomkit::testing
