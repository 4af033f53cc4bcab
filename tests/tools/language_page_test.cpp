// SPDX-License-Identifier: MIT
// Runs every example of docs/expression-language.md through the engine.
//
// In a block with the info word "rpn", "> " begins an expression; the lines
// below are the values that it leaves, or the error reports; "..." stands for
// any lines. "> :set NAME EXPR" gives a parameter and "> :def NAME EXPR" a
// word, to the rest of the block.
#include <gtest/gtest.h>

#include "loomkit/rpn/words.h"
#include "run_program.h"
#include "sessions.h"
#include "tools/loom/command.h"
#include "tools/loom/rpn_host.h"
#include "tools/loom/value_text.h"
#include "tools/loom/word_list.h"

namespace {

using namespace loomkit::testing;
using Lines = std::vector<std::string>;

struct Example {
  int line;
  std::string expr;
  Lines expected;
};

std::string page() { return readFile(LOOMKIT_SOURCE_DIR "/docs/expression-language.md"); }

std::vector<Example> examplesOf(const FencedBlock& block) {
  std::vector<Example> examples;
  for (std::size_t i = 0; i < block.lines.size(); ++i) {
    const std::string& line = block.lines[i];
    if (line.starts_with("> ")) {
      examples.push_back({block.line + static_cast<int>(i), line.substr(2), {}});
    } else if (!examples.empty()) {
      examples.back().expected.push_back(line);
    }
  }
  return examples;
}

// True when the text was a command of the page and not an expression.
bool ranCommand(loom::RpnHost* host, const std::string& text) {
  const bool sets = text.starts_with(":set ");
  if (!sets && !text.starts_with(":def ")) return false;
  const std::size_t end = text.find(' ', 5);
  const std::string name = text.substr(5, end - 5);
  const std::string expr = text.substr(end + 1);
  if (sets) {
    std::vector<GRpnValue> results;
    EXPECT_TRUE(host->evaluate(expr, &results)) << text;
    EXPECT_EQ(results.size(), 1U) << text;
    if (!results.empty()) host->params->set(name, results[0]);
  } else {
    host->define(name, expr);
  }
  return true;
}

Lines printedBy(loom::RpnHost* host, const std::string& expr) {
  Lines printed;
  std::vector<GRpnValue> results;
  if (host->evaluate(expr, &results)) {
    for (const GRpnValue& value : results) printed.push_back(loom::valueText(value));
    return printed;
  }
  return linesOf(reportText(host->report()));
}

TEST(LanguagePage, EveryExampleGivesWhatThePageShows) {
  int count = 0;
  for (const FencedBlock& block : fencedBlocks(page(), "rpn")) {
    loom::RpnHost host{loom::Invocation()};
    for (const Example& example : examplesOf(block)) {
      if (ranCommand(&host, example.expr)) continue;
      const Lines printed = printedBy(&host, example.expr);
      EXPECT_TRUE(outputMatches(example.expected, printed))
          << "line " << example.line << ": " << example.expr << "\nexpected "
          << ::testing::PrintToString(example.expected) << "\nprinted "
          << ::testing::PrintToString(printed);
      ++count;
    }
  }
  EXPECT_GT(count, 100);
}

// True when the word stands in the text with no part of a name around it.
bool usesWord(const std::string& text, const std::string& word) {
  const auto inName = [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
  };
  for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
    const bool before = at > 0 && inName(text[at - 1]);
    const bool after = at + word.size() < text.size() && inName(text[at + word.size()]);
    if (!before && !after) return true;
  }
  return false;
}

TEST(LanguagePage, HasAnExampleOfEveryWordAndOperator) {
  std::string all;
  for (const FencedBlock& block : fencedBlocks(page(), "rpn")) {
    for (const Example& example : examplesOf(block)) all += example.expr + "\n";
  }
  for (const std::string& word : gRpnBuiltinWords()) EXPECT_TRUE(usesWord(all, word)) << word;
  for (const loom::WordRow& row : loom::wordList()) {
    if (loom::isWord(row.name) || row.name.size() > 2) continue;
    EXPECT_NE(all.find(" " + std::string(row.name)), std::string::npos) << row.name;
  }
}

}  // namespace
