// SPDX-License-Identifier: MIT
// The lexical rules are the server's own:
// https://www.postgresql.org/docs/current/sql-syntax-lexical.html
#include "loomkit/db/postgresql/statement_text.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

#include "loomkit/text/char_class.h"

namespace loomkit {
namespace {

// The server counts all bytes above ASCII as letters.
bool isNameStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
         (static_cast<unsigned char>(c) & 0x80) != 0;
}

bool isNamePart(char c) { return isNameStart(c) || (c >= '0' && c <= '9'); }

// Where the quoted text ends that begins at `pos` with its quote. A doubled
// quote does not end it: it begins the next piece at once.
std::size_t quoteEnd(std::string_view text, std::size_t pos, bool backslashes) {
  const char quote = text[pos];
  for (++pos; pos < text.size(); ++pos) {
    if (text[pos] == quote) return pos + 1;
    if (backslashes && text[pos] == '\\') ++pos;
  }
  return text.size();
}

std::size_t lineCommentEnd(std::string_view text, std::size_t pos) {
  return std::min(text.find_first_of("\r\n", pos), text.size());
}

std::size_t blockCommentEnd(std::string_view text, std::size_t pos) {
  std::size_t depth = 0;
  for (; pos + 1 < text.size(); ++pos) {
    const std::string_view two = text.substr(pos, 2);
    if (two == "/*") {
      ++depth;
      ++pos;
    } else if (two == "*/") {
      ++pos;
      if (--depth == 0) return pos + 1;
    }
  }
  return text.size();
}

// Behind a dollar quote, $tag$...$tag$, that begins at `pos`; behind the dollar
// sign when it begins none.
std::size_t dollarEnd(std::string_view text, std::size_t pos) {
  std::size_t end = pos + 1;
  if (end < text.size() && isNameStart(text[end])) {
    while (end < text.size() && isNamePart(text[end])) ++end;
  }
  if (end >= text.size() || text[end] != '$') return pos + 1;
  const std::string_view mark = text.substr(pos, end + 1 - pos);
  const std::size_t close = text.find(mark, end + 1);
  return close == std::string_view::npos ? text.size() : close + mark.size();
}

// Where the name ends that begins at `pos`. It may contain dollar signs. The name "e"
// directly in front of a quote belongs to a string with backslash escapes.
std::size_t nameEnd(std::string_view text, std::size_t pos, bool backslashes) {
  std::size_t end = pos;
  while (end < text.size() && (isNamePart(text[end]) || text[end] == '$')) ++end;
  const bool escapes = end - pos == 1 && (text[pos] == 'e' || text[pos] == 'E');
  if (escapes && end < text.size() && text[end] == '\'')
    return quoteEnd(text, end, escapes || backslashes);
  return end;
}

// Where the piece ends that begins at `pos`: a string, a name, a comment, or a single
// character.
std::size_t pieceEnd(std::string_view text, std::size_t pos, bool backslashes) {
  const char c = text[pos];
  const char next = pos + 1 < text.size() ? text[pos + 1] : '\0';
  if (c == '\'') return quoteEnd(text, pos, backslashes);
  if (c == '"') return quoteEnd(text, pos, false);
  if (c == '-' && next == '-') return lineCommentEnd(text, pos);
  if (c == '/' && next == '*') return blockCommentEnd(text, pos);
  if (c == '$') return dollarEnd(text, pos);
  if (isNamePart(c)) return nameEnd(text, pos, backslashes);
  return pos + 1;
}

bool isNameAt(std::string_view text, std::size_t pos) {
  return pos < text.size() && isNameStart(text[pos]);
}

bool isDigitAt(std::string_view text, std::size_t pos) {
  return pos < text.size() && text[pos] >= '0' && text[pos] <= '9';
}

// The protocol counts the parameters of a statement in 16 bits.
constexpr std::size_t mostParameters = 65535;

// Whether the word is ARRAY, whose brackets hold a list and no slice.
bool isArrayWord(std::string_view word) {
  constexpr std::string_view upper = "ARRAY";
  return std::equal(word.begin(), word.end(), upper.begin(), upper.end(),
                    [](char a, char b) { return asciiToUpper(a) == b; });
}

// Gives the parameters of one statement their numbers, in the order in which they
// first stand in it.
class Numberer {
 public:
  Numberer(std::string_view itsStatement, bool itsBackslashes, std::vector<std::string>* itsNames)
      : statement(itsStatement), backslashes(itsBackslashes), names(itsNames) {}

  std::string run() {
    text.reserve(statement.size() + 16);
    while (pos < statement.size()) {
      if (statement[pos] == '?')
        takeMark();
      else if (beginsName())
        takeName();
      else
        takePiece(pieceEnd(statement, pos, backslashes));
    }
    return text;
  }

 private:
  // Whether ":", "@" or "$" begins a named parameter here, and is not a cast, a slice
  // of an array, a part of an operator or a dollar quote.
  [[nodiscard]] bool beginsName() const {
    const char c = statement[pos];
    if (!isNameAt(statement, pos + 1)) return false;
    if (c == '$') return dollarEnd(statement, pos) == pos + 1;
    if (c == ':') return slices == 0;
    constexpr std::string_view operatorSigns = "<@^~#&|!-";
    return c == '@' &&
           (pos == 0 || operatorSigns.find(statement[pos - 1]) == std::string_view::npos);
  }

  void takeName() {
    std::size_t end = pos + 1;
    while (end < statement.size() && isNamePart(statement[end])) ++end;
    const std::string name(statement.substr(pos, end - pos));
    auto found = std::find(names->begin(), names->end(), name);
    if (found == names->end()) found = names->insert(names->end(), name);
    addNumber(std::to_string(found - names->begin() + 1));
    finishPiece(end);
  }

  // "?" is the next parameter, "?7" is number 7, and "??" a question mark.
  void takeMark() {
    std::size_t end = pos + 1;
    if (end < statement.size() && statement[end] == '?') {
      text += '?';
      return finishPiece(end + 1);
    }
    if (!isDigitAt(statement, end)) {
      names->emplace_back();
      addNumber(std::to_string(names->size()));
      return finishPiece(end);
    }
    while (isDigitAt(statement, end)) ++end;
    addNumber(statement.substr(pos + 1, end - pos - 1));
    noteNumber(statement.substr(pos, end - pos));
    finishPiece(end);
  }

  // Parameters that follow get numbers behind the largest so far, as in SQLite.
  void noteNumber(std::string_view mark) {
    std::size_t number = 0;
    std::from_chars(mark.data() + 1, mark.data() + mark.size(), number);
    if (number == 0 || number > mostParameters) return;  // the server refuses it
    if (names->size() < number) names->resize(number);
    (*names)[number - 1] = mark;
  }

  void takePiece(std::size_t end) {
    if (statement.substr(pos, 2) == "::") end = pos + 2;
    text += statement.substr(pos, end - pos);
    finishPiece(end);
  }

  // Directly behind a word, as in "LIMIT?", the dollar sign would belong to it.
  void addNumber(std::string_view number) {
    if (!text.empty() && (isNamePart(text.back()) || text.back() == '$')) text += ' ';
    text += '$';
    text += number;
  }

  // A colon between the brackets of a subscript separates the bounds of a slice.
  void finishPiece(std::size_t end) {
    const std::string_view piece = statement.substr(pos, end - pos);
    pos = end;
    if (piece == "[") {
      const bool list = isArrayWord(previous) || previous == "[" || previous == ",";
      brackets.push_back(!list);
      if (!list) ++slices;
    } else if (piece == "]" && !brackets.empty()) {
      if (brackets.back()) --slices;
      brackets.pop_back();
    }
    const bool isComment = piece.starts_with("--") || piece.starts_with("/*");
    const bool isSpace = piece.find_first_not_of(" \t\r\n") == std::string_view::npos;
    if (!isComment && !isSpace) previous = piece;
  }

  std::string_view statement;
  bool backslashes;
  std::vector<std::string>* names;  // of the parameters so far
  std::string text;
  std::size_t pos = 0;
  std::string_view previous;   // the last piece that is no space or comment
  std::vector<bool> brackets;  // the open ones: whether each is a subscript's
  std::size_t slices = 0;      // how many of them are
};

}  // namespace

std::string numberedParameters(std::string_view statement, bool backslashes,
                               std::vector<std::string>* names) {
  std::vector<std::string> unwanted;
  return Numberer(statement, backslashes, names != nullptr ? names : &unwanted).run();
}

std::string quotedIdentifier(std::string_view name) {
  std::string quoted = "\"";
  for (const char c : name) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
}

}  // namespace loomkit
