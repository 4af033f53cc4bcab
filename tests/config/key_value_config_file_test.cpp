// SPDX-License-Identifier: MIT
#include "loomkit/config/key_value_config_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>
#include <random>
#include <sstream>

#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

using File = GKeyValueConfigFile;
using Texts = std::vector<std::string>;

bool loadText(File& file, const std::string& text) {
  std::istringstream in(text);
  return file.load("app.cfg", &in);
}

std::string valueOf(File& file, const std::string& section, const std::string& key) {
  std::string value = "(none)";
  file.get(section, key, &value);
  return value;
}

TEST(GKeyValueConfigFile, GivesValues) {
  File file;
  ASSERT_TRUE(loadText(file, "top = 1\n[ Window ]\nwidth = 800 \n# c\n[other]\n[window]\nname=\n"));
  EXPECT_EQ(valueOf(file, "", "top"), "1");
  EXPECT_EQ(valueOf(file, "Window", "width"), "800");
  EXPECT_EQ(valueOf(file, "window", "name"), "");
  EXPECT_TRUE(file.has("WINDOW", "name"));
  EXPECT_FALSE(file.has("window", "Name"));
  EXPECT_EQ(file.getSections(), (Texts{"window", "other"}));
  EXPECT_EQ(file.getKeys("window"), (Texts{"width", "name"}));
  EXPECT_EQ(file.getKeys(""), Texts{"top"});
  EXPECT_EQ(file.getKeys("none"), Texts{});
  std::string value = "before";
  EXPECT_FALSE(file.get("window", "x", &value));
  EXPECT_EQ(value, "before");
  EXPECT_EQ(file.getErrMsg(), "app.cfg: there is no key x");
}

TEST(GKeyValueConfigFile, GivesTypedValues) {
  File file;
  ASSERT_TRUE(loadText(file, "b=yes\ni=0x10\nd=1.5\n\nx=wrong\n"));
  bool truth = false;
  int number = 0;
  double real = 0;
  EXPECT_TRUE(file.get("", "b", &truth) && truth);
  EXPECT_TRUE(file.get("", "i", &number) && number == 16);
  EXPECT_TRUE(file.get("", "d", &real) && real == 1.5);
  EXPECT_FALSE(file.get("", "x", &number));
  EXPECT_EQ(file.getErrMsg(), "app.cfg: line 5: x: integer value expected");
  EXPECT_FALSE(file.get("", "none", &real));
}

struct SetCase {
  const char* before;
  const char* section;
  const char* key;
  const char* value;
  const char* after;
};

class ConfigSetting : public ::testing::TestWithParam<SetCase> {};

TEST_P(ConfigSetting, ChangesOneLine) {
  File file;
  ASSERT_TRUE(loadText(file, GetParam().before));
  EXPECT_TRUE(file.set(GetParam().section, GetParam().key, GetParam().value));
  EXPECT_EQ(file.getText(), GetParam().after);
  EXPECT_EQ(valueOf(file, GetParam().section, GetParam().key), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    GKeyValueConfigFile, ConfigSetting,
    ::testing::Values(
        // A value that is there.
        SetCase{"a=1\nb=2\n", "", "a", "x", "a=x\nb=2\n"},
        SetCase{"  a  =  1  \r\nb=2\n", "", "a", "x y", "  a  =  x y  \r\nb=2\n"},
        SetCase{"a=\n", "", "a", "x", "a=x\n"}, SetCase{"a =  \n", "", "a", "x", "a =  x\n"},
        SetCase{"a=1", "", "a", "2", "a=2"}, SetCase{"a=1\n", "", "a", "", "a=\n"},
        SetCase{"[s]\na=1\na=2\n", "S", "a", "3", "[s]\na=1\na=3\n"},
        SetCase{"\xef\xbb\xbf"
                "a=1\n",
                "", "a", "2",
                "\xef\xbb\xbf"
                "a=2\n"},
        SetCase{"\xef\xbb\xbf[s]\na=1\n", "s", "a", "2", "\xef\xbb\xbf[s]\na=2\n"},
        // A new key.
        SetCase{"", "", "a", "1", "a = 1\n"},
        SetCase{"[s]\na=1\n\n# next\n[t]\n", "s", "b", "2", "[s]\na=1\nb = 2\n\n# next\n[t]\n"},
        SetCase{"[s]\n[t]\n", "s", "b", "2", "[s]\nb = 2\n[t]\n"},
        SetCase{"[s]\r\na=1", "s", "b", "2", "[s]\r\na=1\r\nb = 2"},
        SetCase{"# c\n\n[t]\n", "", "b", "2", "# c\n\nb = 2\n[t]\n"},
        SetCase{"x=1\n# c\n[t]\n", "", "b", "2", "x=1\nb = 2\n# c\n[t]\n"},
        SetCase{"[s]\na=1\n[t]\n[s]\nc=3\n", "s", "b", "2", "[s]\na=1\n[t]\n[s]\nc=3\nb = 2\n"},
        // A new section.
        SetCase{"", "New", "b", "2", "[New]\nb = 2\n"},
        SetCase{"a=1\n", "n", "b", "2", "a=1\n\n[n]\nb = 2\n"},
        SetCase{"a=1\r\n\r\n", "n", "b", "2", "a=1\r\n\r\n[n]\r\nb = 2\r\n"},
        SetCase{"a=1", "n", "b", "2", "a=1\n\n[n]\nb = 2"}));

TEST(GKeyValueConfigFile, RefusesWhatTheSyntaxCannotHold) {
  File file;
  ASSERT_TRUE(loadText(file, "a=1\n"));
  struct Case {
    const char* section;
    const char* key;
    const char* value;
  };
  for (const Case& c :
       {Case{"", "", "v"}, Case{"", "a=b", "v"}, Case{"", "#a", "v"}, Case{"", "[a", "v"},
        Case{"", " a", "v"}, Case{"", "a", " v"}, Case{"", "a", "v "}, Case{"", "a", "v\nw"},
        Case{"", "a\nb", "v"}, Case{"", "a", "v\r"}, Case{"a]b", "a", "v"}, Case{" a", "a", "v"},
        Case{"a\nb", "a", "v"}}) {
    EXPECT_FALSE(file.set(c.section, c.key, c.value)) << c.key << "=" << c.value;
    EXPECT_NE(file.getErrMsg(), "");
  }
  EXPECT_EQ(file.getText(), "a=1\n");
  EXPECT_TRUE(file.set("", "a", "# [x] = y"));
  EXPECT_EQ(valueOf(file, "", "a"), "# [x] = y");
}

TEST(GKeyValueConfigFile, RemovesEveryLineOfAKey) {
  File file;
  ASSERT_TRUE(loadText(file, "[s]\na=1\n# c\na=2\nb=3\n[t]\na=4\n"));
  EXPECT_TRUE(file.unset("S", "a"));
  EXPECT_EQ(file.getText(), "[s]\n# c\nb=3\n[t]\na=4\n");
  EXPECT_FALSE(file.unset("s", "a"));
  EXPECT_EQ(file.getErrMsg(), "app.cfg: there is no key a");
  EXPECT_EQ(valueOf(file, "t", "a"), "4");
}

TEST(GKeyValueConfigFile, AFailedLoadChangesNothing) {
  const ScratchDirectory scratch;
  File file;
  ASSERT_TRUE(loadText(file, "a=1\n"));
  std::istringstream in("b=2\nword\n");
  EXPECT_FALSE(file.load("other", &in));
  EXPECT_EQ(file.getErrMsg(), "other: line 2: missing '='");
  EXPECT_FALSE(file.load(scratch / "none"));
  EXPECT_EQ(file.getErrMsg(), scratch / "none" + ": can't open for reading");
  EXPECT_EQ(file.getText(), "a=1\n");
  EXPECT_EQ(file.getName(), "app.cfg");
}

TEST(GKeyValueConfigFile, SavesInOneStep) {
  const ScratchDirectory scratch;
  const std::string path = scratch.write("a.cfg", "a=1\r\nb=2");
  ::chmod(path.c_str(), 0600);
  std::filesystem::create_symlink("a.cfg", scratch / "link");
  File file;
  ASSERT_TRUE(file.load(scratch / "link"));
  EXPECT_TRUE(file.set("", "b", "3") && file.save());
  EXPECT_EQ(scratch.read("a.cfg"), "a=1\r\nb=3");
  EXPECT_TRUE(std::filesystem::is_symlink(scratch / "link"));
  struct stat status {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  EXPECT_FALSE(file.save(scratch / "none/a.cfg"));
  EXPECT_EQ(file.getErrMsg(), scratch / "none/a.cfg" + ": No such file or directory");
  EXPECT_EQ(file.getName(), scratch / "link");
}

TEST(GKeyValueConfigFile, CopiesAreTheirOwn) {
  File file;
  ASSERT_TRUE(loadText(file, "\xef\xbb\xbf[s]\na=1\n"));
  EXPECT_FALSE(file.set("s", "", "x"));
  File copy;
  copy = file;
  ASSERT_TRUE(file.set("s", "a", "2"));
  file = *&file;
  EXPECT_EQ(file.getText(), "\xef\xbb\xbf[s]\na=2\n");
  EXPECT_EQ(copy.getText(), "\xef\xbb\xbf[s]\na=1\n");
  EXPECT_EQ(copy.getName(), "app.cfg");
  EXPECT_NE(copy.getErrMsg(), "");
}

TEST(GKeyValueConfigFile, ChecksAgainstRules) {
  File file;
  ASSERT_TRUE(loadText(file,
                       "[Window]\nwidth=x\nheight=5\nname=any\nwdith=1\n[log]\na.level=2\n"
                       "scale=1.5\nshare=half\n"));
  const std::vector<File::Rule> rules = {{"Window", "width", File::Int},
                                         {"log", "s*e", File::Double},
                                         {"window", "height", File::Int},
                                         {"window", "name", File::Text},
                                         {"*", "*.level", File::Bool}};
  EXPECT_EQ(file.check(rules), (Texts{"app.cfg: line 2: width: integer value expected",
                                      "app.cfg: line 5: unknown key: wdith",
                                      "app.cfg: line 7: a.level: boolean value expected",
                                      "app.cfg: line 9: share: floating point value expected"}));
  EXPECT_EQ(file.check({{"*", "*", File::Text}}), Texts{});
}

// A file of any shape: what its lines are is known beside it.
std::string randomFile(std::mt19937& random, std::map<std::string, std::string>* values) {
  const char* ends[] = {"\n", "\r\n"};
  const char* blanks[] = {"", " ", "\t ", "  "};
  const auto blank = [&] { return blanks[random() % 4]; };
  std::string text = random() % 4 == 0 ? "\xef\xbb\xbf" : "";
  std::string section;
  const int count = static_cast<int>(random() % 30);
  for (int i = 0; i < count; ++i) {
    const std::string word = "w" + std::to_string(random() % 8);
    switch (random() % 6) {
      case 0:
        text += blank() + std::string("# comment = ") + word;
        break;
      case 1:
        text += blank();
        break;
      case 2:
        section = word;
        text += blank() + std::string("[") + blank() + word + blank() + "]" + blank();
        break;
      default:
        const std::string value = random() % 5 == 0 ? "" : "v=" + std::to_string(random());
        (*values)[section + "/" + word] = value;
        text += blank() + word + blank() + "=" + blank() + value + blank();
    }
    if (i + 1 < count || random() % 2 == 0) text += ends[random() % 2];
  }
  return text;
}

Texts linesOf(const std::string& text) {
  Texts lines(1);
  for (const char c : text) {
    lines.back() += c;
    if (c == '\n') lines.emplace_back();
  }
  return lines;
}

TEST(GKeyValueConfigFile, OneChangedValueChangesExactlyItsLine) {
  std::mt19937 random(20261121);
  int changes = 0;
  for (int round = 0; round < 1000; ++round) {
    std::map<std::string, std::string> values;
    const std::string text = randomFile(random, &values);
    File file;
    ASSERT_TRUE(loadText(file, text)) << file.getErrMsg() << "\n" << text;
    ASSERT_EQ(file.getText(), text) << "round " << round;
    for (const auto& [name, value] : values) {
      const std::size_t slash = name.find('/');
      ASSERT_EQ(valueOf(file, name.substr(0, slash), name.substr(slash + 1)), value) << text;
    }
    if (values.empty()) continue;
    const auto chosen = std::next(values.begin(), static_cast<long>(random() % values.size()));
    const std::string section = chosen->first.substr(0, chosen->first.find('/'));
    const std::string key = chosen->first.substr(section.size() + 1);
    ASSERT_TRUE(file.set(section, key, "changed"));
    const Texts before = linesOf(text);
    const Texts after = linesOf(file.getText());
    ASSERT_EQ(before.size(), after.size());
    int different = 0;
    for (std::size_t i = 0; i < before.size(); ++i) different += before[i] != after[i] ? 1 : 0;
    ASSERT_EQ(different, 1) << text;
    File again;
    ASSERT_TRUE(loadText(again, file.getText()));
    chosen->second = "changed";
    for (const auto& [name, value] : values) {
      const std::size_t slash = name.find('/');
      ASSERT_EQ(valueOf(again, name.substr(0, slash), name.substr(slash + 1)), value);
    }
    ++changes;
  }
  EXPECT_GT(changes, 800);
}

TEST(GKeyValueConfigFile, IsReadBackAfterAnyChange) {
  std::mt19937 random(4711);
  for (int round = 0; round < 300; ++round) {
    std::map<std::string, std::string> values;
    File file;
    ASSERT_TRUE(loadText(file, randomFile(random, &values)));
    for (int step = 0; step < 10; ++step) {
      const std::string section = random() % 3 == 0 ? "" : "w" + std::to_string(random() % 10);
      const std::string key = "w" + std::to_string(random() % 10);
      if (random() % 3 == 0) {
        ASSERT_EQ(file.unset(section, key), values.erase(section + "/" + key) == 1);
      } else {
        const std::string value = std::to_string(random());
        ASSERT_TRUE(file.set(section, key, value)) << file.getErrMsg();
        values[section + "/" + key] = value;
      }
      File again;
      ASSERT_TRUE(loadText(again, file.getText())) << again.getErrMsg() << file.getText();
      for (const auto& [name, value] : values) {
        const std::size_t slash = name.find('/');
        ASSERT_EQ(valueOf(again, name.substr(0, slash), name.substr(slash + 1)), value)
            << file.getText();
      }
    }
  }
}

// The obvious way: the lines of a file in a row, each change a walk over them.
class LinesInARow {
 public:
  void set(const std::string& section, const std::string& key, const std::string& value) {
    std::size_t behind = 0;
    bool known = section.empty();
    for (std::size_t i = lines.size(); i-- > 0 && behind == 0;) {
      if (lines[i].section != section) continue;
      known = true;
      if (lines[i].blank) continue;
      behind = i + 1;
    }
    for (std::size_t i = lines.size(); i-- > 0;) {
      if (lines[i].section != section || lines[i].key != key || lines[i].blank) continue;
      lines[i].text = key + " = " + value;
      return;
    }
    if (!known) {
      if (!lines.empty() && !lines.back().text.empty()) {
        lines.push_back({lines.back().section, "", "", true});
      }
      lines.push_back({section, "", "[" + section + "]", false});
      behind = lines.size();
    }
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(behind),
                 {section, key, key + " = " + value, false});
  }
  bool unset(const std::string& section, const std::string& key) {
    return std::erase_if(lines, [&](const Line& line) {
             return !line.blank && line.section == section && line.key == key;
           }) > 0;
  }
  [[nodiscard]] std::string text() const {
    std::string all;
    for (const Line& line : lines) all += line.text + "\n";
    return all;
  }

 private:
  struct Line {
    std::string section, key, text;
    bool blank;
  };
  std::vector<Line> lines;
};

TEST(GKeyValueConfigFile, ChangesLikeLinesInARow) {
  std::mt19937 random(17);
  for (int round = 0; round < 20; ++round) {
    File file;
    LinesInARow model;
    // More and more keys, then fewer, so that places are used again.
    for (int step = 0; step < 3000; ++step) {
      const auto number = random() % 6;
      const std::string section = number == 0 ? "" : "s" + std::to_string(number);
      const std::string key = "k" + std::to_string(random() % 150);
      if (random() % 100 < (step / 600 % 2 == 0 ? 30U : 70U)) {
        ASSERT_EQ(file.unset(section, key), model.unset(section, key));
      } else {
        const std::string value = std::to_string(step);
        ASSERT_TRUE(file.set(section, key, value));
        model.set(section, key, value);
      }
      if (step % 50 != 0) continue;
      ASSERT_EQ(file.getText(), model.text()) << round << " " << step;
    }
    ASSERT_EQ(file.getText(), model.text());
    const File copy = file;
    ASSERT_TRUE(file.set("", "other", "1"));
    ASSERT_EQ(copy.getText(), model.text()) << "a copy is its own";
  }
}

TEST(GKeyValueConfigFile, RemovesAllLinesOfAKeyThatIsSetOftenAndElsewhere) {
  File file;
  ASSERT_TRUE(loadText(file, "a=1\n[s]\na=2\nb=3\na=4\n[t]\na=5\n[s]\na=6\n"));
  EXPECT_EQ(valueOf(file, "s", "a"), "6");
  EXPECT_TRUE(file.unset("S", "a"));
  EXPECT_EQ(file.getText(), "a=1\n[s]\nb=3\n[t]\na=5\n[s]\n");
  EXPECT_FALSE(file.unset("s", "a"));
  EXPECT_TRUE(file.set("s", "c", "7"));
  EXPECT_EQ(file.getText(), "a=1\n[s]\nb=3\n[t]\na=5\n[s]\nc = 7\n");
  EXPECT_EQ(file.getKeys("s"), (Texts{"b", "c"}));
}

// Neither the listing nor the adding may look at every line for each step.
TEST(GKeyValueConfigFile, ManySectionsAndNewKeysCostNoMoreEach) {
  File file;
  for (int i = 0; i < 50000; ++i) {
    const std::string number = std::to_string(i);
    ASSERT_TRUE(file.set("s" + number, "k" + number, number));
  }
  std::size_t keys = 0;
  for (const std::string& section : file.getSections()) keys += file.getKeys(section).size();
  EXPECT_EQ(keys, 50000U);
  EXPECT_EQ(valueOf(file, "s49999", "k49999"), "49999");
  for (int i = 0; i < 200000; ++i) ASSERT_TRUE(file.set("s0", "n" + std::to_string(i), "v"));
  for (int i = 0; i < 200000; ++i) ASSERT_TRUE(file.unset("s0", "n" + std::to_string(i)));
  EXPECT_EQ(file.getKeys("s0"), Texts{"k0"});
}

TEST(GKeyValueConfigFile, HoldsLongLinesAndAnyBytes) {
  const std::string huge(16 << 20, 'x');
  const std::string text = "a=" + huge + "\r\n" + std::string("n\0n=\0\n#\0\n", 9) + "b=1\rc=2\n";
  File file;
  ASSERT_TRUE(loadText(file, text));
  EXPECT_EQ(valueOf(file, "", "a"), huge);
  EXPECT_EQ(valueOf(file, "", std::string("n\0n", 3)), std::string(1, '\0'));
  EXPECT_EQ(valueOf(file, "", "b"), "1\rc=2") << "a lone CR ends no line";
  EXPECT_EQ(file.getText(), text);
}

TEST(GKeyValueConfigFile, HoldsAMillionKeys) {
  std::string text;
  for (int i = 0; i < 1000000; ++i) text += "k" + std::to_string(i) + "=v\n";
  File file;
  ASSERT_TRUE(loadText(file, text));
  EXPECT_TRUE(file.set("", "k999999", "last"));
  EXPECT_EQ(valueOf(file, "", "k0"), "v");
  EXPECT_EQ(valueOf(file, "", "k999999"), "last");
}

}  // namespace
}  // namespace loomkit::testing
