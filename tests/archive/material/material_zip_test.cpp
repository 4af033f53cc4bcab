// SPDX-License-Identifier: MIT
#include "loomkit/archive/material/material_zip.h"

#include <gtest/gtest.h>

#include <ctime>
#include <memory>

#include "loomkit/archive/material/material_labels.h"
#include "tests/archive/zip/zip_builder.h"
#include "tests/capture_output.h"
#include "tests/format_page.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

using Lines = std::vector<OutputLine>;
using Texts = std::vector<std::string>;

std::string contentOf(GFileObject& object) {
  const std::unique_ptr<std::istream> in(object.getInStream(true));
  return in == nullptr ? "(none)" : std::string(std::istreambuf_iterator<char>(*in), {});
}

// What an archive holds, in the order in which it lies there.
std::vector<std::pair<std::string, std::string>> membersOf(const std::string& path) {
  GZipReader2 reader;
  EXPECT_TRUE(reader.open(path));
  std::map<unsigned, std::pair<std::string, std::string>> byOffset;
  for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
    std::string text;
    EXPECT_TRUE(reader.readTextEntry(i->second, text));
    byOffset[i->second->getLocalHeaderOffs()] = {i->first, text};
  }
  std::vector<std::pair<std::string, std::string>> members;
  for (const auto& [offset, member] : byOffset) members.push_back(member);
  return members;
}

class Material : public ::testing::Test {
 protected:
  // A whole archive at path().
  void make(bool compress = true, bool encrypt = false) {
    GMaterialZip zip;
    EXPECT_TRUE(zip.open(path(), true));
    EXPECT_TRUE(zip.setId("oak-42"));
    EXPECT_TRUE(zip.setLabel("en", "Oak"));
    EXPECT_TRUE(zip.setLabel("de", "Eiche"));
    EXPECT_TRUE(zip.setDescription("surface oak", "oak.mat"));
    EXPECT_TRUE(zip.setMetaInfo("by hand"));
    EXPECT_TRUE(zip.setPreviewImage(scratch.write("p.jpeg", "preview")));
    EXPECT_TRUE(zip.setTextures({scratch.write("t1.png", "texture1")}));
    EXPECT_TRUE(zip.addTexture("t2.PNG", new std::istringstream("texture2")));
    EXPECT_TRUE(zip.flush(compress, encrypt));
  }
  [[nodiscard]] std::string path() const { return scratch / "oak.matz"; }

  ScratchDirectory scratch;
  CaptureOutput output;
};

TEST(MaterialZip, ReadsTheExampleOfItsFormatPage) {
  const CaptureOutput output;
  std::istringstream in(hexExampleOf("material.md"));
  GMaterialZip zip(&in, false);
  std::string text;
  EXPECT_TRUE(zip.getId(&text));
  EXPECT_EQ(text, "oak-42");
  std::string fileName;
  EXPECT_TRUE(zip.getDescription(&text, &fileName));
  EXPECT_EQ(text, "brown\n");
  EXPECT_EQ(fileName, "oak.mat");
  EXPECT_TRUE(zip.getMetaInfo(&text));
  EXPECT_EQ(text, "");
  std::int64_t seconds = 0;
  EXPECT_TRUE(zip.getTimeStamp(&seconds));
  EXPECT_EQ(seconds, 1'700'000'000);
  GZipReader2 reader(&in, false);
  std::map<std::string, std::string> labels;
  EXPECT_TRUE(gReadMaterialLabels(reader, &labels));
  EXPECT_EQ(labels, (std::map<std::string, std::string>{{"de", "Eiche"}, {"en", "Oak"}}));
  EXPECT_TRUE(output.lines.empty());
}

TEST_F(Material, WritesItsMembersInOrder) {
  const auto before = static_cast<long>(std::time(nullptr));
  make();
  auto members = membersOf(path());
  ASSERT_EQ(members.size(), 8U);
  EXPECT_EQ(members.back().first, "timestamp.txt");
  EXPECT_NEAR(std::stod(members.back().second), static_cast<double>(before), 5);
  members.pop_back();
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"id.txt", "oak-42"},    {"name.csv", "de;Eiche\nen;Oak"}, {"oak.mat", "surface oak"},
      {"meta.txt", "by hand"}, {"preview.jpeg", "preview"},      {"t1.png", "texture1"},
      {"t2.PNG", "texture2"}};
  EXPECT_EQ(members, expected);
  EXPECT_EQ(output.lines, Lines{});
}

TEST_F(Material, StoresPacksAndEncryptsAsAskedFor) {
  for (const bool compress : {false, true}) {
    for (const bool encrypt : {false, true}) {
      make(compress, encrypt);
      GZipReader reader;
      ASSERT_TRUE(reader.open(path()));
      EXPECT_EQ(reader.getEntry("id.txt")->isCompressed(), compress);
      EXPECT_EQ(reader.getEntry("id.txt")->isEncrypted(), encrypt);
      GMaterialZip zip;
      zip.open(path(), false);
      std::string text;
      EXPECT_TRUE(zip.getId(&text));
      EXPECT_EQ(text, "oak-42");
    }
  }
}

TEST_F(Material, ReadsWhatItWrote) {
  make();
  GMaterialZip zip;
  EXPECT_TRUE(zip.open(path(), false));
  std::string text;
  std::string name;
  EXPECT_TRUE(zip.getId(&text));
  EXPECT_EQ(text, "oak-42");
  EXPECT_TRUE(zip.getDescription(&text, &name));
  EXPECT_EQ(text + "/" + name, "surface oak/oak.mat");
  EXPECT_TRUE(zip.getDescription(&text, nullptr));
  EXPECT_TRUE(zip.getMetaInfo(&text));
  EXPECT_EQ(text, "by hand");
  std::int64_t seconds = 0;
  EXPECT_TRUE(zip.getTimeStamp(&seconds));
  EXPECT_NEAR(static_cast<double>(seconds), static_cast<double>(std::time(nullptr)), 5);
  EXPECT_FALSE(zip.getLabel("en", &text)) << "labels are never read back";
  Texts names = {"before"};
  EXPECT_TRUE(zip.getTextureNames(&names));
  EXPECT_EQ(names, (Texts{"before", "t1.png", "t2.PNG"}));
  EXPECT_TRUE(zip.extractPreviewImage(scratch / "out.jpeg"));
  EXPECT_EQ(scratch.read("out.jpeg"), "preview");
  EXPECT_TRUE(zip.extractTexture("t1.png", scratch / "out.png"));
  EXPECT_EQ(scratch.read("out.png"), "texture1");
  char* data = nullptr;
  unsigned int size = 0;
  ASSERT_TRUE(zip.extractTexture("t2.PNG", &data, &size));
  EXPECT_EQ(std::string(data, size), "texture2");
  ::operator delete(data);
  GFileObject* texture = nullptr;
  ASSERT_TRUE(zip.extractTexture("t1.png", &texture));
  const std::unique_ptr<GFileObject> owner(texture);
  EXPECT_EQ(texture->getName(), "t1.png");
  EXPECT_EQ(contentOf(*texture), "texture1");
  EXPECT_EQ(contentOf(*texture), "texture1") << "as often as you like";
}

TEST_F(Material, ReadsFromAStreamAndWritesToOne) {
  make(true, true);
  std::stringstream out;
  {
    GMaterialZip zip(new std::istringstream(scratch.read("oak.matz")), true);
    EXPECT_TRUE(zip.setLabel("fr", "Ch\xeane"));
    EXPECT_TRUE(zip.flush(&out, false, true));
  }
  GMaterialZip again(&out, false);
  std::string text;
  EXPECT_TRUE(again.getId(&text));
  EXPECT_EQ(text, "oak-42");
  EXPECT_TRUE(again.getMetaInfo(&text));
  EXPECT_EQ(text, "by hand");
}

TEST_F(Material, AFlushLosesWhatIsNotSetAgain) {
  make();
  GMaterialZip zip;
  zip.open(path(), false);
  EXPECT_TRUE(zip.addTexture("t3.png", new std::istringstream("lost as well")));
  EXPECT_TRUE(zip.flush(true, false));
  Texts names;
  for (const auto& [name, text] : membersOf(path())) names.push_back(name);
  EXPECT_EQ(names, (Texts{"id.txt", "oak.mat", "meta.txt", "timestamp.txt"}));
  Texts textures;
  EXPECT_TRUE(zip.getTextureNames(&textures)) << "the reader stays, closed";
  EXPECT_EQ(textures, Texts{});
  EXPECT_FALSE(zip.extractPreviewImage(scratch / "x"));
  EXPECT_FALSE(zip.extractTexture("t1.png", scratch / "x"));
}

TEST_F(Material, WhatIsSetCountsAndIsNotReadAnyMore) {
  make();
  GMaterialZip zip;
  zip.open(path(), false);
  EXPECT_TRUE(zip.setId("new"));
  EXPECT_TRUE(zip.setDescription("text", "n.mat"));
  EXPECT_TRUE(zip.setMetaInfo("meta"));
  EXPECT_TRUE(zip.setPreviewImage(scratch / "p.jpeg"));
  EXPECT_TRUE(zip.setTextures({}));
  std::string text;
  EXPECT_TRUE(zip.getId(&text));
  EXPECT_EQ(text, "new");
  EXPECT_TRUE(zip.getMetaInfo(&text));
  EXPECT_EQ(text, "meta");
  Texts names;
  EXPECT_FALSE(zip.getTextureNames(&names));
  EXPECT_FALSE(zip.extractPreviewImage(scratch / "x"));
  char* data = nullptr;
  unsigned int size = 0;
  EXPECT_FALSE(zip.extractTexture("t1.png", &data, &size));
  GFileObject* texture = nullptr;
  EXPECT_FALSE(zip.extractTexture("t1.png", &texture));
  EXPECT_EQ(texture, nullptr);
}

TEST_F(Material, RefusesEmptyTextsAndNullPointers) {
  GMaterialZip zip;
  EXPECT_FALSE(zip.setId(""));
  EXPECT_FALSE(zip.setLabel("", "l"));
  EXPECT_FALSE(zip.setLabel("de", ""));
  EXPECT_FALSE(zip.setDescription("", "n"));
  EXPECT_FALSE(zip.setDescription("t", ""));
  EXPECT_FALSE(zip.setMetaInfo(""));
  EXPECT_TRUE(zip.setPreviewImage(""));
  char byte = 0;
  EXPECT_FALSE(zip.setPreviewImageData(&byte, 1));
  EXPECT_FALSE(zip.getId(nullptr));
  EXPECT_FALSE(zip.getLabel("de", nullptr));
  EXPECT_FALSE(zip.getDescription(nullptr, nullptr));
  EXPECT_FALSE(zip.getMetaInfo(nullptr));
  EXPECT_FALSE(zip.getTextureNames(nullptr));
  EXPECT_FALSE(zip.getTimeStamp(nullptr));
  EXPECT_FALSE(zip.extractPreviewImage(""));
  EXPECT_FALSE(zip.extractTexture("", scratch / "x"));
  EXPECT_FALSE(zip.extractTexture("a", ""));
}

TEST_F(Material, ANewArchiveAnswersWithWhatWasSet) {
  GMaterialZip zip;
  std::string text = "before";
  EXPECT_TRUE(zip.getId(&text));
  EXPECT_EQ(text, "");
  EXPECT_TRUE(zip.setLabel("de", "Eiche"));
  EXPECT_TRUE(zip.getLabel("de", &text));
  EXPECT_EQ(text, "Eiche");
  EXPECT_FALSE(zip.getLabel("en", &text));
  std::int64_t seconds = 7;
  EXPECT_TRUE(zip.getTimeStamp(&seconds));
  EXPECT_EQ(seconds, 0);
}

TEST_F(Material, AMissingArchiveShowsInTheGetCalls) {
  GMaterialZip zip;
  EXPECT_TRUE(zip.open(scratch / "none", false));
  std::string text = "before";
  EXPECT_FALSE(zip.getId(&text));
  EXPECT_FALSE(zip.getDescription(&text, nullptr));
  EXPECT_TRUE(zip.getMetaInfo(&text));
  EXPECT_EQ(text, "");
  std::int64_t seconds = 7;
  EXPECT_TRUE(zip.getTimeStamp(&seconds));
  EXPECT_EQ(seconds, 0);
  EXPECT_EQ(output.texts(), Texts{scratch / "none" + ": can't open file"});
}

TEST_F(Material, FlushWritesEmptyItemsToo) {
  GMaterialZip zip;
  zip.open(path(), true);
  EXPECT_TRUE(zip.flush(false, false));
  Texts names;
  for (const auto& [name, text] : membersOf(path())) names.push_back(name);
  EXPECT_EQ(names, (Texts{"id.txt", "", "meta.txt", "timestamp.txt"}));
}

TEST_F(Material, FilesThatCannotBeOpenedBecomeEmptyMembers) {
  GMaterialZip zip;
  zip.open(path(), true);
  zip.setPreviewImage(scratch / "none.jpeg");
  zip.setTextures({scratch / "dir\\none.png", scratch / "also/"});
  EXPECT_TRUE(zip.flush(false, false));
  const auto members = membersOf(path());
  ASSERT_EQ(members.size(), 7U);
  EXPECT_EQ(members[3], (std::pair<std::string, std::string>{"preview.jpeg", ""}));
  EXPECT_EQ(members[4], (std::pair<std::string, std::string>{"none.png", ""}));
  EXPECT_EQ(members[5], (std::pair<std::string, std::string>{"also", ""}));
}

TEST_F(Material, FlushNeedsToRemoveTheOldFile) {
  GMaterialZip zip;
  zip.open(scratch / "none/x.matz", true);
  EXPECT_FALSE(zip.flush(false, false)) << "there is no such directory";
  zip.open(scratch.path(), true);
  EXPECT_FALSE(zip.flush(false, false)) << "a directory is not removed";
}

struct DescriptionCase {
  Texts names;
  const char* found;  // null: none
};

TEST_F(Material, FindsTheDescriptionByItsExtension) {
  for (const DescriptionCase& c :
       {DescriptionCase{{"a.MAT", "b._mat"}, "a.MAT"}, DescriptionCase{{"b._mat"}, "b._mat"},
        DescriptionCase{{"a._mat", "b.mat"}, "b.mat"}, DescriptionCase{{"x.txt"}, nullptr}}) {
    std::vector<ZipMember> members;
    for (const std::string& name : c.names) members.push_back({name, "text of " + name});
    std::istringstream in(zipOf(members));
    GMaterialZip zip(&in, false);
    std::string text;
    std::string name;
    EXPECT_EQ(zip.getDescription(&text, &name), c.found != nullptr);
    EXPECT_EQ(name, c.found != nullptr ? c.found : "");
  }
}

struct StampCase {
  const char* text;
  std::int64_t seconds;
};

TEST_F(Material, ReadsTimeStamps) {
  for (const StampCase& c :
       {StampCase{"abc", 0}, StampCase{"", 0}, StampCase{"1700000000", 1700000000},
        StampCase{" -5x", -5}, StampCase{"99999999999", 2147483647}}) {
    std::istringstream in(zipOf({{"timestamp.txt", c.text}}));
    GMaterialZip zip(&in, false);
    std::int64_t seconds = 7;
    EXPECT_TRUE(zip.getTimeStamp(&seconds));
    EXPECT_EQ(seconds, c.seconds) << c.text;
  }
}

// Each member in turn has a wrong byte: its own item fails, the others are there.
TEST_F(Material, ADamagedMemberIsMissingAndTheOthersAreNot) {
  const std::vector<ZipMember> members = {{"id.txt", "the id"},
                                          {"a.mat", "the text"},
                                          {"meta.txt", "the meta information"},
                                          {"preview.jpeg", "the preview"},
                                          {"t.png", "the texture"},
                                          {"timestamp.txt", "1700000000"}};
  for (std::size_t damaged = 0; damaged <= members.size(); ++damaged) {
    std::string bytes = zipOf(members);
    if (damaged < members.size()) bytes[bytes.find(members[damaged].data)] ^= 1;
    std::istringstream in(bytes);
    GMaterialZip zip(&in, false);
    std::string text;
    EXPECT_EQ(zip.getId(&text), damaged != 0);
    EXPECT_EQ(zip.getDescription(&text, nullptr), damaged != 1);
    text = "before";
    EXPECT_TRUE(zip.getMetaInfo(&text));
    EXPECT_EQ(text, damaged == 2 ? "" : members[2].data);
    EXPECT_EQ(zip.extractPreviewImage(scratch / "p"), damaged != 3);
    char* data = nullptr;
    unsigned size = 0;
    EXPECT_EQ(zip.extractTexture("t.png", &data, &size), damaged != 4);
    ::operator delete(data);
    std::int64_t seconds = 7;
    EXPECT_TRUE(zip.getTimeStamp(&seconds));
    EXPECT_EQ(seconds, damaged == 5 ? 0 : 1700000000);
    EXPECT_EQ(output.lines.size(), damaged < members.size() ? 1U : 0U) << damaged;
    output.lines.clear();
  }
}

TEST_F(Material, OfTwoMembersWithANameTheFirstCounts) {
  std::istringstream in(
      zipOf({{"id.txt", "first"}, {"id.txt", "second"}, {"x.._mat", "late"}, {"x.mat", "early"}}));
  GMaterialZip zip(&in, false);
  std::string text;
  EXPECT_TRUE(zip.getId(&text));
  EXPECT_EQ(text, "first");
  EXPECT_TRUE(zip.getDescription(&text, nullptr));
  EXPECT_EQ(text, "early");
}

struct LabelsCase {
  std::string text;
  std::map<std::string, std::string> labels;
};

TEST_F(Material, LabelsCanBeReadBack) {
  const LabelsCase cases[] = {{"", {}},
                              {"en;Oak", {{"en", "Oak"}}},
                              {"de;Eiche\nen;Oak\n", {{"de", "Eiche"}, {"en", "Oak"}}},
                              {"de;Eiche\r\nen;Oak", {{"de", "Eiche"}, {"en", "Oak"}}},
                              {"en;a;b", {{"en", "a;b"}}},
                              {"en;Oak\nof England\nfr;", {{"en", "Oak\nof England"}, {"fr", ""}}},
                              {"nothing yet\nen;Oak\nen;Elm", {{"en", "Elm"}}}};
  for (const LabelsCase& c : cases) {
    std::istringstream in(zipOf({{"id.txt", "x"}, {"name.csv", c.text, true}}));
    GZipReader2 reader(&in, false);
    std::map<std::string, std::string> labels{{"old", "one"}};
    EXPECT_TRUE(gReadMaterialLabels(reader, &labels));
    EXPECT_EQ(labels, c.labels) << c.text;
  }
  make(true, true);
  GZipReader2 reader;
  ASSERT_TRUE(reader.open(path()));
  std::map<std::string, std::string> labels;
  EXPECT_TRUE(gReadMaterialLabels(reader, &labels));
  EXPECT_EQ(labels, (std::map<std::string, std::string>{{"de", "Eiche"}, {"en", "Oak"}}));
}

TEST_F(Material, LabelsThatAreMissingOrDamaged) {
  std::map<std::string, std::string> labels{{"old", "one"}};
  std::string bytes = zipOf({{"name.csv", "en;Oak"}});
  bytes[bytes.find("Oak")] = 'X';
  std::istringstream damaged(bytes);
  GZipReader2 reader(&damaged, false);
  EXPECT_FALSE(gReadMaterialLabels(reader, &labels));
  EXPECT_EQ(labels.size(), 1U);
  std::istringstream without(zipOf({{"id.txt", "x"}}));
  GZipReader2 other(&without, false);
  EXPECT_TRUE(gReadMaterialLabels(other, &labels));
  EXPECT_TRUE(labels.empty());
}

TEST_F(Material, TrimsTheId) {
  std::istringstream in(zipOf({{"id.txt", " \toak\r\n"}}));
  GMaterialZip zip(&in, false);
  std::string id;
  EXPECT_TRUE(zip.getId(&id));
  EXPECT_EQ(id, "oak");
}

TEST(GMatzTexture, IsAReadOnlyFileObject) {
  GMatzTexture texture("name");
  EXPECT_EQ(texture.getName(), "name");
  EXPECT_EQ(texture.getInStream(true), nullptr);
  EXPECT_EQ(texture.getOutStream(true), nullptr);
  EXPECT_TRUE(texture.exists());
  EXPECT_TRUE(texture.isReadable());
  EXPECT_FALSE(texture.isWritable());
  EXPECT_FALSE(texture.isExecutable());
  const std::unique_ptr<GFileObject> twin(texture.copy());
  EXPECT_EQ(twin->getName(), "name");
  EXPECT_EQ(twin->getInStream(false), nullptr);
}

TEST(GMatzTexture, KeepsItsStream) {
  auto* stream = new std::istringstream("text");
  GMatzTexture texture("name", stream);
  EXPECT_EQ(texture.getInStream(true), stream);
  EXPECT_EQ(texture.getInStream(false), stream);
  const std::unique_ptr<GFileObject> twin(texture.copy());
  EXPECT_EQ(twin->getInStream(true), nullptr) << "the stream is not copied";
}

}  // namespace
}  // namespace loomkit::testing
