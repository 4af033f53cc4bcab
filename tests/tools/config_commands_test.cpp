// SPDX-License-Identifier: MIT
// loom config: exit codes, differences and what stays as it is; the plain cases
// are the examples of the commands.
#include <gtest/gtest.h>

#include "run_program.h"

namespace {

using namespace loomkit::testing;

class ConfigCommand : public ::testing::Test {
 protected:
  ConfigCommand() : path(newFolder() + "/app.cfg") {}
  void write(const std::string& text) { writeFile(path, text); }
  Ended run(std::vector<std::string> words) {
    words.insert(words.begin() + 1, path);
    words.insert(words.begin(), "config");
    return runLoom(words);
  }
  std::string path;
};

TEST_F(ConfigCommand, PrintsJson) {
  write("a=1\n[S]\nb = x\n");
  EXPECT_EQ(run({"ls", "--json"}), (Ended{0,
                                          "[\n{\"section\":\"\",\"key\":\"a\",\"value\":\"1\"},\n"
                                          "{\"section\":\"s\",\"key\":\"b\",\"value\":\"x\"}\n]\n",
                                          ""}));
  EXPECT_EQ(run({"get", "b", "-s", "s", "--json"}), (Ended{0, "\"x\"\n", ""}));
}

TEST_F(ConfigCommand, SaysWhatIsMissingOrWrong) {
  EXPECT_EQ(run({"ls"}),
            (Ended{3, "", "loom: cannot open " + path + ": No such file or directory\n"}));
  write("a=1\nword\n");
  EXPECT_EQ(run({"ls"}), (Ended{4, "", "loom: " + path + ": line 2: missing '='\n"}));
  EXPECT_EQ(run({"check"}).code, 4);
  write("a=1\n");
  EXPECT_EQ(run({"get", "b"}), (Ended{1, "", "loom: " + path + ": there is no key b\n"}));
  EXPECT_EQ(run({"unset", "b"}).code, 1);
  EXPECT_EQ(run({"set", "a=b", "1"}).code, 2);
  EXPECT_EQ(readFile(path), "a=1\n");
}

TEST_F(ConfigCommand, MakesAMissingFileOnlyWhenTold) {
  EXPECT_EQ(run({"set", "a", "1"}),
            (Ended{3, "",
                   "loom: cannot open " + path +
                       ": No such file or directory\nWith --create, it would be made.\n"}));
  EXPECT_EQ(run({"set", "a", "1", "--create", "--dry-run"}), (Ended{0, "line 1\n+a = 1\n", ""}));
  EXPECT_EQ(run({"get", "a"}).code, 3) << "a dry run makes nothing";
  EXPECT_EQ(run({"set", "a", "1", "--create", "-s", "s"}), (Ended{0, "", ""}));
  EXPECT_EQ(run({"set", "b", "2", "--create"}), (Ended{0, "", ""}));
  EXPECT_EQ(run({"get", "a", "-s", "s"}).out, "1\n");
  EXPECT_EQ(run({"get", "b"}).out, "2\n");
  EXPECT_EQ(runLoom({"config", "set", "--create", path + "/no/dir", "a", "1"}).code, 3);
  EXPECT_EQ(runLoom({"config", "set", "--create", "/nonexistent/app.cfg", "a", "1"}).code, 6);
}

TEST_F(ConfigCommand, SuggestsKeysAndSections) {
  write("level=1\n[window]\nwidth=2\n");
  EXPECT_TRUE(run({"get", "levle"}).err.ends_with("; did you mean 'level'?\n"));
  EXPECT_TRUE(run({"get", "widht", "-s", "window"}).err.ends_with("; did you mean 'width'?\n"));
  EXPECT_TRUE(run({"get", "width", "-s", "windwo"}).err.ends_with("; did you mean 'window'?\n"));
  EXPECT_TRUE(run({"unset", "levle"}).err.ends_with("; did you mean 'level'?\n"));
  EXPECT_TRUE(run({"get", "other"}).err.ends_with("there is no key other\n"));
}

TEST_F(ConfigCommand, ShowsTheDifferenceAsJson) {
  write("a=1\n");
  EXPECT_EQ(run({"set", "a", "2", "-n", "--json"}),
            (Ended{0, "{\"line\":1,\"before\":[\"a=1\"],\"after\":[\"a=2\"]}\n", ""}));
  EXPECT_EQ(run({"set", "a", "1", "-n", "--json"}),
            (Ended{0, "{\"line\":2,\"before\":[],\"after\":[]}\n", ""}));
}

TEST_F(ConfigCommand, ShowsTheDifferenceAndChangesNothing) {
  const std::string text = "a=1\r\n# c\r\n[s]\r\nb = 2\r\n";
  write(text);
  EXPECT_EQ(run({"set", "b", "3", "-s", "s", "-n"}),
            (Ended{0, "line 4\n-b = 2\r\n+b = 3\r\n", ""}));
  EXPECT_EQ(run({"set", "c", "4", "-s", "t", "-n"}),
            (Ended{0, "line 5\n+\r\n+[t]\r\n+c = 4\r\n", ""}));
  EXPECT_EQ(run({"set", "b", "2", "-s", "s", "-n"}), (Ended{0, "", ""}));
  EXPECT_EQ(readFile(path), text);
  EXPECT_EQ(run({"set", "b", "3", "-s", "s"}), (Ended{0, "", ""}));
  EXPECT_EQ(readFile(path), "a=1\r\n# c\r\n[s]\r\nb = 3\r\n");
}

TEST_F(ConfigCommand, ChecksAgainstASchema) {
  write("[log]\nlevel = high\nfiel = x\n");
  const std::string schema = path + ".schema";
  writeFile(schema, "[*]\nlevel = int\nfile = text\n");
  EXPECT_EQ(run({"check", "--schema", schema}),
            (Ended{4,
                   path + ": line 2: level: integer value expected\n" + path +
                       ": line 3: unknown key: fiel\n",
                   ""}));
  write("[log]\nlevel = 3\n");
  EXPECT_EQ(run({"check", "--schema", schema}), (Ended{0, "", ""}));
  writeFile(schema, "level = integer\n");
  EXPECT_EQ(run({"check", "--schema", schema}).code, 4);
}

TEST_F(ConfigCommand, KeepsTheOldFileWhenItCannotWrite) {
  write("a=1\n");
  const std::string script = "ulimit -f 0; trap '' XFSZ; loom config set '" + path + "' a 2";
  const Ended ended = shell(script);
  EXPECT_EQ(ended.code, 6) << ended;
  EXPECT_EQ(readFile(path), "a=1\n");
}

}  // namespace
