// SPDX-License-Identifier: MIT
// Every system call of an extraction, and of the making of an archive, made to fail in
// turn: the files are the old ones or the new ones, and nothing else lies beside them.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <map>
#include <string>

#include "loomkit/archive/ar_extractor.h"
#include "loomkit/archive/zip/zip64_reader.h"
#include "loomkit/archive/zip/zip64_writer.h"
#include "loomkit/archive/zip/zip_extractor.h"
#include "loomkit/streams/atomic_file.h"
#include "tests/archive/ar_builder.h"
#include "tests/capture_output.h"
#include "tests/io_faults.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

namespace fs = std::filesystem;

constexpr char oldText[] = "old";

class ExtractionFault : public ::testing::TestWithParam<int> {
 protected:
  const std::map<std::string, std::string> texts = {
      {"a/one", std::string(100000, '1')}, {"a/b/two", "second"}, {"c/three", ""}};

  // Old files in the place of some of the new ones.
  void prepare() const {
    fs::remove_all(scratch / "out");
    fs::create_directories(scratch / "out/a");
    scratch.write("out/a/one", oldText);
  }

  void expectWholeFiles() const {
    EXPECT_FALSE(output.lines.empty());
    for (const auto& file : fs::recursive_directory_iterator(scratch / "out")) {
      if (file.is_directory()) continue;
      const std::string name = fs::relative(file.path(), scratch / "out").generic_string();
      const auto found = texts.find(name);
      ASSERT_NE(found, texts.end()) << name << " is left over";
      const std::string text = scratch.read("out/" + name);
      EXPECT_TRUE(text == found->second || (name == "a/one" && text == oldText)) << name;
    }
    EXPECT_TRUE(fs::exists(scratch / "out/a/one"));
  }

  bool write(std::ostream* out) const {
    GZip64Writer writer(out);
    writer.setCompression(true);
    for (const auto& [name, text] : texts) {
      std::size_t done = 0;
      const auto give = [&, &content = text](char* buffer, std::size_t size) {
        const std::size_t count = content.copy(buffer, size, done);
        done += count;
        return static_cast<std::int64_t>(count);
      };
      if (writer.writeFile(name, {}, give) != GZip64Writer::Done) return false;
    }
    return writer.close();
  }

  ScratchDirectory scratch;
  CaptureOutput output;
};

TEST_P(ExtractionFault, AZipArchiveIsExtractedOrItSaysWhatIsNot) {
  {
    GAtomicFile file(scratch / "a.zip");
    ASSERT_TRUE(write(&file.out()) && file.commit());
  }
  const auto extract = [&] {
    GZip64Reader reader;
    if (!reader.open(scratch / "a.zip")) return false;
    GZipExtractor extractor(&reader, scratch / "out");
    extractor.setOverwrite(true);
    return extractor.extractAll() == GZipExtractor::Done;
  };
  const int failures = failInTurn(
      GetParam(), extract,
      [&] {
        expectWholeFiles();
        output.lines.clear();
        prepare();
      },
      [&] { prepare(); });
  EXPECT_GE(failures, 20) << "openings, writings, links and renamings";
}

TEST_P(ExtractionFault, AnArArchiveIsExtractedOrItSaysWhatIsNot) {
  const std::string path =
      scratch.write("a.ar", arArchive(arMember("one", std::string(100000, '1')) +
                                      arMember("two", "second") + arMember("three", "")));
  const auto extract = [&] {
    GArMemberReader reader;
    if (!reader.open(path) || !reader.isWhole()) return false;
    GArExtractor extractor(&reader, scratch / "out/a");
    extractor.setOverwrite(true);
    return extractor.extractAll() == GArExtractor::Done;
  };
  const auto check = [&] {
    EXPECT_FALSE(output.lines.empty());
    output.lines.clear();
    for (const auto& file : fs::directory_iterator(scratch / "out/a")) {
      const std::string name = file.path().filename().string();
      const std::string text = scratch.read("out/a/" + name);
      EXPECT_TRUE((name == "one" && (text == std::string(100000, '1') || text == oldText)) ||
                  (name == "two" && text == "second") || (name == "three" && text.empty()))
          << name;
    }
    EXPECT_TRUE(fs::exists(scratch / "out/a/one"));
    prepare();
  };
  EXPECT_GE(failInTurn(GetParam(), extract, check, [&] { prepare(); }), 10);
}

TEST_P(ExtractionFault, ANewArchiveReplacesTheOldOneWhole) {
  fs::create_directory(scratch / "new");
  const auto prepareOld = [&] { scratch.write("new/a.zip", oldText); };
  const auto make = [&] {
    GAtomicFile file(scratch / "new/a.zip");
    return file.isOpen() && write(&file.out()) && file.commit();
  };
  const auto check = [&] {
    EXPECT_EQ(scratch.read("new/a.zip"), oldText);
    EXPECT_EQ(std::distance(fs::directory_iterator(scratch / "new"), fs::directory_iterator()), 1);
  };
  EXPECT_GE(failInTurn(GetParam(), make, check, prepareOld), 3);
  GZip64Reader reader;
  ASSERT_TRUE(reader.open(scratch / "new/a.zip"));
  EXPECT_EQ(reader.getMembers().size(), texts.size());
}

INSTANTIATE_TEST_SUITE_P(Errors, ExtractionFault, ::testing::Values(EIO, ENOSPC));

}  // namespace
}  // namespace loomkit::testing
