// SPDX-License-Identifier: MIT
#include "loomkit/text/pattern.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

// ---- The rules as a recursion, one step a line, with no thought of speed.

enum Flag { noEscapeFlag = 1, pathNameFlag = 2, periodFlag = 4 };

// The set behind a '['; null when it does not accept `c`, else behind its ']'.
const char* modelSet(const char* p, char text, int flags) {
  const bool escapes = (flags & noEscapeFlag) == 0;
  const auto t = static_cast<signed char>(text);
  bool negate = false;
  if (*p == '!' || *p == '^') {
    negate = true;
    ++p;
  }
  bool ok = false;
  for (;;) {
    char c = *p++;
    if (c == ']') break;
    if (c == '\\' && escapes) c = *p++;
    if (c == '\0') return nullptr;
    if (p[0] == '-' && p[1] != '\0' && p[1] != ']') {
      ++p;
      char c2 = *p++;
      if (c2 == '\\' && escapes) c2 = *p++;
      if (c2 == '\0') return nullptr;
      if (static_cast<signed char>(c) <= t && t <= static_cast<signed char>(c2)) ok = true;
    } else if (static_cast<signed char>(c) == t) {
      ok = true;
    }
  }
  return ok != negate ? p : nullptr;
}

bool model(const char* p, const char* s, const char* start, int flags) {
  const bool pathName = (flags & pathNameFlag) != 0;
  const auto leadingPeriod = [&] {
    return *s == '.' && (flags & periodFlag) != 0 && (s == start || (pathName && s[-1] == '/'));
  };
  for (;;) {
    char c = *p++;
    switch (c) {
      case '\0':
        return *s == '\0';
      case '*':
        while (*p == '*') ++p;
        if (leadingPeriod()) return false;
        if (*p == '\0') return !pathName || std::strchr(s, '/') == nullptr;
        if (*p == '/' && pathName) {
          s = std::strchr(s, '/');
          if (s == nullptr) return false;
          continue;
        }
        for (; *s != '\0'; ++s) {
          if (model(p, s, start, flags & ~periodFlag)) return true;
          if (*s == '/' && pathName) return false;
        }
        return false;
      case '?':
        if (*s == '\0' || (*s == '/' && pathName) || leadingPeriod()) return false;
        ++s;
        break;
      case '[':
        if (*s == '\0' || (*s == '/' && pathName)) return false;
        p = modelSet(p, *s, flags);
        if (p == nullptr) return false;
        ++s;
        break;
      case '\\':
        if ((flags & noEscapeFlag) == 0) {
          c = *p++;
          if (c == '\0') {
            c = '\\';
            --p;
          }
        }
        [[fallthrough]];
      default:
        if (*s == '\0' || c != *s) return false;
        ++s;
        break;
    }
  }
}

void expectAsModel(const std::string& pattern, const std::string& text, int flags) {
  ASSERT_EQ(gPatternMatch(pattern.c_str(), text.c_str(), (flags & noEscapeFlag) != 0,
                          (flags & pathNameFlag) != 0, (flags & periodFlag) != 0),
            model(pattern.c_str(), text.c_str(), text.c_str(), flags))
      << "pattern '" << pattern << "' text '" << text << "' flags " << flags;
}

// ---- tables

struct MatchRow {
  const char* pattern;
  const char* text;
  int flags;
  bool matches;
};

TEST(PatternMatch, FollowsItsRules) {
  const MatchRow rows[] = {
      {"", "", 0, true},
      {"", "a", 0, false},
      {"a", "", 0, false},
      {"abc", "abc", 0, true},
      {"abc", "abC", 0, false},
      {"abc", "ab", 0, false},
      {"ab", "abc", 0, false},
      // '*'
      {"*.txt", "a.txt", 0, true},
      {"*.txt", ".txt", 0, true},
      {"*", "", 0, true},
      {"*", "a/b", 0, true},
      {"**", "abc", 0, true},
      {"a***c", "abc", 0, true},
      {"a*", "a", 0, true},
      {"*a", "", 0, false},
      {"*?", "a", 0, true},
      {"*?", "", 0, false},
      {"a*b*c", "aXbYbZc", 0, true},
      {"a*b*c", "aXbYbZ", 0, false},
      {"*ab", "aab", 0, true},
      {"*aab*b", "aaaabb", 0, true},
      // '*' and the period
      {"*", ".x", periodFlag, false},
      {".*", ".x", periodFlag, true},
      {"*", "x.x", periodFlag, true},
      {"*x", ".x", periodFlag, false},
      {"**x", ".x", periodFlag, false},
      {"*", ".x", 0, true},
      {"?x", ".x", periodFlag, false},
      {"?x", ".x", 0, true},
      {"[.]x", ".x", periodFlag, true},
      {"[!a]x", ".x", periodFlag, true},
      {"a/*", "a/.x", periodFlag, true},
      {"a/*", "a/.x", periodFlag | pathNameFlag, false},
      {"a/?x", "a/.x", periodFlag | pathNameFlag, false},
      {"a/?x", "a/.x", periodFlag, true},
      {"*/?x", "a/.x", periodFlag | pathNameFlag, false},
      {"a?*", "ab.x", periodFlag | pathNameFlag, true},
      // behind a '*' that was tried out, leading periods are ordinary
      {"*b/?x", "ab/.x", periodFlag | pathNameFlag, true},
      {"*b/*", "ab/.x", periodFlag | pathNameFlag, true},
      // path names
      {"*", "a/b", pathNameFlag, false},
      {"a/*", "a/b", pathNameFlag, true},
      {"a/*", "a/b/c", pathNameFlag, false},
      {"*/b", "a/b", pathNameFlag, true},
      {"*/b", "/b", pathNameFlag, true},
      {"*/b", "a/a/b", pathNameFlag, false},
      {"*/*/b", "a/a/b", pathNameFlag, true},
      {"*/", "a", pathNameFlag, false},
      {"*\\/b", "a/b", pathNameFlag, true},
      {"*\\/b", "a/a/b", pathNameFlag, false},
      {"*b", "a/b", pathNameFlag, false},
      {"?", "/", pathNameFlag, false},
      {"?", "/", 0, true},
      {"[/]", "/", pathNameFlag, false},
      {"[!a]", "/", pathNameFlag, false},
      {"[/]", "/", 0, true},
      {"*a/b", "xa/b", pathNameFlag, true},
      {"*a*/b", "xaya/b", pathNameFlag, true},
      // escapes
      {"a\\*", "a*", 0, true},
      {"a\\*", "ab", 0, false},
      {"a\\*", "a\\b", noEscapeFlag, true},
      {"a\\*", "a*", noEscapeFlag, false},
      {"a\\", "a\\", 0, true},
      {"a\\", "a", 0, false},
      {"a\\", "a\\", noEscapeFlag, true},
      {"\\a", "a", 0, true},
      {"\\?", "?", 0, true},
      {"\\[a]", "[a]", 0, true},
      {"*\\", "a\\", 0, true},
      // brackets
      {"[a-c]x", "bx", 0, true},
      {"[a-c]x", "dx", 0, false},
      {"[abc]", "c", 0, true},
      {"[abc]", "", 0, false},
      {"[!a]", "a", 0, false},
      {"[!a]", "b", 0, true},
      {"[^a]", "a", 0, false},
      {"[^a]", "b", 0, true},
      {"[a!]", "!", 0, true},
      {"[!!]", "!", 0, false},
      {"[!^]", "^", 0, false},
      {"[]a]", "]", 0, false},
      {"[]a]", "a]", 0, false},
      {"[]", "]", 0, false},
      {"[!]", "q", 0, true},
      {"[^]", "q", 0, true},
      {"[!]a]", "qa]", 0, true},
      {"[\\]]", "]", 0, true},
      {"[\\]]", "\\]", noEscapeFlag, true},
      {"[a", "a", 0, false},
      {"[", "[", 0, false},
      {"[!", "a", 0, false},
      {"[a\\", "a", 0, false},
      {"[a-", "a", 0, false},
      {"[a-]", "-", 0, true},
      {"[a-]", "a", 0, true},
      {"[-a]", "-", 0, true},
      {"[-a]", "a", 0, true},
      {"[a-\\c]", "b", 0, true},
      {"[a-\\]]", "]", 0, false},
      {"[\\a-c]", "b", 0, true},
      {"[a-\\", "b", 0, false},
      {"[c-a]", "b", 0, false},
      {"[a-cx-z]", "y", 0, true},
      {"[a-c-e]", "-", 0, true},
      {"[a-c-e]", "d", 0, false},
      {"[--0]", ".", 0, true},
      {"[a-z]", "\xe4", 0, false},
      {"[\x80-\xff]", "\xe4", 0, true},
      {"[\x80-z]", "\xff", 0, true},  // signed: below all of ASCII
      {"[\x01-\xff]", "\xe4", 0, false},
      {"[[:alpha:]]", "a]", 0, true},  // no classes: a set, then a ']'
      {"[[:alpha:]]", "a", 0, false},
      {"*[", "a[", 0, false},
      {"[*]", "*", 0, true},
      {"[?]", "a", 0, false},
  };
  for (const MatchRow& row : rows) {
    EXPECT_EQ(gPatternMatch(row.pattern, row.text, (row.flags & noEscapeFlag) != 0,
                            (row.flags & pathNameFlag) != 0, (row.flags & periodFlag) != 0),
              row.matches)
        << "pattern '" << row.pattern << "' text '" << row.text << "' flags " << row.flags;
    expectAsModel(row.pattern, row.text, row.flags);
  }
}

// ---- models

std::vector<std::string> everyText(const std::string& alphabet, std::size_t maxLength) {
  std::vector<std::string> texts = {""};
  std::size_t first = 0;
  for (std::size_t length = 1; length <= maxLength; ++length) {
    const std::size_t last = texts.size();
    for (; first < last; ++first) {
      for (const char c : alphabet) texts.push_back(texts[first] + c);
    }
  }
  return texts;
}

TEST(PatternMatch, AgreesWithTheModelOnEveryShortPatternOfStarsAndSlashes) {
  const std::vector<std::string> patterns = everyText("a/*?.", 5);
  const std::vector<std::string> texts = everyText("a/.", 5);
  for (const std::string& pattern : patterns) {
    for (const std::string& text : texts) {
      for (const int flags : {0, +pathNameFlag, +periodFlag, pathNameFlag | periodFlag}) {
        expectAsModel(pattern, text, flags);
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST(PatternMatch, AgreesWithTheModelOnEveryShortBracket) {
  const std::vector<std::string> sets = everyText("a]\\-!b", 5);
  const std::vector<std::string> texts = everyText("a]\\-b", 2);
  for (const std::string& set : sets) {
    for (const std::string& text : texts) {
      for (const int flags : {0, +noEscapeFlag}) {
        expectAsModel("[" + set, text, flags);
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST(PatternMatch, AgreesWithTheModelOnRandomPatterns) {
  std::mt19937 random(8);
  const auto randomText = [&](const char* alphabet, std::size_t maxLength) {
    std::string text;
    const std::size_t letters = std::strlen(alphabet);
    for (std::size_t n = random() % (maxLength + 1); n != 0; --n) {
      text.push_back(alphabet[random() % letters]);
    }
    return text;
  };
  for (int i = 0; i < 400000; ++i) {
    const bool brackets = random() % 2 != 0;
    const std::string pattern = randomText(brackets ? "a/.*?[]\\-!" : "ab/.***?", 12);
    const std::string text = randomText(brackets ? "a/.a*?[]\\-!" : "ab/.", 14);
    expectAsModel(pattern, text, static_cast<int>(random() % 8));
    if (HasFatalFailure()) return;
  }
}

TEST(PatternMatch, ManyStarsTakePolynomialTime) {
  std::string pattern;
  for (int i = 0; i < 500; ++i) pattern += "*a";
  const std::string text(5000, 'a');
  EXPECT_TRUE(gPatternMatch(pattern.c_str(), text.c_str(), false, false, false));
  pattern += "*b";
  EXPECT_FALSE(gPatternMatch(pattern.c_str(), text.c_str(), false, false, false));
  EXPECT_FALSE(gPatternMatch(pattern.c_str(), text.c_str(), false, true, true));
}

TEST(PatternMatch, AMillionStarsNeedNoStack) {
  std::string pattern;
  for (int i = 0; i < 1'000'000; ++i) pattern += "*?";
  const std::string text(1'000'000, 'a');
  EXPECT_TRUE(gPatternMatch(pattern.c_str(), text.c_str(), false, false, false));
  EXPECT_FALSE(gPatternMatch(pattern.c_str(), text.c_str() + 1, false, false, false));
}

}  // namespace
