// SPDX-License-Identifier: MIT
// Archives that strangers published: a package of Debian's, which
// scripts/setup.sh has fetched to build/real, and the jar that it installs.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "loomkit/archive/ar_reader.h"
#include "loomkit/archive/zip/zip_reader.h"
#include "tests/capture_output.h"
#include "tests/witness.h"

namespace loomkit::testing {
namespace {

namespace fs = std::filesystem;

std::string quoted(const std::string& path) { return "'" + path + "'"; }

TEST(RealArchives, EveryMemberOfADebianPackageIsReadAsArReadsIt) {
  const CaptureOutput output;
  int packages = 0;
  for (const auto& file : fs::directory_iterator(LOOMKIT_SOURCE_DIR "/build/real")) {
    if (file.path().extension() != ".deb") continue;
    ++packages;
    const std::string path = file.path().string();
    GArReader reader;
    ASSERT_TRUE(reader.open(path));
    std::string names;
    for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
      const auto& [name, entry] = *i;
      names += name + "\n";
      std::ostringstream text;
      EXPECT_TRUE(reader.readEntry(entry, &text));
      EXPECT_EQ(runShell("ar p " + quoted(path) + " " + quoted(name)).output, text.str()) << name;
    }
    EXPECT_EQ(names, runShell("ar t " + quoted(path) + " | LC_ALL=C sort").output);
    EXPECT_NE(names.find("debian-binary"), std::string::npos);
  }
  EXPECT_GT(packages, 0) << "scripts/setup.sh test fetches one";
  EXPECT_TRUE(output.lines.empty());
}

TEST(RealArchives, EveryMemberOfAJarIsReadAsUnzipReadsIt) {
  const CaptureOutput output;
  const std::string path = "/usr/share/java/jsr305.jar";
  GZipReader reader;
  ASSERT_TRUE(reader.open(path));
  std::string names;
  for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
    const auto& [name, entry] = *i;
    names += name + "\n";
    if (!entry->isFile() || entry->getUncomprSize() == 0) continue;
    std::ostringstream text;
    EXPECT_TRUE(reader.readEntry(entry, &text, false));
    EXPECT_EQ(runShell("unzip -p " + path + " " + quoted(name)).output, text.str()) << name;
  }
  EXPECT_EQ(names, runShell("unzip -Z1 " + path + " | LC_ALL=C sort").output);
  EXPECT_NE(names.find("META-INF/MANIFEST.MF"), std::string::npos);
  EXPECT_TRUE(output.lines.empty());
}

}  // namespace
}  // namespace loomkit::testing
