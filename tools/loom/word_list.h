// SPDX-License-Identifier: MIT
// What each word and operator of the expression language does, as data: for
// loom words, for completion in loom repl, and for the tests, which compare it
// with the engine's own list and run every example.
#ifndef LOOM_WORD_LIST_H
#define LOOM_WORD_LIST_H

#include <span>
#include <string_view>

namespace loom {

struct WordRow {
  std::string_view name;
  std::string_view group;            ///< the heading that it stands under
  std::string_view effect;           ///< ( before -- after ), the top of the stack on the right
  std::string_view summary;          ///< one sentence
  std::string_view example;          ///< an expression
  std::string_view result;           ///< what it leaves, as valueText() writes it, the top last
  std::string_view definition = {};  ///< what the example needs of --define
};

/// All rows, in groups.
[[nodiscard]] std::span<const WordRow> wordList();

/// The row of a word or operator, or null.
[[nodiscard]] const WordRow* findWord(std::string_view name);

/// True for rows that an expression writes as a word: letters, digits and _.
[[nodiscard]] bool isWord(std::string_view name);

}  // namespace loom

#endif  // LOOM_WORD_LIST_H
