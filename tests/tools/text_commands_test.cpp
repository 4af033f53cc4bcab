// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "run_program.h"

namespace {

using namespace loomkit::testing;
using Json = nlohmann::json;
using Words = std::vector<std::string>;

struct Row {
  Words words;
  int code;
  std::string out;
  std::string input = {};
};

std::ostream& operator<<(std::ostream& stream, const Row& row) {
  for (const std::string& word : row.words) stream << word << ' ';
  return stream;
}

class TextCommand : public ::testing::TestWithParam<Row> {};

TEST_P(TextCommand, PrintsAndReturns) {
  Words words = GetParam().words;
  words.insert(words.begin(), "text");
  const Ended ended = runLoom(words, GetParam().input);
  EXPECT_EQ(ended.code, GetParam().code) << ended.err;
  EXPECT_EQ(ended.out, GetParam().out);
}

INSTANTIATE_TEST_SUITE_P(
    Table, TextCommand,
    ::testing::Values(
        Row{{"match", "*.txt", "a.txt", "b.c"}, 0, "a.txt\n"},
        Row{{"match", "*.txt", "b.c"}, 1, ""},
        Row{{"quote", "-1 +", "--", "--json", "--", "++"},
            0,
            "\"-1 +\"\n\"--json\"\n\"--\"\n\"++\"\n"},
        Row{{"quote", "-x"}, 2, ""}, Row{{"distance", "a", "b", "c"}, 2, ""},
        Row{{"match", "-v", "*.txt", "a.txt", "b.c"}, 0, "b.c\n"},
        Row{{"match", "-q", "*", "a"}, 0, ""}, Row{{"match", "--path", "*", "a/b"}, 1, ""},
        Row{{"match", "--period", "*", ".x"}, 1, ""}, Row{{"match", "a\\*", "a*", "ab"}, 0, "a*\n"},
        Row{{"match", "--no-escape", "a\\*", "a\\b"}, 0, "a\\b\n"},
        // Words in brackets and braces reach the command as they are.
        Row{{"match", "[ab]", "a", "[ab]"}, 0, "a\n"},
        Row{{"match", "*", "[a,b]", "{}", "%%"}, 0, "[a,b]\n{}\n%%\n"},
        Row{{"match", "*", "-"}, 0, "one\ntwo\n", "one\r\ntwo"},
        Row{{"match", "*", "-"}, 1, "", ""}, Row{{"distance", "abc", "acb"}, 0, "1\n"},
        Row{{"distance", "abc", ""}, 0, "3\n"},
        Row{{"distance", "--anywhere", "bc", "xxbcxx"}, 0, "0\n"},
        Row{{"escape", "a b/c"}, 0, "a%20b%2Fc\n"},
        Row{{"escape", "--allow", "/", "a b/c!"}, 0, "a%20b/c%21\n"},
        Row{{"escape", "--allow", "", "a!"}, 0, "a%21\n"},
        Row{{"unescape", "a%2fb%zz"}, 0, "a/b%zz\n"},
        Row{{"unescape", "a%00b"}, 0, std::string("a\0b\n", 4)},
        Row{{"normalize", "a%7e%2fb c", "100%"}, 0, "a~%2Fb%20c\n100%25\n"},
        Row{{"basename", "/usr/lib/", "/", "", "C:/a/b"}, 0, "lib\n/\n.\nb\n"},
        Row{{"basename", "-s", ".txt", "a.txt", ".txt"}, 0, "a\n.txt\n"},
        Row{{"dirname", "/usr/lib", "usr", "C:foo", "//srv/share/x"},
            0,
            "/usr\n.\nC:.\n//srv/share/\n"},
        Row{{"quote", "a\n\"\x01"}, 0, "\"a\\n\\\"\\001\"\n"},
        Row{{"quote", "-"}, 0, "\"one\"\n\"\"\n", "one\n\n"},
        Row{{"unquote", "\"a\\x41\\101\""}, 0, "aAA\n"}, Row{{"unquote", "  \"a\"  "}, 0, "a\n"},
        Row{{"unquote", "\"a\"", "\"open"}, 4, ""}, Row{{"unquote", "\"a\"b"}, 4, ""},
        Row{{"unquote", "a"}, 4, ""}, Row{{"distance", "a"}, 2, ""}, Row{{"escape"}, 2, ""},
        Row{{"nothing"}, 2, ""}));

TEST(TextCommands, PrintValidJsonForAnyBytes) {
  const std::string bytes = "caf\xE9\t\"";
  for (const char* const command :
       {"escape", "unescape", "normalize", "basename", "dirname", "quote"}) {
    const Ended ended = runLoom({"text", command, "--json", bytes, "b"});
    ASSERT_EQ(ended.code, 0) << command << ended.err;
    const Json json = Json::parse(ended.out);
    ASSERT_EQ(json.size(), 2U);
    EXPECT_EQ(json[0]["text"], "caf\xEF\xBF\xBD\t\"");
    EXPECT_EQ(json[1]["text"], "b");
    EXPECT_TRUE(json[1]["result"].is_string());
  }
  EXPECT_EQ(Json::parse(runLoom({"text", "match", "--json", "a*", "ab", "b"}).out),
            Json::parse(R"([{"text":"ab","matches":true},{"text":"b","matches":false}])"));
  EXPECT_EQ(Json::parse(runLoom({"text", "distance", "--json", "ab", "b"}).out),
            Json::parse(R"({"a":"ab","b":"b","distance":1})"));
  EXPECT_EQ(Json::parse(runLoom({"text", "unquote", "--json", "\"x\""}).out),
            Json::parse(R"([{"text":"\"x\"","result":"x"}])"));
  EXPECT_EQ(Json::parse(runLoom({"text", "match", "--json", "a", "-"}).out), Json::array());
}

TEST(TextCommands, RefuseTextsTooLongForTheDistance) {
  const std::string script =
      "a=$(head -c 100001 /dev/zero | tr '\\0' a); loom text distance \"$a\" b";
  EXPECT_EQ(shell(script).code, 2);
}

}  // namespace
