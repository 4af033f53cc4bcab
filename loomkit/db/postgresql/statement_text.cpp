// SPDX-License-Identifier: MIT
// The lexical rules are the server's own:
// https://www.postgresql.org/docs/current/sql-syntax-lexical.html
#include "loomkit/db/postgresql/statement_text.h"

#include <algorithm>
#include <cstddef>

namespace loomkit {
namespace {

// Bytes above ASCII are letters, as the server has it.
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

// A name may contain dollar signs, and one that is just "e" escapes a string.
std::size_t nameEnd(std::string_view text, std::size_t pos, bool backslashes) {
  std::size_t end = pos;
  while (end < text.size() && (isNamePart(text[end]) || text[end] == '$')) ++end;
  const bool escapes = end - pos == 1 && (text[pos] == 'e' || text[pos] == 'E');
  if (escapes && end < text.size() && text[end] == '\'')
    return quoteEnd(text, end, escapes || backslashes);
  return end;
}

// Where the piece ends that begins at `pos`. A question mark is a piece.
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

}  // namespace

std::string numberedParameters(std::string_view statement, bool backslashes) {
  std::string text;
  text.reserve(statement.size() + 16);
  int parameters = 0;
  for (std::size_t pos = 0; pos < statement.size();) {
    if (statement[pos] != '?') {
      const std::size_t end = pieceEnd(statement, pos, backslashes);
      text += statement.substr(pos, end - pos);
      pos = end;
    } else if (statement.substr(pos, 2) == "??") {
      text += '?';
      pos += 2;
    } else {
      text += '$' + std::to_string(++parameters);
      ++pos;
    }
  }
  return text;
}

std::string quotedIdentifier(std::string_view name) {
  std::string quoted = "\"";
  for (const char c : name) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
}

}  // namespace loomkit
