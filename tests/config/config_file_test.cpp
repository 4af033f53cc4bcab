// SPDX-License-Identifier: MIT
// GConfigFile and GConfigSection: the syntax, the order of events, and every
// message.
#include "loomkit/config/config_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

// Writes down what happens to it.
class Section : public GConfigSection {
 public:
  Section(const std::string& name, std::string* sharedLog) : GConfigSection(name), log(sharedLog) {}
  bool newKeyValue(const std::string& key, const std::string& value) override {
    if (key == "bad") return invalidKey(key);
    *log += getSectionName() + ":" + key + "=" + value + ";";
    return true;
  }
  using GConfigSection::invalidKey;
  using GConfigSection::parse;
  using GConfigSection::setErrMsg;

 private:
  std::string* log;
};

class File : public GConfigFile {
 public:
  GConfigSection* newSection(const std::string& name) override {
    log += "new " + name + ";";
    if (name == "unknown") return nullptr;
    return new Section(name == "renamed" ? "OTHER" : name, &log);
  }
  bool newKeyValue(const std::string& key, const std::string& value) override {
    if (key == "bad") return setErrMsg("bad at the top");
    log += key + "=" + value + ";";
    return true;
  }
  void finishedLoading(bool ok) override { log += ok ? "ok" : "failed"; }
  bool loadText(const std::string& text) {
    std::istringstream in(text);
    return load("app.cfg", &in);
  }
  using GConfigFile::addSection;
  using GConfigFile::getLineNumber;
  using GConfigFile::setErrMsg;
  std::string log;
};

struct LoadCase {
  std::string text;
  const char* log;  // what happened before the end
};

class ConfigSyntax : public ::testing::TestWithParam<LoadCase> {};

TEST_P(ConfigSyntax, IsRead) {
  File file;
  EXPECT_TRUE(file.loadText(GetParam().text)) << file.getErrMsg();
  EXPECT_EQ(file.log, std::string(GetParam().log) + "ok");
  EXPECT_EQ(file.getErrMsg(), "");
}

INSTANTIATE_TEST_SUITE_P(
    GConfigFile, ConfigSyntax,
    ::testing::Values(
        LoadCase{"", ""}, LoadCase{"\n\n  \t\n", ""}, LoadCase{"# x\n  # y = 1\n", ""},
        LoadCase{"a=1", "a=1;"}, LoadCase{"a=1\n", "a=1;"}, LoadCase{"  a  =  1  \n", "a=1;"},
        LoadCase{"a = 1 # x", "a=1 # x;"}, LoadCase{"a=", "a=;"}, LoadCase{"a=b=c", "a=b=c;"},
        LoadCase{"a = [x] \"q\"", "a=[x] \"q\";"}, LoadCase{"Key=V", "Key=V;"},
        LoadCase{"two words = two  words", "two words=two  words;"},
        LoadCase{"a=1\r\n[s]\r\n\r\nb=2\r\n", "a=1;new s;s:b=2;"}, LoadCase{"[ Foo ]", "new foo;"},
        LoadCase{"  [Foo]  \t", "new foo;"},
        LoadCase{"[a]\nx=1\n[b]\ny=2\n[A]\nz=3", "new a;a:x=1;new b;b:y=2;a:z=3;"},
        LoadCase{"[a]\n[a]\n", "new a;"}, LoadCase{"[a [b]\n", "new a [b;"},
        LoadCase{"[a=b]\nk=v", "new a=b;a=b:k=v;"}, LoadCase{"\xc3\xa4=\xa0", "\xc3\xa4=\xa0;"},
        LoadCase{"\xef\xbb\xbfk=v", "\xef\xbb\xbfk=v;"}, LoadCase{"\x85k=v", "\x85k=v;"},
        LoadCase{"\v\fk\v=\fv", "k=v;"}));

struct FailCase {
  const char* text;
  const char* message;
};

class ConfigErrors : public ::testing::TestWithParam<FailCase> {};

TEST_P(ConfigErrors, NameFileAndLine) {
  File file;
  EXPECT_FALSE(file.loadText(GetParam().text));
  EXPECT_EQ(file.getErrMsg(), GetParam().message);
  EXPECT_EQ(file.log.substr(file.log.size() - 6), "failed");
}

INSTANTIATE_TEST_SUITE_P(
    GConfigFile, ConfigErrors,
    ::testing::Values(FailCase{"=x", "app.cfg: line 1: unexpected '='"},
                      FailCase{"   =x", "app.cfg: line 1: unexpected '='"},
                      FailCase{"=", "app.cfg: line 1: unexpected '='"},
                      FailCase{"\n# c\nword\n", "app.cfg: line 3: missing '='"},
                      FailCase{"[]", "app.cfg: line 1: empty section name"},
                      FailCase{"[   ]", "app.cfg: line 1: empty section name"},
                      FailCase{"[] x", "app.cfg: line 1: empty section name"},
                      FailCase{"[a", "app.cfg: line 1: missing ']'"},
                      FailCase{"[", "app.cfg: line 1: missing ']'"},
                      FailCase{"[a] x", "app.cfg: line 1: garbage after ']'"},
                      FailCase{"[a] [b]", "app.cfg: line 1: garbage after ']'"},
                      FailCase{"[a] # c", "app.cfg: line 1: garbage after ']'"},
                      FailCase{"[a]]", "app.cfg: line 1: garbage after ']'"},
                      FailCase{"[Unknown]", "app.cfg: line 1: unknown section name"},
                      FailCase{"a=1\n[s]\nbad=1", "app.cfg: line 3: invalid key: bad"},
                      FailCase{"bad=1", "app.cfg: line 1: bad at the top"}));

TEST(GConfigFile, StartsEmpty) {
  const File file;
  EXPECT_EQ(file.getName(), "");
  EXPECT_EQ(file.getErrMsg(), "");
  EXPECT_EQ(file.getLineNumber(), 0);
  EXPECT_TRUE(file.getSections().empty());
  EXPECT_EQ(file.getSection("a"), nullptr);
}

TEST(GConfigFile, FindsSectionsByTheirLowerCaseNames) {
  File file;
  ASSERT_TRUE(file.loadText("[ Foo ]\n[bar]\n"));
  EXPECT_EQ(file.getSection("Foo"), nullptr);
  ASSERT_NE(file.getSection("foo"), nullptr);
  ASSERT_EQ(file.getSections().size(), 2U);
  EXPECT_EQ(file.getSections()[0], file.getSection("foo"));
  EXPECT_EQ(file.getSections()[1], file.getSection("bar"));
}

TEST(GConfigFile, FindsASectionUnderItsHeaderWhateverItCallsItself) {
  File file;
  ASSERT_TRUE(file.loadText("[Renamed]\na=1\n[renamed]\nb=2"));
  EXPECT_EQ(file.log, "new renamed;OTHER:a=1;OTHER:b=2;ok");
  EXPECT_EQ(file.getSection("other"), nullptr);
}

TEST(GConfigFile, AnAddedSectionOfAKnownNameIsNotFound) {
  File file;
  auto* first = new Section("Name", &file.log);
  auto* second = new Section("NAME", &file.log);
  file.addSection(first);
  file.addSection(second);
  EXPECT_EQ(file.getSection("name"), first);
  EXPECT_EQ(file.getSections().size(), 2U);
  ASSERT_TRUE(file.loadText("top=1\n[name]\na=1"));
  EXPECT_EQ(file.log, "top=1;Name:a=1;ok");
}

TEST(GConfigFile, ASecondLoadAddsToTheFirst) {
  File file;
  ASSERT_TRUE(file.loadText("a=1\n[s]\nb=2\n"));
  file.log.clear();
  ASSERT_TRUE(file.loadText("c=3\n[s]\n[t]\n"));
  EXPECT_EQ(file.log, "s:c=3;new t;ok") << "keys at the top go to the last section";
  EXPECT_EQ(file.getSections().size(), 2U);
  EXPECT_EQ(file.getLineNumber(), 3);
}

TEST(GConfigFile, AFailureKeepsWhatWasReadAndAnUnknownSectionIsNoPlaceForKeys) {
  File file;
  EXPECT_FALSE(file.loadText("[s]\na=1\n[unknown]\nb=2\n"));
  EXPECT_EQ(file.getLineNumber(), 3);
  EXPECT_EQ(file.getSections().size(), 1U);
  file.log.clear();
  EXPECT_TRUE(file.loadText("c=3"));
  EXPECT_EQ(file.log, "c=3;ok") << "the current section was the unknown one";
  EXPECT_EQ(file.getErrMsg(), "app.cfg: line 3: unknown section name")
      << "and success clears nothing";
}

TEST(GConfigFile, LoadsFiles) {
  const ScratchDirectory scratch;
  File file;
  const std::string path = scratch.write("a.cfg", "a=1\n");
  EXPECT_TRUE(file.load(path));
  EXPECT_EQ(file.getName(), path);
  EXPECT_EQ(file.log, "a=1;ok");
}

// Whether this process has a file open. On Windows it could not be renamed then; Linux
// tells it in /proc.
bool isOpen(const std::string& path) {
  std::error_code failure;
  std::filesystem::rename(path, path + ".moved", failure);
  if (failure) return true;
  std::filesystem::rename(path + ".moved", path);
  const std::filesystem::path whole = std::filesystem::canonical(path);
  const std::filesystem::directory_iterator open("/proc/self/fd", failure);
  return std::any_of(begin(open), end(open), [&](const auto& entry) {
    return std::filesystem::read_symlink(entry.path(), failure) == whole;
  });
}

TEST(GConfigFile, HasClosedTheFileWhenLoadingIsFinished) {
  class Looking : public File {
   public:
    void finishedLoading(bool /*ok*/) override { states += isOpen(path) ? "open " : "closed "; }
    std::string path;
    std::string states;
  };
  const ScratchDirectory scratch;
  const std::string path = scratch.write("a.cfg", "a=1\n");
  {
    const std::ifstream held(path);
    EXPECT_TRUE(isOpen(path));
  }
  Looking file;
  file.path = path;
  EXPECT_TRUE(file.load(path));
  EXPECT_TRUE(file.load(scratch / "none", scratch.path(), "a.cfg"));
  EXPECT_EQ(file.states, "closed closed ");
}

TEST(GConfigFile, SaysWhatCannotBeOpened) {
  const ScratchDirectory scratch;
  File file;
  EXPECT_FALSE(file.load(scratch / "none"));
  EXPECT_EQ(file.getErrMsg(), scratch / "none" + ": can't open for reading");
  EXPECT_EQ(file.log, "") << "nothing has been loaded";
  EXPECT_FALSE(file.load(scratch.path())) << "a directory";
  ASSERT_TRUE(file.loadText("a=1\nb=2\n"));
  EXPECT_FALSE(file.load(scratch / "none"));
  EXPECT_EQ(file.getErrMsg(), scratch / "none" + ": line 2: can't open for reading")
      << "with the line number of the load before";
}

TEST(GConfigFile, LoadsFromTheFirstOfTwoDirectories) {
  const ScratchDirectory scratch;
  std::filesystem::create_directories(scratch / "1");
  std::filesystem::create_directories(scratch / "2");
  scratch.write("2/a.cfg", "from=2");
  File file;
  EXPECT_TRUE(file.load(scratch / "1", scratch / "2", "a.cfg"));
  EXPECT_EQ(file.getName(), scratch / "2/a.cfg");
  scratch.write("1/a.cfg", "from=1");
  EXPECT_TRUE(file.load(scratch / "1", scratch / "2", "a.cfg"));
  EXPECT_EQ(file.log, "from=2;okfrom=1;ok");
  File other;
  EXPECT_FALSE(other.load(scratch / "1", scratch / "2", "b.cfg"));
  EXPECT_EQ(other.getErrMsg(), scratch / "2/b.cfg" + ": can't open for reading");
  EXPECT_EQ(other.log, "");
}

TEST(GConfigFile, TakesItsOwnNameAndMessageAsArguments) {
  const ScratchDirectory scratch;
  std::filesystem::create_directories(scratch / "b" + scratch.path());
  scratch.write("b" + scratch.path() + "/a.cfg", "from=b");
  File file;
  EXPECT_FALSE(file.load(scratch / "a.cfg"));
  EXPECT_TRUE(file.load(scratch / "a", scratch / "b", file.getName()));
  EXPECT_EQ(file.getName(), scratch / "b/" + scratch / "a.cfg");
  EXPECT_EQ(file.log, "from=b;ok");

  File other;
  EXPECT_FALSE(other.load(scratch.path()));
  EXPECT_TRUE(other.load("none", other.getName(), "b" + scratch / "a.cfg"));
  EXPECT_TRUE(other.load(other.getName()));

  std::istringstream text("a=1\nx");
  EXPECT_FALSE(other.load(other.getErrMsg(), &text));
  EXPECT_EQ(other.getName(), scratch.path() + ": can't open for reading");
}

TEST(GConfigFile, KeepsTheTextOfItsOwnMessage) {
  File file;
  EXPECT_FALSE(file.loadText("a=1\nx"));
  EXPECT_FALSE(file.setErrMsg(file.getErrMsg()));
  EXPECT_EQ(file.getErrMsg(), "app.cfg: line 2: app.cfg: line 2: missing '='");
  std::string log;
  Section section("s", &log);
  section.setErrMsg("why");
  EXPECT_FALSE(section.setErrMsg(section.getErrMsg()));
  EXPECT_EQ(section.getErrMsg(), "why");
  EXPECT_FALSE(section.invalidKey(section.getErrMsg()));
  EXPECT_EQ(section.getErrMsg(), "invalid key: why");
}

TEST(GConfigFile, TellsAReadErrorFromTheEnd) {
  // A buffer that gives a line and then breaks.
  class Broken : public std::streambuf {
   public:
    Broken() { setg(text, text, text + 4); }

   protected:
    int_type underflow() override { throw 1; }

   private:
    char text[5] = "a=1\n";
  };
  Broken buffer;
  std::istream in(&buffer);
  File file;
  EXPECT_FALSE(file.load("app.cfg", &in));
  EXPECT_EQ(file.getErrMsg(), "app.cfg: line 1: read error");
  EXPECT_EQ(file.log, "a=1;failed");
}

TEST(GConfigFile, ComposesMessages) {
  File file;
  EXPECT_FALSE(file.setErrMsg("plain"));
  EXPECT_EQ(file.getErrMsg(), "plain") << "without a name and a line";
  std::istringstream in("a=1");
  ASSERT_TRUE(file.load("", &in));
  file.setErrMsg("text");
  EXPECT_EQ(file.getErrMsg(), "line 1: text");
}

template <typename Value>
struct ParseCase {
  const char* text;
  Value value;
  const char* error;  // null: accepted
};

template <typename Value>
void expectParses(const std::vector<ParseCase<Value>>& cases, Value untouched) {
  std::string log;
  Section section("s", &log);
  for (const auto& c : cases) {
    Value value = untouched;
    section.setErrMsg("");
    EXPECT_EQ(section.parse(c.text, &value), c.error == nullptr) << c.text;
    EXPECT_EQ(value, c.error == nullptr ? c.value : untouched) << c.text;
    EXPECT_EQ(section.getErrMsg(), c.error == nullptr ? "" : c.error) << c.text;
  }
}

TEST(GConfigSection, ParsesTruthValues) {
  const char* error = "boolean value expected";
  expectParses<bool>({{"yes", true, nullptr},
                      {"ON", true, nullptr},
                      {"True", true, nullptr},
                      {"1", true, nullptr}},
                     false);
  expectParses<bool>({{"no", false, nullptr},
                      {"Off", false, nullptr},
                      {"FALSE", false, nullptr},
                      {"0", false, nullptr},
                      {"2", false, error},
                      {"", false, error},
                      {"y", false, error},
                      {" yes", false, error},
                      {"01", false, error}},
                     true);
}

TEST(GConfigSection, ParsesIntegers) {
  const char* expected = "integer value expected";
  const char* range = "integer value out of range";
  expectParses<int>({{"0x10", 16, nullptr},
                     {"010", 8, nullptr},
                     {"10", 10, nullptr},
                     {"-10", -10, nullptr},
                     {"+10", 10, nullptr},
                     {"2147483647", 2147483647, nullptr},
                     {"-2147483648", -2147483647 - 1, nullptr},
                     {"2147483648", 0, range},
                     {"-2147483649", 0, range},
                     {"99999999999", 0, range},
                     {"0xFFFFFFFFF", 0, range},
                     {"99999999999x", 0, expected},
                     {"12a", 0, expected},
                     {"1.5", 0, expected},
                     {"", 0, expected},
                     {"x", 0, expected},
                     {"08", 0, expected},
                     {"1 ", 0, expected}},
                    4711);
}

TEST(GConfigSection, ParsesRealNumbers) {
  const char* expected = "floating point value expected";
  expectParses<double>({{"1.5", 1.5, nullptr},
                        {"-2", -2, nullptr},
                        {".5", .5, nullptr},
                        {"1e3", 1000, nullptr},
                        {"1,5", 0, expected},
                        {"", 0, expected},
                        {"x", 0, expected},
                        {"1.5x", 0, expected}},
                       4711);
}

TEST(GConfigSection, KeepsItsNameAndReason) {
  std::string log;
  Section section("Name", &log);
  EXPECT_EQ(section.getSectionName(), "Name");
  EXPECT_EQ(section.getErrMsg(), "");
  EXPECT_FALSE(section.setErrMsg("why"));
  EXPECT_EQ(section.getErrMsg(), "why");
  EXPECT_FALSE(section.newKeyValue("bad", ""));
  EXPECT_EQ(section.getErrMsg(), "invalid key: bad");
}

TEST(ConfigHostile, HugeLinesAndManyKeysAreRead) {
  File file;
  const std::string value(16 << 20, 'x');
  ASSERT_TRUE(file.loadText("k=" + value + "\n"));
  EXPECT_EQ(file.log.size(), value.size() + 5);
  std::string many;
  for (int i = 0; i < 1000000; ++i) many += "k=v\n";
  File other;
  ASSERT_TRUE(other.loadText(many));
  EXPECT_EQ(other.getLineNumber(), 1000000);
}

TEST(ConfigHostile, ZeroBytesAreBytes) {
  File file;
  ASSERT_TRUE(file.loadText(std::string("a\0b=c\0d", 7)));
  EXPECT_EQ(file.log, std::string("a\0b=c\0d;ok", 10));
}

}  // namespace
}  // namespace loomkit::testing
