// SPDX-License-Identifier: MIT
// loom object: places of mistakes, and JSON in both directions.
#include <gtest/gtest.h>

#include "run_program.h"

namespace {

using namespace loomkit::testing;

struct Row {
  std::vector<std::string> words;
  const char* input;
  Ended ended;
};

TEST(ObjectCommand, PrintsAndComplains) {
  for (const Row& row : {
           Row{{"check", "-"}, "[1,\n 2 3]", {4, "", "loom: -:2:4: ',' or ']' expected\n"}},
           Row{{"check", "-"}, "", {4, "", "loom: -:1:1: unexpected end\n"}},
           Row{{"check", "-"}, "NULL", {0, "", ""}},
           Row{{"check", "--json", "-"}, "NULL", {0, "null\n", ""}},
           Row{{"check", "--json", "-"},
               "[1,\n 2 3]",
               {4, "{\"line\":2,\"column\":4,\"reason\":\"',' or ']' expected\"}\n", ""}},
           Row{{"fmt", "-"}, "NULL\n", {0, "NULL\n", ""}},
           Row{{"fmt", "/none"},
               "",
               {3, "", "loom: cannot open /none: No such file or directory\n"}},
           Row{{"get", "-", "0"}, "[7]", {0, "7\n", ""}},
           Row{{"get", "-", "1"}, "[7]", {1, "", "loom: there is no element 1\n"}},
           Row{{"get", "-", "0.0"}, "[7]", {1, "", "loom: there is no element 0.0\n"}},
           Row{{"get", "-", "-1"}, "[7]", {1, "", "loom: there is no element -1\n"}},
           Row{{"get", "-", "a"}, "[7]", {2, "", "loom: not an index: a\n"}},
           Row{{"get", "-", "0."}, "[7]", {2, "", "loom: not an index: 0.\n"}},
           Row{{"get", "-", "1", "--json"},
               "[7, @(@s, n)]",
               {0, "{\"list\":[{\"symbol\":\"s\"},{\"name\":\"n\"}]}\n", ""}},
       }) {
    std::vector<std::string> words = row.words;
    words.insert(words.begin(), "object");
    if (words.back() == "-1") words.insert(words.end() - 1, "--");
    EXPECT_EQ(runLoom(words, row.input), row.ended) << row.input;
  }
}

TEST(ObjectCommand, BreaksLongSequences) {
  std::string text =
      "[\"" + std::string(40, 'a') + "\", @(\"" + std::string(40, 'b') + "\", 1), []]";
  const Ended ended = runLoom({"object", "fmt", "-"}, text);
  EXPECT_EQ(ended.out, "[\n  \"" + std::string(40, 'a') + "\",\n  @(\"" + std::string(40, 'b') +
                           "\", 1),\n  []\n]\n");
  EXPECT_EQ(runLoom({"object", "fmt", "-c", "-"}, ended.out).out, text + "\n");
}

TEST(ObjectCommand, DoesNotIndentForEver) {
  std::string text = "1";
  for (int depth = 0; depth < 9000; ++depth) text = "[" + text + ", 2]";
  const Ended ended = runLoom({"object", "fmt", "-"}, text);
  EXPECT_EQ(ended.code, 0);
  EXPECT_LT(ended.out.size(), text.size() + 10000);
  EXPECT_EQ(runLoom({"object", "fmt", "-c", "-"}, ended.out).out, text + "\n");
}

struct JsonRow {
  const char* notation;
  const char* json;
};

TEST(ObjectCommand, ExportsAndImportsJson) {
  for (const JsonRow& row :
       {JsonRow{"NULL", "null"}, JsonRow{"42", "42"}, JsonRow{"-2147483648", "-2147483648"},
        JsonRow{"1.5", "1.5"}, JsonRow{"0.1", "0.1"}, JsonRow{"\"a\\\"b\"", "\"a\\\"b\""},
        JsonRow{"[]", "[]"}, JsonRow{"@()", "{}"},
        JsonRow{"[@(), @([\"a\", @()])]", "[{},{\"a\":{}}]"}, JsonRow{"5000000000", "5000000000"},
        JsonRow{"[-5000000000]", "[-5000000000]"}, JsonRow{"[1, [2], NULL]", "[1,[2],null]"},
        JsonRow{"@([\"a\", 1], [\"b\", [2]])", "{\"a\":1,\"b\":[2]}"},
        JsonRow{"@([\"a\", @([\"b\", NULL])])", "{\"a\":{\"b\":null}}"},
        JsonRow{"[true, false]", "[true,false]"}}) {
    Ended ended = runLoom({"object", "fmt", "--json", "-"}, row.notation);
    std::string json = ended.out;
    json.erase(std::remove(json.begin(), json.end(), '\n'), json.end());
    EXPECT_EQ(json, row.json);
    EXPECT_EQ(runLoom({"object", "fmt", "--from", "json", "-"}, row.json).out,
              std::string(row.notation) + "\n");
  }
}

TEST(ObjectCommand, KeepsNumbersExactOrRefusesThem) {
  const auto imported = [](const char* json) {
    return runLoom({"object", "fmt", "--from", "json", "--json", "-"}, json);
  };
  EXPECT_EQ(imported("0.30000000000000004").out, "0.30000000000000004\n");
  EXPECT_EQ(imported("9007199254740992").out, "9007199254740992\n");
  EXPECT_EQ(imported("9007199254740993").code, 4);
  EXPECT_EQ(runLoom({"object", "fmt", "--from", "json", "-"}, "[-1000000000000000]"),
            (Ended{4, "", "loom: -:1:2: number out of range: -1000000000000000\n"}))
      << "the notation has 15 digits";
  EXPECT_EQ(imported("18446744073709551615").code, 4);
  EXPECT_EQ(imported("1e999").code, 4);
  EXPECT_EQ(imported("2147483648").out, "2147483648\n");
}

TEST(ObjectCommand, SaysWhereJsonIsWrong) {
  const Ended ended = runLoom({"object", "check", "--from", "json", "-"}, "[1,\n 2 3]");
  EXPECT_EQ(ended.code, 4);
  EXPECT_EQ(ended.err.substr(0, 13), "loom: -:2:4: ") << ended;
  const std::string deep(20000, '[');
  EXPECT_EQ(runLoom({"object", "check", "--from", "json", "-"}, deep).code, 4);
}

TEST(ObjectCommand, ReadsNoNumberAsAnother) {
  const auto formatted = [](const char* notation) {
    return runLoom({"object", "fmt", "-"}, notation);
  };
  EXPECT_EQ(formatted("[2147483647, 2147483648, -2147483649, 0x100000000]").out,
            "[2147483647, 2147483648, -2147483649, 4294967296]\n");
  EXPECT_EQ(formatted("[1,\n 9007199254740993]"),
            (Ended{4, "", "loom: -:2:2: number out of range: 9007199254740993\n"}));
  EXPECT_EQ(formatted("99999999999999999999"),
            (Ended{4, "", "loom: -:1:1: number out of range: 99999999999999999999\n"}));
  EXPECT_EQ(runLoom({"object", "fmt", "--from", "json", "-"}, "[99999999999999999999]").code, 4);
}

TEST(ObjectCommand, RefusesAKeyThatIsThereTwice) {
  const auto checked = [](const char* json) {
    return runLoom({"object", "check", "--from", "json", "-"}, json);
  };
  EXPECT_EQ(checked("{\"a\": 1, \"a\": 2}"),
            (Ended{4, "", "loom: -:1:10: the key \"a\" is there twice\n"}));
  EXPECT_EQ(checked("{\"a\": 1,\n \"b\": {\"\\\\\\\"\": 1, \"\\\\\\\"\" : 2}}"),
            (Ended{4, "", "loom: -:2:19: the key \"\\\\\\\"\" is there twice\n"}));
  EXPECT_EQ(checked("{\"a\": {\"a\": 1}, \"b\": {\"a\": 2}}").code, 0) << "in different objects";
}

TEST(ObjectCommand, SaysInItsOwnWordsWhatIsNoJson) {
  const struct {
    const char* json;
    const char* complaint;
  } rows[] = {
      {"", "1:1: unexpected end"},
      {"{", "1:2: unexpected end"},
      {"[1,]", "1:4: unexpected ']'"},
      {"nul ", "1:4: unexpected ' '"},
      {"{\"a\" 1}", "1:6: unexpected '1'"},
      {"\"\\x\"", "1:3: unexpected 'x'"},
      {"\"a\nb\"", "1:3: unexpected '\\n'"},
      {"\"\xff\"", "1:2: unexpected byte 255"},
      {"[1e999]", "1:2: number out of range: 1e999"},
      {"[1, -9007199254740993 ]", "1:5: number out of range: -9007199254740993"},
      {"[1, 99999999999999999999]", "1:5: number out of range: 99999999999999999999"},
      {"[1] 2", "1:5: unexpected '2'"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(runLoom({"object", "check", "--from", "json", "-"}, row.json),
              (Ended{4, "", std::string("loom: -:") + row.complaint + "\n"}));
  }
}

}  // namespace
