// SPDX-License-Identifier: MIT
// Every system call of a piece of work made to fail in turn: the work fails
// clearly and leaves what was there, or it is done.
#include "tests/io_faults.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>

#include "loomkit/archive/ar_reader.h"
#include "loomkit/archive/material/material_zip.h"
#include "loomkit/archive/zip/zip_extractor.h"
#include "loomkit/config/key_value_config_file.h"
#include "loomkit/platform/hul.h"
#include "loomkit/streams/atomic_file.h"
#include "loomkit/streams/file.h"
#include "loomkit/streams/gzip_stream.h"
#include "tests/capture_output.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

const std::string oldText = "old content\n";

std::string largeText() {
  std::string text;
  for (int i = 0; text.size() < 100000; ++i) text += "key" + std::to_string(i) + " = value\n";
  return text;
}

class IoFault : public ::testing::TestWithParam<int> {
 protected:
  // The one file is as it was, and there is nothing beside it.
  void expectOldFile() const {
    EXPECT_EQ(scratch.read("file"), oldText);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(scratch.path()),
                            std::filesystem::directory_iterator()),
              1);
  }
  ScratchDirectory scratch;
  CaptureOutput output;
};

TEST_P(IoFault, AnAtomicFileIsTheOldOneOrTheNewOne) {
  const std::string path = scratch.write("file", oldText);
  const std::string text = largeText();
  const int failures = failInTurn(
      GetParam(),
      [&] {
        GAtomicFile file(path);
        file.out() << text;
        const bool done = file.commit();
        EXPECT_EQ(file.getErrMsg().empty(), done);
        return done;
      },
      [&] { expectOldFile(); }, [&] { scratch.write("file", oldText); });
  EXPECT_GE(failures, 3) << "writes, fsync and rename";
}

TEST_P(IoFault, AConfigurationFileIsSavedOrStays) {
  const std::string path = scratch.write("file", oldText + "=");
  scratch.write("file", "# c\n" + largeText());
  const std::string before = scratch.read("file");
  GKeyValueConfigFile file;
  ASSERT_TRUE(file.load(path));
  ASSERT_TRUE(file.set("", "key7", "changed"));
  failInTurn(
      GetParam(), [&] { return file.save(); },
      [&] {
        EXPECT_TRUE(scratch.read("file") == before);
        EXPECT_NE(file.getErrMsg(), "");
      },
      [&] { scratch.write("file", before); });
}

TEST_P(IoFault, AZipWriterTellsEveryFailure) {
  const std::string text = largeText();
  failInTurn(
      GetParam(),
      [&] {
        GZipWriter writer;
        writer.setCompression(true);
        if (!writer.open(scratch / "a.zip")) return false;
        writer.writeEntry("a/text", text.data(), static_cast<unsigned>(text.size()));
        writer.setPassword("pw");
        writer.writeEntry("secret", "x", 1);
        return writer.close();
      },
      [&] { EXPECT_FALSE(output.lines.empty()); });
  GZipReader reader;
  ASSERT_TRUE(reader.open(scratch / "a.zip"));
  std::ostringstream out;
  EXPECT_TRUE(reader.readEntry("a/text", &out, false));
  EXPECT_EQ(out.str(), text);
}

TEST_P(IoFault, AMemberWhoseSourceBreaksIsAFailure) {
  const std::string path = scratch.write("source", largeText());
  failInTurn(
      GetParam(),
      [&] {
        std::ostringstream out;
        GZipWriter writer(&out, false);
        writer.writeEntry(path);
        return writer.close();
      },
      [&] { EXPECT_FALSE(output.lines.empty()); });
  GKeyValueConfigFile file;
  failInTurn(
      GetParam(), [&] { return file.load(path); },
      [&] { EXPECT_EQ(file.getErrMsg(), path + ": read error"); });
}

TEST_P(IoFault, AZipReaderGivesAllOrFails) {
  const std::string text = largeText();
  {
    GZipWriter writer;
    ASSERT_TRUE(writer.open(scratch / "a.zip"));
    writer.writeEntry("text", text.data(), static_cast<unsigned>(text.size()));
    ASSERT_TRUE(writer.close());
  }
  failInTurn(
      GetParam(),
      [&] {
        GZipReader reader;
        std::ostringstream out;
        return reader.open(scratch / "a.zip") && reader.readEntry("text", &out, false) &&
               out.str() == text;
      },
      [&] { EXPECT_FALSE(output.lines.empty()); });
}

TEST_P(IoFault, AnArReaderGivesAllOrFails) {
  const std::string text = largeText().substr(0, 100000);
  std::string archive = "!<arch>\n";
  for (const char* name : {"first", "second", "third"}) {
    std::string header = name;
    header.resize(48, ' ');
    archive += header + "100000    `\n" + text;
  }
  const std::string path = scratch.write("a.a", archive);
  failInTurn(
      GetParam(),
      [&] {
        GArReader reader;
        if (!reader.open(path)) return false;
        EXPECT_EQ(reader.getEntryCount(), 3U) << "none is lost without a word";
        std::ostringstream out;
        return reader.readEntry("second", &out) && out.str() == text;
      },
      [&] { EXPECT_FALSE(output.lines.empty()); });
}

// A file has its final name when it is whole, or not at all.
TEST_P(IoFault, AnExtractorLeavesNoHalfOfAFile) {
  const std::string text = largeText();
  {
    GZipWriter writer;
    writer.setCompression(true);
    ASSERT_TRUE(writer.open(scratch / "a.zip"));
    writer.writeEntry("text", text.data(), static_cast<unsigned>(text.size()));
    ASSERT_TRUE(writer.close());
  }
  const auto extract = [&] {
    GZipReader reader;
    if (!reader.open(scratch / "a.zip")) return false;
    GZipExtractor extractor(&reader, scratch / "out");
    extractor.setOverwrite(true);
    return extractor.extractAll() == GZipExtractor::Done;
  };
  failInTurn(GetParam(), extract, [&] {
    EXPECT_FALSE(output.lines.empty());
    if (!std::filesystem::exists(scratch / "out")) return;
    for (const auto& file : std::filesystem::directory_iterator(scratch / "out")) {
      EXPECT_EQ(file.path().filename(), "text") << "nothing else stays";
      EXPECT_EQ(scratch.read("out/text"), text);
    }
  });
  EXPECT_EQ(scratch.read("out/text"), text);
}

TEST_P(IoFault, ARuntimeFileReportsTheReason) {
  const std::string path = scratch / "file";
  int status = 0;
  failInTurn(
      GetParam(),
      [&] {
        int handle = -1;
        status = hulOpenFile(path.c_str(), hulCreateForWriting, &handle);
        if (status != 0) return false;
        int written = 0;
        status = hulWrite(handle, oldText.data(), static_cast<int>(oldText.size()), &written);
        EXPECT_EQ(hulClose(handle), 0);
        return status == 0;
      },
      [&] { EXPECT_STREQ(hulStrError(status), std::strerror(GetParam())); });
}

TEST_P(IoFault, AStreamOfAFileTurnsBad) {
  GFile file(scratch / "file");
  failInTurn(
      GetParam(),
      [&] {
        const std::unique_ptr<std::ostream> out(file.getOutStream(true));
        *out << largeText() << std::flush;
        return out->good();
      },
      [] {});
  failInTurn(
      GetParam(),
      [&] {
        const std::unique_ptr<std::istream> in(file.getInStream(true));
        std::ostringstream text;
        text << in->rdbuf();
        return text.str() == largeText();
      },
      [] {});
}

INSTANTIATE_TEST_SUITE_P(Errors, IoFault, ::testing::Values(EIO, ENOSPC));

// What every kind of work comes to when its calls move a byte each, or are
// interrupted every time.
class IoTrouble : public ::testing::TestWithParam<IoFaults::Kind> {};

TEST_P(IoTrouble, ChangesNothing) {
  const ScratchDirectory scratch;
  const CaptureOutput output;
  std::string text = largeText();
  text.resize(5000);
  {
    const IoFaults faults(GetParam(), 0, 0);
    GAtomicFile file(scratch / "file");
    file.out() << text;
    EXPECT_TRUE(file.commit()) << file.getErrMsg();
    GZipWriter writer;
    ASSERT_TRUE(writer.open(scratch / "a.zip"));
    EXPECT_TRUE(writer.writeEntry("text", text.data(), static_cast<unsigned>(text.size())));
    EXPECT_TRUE(writer.close());
  }
  EXPECT_EQ(scratch.read("file"), text);
  GZipReader reader;
  ASSERT_TRUE(reader.open(scratch / "a.zip"));
  std::ostringstream out;
  EXPECT_TRUE(reader.readEntry("text", &out, false));
  EXPECT_EQ(out.str(), text);
}

INSTANTIATE_TEST_SUITE_P(Kinds, IoTrouble, ::testing::Values(IoFaults::Short, IoFaults::Storm));

TEST(IoTrouble, ShortReadsAreReadOn) {
  const ScratchDirectory scratch;
  const std::string text = largeText().substr(0, 5000);
  std::istringstream plain(text);
  std::ofstream packed(scratch / "a.gz", std::ios::binary);
  ASSERT_TRUE(GGZCompress(plain).compress(packed, true));
  packed.close();
  scratch.write("a.cfg", text.substr(0, text.rfind('\n')));
  const IoFaults faults(IoFaults::Short, 0, 0);
  GFile file(scratch / "a.gz");
  const std::unique_ptr<std::istream> in(file.getInStream(true));
  std::ostringstream out;
  EXPECT_TRUE(GGZCompress(*in).decompress(out, true));
  EXPECT_EQ(out.str(), text);
  GKeyValueConfigFile config;
  EXPECT_TRUE(config.load(scratch / "a.cfg"));
  EXPECT_EQ(config.getText() + "\n", text.substr(0, text.rfind('\n') + 1));
}

}  // namespace
}  // namespace loomkit::testing
