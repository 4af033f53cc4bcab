// SPDX-License-Identifier: MIT
#include "sql_text.h"

#include <algorithm>

namespace loom {

namespace {

constexpr std::string_view blanks = " \t\n\v\f\r";
constexpr std::string_view digits = "0123456789";

bool beginsWord(char c) {
  const auto byte = static_cast<unsigned char>(c);
  const unsigned lower = byte | 32U;
  return (lower >= 'a' && lower <= 'z') || c == '_' || byte >= 0x80;
}

bool continuesWord(char c) { return beginsWord(c) || digits.find(c) != std::string_view::npos; }

// The length of the word at `at`, 0 when there is none.
std::size_t wordSize(std::string_view text, std::size_t at) {
  std::size_t end = at;
  if (end < text.size() && beginsWord(text[end]))
    while (end < text.size() && continuesWord(text[end])) ++end;
  return end - at;
}

// The length of what begins with a dollar sign: a text between two tags such as $$
// or $tag$, a parameter, or the sign alone.
std::size_t dollarSize(std::string_view text) {
  const std::size_t word = wordSize(text, 1);
  if (word + 1 < text.size() && text[word + 1] == '$') {
    const std::string_view tag = text.substr(0, word + 2);
    const std::size_t end = text.find(tag, tag.size());
    return end == std::string_view::npos ? text.size() : end + tag.size();
  }
  return word + 1;
}

// The length of the blanks, comment, word, quoted text, parameter or other byte that
// the text begins with.
std::size_t tokenSize(std::string_view text) {
  // To and with the closing mark, or to the end.
  const auto sizeTo = [&](std::string_view mark, std::size_t from) {
    const std::size_t end = text.find(mark, from);
    return end == std::string_view::npos ? text.size() : end + mark.size();
  };
  const char c = text.front();
  if (blanks.find(c) != std::string_view::npos)
    return std::min(text.size(), text.find_first_not_of(blanks));
  if (text.starts_with("--")) return sizeTo("\n", 2);
  if (text.starts_with("/*")) return sizeTo("*/", 2);
  if (text.starts_with("::")) return 2;  // a cast, and no parameter behind a colon
  if (c == '[') return sizeTo("]", 1);
  // A doubled quote ends one text and begins the next, which makes no difference.
  if (c == '\'' || c == '"' || c == '`') return sizeTo(std::string_view(&c, 1), 1);
  if (c == '$') return dollarSize(text);
  if (c == ':' || c == '@') return 1 + wordSize(text, 1);
  if (c == '?') return std::min(text.size(), text.find_first_not_of(digits, 1));
  return std::max<std::size_t>(1, wordSize(text, 0));
}

bool saysNothing(std::string_view token) {
  return blanks.find(token.front()) != std::string_view::npos || token.starts_with("--") ||
         token.starts_with("/*");
}

bool isParameter(std::string_view token) {
  if (token.front() == '?') return true;
  const bool marked = token.front() == ':' || token.front() == '@' || token.front() == '$';
  return marked && token.size() > 1 && token != "::" && token.back() != '$';
}

std::string lowerCase(std::string_view token) {
  std::string word(token);
  for (char& c : word)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c | 32);
  return word;
}

// Puts statements together token by token.
class Splitter {
 public:
  void add(std::string_view token) {
    if (saysNothing(token)) {
      if (!words.empty()) statement.text += token;
      return;
    }
    if (token == ";" && !insideTrigger()) return end();
    if (isParameter(token)) {
      statement.parameters.emplace_back(token);
      token = "?";
    }
    statement.text += token;
    words.push_back(lowerCase(token));
    if (words.size() > kept) words.erase(words.begin() + headWords);
  }

  void end() {
    if (words.empty()) return;
    static constexpr std::string_view changing[] = {"insert",  "update", "delete",
                                                    "replace", "merge",  "with"};
    statement.changesRows =
        std::find(std::begin(changing), std::end(changing), words[0]) != std::end(changing);
    statements.push_back(std::move(statement));
    statement = {};
    words.clear();
  }

  std::vector<SqlStatement> statements;

 private:
  // The first words tell what a statement is, the last ones where a trigger ends.
  static constexpr std::ptrdiff_t headWords = 3;
  static constexpr std::size_t kept = headWords + 2;

  // A trigger has statements of its own, and ends with "; END;".
  [[nodiscard]] bool insideTrigger() const {
    if (words.empty() || words[0] != "create") return false;
    const bool temporary = words.size() > 2 && words[1].starts_with("temp");
    if (words.size() < 3 || words[temporary ? 2 : 1] != "trigger") return false;
    return !(words.back() == "end" && words[words.size() - 2] == ";");
  }

  SqlStatement statement;
  std::vector<std::string> words;
};

}  // namespace

std::vector<SqlStatement> splitStatements(std::string_view script) {
  Splitter splitter;
  while (!script.empty()) {
    const std::size_t size = tokenSize(script);
    splitter.add(script.substr(0, size));
    script.remove_prefix(size);
  }
  splitter.end();
  return std::move(splitter.statements);
}

}  // namespace loom
