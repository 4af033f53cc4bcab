// SPDX-License-Identifier: MIT
// Files and directories as the world has them: odd names, no rights, no end.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

#include "loomkit/streams/directory.h"
#include "loomkit/streams/file.h"
#include "tests/capture_output.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

std::string contentOf(GFile& file) {
  const std::unique_ptr<std::istream> in(file.getInStream(true));
  if (in == nullptr) return "(cannot be opened)";
  std::string text;
  char block[100];
  while (in->read(block, sizeof block) || in->gcount() > 0) {
    text.append(block, static_cast<std::size_t>(in->gcount()));
  }
  return text;
}

const std::vector<std::string> oddNames = {"a b",
                                           "a:b",
                                           "a\nb",
                                           "\xff\xfe",
                                           "\xc3\xa4",
                                           "'\"`$(x)",
                                           "-rf",
                                           "*",
                                           "a;b",
                                           "#",
                                           std::string(255, 'n'),
                                           "C:",
                                           "..hidden.",
                                           "a..b",
                                           "%41",
                                           " "};

TEST(OddFiles, AreWrittenReadListedRenamedAndRemoved) {
  const CaptureOutput output;
  for (const std::string& name : oddNames) {
    const ScratchDirectory scratch;
    GFile file(scratch / name);
    {
      const std::unique_ptr<std::ostream> out(file.getOutStream(true));
      ASSERT_NE(out, nullptr) << name;
      *out << "content";
    }
    EXPECT_EQ(contentOf(file), "content") << name;
    // The disk is searched for each component, and '*' finds any name.
    if (name != "*") {
      EXPECT_EQ(file.getRealPath(),
                std::filesystem::canonical(scratch.path()).string() + "/" + name);
    }
    EXPECT_EQ(GFile::pathFromURL(file.getURL()), scratch / name);
    GDirectory directory(scratch.path());
    const char* listed = directory.first(false);
    ASSERT_NE(listed, nullptr);
    EXPECT_EQ(std::string(listed), name);
    EXPECT_TRUE(directory.close(false));
    EXPECT_TRUE(file.rename(scratch / "plain"));
    EXPECT_EQ(contentOf(file), "content");
    EXPECT_TRUE(file.rename(scratch / name));
    EXPECT_TRUE(file.remove());
    EXPECT_FALSE(std::filesystem::exists(scratch / name));
  }
  EXPECT_EQ(output.texts(), std::vector<std::string>{});
}

// A backslash separates, on every system.
TEST(OddFiles, ANameWithABackslashCannotBeReached) {
  const ScratchDirectory scratch;
  std::ofstream(scratch / "a\\b") << "unreachable";
  GFile file(scratch / "a\\b");
  EXPECT_FALSE(file.exists());
  EXPECT_EQ(file.getInStream(true), nullptr);
  std::filesystem::create_directory(scratch / "a");
  scratch.write("a/b", "reached");
  EXPECT_EQ(contentOf(file), "reached");
}

TEST(OddFiles, MayBeEmptyOrHuge) {
  const ScratchDirectory scratch;
  GFile empty(scratch.write("empty"));
  EXPECT_EQ(contentOf(empty), "");
  constexpr std::int64_t size = std::int64_t{5} << 30;
  GFile huge(scratch.writeSparse("huge", size));
  const std::unique_ptr<std::istream> in(huge.getInStream(true));
  ASSERT_NE(in, nullptr);
  in->seekg(size - 1);
  EXPECT_EQ(in->get(), 0);
  EXPECT_EQ(in->get(), EOF);
}

TEST(OddFiles, MayVanishWhileTheyAreRead) {
  const ScratchDirectory scratch;
  GFile file(scratch.write("f", "content"));
  const std::unique_ptr<std::istream> in(file.getInStream(true));
  EXPECT_TRUE(file.remove());
  std::string text;
  *in >> text;
  EXPECT_EQ(text, "content") << "who has it open keeps it";
  EXPECT_EQ(contentOf(file), "(cannot be opened)");
  EXPECT_TRUE(file.remove()) << "it is gone, which was wanted";
}

TEST(OddFiles, MayBeNoFiles) {
  const ScratchDirectory scratch;
  GFile directory(scratch.path());
  EXPECT_EQ(directory.getInStream(true), nullptr);
  EXPECT_EQ(directory.getOutStream(true), nullptr);
  GFile below(scratch.write("f") + "/below");
  EXPECT_EQ(below.getInStream(true), nullptr);
  EXPECT_EQ(below.getOutStream(true), nullptr);
  EXPECT_FALSE(below.exists());
}

// The superuser may read everything, so that there is nothing to see for it.
TEST(OddFiles, MayBeForbidden) {
  const ScratchDirectory scratch;
  const std::string path = scratch.write("f", "secret");
  ASSERT_EQ(::chmod(path.c_str(), 0), 0);
  GFile file(path);
  const bool allowed = ::access(path.c_str(), R_OK) == 0;
  EXPECT_EQ(file.isReadable(), allowed);
  EXPECT_EQ(contentOf(file), allowed ? "secret" : "(cannot be opened)");
}

TEST(OddFiles, MayHaveATooLongName) {
  const ScratchDirectory scratch;
  GFile file(scratch / std::string(256, 'n'));
  EXPECT_EQ(file.getOutStream(true), nullptr);
  std::string deep = scratch.path();
  while (deep.size() < 5000) deep += "/directory";
  GFile path(deep);
  EXPECT_EQ(path.getOutStream(true), nullptr);
}

}  // namespace
}  // namespace loomkit::testing
