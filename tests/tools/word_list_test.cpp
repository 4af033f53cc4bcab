// SPDX-License-Identifier: MIT
#include "tools/loom/word_list.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "loomkit/rpn/words.h"
#include "run_program.h"
#include "tools/loom/command.h"
#include "tools/loom/rpn_host.h"
#include "tools/loom/value_text.h"

namespace {

using namespace loomkit::testing;

TEST(WordList, HasTheWordsOfTheEngineAndNoOthers) {
  std::set<std::string> listed;
  for (const loom::WordRow& row : loom::wordList()) {
    if (!loom::isWord(row.name)) continue;
    EXPECT_TRUE(listed.emplace(row.name).second) << row.name;
  }
  const std::vector<std::string> builtin = gRpnBuiltinWords();
  EXPECT_EQ(builtin.size(), 53U);
  EXPECT_EQ(listed, std::set<std::string>(builtin.begin(), builtin.end()));
}

TEST(WordList, HasEveryOperator) {
  for (const char* const name : {"+", "-", "*", "/", "%", "<", "<=", ">", ">=", "==", "!=", "!",
                                 "&&", "||", "&", "|", "^", "[", "]"}) {
    EXPECT_NE(loom::findWord(name), nullptr) << name;
  }
}

TEST(WordList, EveryExampleUsesItsWordAndGivesItsResult) {
  for (const loom::WordRow& row : loom::wordList()) {
    loom::Invocation call;
    if (!row.definition.empty()) call.given["--define"] = {std::string(row.definition)};
    loom::RpnHost host(call);
    std::vector<GRpnValue> results;
    EXPECT_TRUE(host.evaluate(std::string(row.example), &results)) << row.example;
    std::string text;
    for (const GRpnValue& value : results)
      text += (text.empty() ? "" : " ") + loom::valueText(value);
    EXPECT_EQ(text, row.result) << row.example;
    if (row.group == "Literals" || row.name[0] == '$') continue;
    const std::string where(row.definition.empty() ? row.example : row.definition);
    EXPECT_NE(where.find(row.name), std::string::npos) << row.name;
  }
}

TEST(WordsCommand, PrintsAllOrThoseNamed) {
  const Ended all = runLoom({"words"});
  EXPECT_EQ(all.code, 0);
  for (const loom::WordRow& row : loom::wordList()) {
    EXPECT_NE(all.out.find("  " + std::string(row.name) + " "), std::string::npos) << row.name;
  }
  EXPECT_EQ(all.out.find('\033'), std::string::npos);
  EXPECT_EQ(runLoom({"words", "pop", "$price"}).out,
            "pop  ( a -- )\n  Drops the top.\n  1 2 pop  gives  1\n"
            "$name  ( -- value )\n  The host's parameter `name`; also ${name}.\n"
            "  ${height:-2} 3 *  gives  6\n");
  EXPECT_EQ(runLoom({"words", "--names", "[", "-", "$1", "${x"}).out, "[\n-\n$0\n${name:-expr}\n");
  EXPECT_NE(runLoom({"words", "--color", "always", "dup"}).out.find("\033[36mdup"),
            std::string::npos);
}

TEST(WordsCommand, AnUnknownWordIsNo) {
  EXPECT_EQ(runLoom({"words", "sqrtt"}),
            (Ended{1, "", "loom: there is no word 'sqrtt'; did you mean 'sqrt'?\n"}));
  EXPECT_EQ(runLoom({"words", "$"}), (Ended{1, "", "loom: there is no word '$'\n"}));
}

TEST(WordsCommand, PrintsJson) {
  const auto json = nlohmann::json::parse(runLoom({"words", "--json"}).out);
  EXPECT_EQ(json.size(), loom::wordList().size());
  const auto one = nlohmann::json::parse(runLoom({"words", "--json", "argc"}).out);
  EXPECT_EQ(one[0]["definition"], "area=2 argc $0 $1 *");
}

}  // namespace
