// SPDX-License-Identifier: MIT
#include "loomkit/config/writeable_config_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

// One line to save, whole or as key and value.
struct Entry {
  bool raw;
  std::string key;
  std::string value;
};

// What a class that keeps all its lines does; used by file and section.
class Lines {
 public:
  void keep(const std::string& line) { entries.push_back({true, line, {}}); }
  void keep(const std::string& key, const std::string& value) {
    entries.push_back({false, key, value});
  }
  void rewind() { position = 0; }
  bool next(bool* raw, std::string* key, std::string* value) {
    if (position == entries.size()) return false;
    *raw = entries[position].raw;
    *key = entries[position].key;
    *value = entries[position++].value;
    return true;
  }

 private:
  std::vector<Entry> entries;
  std::size_t position = 0;
};

class Section : public GWriteableConfigSection {
 public:
  using GWriteableConfigSection::GWriteableConfigSection;
  bool newKeyValue(const std::string& key, const std::string& value) override {
    if (key == "bad") return invalidKey(key);
    lines.keep(key, value);
    return true;
  }
  void newCommentOrWhiteSpace(const std::string& line) override { lines.keep(line); }
  void startSaving() override { lines.rewind(); }
  bool nextEntry(bool* raw, std::string* key, std::string* value) override {
    return lines.next(raw, key, value);
  }

 private:
  Lines lines;
};

class File : public GWriteableConfigFile {
 public:
  GWriteableConfigSection* newSection(const std::string& name) override {
    return new Section(name);
  }
  bool newKeyValue(const std::string& key, const std::string& value) override {
    lines.keep(key, value);
    return true;
  }
  void newCommentOrWhiteSpace(const std::string& line) override { lines.keep(line); }
  bool prepareSaving() override { return !refuses; }
  void startSaving() override { lines.rewind(); }
  bool nextEntry(bool* raw, std::string* key, std::string* value) override {
    return lines.next(raw, key, value);
  }
  bool loadText(const std::string& text) {
    std::istringstream in(text);
    return load("app.cfg", &in);
  }
  std::string saved() {
    std::ostringstream out;
    EXPECT_TRUE(save("app.cfg", &out));
    return out.str();
  }
  using GWriteableConfigFile::addSection;
  using GWriteableConfigFile::setErrMsg;
  bool refuses = false;

 private:
  Lines lines;
};

TEST(GWriteableConfigFile, PlaysBackWhatItKept) {
  File file;
  ASSERT_TRUE(
      file.loadText("  # top\n\na = 1\n[ First ]\n# in first\nb=2\n \n[second]\n[FIRST]\nc = 3"));
  EXPECT_EQ(file.saved(), "  # top\n\na=1\n[first]\n# in first\nb=2\n \nc=3\n[second]\n");
  EXPECT_EQ(file.saved(), file.saved()) << "as often as you like";
}

TEST(GWriteableConfigFile, WritesNothingForNothing) {
  File file;
  EXPECT_EQ(file.saved(), "");
  file.addSection(new Section("Empty"));
  EXPECT_EQ(file.saved(), "[Empty]\n") << "under the name that it has";
}

TEST(GWriteableConfigFile, ACommentBelongsToTheSectionAboveIt) {
  File file;
  ASSERT_TRUE(file.loadText("[a]\n# about b\n[b]\n"));
  EXPECT_EQ(file.saved(), "[a]\n# about b\n[b]\n");
  class Silent : public File {
    void newCommentOrWhiteSpace(const std::string& line) override {
      EXPECT_EQ(line, "# top") << "lines behind a header are the section's";
    }
  };
  Silent silent;
  ASSERT_TRUE(silent.loadText("# top\n[a]\n# in a\n"));
}

TEST(GWriteableConfigFile, TheDefaultsDropCommentsAndAllowSaving) {
  class Plain : public GWriteableConfigSection {
   public:
    using GWriteableConfigSection::GWriteableConfigSection;
    bool newKeyValue(const std::string&, const std::string&) override { return true; }
    void startSaving() override {}
    bool nextEntry(bool*, std::string*, std::string*) override { return false; }
  };
  class PlainFile : public GWriteableConfigFile {
   public:
    GWriteableConfigSection* newSection(const std::string& name) override {
      return new Plain(name);
    }
    bool newKeyValue(const std::string&, const std::string&) override { return true; }
    void startSaving() override {}
    bool nextEntry(bool*, std::string*, std::string*) override { return false; }
  };
  PlainFile file;
  std::istringstream in("# c\n[a]\n\nx=1\n");
  ASSERT_TRUE(file.load("n", &in));
  std::ostringstream out;
  EXPECT_TRUE(file.save("n", &out));
  EXPECT_EQ(out.str(), "[a]\n");
}

TEST(GWriteableConfigFile, LoadsAsTheOtherFamilyDoes) {
  File file;
  EXPECT_FALSE(file.loadText("[s]\nbad=1"));
  EXPECT_EQ(file.getErrMsg(), "app.cfg: line 2: invalid key: bad");
  EXPECT_FALSE(file.loadText("word"));
  EXPECT_EQ(file.getErrMsg(), "app.cfg: line 1: missing '='");
  EXPECT_NE(file.getSection("s"), nullptr);
}

TEST(GWriteableConfigFile, SavesToItsOwnFileOrAnother) {
  const ScratchDirectory scratch;
  const std::string path = scratch.write("a.cfg", "a = 1\n");
  File file;
  ASSERT_TRUE(file.load(path));
  EXPECT_TRUE(file.save());
  EXPECT_EQ(scratch.read("a.cfg"), "a=1\n");
  EXPECT_TRUE(file.save(scratch / "b.cfg"));
  EXPECT_EQ(file.getName(), scratch / "b.cfg");
  EXPECT_EQ(scratch.read("b.cfg"), "a=1\n");
}

TEST(GWriteableConfigFile, TakesItsOwnNameAndMessageAsArguments) {
  const ScratchDirectory scratch;
  std::filesystem::create_directories(scratch / "b" + scratch.path());
  scratch.write("b" + scratch.path() + "/a.cfg", "a = 1\n");
  File file;
  EXPECT_FALSE(file.load(scratch / "a.cfg"));
  EXPECT_TRUE(file.load(scratch / "a", scratch / "b", file.getName()));
  EXPECT_EQ(file.getName(), scratch / "b/" + scratch / "a.cfg");
  EXPECT_TRUE(file.save(file.getName()));
  EXPECT_EQ(scratch.read("b" + scratch.path() + "/a.cfg"), "a=1\n");

  std::istringstream text("x");
  EXPECT_FALSE(file.load("", &text));
  const std::string message = file.getErrMsg();
  std::ostringstream out;
  EXPECT_TRUE(file.save(file.getErrMsg(), &out));
  EXPECT_EQ(file.getName(), message);
  EXPECT_FALSE(file.setErrMsg(file.getErrMsg()));
  EXPECT_EQ(file.getErrMsg(), message + ": line 1: " + message);
}

TEST(GWriteableConfigFile, SaysWhatCannotBeOpenedWithTheLineOfTheLoad) {
  const ScratchDirectory scratch;
  File file;
  EXPECT_FALSE(file.save(scratch / "none/a.cfg"));
  EXPECT_EQ(file.getErrMsg(), scratch / "none/a.cfg" + ": can't open for writing");
  EXPECT_EQ(file.getName(), scratch / "none/a.cfg") << "the name stays";
  ASSERT_TRUE(file.loadText("a=1\nb=2\n"));
  EXPECT_FALSE(file.save(scratch / "none/b.cfg"));
  EXPECT_EQ(file.getErrMsg(), scratch / "none/b.cfg" + ": line 2: can't open for writing");
}

TEST(GWriteableConfigFile, ARefusalLeavesAnEmptyFile) {
  const ScratchDirectory scratch;
  const std::string path = scratch.write("a.cfg", "a = 1\n");
  File file;
  ASSERT_TRUE(file.load(path));
  file.refuses = true;
  EXPECT_FALSE(file.save());
  EXPECT_EQ(scratch.read("a.cfg"), "") << "it was emptied before anybody was asked";
  EXPECT_EQ(file.getErrMsg(), "");
  std::ostringstream out;
  EXPECT_FALSE(file.save("other", &out));
  EXPECT_EQ(file.getName(), "other");
  EXPECT_EQ(out.str(), "");
}

TEST(GWriteableConfigFile, OnlyTheBadBitIsAWriteError) {
  File file;
  ASSERT_TRUE(file.loadText("a=1\n[s]\nb=2\n"));
  std::ostringstream failed;
  failed.setstate(std::ios::failbit);
  EXPECT_TRUE(file.save("app.cfg", &failed));
  std::ostream bad(nullptr);
  EXPECT_FALSE(file.save("app.cfg", &bad));
  EXPECT_EQ(file.getErrMsg(), "app.cfg: line 3: write error");
  EXPECT_FALSE(file.save("/dev/full"));
  EXPECT_EQ(file.getErrMsg(), "/dev/full: line 3: write error");
}

TEST(GWriteableConfigFile, AHeaderAloneIsNotCheckedAfterwards) {
  File file;
  ASSERT_TRUE(file.loadText("[empty]\n"));
  std::ostream bad(nullptr);
  EXPECT_TRUE(file.save("app.cfg", &bad));
}

TEST(GWriteableConfigFile, SectionsThatAreAddedMeanwhileAreNotSeen) {
  class Adding : public File {
   public:
    void startSaving() override {
      File::startSaving();
      addSection(new Section("late"));
    }
  };
  Adding file;
  ASSERT_TRUE(file.loadText("a=1\n[s]\n"));
  std::ostringstream out;
  EXPECT_TRUE(file.save("n", &out));
  EXPECT_EQ(out.str(), "a=1\n[s]\n");
}

TEST(GWriteableConfigFile, AfterSavingTheLastSectionIsTheCurrentOne) {
  File file;
  ASSERT_TRUE(file.loadText("[a]\n[b]\n[a]\n"));
  EXPECT_EQ(file.saved(), "[a]\n[b]\n");
  ASSERT_TRUE(file.loadText("k=v\n"));
  EXPECT_EQ(file.saved(), "[a]\n[b]\nk=v\n");
}

}  // namespace
}  // namespace loomkit::testing
