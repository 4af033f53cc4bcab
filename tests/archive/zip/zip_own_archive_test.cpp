// SPDX-License-Identifier: MIT
// GZipBase, GZipReader2 and GZipWriter2.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "loomkit/archive/zip/zip_own_archive_reader.h"
#include "loomkit/archive/zip/zip_own_archive_writer.h"
#include "loomkit/archive/zip/zip_password.h"
#include "loomkit/platform/hul.h"
#include "tests/archive/zip/zip_builder.h"
#include "tests/capture_output.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

using Lines = std::vector<OutputLine>;
using Texts = std::vector<std::string>;

// Brings out what derived classes use.
class Base : public GZipBase {
 public:
  using GZipBase::clrError;
  using GZipBase::decrypt;
  using GZipBase::encrypt;
  using GZipBase::error;
  using GZipBase::GZipBase;
  using GZipBase::initKeys;
  using GZipBase::updateKeys;
  using GZipBase::warning;
};

TEST(GZipBase, ReportsTheFirstErrorOnlyAndEveryWarning) {
  CaptureOutput output;
  Base base;
  EXPECT_EQ(base.getPath(), "<unknown>");
  EXPECT_FALSE(base.error("first"));
  EXPECT_TRUE(base.isError());
  EXPECT_FALSE(base.error("second"));
  base.warning("warned");
  base.clrError();
  base.setPath("p.zip");
  GOStrStream text;
  text << "number " << 3;
  EXPECT_FALSE(base.error(text));
  base.warning(text);
  EXPECT_EQ(output.lines, (Lines{{GOutputError, "_data", "<unknown>: first"},
                                 {GOutputWarning, "_data", "<unknown>: warned"},
                                 {GOutputError, "_data", "p.zip: number 3"},
                                 {GOutputWarning, "_data", "p.zip: number 3"}}));
}

TEST(GZipBase, AnEmptyPathIsLeftOutOfErrorsAlone) {
  CaptureOutput output;
  Base base("");
  base.error("text");
  base.warning("text");
  EXPECT_EQ(output.texts(), (Texts{"text", ": text"}));
}

TEST(GZipBase, AddsTheReasonForACode) {
  CaptureOutput output;
  Base base("p");
  base.error("text", 0x80004005U);
  base.clrError();
  base.error("text", static_cast<unsigned int>(-ENOENT));
  EXPECT_EQ(output.texts(),
            (Texts{"p: text", std::string("p: text (") + hulStrError(-ENOENT) + ")"}));
}

// The keys of the empty password and of one, by the formulas of the note.
TEST(GZipBase, EnciphersAsPublished) {
  Base base;
  base.setPassword("");
  base.initKeys();
  const unsigned t = 0x34567890U | 2;
  EXPECT_EQ(base.encrypt(0), ((t * (t ^ 1)) >> 8) & 255);
  Base one;
  Base two;
  one.setPassword("pass");
  two.setPassword(std::string("pass\0word", 9));
  one.initKeys();
  two.initKeys();
  std::string plain = "The quick brown fox";
  std::string back;
  for (const char c : plain) {
    back += static_cast<char>(two.decrypt(one.encrypt(static_cast<unsigned char>(c))));
  }
  EXPECT_EQ(back, plain) << "the password ends at its first zero byte";
}

TEST(ZipPassword, IsTheSameInEveryBuild) {
  // Two builds read each other's archives only as long as these bytes stay.
  char text[zip::builtInPasswordSize];
  zip::assembleBuiltInPassword(text);
  EXPECT_LE(std::strlen(text), 48U);
  const std::string scrambled = text;
  EXPECT_EQ(scrambled, "Vk9rLe5hNdoaZGy3w7mUxqcJ0tB");
  zip::unscramble(text);
  EXPECT_EQ(std::string(text), "Yn<uOh8kQgrd]J|6z:pX{tfM3wE");
  zip::scramble(text);
  EXPECT_EQ(std::string(text), scrambled);
}

// An archive that an earlier build wrote with the built-in password: one member
// "id.txt" of the text "oak-42".
TEST(ZipPassword, ReadsTheArchivesOfOtherBuilds) {
  CaptureOutput output;
  GZipReader2 reader;
  ASSERT_TRUE(reader.open(std::string(LOOMKIT_TEST_DATA) + "/builtin_password.zip"));
  std::string text;
  ASSERT_TRUE(reader.readTextEntry(reader.getEntry("id.txt"), text));
  EXPECT_EQ(text, "oak-42");
}

std::string builtInZip(const std::string& name, const std::string& data) {
  std::ostringstream out;
  GZipWriter2 writer(&out, false);
  writer.setDefaultEncryption(true);
  writer.setCompression(true);
  writer.writeEntry(name, data.data(), static_cast<unsigned int>(data.size()));
  writer.setDefaultEncryption(false);
  writer.writeEntry("plain.txt", "plain", 5);
  writer.close();
  return out.str();
}

TEST(GZipReader2, KnowsTheBuiltInPasswordForTextsOnly) {
  CaptureOutput output;
  const ScratchDirectory scratch;
  std::istringstream in(builtInZip("id.txt", "secret\r\n"));
  GZipReader2 reader(&in, false);
  const GZipEntry* id = reader.getEntry("id.txt");
  ASSERT_TRUE(id->isEncrypted() && id->isCompressed());
  // Nothing is compared for encrypted members: a wrong password may give any bytes.
  const auto isRead = [&](const char* name) {
    return reader.extractEntryToFile(id, scratch / name) && scratch.read(name) == "secret\r\n";
  };
  EXPECT_FALSE(isRead("a")) << "there is no password yet";
  std::string text = "before";
  EXPECT_TRUE(reader.readTextEntry(id, text));
  EXPECT_EQ(text, "secret\n");
  EXPECT_TRUE(isRead("b")) << "it has stayed";
  EXPECT_TRUE(reader.readTextEntry(reader.getEntry("plain.txt"), text));
  EXPECT_EQ(text, "plain");
  EXPECT_FALSE(isRead("c")) << "it is gone again";
}

TEST(GZipReader2, ReadsTextsWithUnixLineEnds) {
  CaptureOutput output;
  std::istringstream in(zipOf({{"t", std::string("x\r\ny\r\0z", 7)}, {"e", ""}}));
  GZipReader2 reader(&in, false);
  std::string text = "before";
  EXPECT_TRUE(reader.readTextEntry(reader.getEntry("t"), text));
  EXPECT_EQ(text, std::string("x\ny\r\0z", 6));
  EXPECT_TRUE(reader.readTextEntry(reader.getEntry("e"), text));
  EXPECT_EQ(text, "");
}

TEST(GZipReader2, LeavesATextAloneThatItCannotRead) {
  CaptureOutput output;
  std::istringstream in(zipOf({{"d/t", "x"}}));
  GZipReader2 reader(&in, false);
  std::string text = "before";
  EXPECT_FALSE(reader.readTextEntry(reader.getEntry("d/"), text));
  EXPECT_EQ(text, "before");
}

TEST(GZipReader2, TestsExtensions) {
  const GZipReader2 reader;
  EXPECT_TRUE(reader.hasFileExtension("a.png", ".png"));
  EXPECT_FALSE(reader.hasFileExtension("a.PNG", ".png"));
  EXPECT_FALSE(reader.hasFileExtension("x", ".png"));
  EXPECT_TRUE(reader.hasFileExtension("x", ""));
  EXPECT_TRUE(reader.hasFileExtension("apng", "png")) << "a plain suffix";
  EXPECT_TRUE(reader.hasFileExtension(".png", ".png"));
}

GZipEntry entryOf(const std::string& name, bool file = true) {
  GZipEntry entry;
  entry.setFName(name);
  if (file) {
    entry.setFile();
  } else {
    entry.setDirectory();
  }
  return entry;
}

TEST(GZipReader2, KnowsImagesByTheirNames) {
  const GZipReader2 reader;
  for (const char* name : {"IMG/A.PnG", "a.jpg", "a.TGA", "a.bmp", ".png"}) {
    const GZipEntry entry = entryOf(name);
    EXPECT_TRUE(reader.isRasterImageEntry(&entry)) << name;
  }
  for (const char* name : {"a.jpeg", "a.png.txt", "png", ""}) {
    const GZipEntry entry = entryOf(name);
    EXPECT_FALSE(reader.isRasterImageEntry(&entry)) << name;
  }
  const GZipEntry directory = entryOf("x.bmp/", false);
  EXPECT_FALSE(reader.isRasterImageEntry(&directory));
  const GZipEntry odd = entryOf("x.bmp", false);
  EXPECT_FALSE(reader.isRasterImageEntry(&odd));
}

TEST(GZipReader2, TakesNamesApart) {
  const GZipReader2 reader;
  struct Case {
    GZipEntry entry;
    const char* path;
    const char* fileName;
    const char* directory;
  };
  for (const Case& c :
       {Case{entryOf("a/b.txt"), "a/b.txt", "b.txt", ""},
        Case{entryOf("a\\b\\c.txt"), "a/b/c.txt", "c.txt", ""},
        Case{entryOf("c.txt"), "c.txt", "c.txt", ""}, Case{entryOf("a/"), "a", "a", ""},
        Case{entryOf("a/b/", false), "a/b", "", "a/b/"},
        Case{entryOf("a//", false), "a/", "", "a//"}, Case{GZipEntry(), "", "", ""}}) {
    EXPECT_EQ(reader.getEntryPath(&c.entry), c.path);
    EXPECT_EQ(reader.getEntryFileName(&c.entry), c.fileName);
    EXPECT_EQ(reader.getEntryDirectory(&c.entry), c.directory);
  }
}

TEST(GZipReader2, FindsTheFirstOfAnExtension) {
  std::istringstream in(zipOf({{"b.mat", "1"}, {"a.MAT", "2"}, {"d.mat/x", "3"}}));
  const GZipReader2 reader(&in, false);
  EXPECT_EQ(reader.findEntryByFileExtension(".mat", false)->getFName(), "a.MAT");
  EXPECT_EQ(reader.findEntryByFileExtension(".MAT", false)->getFName(), "a.MAT");
  EXPECT_EQ(reader.findEntryByFileExtension(".mat", true)->getFName(), "b.mat");
  EXPECT_EQ(reader.findEntryByFileExtension(".txt", false), nullptr);
  EXPECT_EQ(reader.findEntryByFileExtension("mat/", false), nullptr) << "directories do not count";
}

TEST(GZipReader2, ExtractsToFilesAndDirectories) {
  CaptureOutput output;
  const ScratchDirectory scratch;
  std::istringstream in(zipOf({{"a/b.txt", "1\r\n"}, {"e", ""}, {"f", "2"}}));
  GZipReader2 reader(&in, false);
  const GZipEntry* entry = reader.getEntry("a/b.txt");
  std::string path = "before";
  EXPECT_FALSE(reader.extractEntryToFile(reader.getEntry("a/"), scratch / "x"));
  EXPECT_FALSE(reader.extractEntryToDirectory(reader.getEntry("a/"), scratch.path(), true, path));
  EXPECT_EQ(path, "before");
  EXPECT_TRUE(reader.extractEntryToDirectory(entry, scratch.path() + "\\", false, path));
  EXPECT_EQ(path, scratch / "b.txt");
  EXPECT_EQ(scratch.read("b.txt"), "1\r\n") << "no line end is converted";
  EXPECT_EQ(output.lines, Lines{});
  EXPECT_TRUE(reader.extractEntryToDirectory(reader.getEntry("e"), scratch / "none", true, path))
      << "an empty member needs no file";
  EXPECT_FALSE(reader.extractEntryToDirectory(entry, scratch.path(), true, path));
  EXPECT_EQ(path, scratch / "a/b.txt");
  EXPECT_TRUE(reader.isError());
  EXPECT_EQ(output.texts(), Texts{"<unknown>: unable to write decompressed data (file a/b.txt)"});
}

TEST(GZipReader2, StartsClosedOrOverAStream) {
  CaptureOutput output;
  const GZipReader2 closed;
  EXPECT_EQ(closed.getEntryCount(), 0U);
  std::istringstream in("no archive");
  const GZipReader2 bad(&in, false);
  EXPECT_TRUE(bad.isError());
}

}  // namespace
}  // namespace loomkit::testing
