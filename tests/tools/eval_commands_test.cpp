// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "run_program.h"
#include "tools/loom/open_expression.h"

namespace {

using namespace loomkit::testing;
using Json = nlohmann::json;
using Words = std::vector<std::string>;

struct Row {
  Words words;
  Ended ended;
  std::string input = {};
};
std::ostream& operator<<(std::ostream& stream, const Row& row) {
  for (const std::string& word : row.words) stream << word << ' ';
  return stream;
}

class EvalCommand : public ::testing::TestWithParam<Row> {};

TEST_P(EvalCommand, PrintsAndReturns) {
  Words words = GetParam().words;
  words.insert(words.begin(), "eval");
  EXPECT_EQ(runLoom(words, GetParam().input), GetParam().ended);
}

INSTANTIATE_TEST_SUITE_P(
    Expressions, EvalCommand,
    ::testing::Values(
        Row{{"1 2 +"}, {0, "3\n", ""}}, Row{{"1 2", "3"}, {0, "1\n2\n3\n", ""}},
        Row{{""}, {0, "", ""}}, Row{{"-1 2 -"}, {0, "-3\n", ""}},
        Row{{"-.5", "- 1", "2"}, {5, "-0.5\n2\n", "loom: rpn error: stack underflow:\n >!< - 1\n"}},
        Row{{"\"a\\012b\""}, {0, "a\nb\n", ""}}, Row{{"\"a\" 1 2 ]"}, {0, "[\"a\" 1]\n", ""}},
        Row{{"NULL", "@s"}, {0, "NULL\ns\n", ""}},
        Row{{"--digits", "3", "M_PI"}, {0, "3.14\n", ""}},
        Row{{"--digits", "17", "0.1"}, {0, "0.10000000000000001\n", ""}},
        Row{{"1 +"}, {5, "", "loom: rpn error: stack underflow:\n1  >!< +\n"}},
        Row{{"-n", "price", "1 +"},
            {5, "", "loom: price: rpn error: stack underflow:\n1  >!< +\n"}},
        Row{{"${a:-1 2}"}, {5, "", "loom: rpn error: too many result values on stack\nin: 1 2\n"}},
        Row{{"foo"}, {5, "", "loom: rpn error: unknown function:\n >!< foo\n"}}));

INSTANTIATE_TEST_SUITE_P(
    Parameters, EvalCommand,
    ::testing::Values(Row{{"-p", "x=2", "--param", "y=3", "$x $y *"}, {0, "6\n", ""}},
                      Row{{"-p", "x=abc", "$x size"}, {0, "3\n", ""}},
                      Row{{"-p", "x=1", "-s", "y=1", "$x $y"}, {0, "1\n1\n", ""}},
                      Row{{"-s", "y=1", "$y 1 +"},
                          {5, "", "loom: rpn error: stack[1] is not a number:\n$y 1  >!< +\n"}},
                      Row{{"-p", "x=", "$x empty"}, {0, "1\n", ""}},
                      Row{{"-p", "x=a=b", "$x"}, {0, "a=b\n", ""}},
                      Row{{"-p", "x=-1", "$x"}, {0, "-1\n", ""}},
                      Row{{"$x"}, {5, "", "loom: rpn error: unknown parameter:\n >!< $x\n"}},
                      Row{{"-d", "f=1 argc $0 $0 *", "3 f f"}, {0, "81\n", ""}},
                      Row{{"-d", "f=1 argc $0 0 /", "1 f"},
                          {5, "",
                           "loom: rpn error: division by zero:\n1 argc $0 0  >!< /\n"
                           "in local function \"f\"\n"}},
                      Row{{"-d", "f=1 argc $0 f", "1 f"},
                          {5, "",
                           "loom: rpn error: possibly infinite recursion (aborted):\n"
                           "1  >!< argc $0 f\nin local function \"f\" (100 calls deep)\n"}},
                      Row{{"4 sqr"},
                          {5, "",
                           "loom: rpn error: unknown function:\n4  >!< sqr\n"
                           "Did you mean 'sqrt'?\n"}},
                      Row{{"-d", "area=2 argc $0 $1 *", "3 4 aera"},
                          {5, "",
                           "loom: rpn error: unknown function:\n3 4 aera >!< \n"
                           "Did you mean 'area'?\n"}},
                      Row{{"-p", "width=1", "$widht"},
                          {5, "",
                           "loom: rpn error: unknown parameter:\n >!< $widht\n"
                           "Did you mean '$width'?\n"}},
                      Row{{"-p", "width=1", "1 ${widht} +"},
                          {5, "",
                           "loom: rpn error: unknown parameter:\n1  >!< ${widht} +\n"
                           "Did you mean '$width'?\n"}},
                      Row{{"-d", "f=2 argc $1 $0", "1 2 f"}, {0, "2\n1\n", ""}}));

INSTANTIATE_TEST_SUITE_P(
    Lines, EvalCommand,
    ::testing::Values(
        Row{{"-"}, {0, "3\n4\n", ""}, "1 2 +\n\n  # note\n4"},
        Row{{"-"}, {0, "3\n", ""}, "1 2 +\r\n"}, Row{{"0", "-", "9"}, {0, "0\n1\n9\n", ""}, "1"},
        Row{{"-"}, {5, "7\n", "loom: line 2: rpn error: syntax error:\n1  >!< =\n"}, "\n1 =\n7\n"},
        Row{{"-n", "in", "-"}, {5, "", "loom: in:1: rpn error: syntax error:\n >!< ?\n"}, "?"},
        Row{{"-"},
            {5, "", "loom: line 1: rpn error: zero byte in the expression:\n1 >!< \\x00\n"},
            std::string("1\0\n", 3)},
        Row{{"--file", "/nonexistent"}, {3, "", "loom: /nonexistent: No such file or directory\n"}},
        Row{{"--file", "/"}, {3, "", "loom: /: Is a directory\n"}}));

INSTANTIATE_TEST_SUITE_P(
    Map, EvalCommand,
    ::testing::Values(Row{{"-m", "$f1 $f2 +"}, {0, "3\n7\n", ""}, "1 2\n 3\t4 \n"},
                      Row{{"-m", "$line", "$nr $nf"}, {0, "a b\t1\t2\n\t2\t0\n", ""}, "a b\n\n"},
                      Row{{"-m", "-F", ":", "$f2"}, {0, "\nb\n", ""}, "a::c\na:b\n"},
                      Row{{"-m", "--fs", ", ", "$f2 $nf"}, {0, "b\t3\n", ""}, "a, b, c\n"},
                      Row{{"-m", "-F:", "${f3:-\"none\"}"}, {0, "none\n", ""}, "a:b\n"},
                      Row{{"-m", "${prev:-0} $f1 +"}, {0, "1\n3\n6\n", ""}, "1\n2\n3\n"},
                      Row{{"-m", "-w", "$f1 2 >", "$f1"}, {0, "3\n5\n", ""}, "1\n3\n2\n5\n"},
                      Row{{"-m", "$f1", "-"}, {0, "a\n", ""}, "a b\n"},
                      Row{{"-m", "$line pop"}, {0, "", ""}, "a\nb\n"},
                      Row{{"-m", "-p", "k=10", "$f1 $k *"}, {0, "20\n", ""}, "2"},
                      Row{{"-m", "$f1 1 +"},
                          {5, "2\n",
                           "loom: line 1: rpn error: stack[1] is not a number:\n$f1 1  >!< +\n"},
                          "x\n1\n"},
                      Row{{"-m", "$f0 1"},
                          {5, "", "loom: line 1: rpn error: unknown parameter:\n >!< $f0 1\n"},
                          "x"},
                      Row{{"-m", "-f", "/nonexistent", "1"},
                          {3, "", "loom: /nonexistent: No such file or directory\n"}}));

INSTANTIATE_TEST_SUITE_P(
    Usage, EvalCommand,
    ::testing::Values(
        Row{{}, {2, "", "loom: eval: EXPR is missing\nTry 'loom help eval'.\n"}},
        Row{{"-p", "1x=2", "1"},
            {2, "", "loom: --param: '1x=2' does not begin with a name and an equals sign\n"}},
        Row{{"1", "-p"},
            {2, "", "loom: eval: --param needs a value, NAME=VALUE\nTry 'loom help eval'.\n"}},
        Row{{"1", "-p", "-s", "x=1"},
            {2, "", "loom: --param: '-s' does not begin with a name and an equals sign\n"}},
        Row{{"1", "--map=2"}, {2, "", "loom: eval: --map takes no value\nTry 'loom help eval'.\n"}},
        Row{{"--digits=3", "--digits", "4", "1"},
            {2, "", "loom: eval: --digits is there twice\nTry 'loom help eval'.\n"}},
        Row{{"-p", "x", "1"},
            {2, "", "loom: --param: 'x' does not begin with a name and an equals sign\n"}},
        Row{{"-d", "dup=1", "1"}, {2, "", "loom: 'dup' is a built-in word\n"}},
        Row{{"--digits", "18", "1"},
            {2, "", "loom: --digits: '18' is not a whole number from 1 to 17\n"}},
        Row{{"--digits", "x", "1"},
            {2, "", "loom: --digits: 'x' is not a whole number from 1 to 17\n"}},
        Row{{"-w", "1", "1"}, {2, "", "loom: eval: --fs and --where need --map\n"}}));

TEST(EvalJson, HoldsResultsAndErrors) {
  const Ended ended = runLoom({"eval", "--json", "1 \"a\\xff\" NULL 3 ]", "1e999", "1 ="});
  EXPECT_EQ(ended.code, 5);
  EXPECT_EQ(Json::parse(ended.out), Json::parse(R"([
    {"expression": "1 \"a\\xff\" NULL 3 ]", "results": [[1, "a�", null]]},
    {"expression": "1e999", "results": ["inf"]},
    {"expression": "1 =",
     "errors": [{"message": "syntax error", "expression": "1 =", "position": 2}]}])"));
  EXPECT_EQ(Json::parse(runLoom({"eval", "--json", "-"}, "#\n1\n").out),
            Json::parse(R"([{"line": 2, "expression": "1", "results": [1]}])"));
  EXPECT_EQ(Json::parse(runLoom({"eval", "--json", "--map", "$f1", "2"}, "x\n").out),
            Json::parse(R"([{"line": 1, "results": ["x", 2]}])"));
  EXPECT_EQ(Json::parse(runLoom({"eval", "--json", "${a:-1 2}"}).out)[0]["errors"][0]["position"],
            Json());
}

TEST(EvalErrors, AreTenAtMostAndThenACount) {
  const auto lines = [](int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += "a\n";
    return text;
  };
  const auto complaints = [&](int count) {
    const Ended ended = runLoom({"eval", "--map", "$f2"}, lines(count));
    EXPECT_EQ(ended.code, 5);
    return ended.err;
  };
  const std::string ten = complaints(10);
  EXPECT_EQ(std::count(ten.begin(), ten.end(), '\n'), 20) << "two lines each";
  EXPECT_EQ(complaints(11), ten + "loom: and 1 more error\n");
  EXPECT_EQ(complaints(1000), ten + "loom: and 990 more errors\n");
  const Json json = Json::parse(runLoom({"eval", "--json", "-m", "$f2"}, lines(20)).out);
  EXPECT_EQ(json.size(), 20U);
}

TEST(EvalErrors, SayInJsonWhereTheyWereAndWhatWasMeant) {
  const Ended ended = runLoom({"eval", "--json", "-d", "f=1 argc $0 0 /", "1 f", "4 sqr"});
  EXPECT_EQ(Json::parse(ended.out), Json::parse(R"([
    {"expression": "1 f", "errors": [{"message": "division by zero",
      "expression": "1 argc $0 0 /", "position": 12, "where": "in local function \"f\""}]},
    {"expression": "4 sqr", "errors": [{"message": "unknown function",
      "expression": "4 sqr", "position": 5, "suggestion": "sqrt"}]}])"));
}

TEST(OpenExpression, KnowsWhatIsMissing) {
  using loom::Missing;
  const struct {
    const char* text;
    Missing missing;
  } rows[] = {
      {"", Missing::nothing},
      {"1 2 +", Missing::nothing},
      {"\"", Missing::quote},
      {"\"a\"", Missing::nothing},
      {"\"a\\\"", Missing::quote},
      {"\"a\\\\\"", Missing::nothing},
      {"\"a\" \"b", Missing::quote},
      {"${a", Missing::brace},
      {"${a:-1", Missing::brace},
      {"${a:-${b:-1}", Missing::brace},
      {"${a:-${b:-1}}", Missing::nothing},
      {"${a:-\"}\"", Missing::brace},
      {"${a:-\"}", Missing::quote},
      {"{ }}", Missing::nothing},
      {"\"${\"", Missing::nothing},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(loom::missingFrom(row.text), row.missing) << row.text;
  }
}

TEST(EvalColors, MarkTheErrorOnlyWhenAsked) {
  const std::string red = "1 \033[31m >!< \033[0m+";
  EXPECT_NE(runLoom({"eval", "--color", "always", "1 +"}).err.find(red), std::string::npos);
  EXPECT_EQ(runLoom({"eval", "1 +"}).err.find('\033'), std::string::npos);
}

TEST(EvalHostile, NeitherCrashesNorHangs) {
  // A vector that would print for ages, and one nested as deep as can be typed.
  const Ended shared =
      shell("e='1 1 ]'; for i in $(seq 60); do e=\"$e dup 2 ]\"; done; loom eval \"$e\" | wc -c");
  EXPECT_NE(shared.err.find("parts; it is not printed"), std::string::npos) << shared.err;
  const Ended deep = shell(
      "{ printf '0 ]'; yes ' 1 ]' | head -300000 | tr -d '\\n'; } | loom eval --json - | wc -l");
  EXPECT_EQ(deep, (Ended{0, "3\n", ""}));
  const Ended defaults =
      shell("yes '${a:-' | head -200000 | tr -d '\\n' | loom eval - 2>/dev/null");
  EXPECT_EQ(defaults.code, 5);
}

TEST(EvalHostile, MemoryThatRunsOutIsAnInternalErrorWithAWord) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer needs the address space itself";
#endif
  const Ended ended = shell(
      "ulimit -v 500000; e='\"01234567\"'; for i in $(seq 40); do e=\"$e dup +\"; done; "
      "loom eval \"$e size\"");
  EXPECT_EQ(ended, (Ended{70, "", "loom: out of memory\n"}));
}

}  // namespace
