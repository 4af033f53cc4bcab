// SPDX-License-Identifier: MIT
#include "sql_text.h"

#include <algorithm>
#include <string>

#include "loomkit/text/gi_string.h"

namespace loom {

namespace {

constexpr std::string_view blanks = " \t\n\v\f\r";

// Takes the next blanks, comment, word, quoted text or other byte off the text.
std::string_view takeToken(std::string_view* text) {
  const auto take = [text](std::size_t size) {
    const std::string_view token = text->substr(0, size);
    text->remove_prefix(token.size());
    return token;
  };
  // To and with the closing mark, or to the end.
  const auto takeTo = [&](std::string_view mark, std::size_t from) {
    const std::size_t end = text->find(mark, from);
    return take(end == std::string_view::npos ? end : end + mark.size());
  };
  const char c = text->front();
  if (blanks.find(c) != std::string_view::npos) return take(text->find_first_not_of(blanks));
  if (text->starts_with("--")) return takeTo("\n", 2);
  if (text->starts_with("/*")) return takeTo("*/", 2);
  if (c == '[') return takeTo("]", 1);
  // A doubled quote ends one text and begins the next, which makes no difference.
  if (c == '\'' || c == '"' || c == '`') return takeTo(std::string_view(&c, 1), 1);
  const auto isLetter = [](char byte) { return (byte | 32) >= 'a' && (byte | 32) <= 'z'; };
  const auto* const end = std::find_if_not(text->begin(), text->end(), isLetter);
  return take(std::max<std::size_t>(1, static_cast<std::size_t>(end - text->begin())));
}

bool saysNothing(std::string_view token) {
  return blanks.find(token.front()) != std::string_view::npos || token.starts_with("--") ||
         token.starts_with("/*");
}

// Whether the statement makes a trigger.
bool makesTrigger(std::string_view sql) {
  while (!sql.empty()) {
    const std::string_view token = takeToken(&sql);
    if (saysNothing(token)) continue;
    GiString word(std::string(token), 0);
    word.toLower(0, static_cast<unsigned>(word.size()));
    if (word == "trigger") return true;
    if (word != "create" && word != "temp" && word != "temporary") return false;
  }
  return false;
}

}  // namespace

bool hasSecondStatement(std::string_view sql) {
  if (makesTrigger(sql)) return false;
  bool ended = false;
  while (!sql.empty()) {
    const std::string_view token = takeToken(&sql);
    if (token == ";") {
      ended = true;
    } else if (ended && !saysNothing(token)) {
      return true;
    }
  }
  return false;
}

}  // namespace loom
