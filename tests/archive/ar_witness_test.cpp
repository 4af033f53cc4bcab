// SPDX-License-Identifier: MIT
// Archives that other programs made, and the archives of this machine.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "loomkit/archive/ar_reader.h"
#include "tests/capture_output.h"
#include "tests/scratch_directory.h"
#include "tests/witness.h"

namespace loomkit::testing {
namespace {

std::map<std::string, std::string> contentOf(const std::string& path) {
  GArReader reader;
  EXPECT_TRUE(reader.open(path));
  std::map<std::string, std::string> content;
  for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
    std::ostringstream text;
    EXPECT_TRUE(reader.readEntry(i->second, &text));
    content[i->first] = text.str();
  }
  return content;
}

class ArWitness : public ::testing::Test {
 protected:
  void SetUp() override {
    scratch.write("a", "even");
    scratch.write("odd", "odd");
    scratch.write("empty");
    scratch.write("a name beyond 16 letters", std::string(5000, 'x'));
  }

  void make(const std::string& command) {
    const Witnessed made = runShell("cd " + scratch.path() + " && " + command + " 2>&1");
    ASSERT_EQ(made, (Witnessed{0, ""})) << command;
  }

  ScratchDirectory scratch;
  CaptureOutput output;
  const std::map<std::string, std::string> shortNames = {
      {"a", "even"}, {"odd", "odd"}, {"empty", ""}};
};

TEST_F(ArWitness, ReadsWhatArWrites) {
  make("ar qcS x.ar a odd empty");
  std::map<std::string, std::string> expected;
  for (const auto& [name, text] : shortNames) expected[name + "/"] = text;
  EXPECT_EQ(contentOf(scratch / "x.ar"), expected);
  make("ar qcS long.ar a 'a name beyond 16 letters'");
  const auto content = contentOf(scratch / "long.ar");
  EXPECT_EQ(content.at("/0"), std::string(5000, 'x')) << "this dialect's names stay as they are";
  EXPECT_EQ(content.at("//"), "a name beyond 16 letters/\n");
}

TEST_F(ArWitness, ReadsTheLongNamesOfLlvmAr) {
  make("llvm-ar --format=bsd qcS x.ar a odd empty 'a name beyond 16 letters'");
  const auto content = contentOf(scratch / "x.ar");
  // It pads names with zero bytes to align the data.
  std::map<std::string, std::string> trimmed;
  for (const auto& [name, text] : content) trimmed[name.c_str()] = text;
  std::map<std::string, std::string> expected = shortNames;
  expected["a name beyond 16 letters"] = std::string(5000, 'x');
  EXPECT_EQ(trimmed, expected);
}

TEST_F(ArWitness, ReadsTheLongNamesOfBsdtar) {
  make("bsdtar --format arbsd -cf x.ar a odd empty 'a name beyond 16 letters'");
  std::map<std::string, std::string> expected = shortNames;
  expected["a name beyond 16 letters"] = std::string(5000, 'x');
  EXPECT_EQ(contentOf(scratch / "x.ar"), expected);
}

TEST_F(ArWitness, ReadsADebianPackage) {
  make(
      "mkdir -p p/DEBIAN p/usr/share/doc/p && cp odd p/usr/share/doc/p/ &&"
      " printf 'Package: p\\nVersion: 1\\nArchitecture: all\\nMaintainer: m <m@p.invalid>\\n"
      "Description: d\\n' > p/DEBIAN/control && dpkg-deb -Zgzip --build p p.deb >/dev/null");
  const auto content = contentOf(scratch / "p.deb");
  ASSERT_EQ(content.size(), 3U);
  EXPECT_EQ(content.at("debian-binary"), "2.0\n");
  scratch.write("data.tar.gz", content.at("data.tar.gz"));
  EXPECT_EQ(runShell("tar -xzOf " + scratch / "data.tar.gz" + " ./usr/share/doc/p/odd"),
            (Witnessed{0, "odd"}));
}

// Every member of every static library of the machine, next to what ar says of it.
TEST_F(ArWitness, AgreesWithArOnTheLibrariesOfTheMachine) {
  std::size_t archives = 0;
  for (const auto& file : std::filesystem::recursive_directory_iterator(
           "/usr/lib/gcc", std::filesystem::directory_options::skip_permission_denied)) {
    if (file.path().extension() != ".a" || file.is_symlink()) continue;
    const std::string path = file.path().string();
    GArReader reader;
    ASSERT_TRUE(reader.open(path));
    // ar names neither the symbol table nor the table of long names.
    const std::string members = runShell("ar t '" + path + "' | sort -u | wc -l").output;
    unsigned tables = 0;
    for (const char* table : {"/", "//"}) tables += reader.getEntry(table) != nullptr ? 1U : 0U;
    EXPECT_EQ(std::to_string(reader.getEntryCount() - tables) + "\n", members) << path;
    ++archives;
  }
  EXPECT_GT(archives, 0U);
}

}  // namespace
}  // namespace loomkit::testing
