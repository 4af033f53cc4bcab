// SPDX-License-Identifier: MIT
#include "loomkit/text/uri.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>

namespace {

const std::string alnum = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
const std::string marks = "-_.~";
const std::string unreserved = alnum + marks;
const std::string reserved = ":/?#[]@!$&'()*+,;=";

bool isIn(const std::string& set, char c) { return set.find(c) != std::string::npos; }

std::string percent(char c) {
  char text[4];
  std::snprintf(text, sizeof text, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
  return text;
}

std::string everyByte() {
  std::string text;
  for (int c = 0; c < 256; ++c) text.push_back(static_cast<char>(c));
  return text;
}

// ---- escaping

TEST(EscapeUriComponent, KeepsWhatIsAllowed) {
  struct {
    const char* text;
    const char* allowed;
    const char* escaped;
  } const rows[] = {{"a b/c", nullptr, "a%20b%2Fc"},
                    {"a b/c", "/", "a%20b/c"},
                    {"a b/c", "", "a%20b%2Fc"},
                    {"!$&'()*+,;=", nullptr, "!$&'()*+,;="},
                    {"!$&'()*+,;=", "", "%21%24%26%27%28%29%2A%2B%2C%3B%3D"},
                    {":/?#[]@", nullptr, "%3A%2F%3F%23%5B%5D%40"},
                    {":/?#[]@", ":/?#[]@", ":/?#[]@"},
                    {"!", "/", "%21"},                 // naming some drops the default
                    {"a %\"", "a %\"", "a%20%25%22"},  // only reserved ones can be allowed
                    {"-_.~", "", "-_.~"},
                    {"100%", nullptr, "100%25"},
                    {"%41", nullptr, "%2541"},
                    {"\xe4", nullptr, "%E4"},
                    {"\xe4", "\xe4", "%E4"},
                    {"", nullptr, ""}};
  for (const auto& row : rows) {
    EXPECT_EQ(gEscapeURIComponent(row.text, row.allowed), row.escaped) << row.text;
    EXPECT_EQ(gEscapeURIComponent(std::string(row.text), row.allowed), row.escaped) << row.text;
  }
}

TEST(EscapeUriComponent, EveryByteByEachSet) {
  struct {
    const char* allowed;
    std::string kept;
  } const rows[] = {{nullptr, alnum + marks + "!$&'()*+,;="},
                    {"", alnum + marks},
                    {"/:", alnum + marks + "/:"},
                    {reserved.c_str(), alnum + marks + reserved}};
  for (const auto& row : rows) {
    std::string expected;
    for (const char c : everyByte()) expected += isIn(row.kept, c) ? std::string(1, c) : percent(c);
    EXPECT_EQ(gEscapeURIComponent(everyByte(), row.allowed), expected);
  }
}

TEST(EscapeUriComponent, ATextEndsAtNulAndAStringDoesNot) {
  EXPECT_EQ(gEscapeURIComponent("a\0b", nullptr), "a");
  EXPECT_EQ(gEscapeURIComponent(std::string("a\0b", 3), nullptr), "a%00b");
}

TEST(EscapeUriComponent, ReservesSomeRoom) {
  EXPECT_GE(gEscapeURIComponent(std::string(100, 'a'), nullptr).capacity(), 116U);
  EXPECT_GE(gEscapeURIComponent(std::string(1000, 'a'), nullptr).capacity(), 1016U);
}

TEST(EscapeUriComponent, LongTextsAreWhole) {
  for (const std::size_t length : {255U, 256U, 257U, 512U, 100000U}) {
    const std::string text(length, ' ');
    std::string expected;
    for (std::size_t i = 0; i < length; ++i) expected += "%20";
    EXPECT_EQ(gEscapeURIComponent(text, nullptr), expected);
  }
}

// ---- unescaping

struct UriRow {
  const char* text;
  std::string result;
};

TEST(UnescapePartOfUri, TurnsEscapesIntoBytes) {
  const UriRow rows[] = {{"a%2fb%zz", "a/b%zz"},
                         {"", ""},
                         {"abc", "abc"},
                         {"%41%42", "AB"},
                         {"%2F%2f", "//"},
                         {"%e4%FF", "\xe4\xff"},
                         {"%", "%"},
                         {"%4", "%4"},
                         {"a%", "a%"},
                         {"%%41", "%A"},
                         {"%4%41", "%4A"},
                         {"%g1%1g", "%g1%1g"},
                         {"%2541", "%41"},  // once, not twice
                         {"%\xe4\xe4", "%\xe4\xe4"},
                         {"a%00b", std::string("a\0b", 3)},
                         {"+", "+"}};
  for (const UriRow& row : rows) {
    EXPECT_EQ(gUnescapePartOfURI(row.text), row.result) << row.text;
    EXPECT_EQ(gUnescapePartOfURI(std::string(row.text)), row.result) << row.text;
  }
}

TEST(UnescapePartOfUri, ATextEndsAtNulAndAStringDoesNot) {
  EXPECT_EQ(gUnescapePartOfURI("a\0%41"), "a");
  EXPECT_EQ(gUnescapePartOfURI(std::string("a\0%41", 5)), std::string("a\0A", 3));
  EXPECT_EQ(gUnescapePartOfURI(std::string("%4\0", 3)), std::string("%4\0", 3));
}

TEST(UnescapePartOfUri, UndoesEscaping) {
  std::mt19937 random(14);
  for (int i = 0; i < 100000; ++i) {
    std::string text;
    for (std::size_t n = random() % 12; n != 0; --n) text.push_back(static_cast<char>(random()));
    ASSERT_EQ(gUnescapePartOfURI(gEscapeURIComponent(text, random() % 2 != 0 ? nullptr : "/?")),
              text);
  }
}

bool isEscape(const std::string& s, std::size_t i) {
  static const std::string hex = "0123456789abcdefABCDEF";
  return s[i] == '%' && i + 2 < s.size() && isIn(hex, s[i + 1]) && isIn(hex, s[i + 2]);
}

char escapedByte(const std::string& s, std::size_t i) {
  return static_cast<char>(std::stoul(s.substr(i + 1, 2), nullptr, 16));
}

std::string randomUri(std::mt19937& random) {
  static const std::string alphabet = "%%%%047aAfFg/ ~\xe4";
  std::string text;
  for (std::size_t n = random() % 14; n != 0; --n) {
    text.push_back(alphabet[random() % alphabet.size()]);
  }
  return text;
}

TEST(UnescapePartOfUri, AgreesWithTheModel) {
  std::mt19937 random(15);
  for (int i = 0; i < 100000; ++i) {
    const std::string text = randomUri(random);
    std::string expected;
    for (std::size_t at = 0; at < text.size(); ++at) {
      if (isEscape(text, at)) {
        expected += escapedByte(text, at);
        at += 2;
      } else {
        expected += text[at];
      }
    }
    ASSERT_EQ(gUnescapePartOfURI(text), expected) << text;
  }
}

// ---- normalising

TEST(NormalizeUri, PutsEscapesInOneForm) {
  const UriRow rows[] = {{"a%7e%2fb c", "a~%2Fb%20c"},
                         {"100%", "100%25"},
                         {"", ""},
                         {":/?#[]@!$&'()*+,;=", ":/?#[]@!$&'()*+,;="},
                         {"%3a%3A", "%3A%3A"},
                         {"%41%7A%30%2d%5f%2e%7E", "Az0-_.~"},
                         {"%20%e4", "%20%E4"},
                         {"\xe4\"<>", "%E4%22%3C%3E"},
                         {"%", "%25"},
                         {"%4", "%254"},
                         {"%zz", "%25zz"},
                         {"%%41", "%25A"},
                         {"%25", "%25"},
                         {"%2541", "%2541"},
                         {"%00", "%00"}};
  for (const UriRow& row : rows) {
    EXPECT_EQ(gNormalizeURI(row.text), row.result) << row.text;
    EXPECT_EQ(gNormalizeURI(std::string(row.text)), row.result) << row.text;
  }
}

TEST(NormalizeUri, ATextEndsAtNulAndAStringDoesNot) {
  EXPECT_EQ(gNormalizeURI("a\0b"), "a");
  EXPECT_EQ(gNormalizeURI(std::string("a\0b", 3)), "a%00b");
}

TEST(NormalizeUri, AgreesWithTheModelAndChangesNothingTwice) {
  std::mt19937 random(16);
  const std::string copied = unreserved + reserved;
  for (int i = 0; i < 100000; ++i) {
    const std::string text = randomUri(random);
    std::string expected;
    for (std::size_t at = 0; at < text.size(); ++at) {
      if (isEscape(text, at)) {
        const char byte = escapedByte(text, at);
        expected += isIn(unreserved, byte) ? std::string(1, byte) : percent(byte);
        at += 2;
      } else if (isIn(copied, text[at])) {
        expected += text[at];
      } else {
        expected += percent(text[at]);
      }
    }
    ASSERT_EQ(gNormalizeURI(text), expected) << text;
    ASSERT_EQ(gNormalizeURI(expected), expected) << text;
  }
}

// ---- recognition

TEST(IsUri, NeedsASchemeOfTwoCharacters) {
  for (const char* text : {"ab:c", "a+b-c.d:", "http://x", "a1:", "ab:", "Zz:x"}) {
    EXPECT_TRUE(gIsURI(text)) << text;
    EXPECT_TRUE(gIsURI(std::string(text))) << text;
  }
  for (const char* text :
       {"C:/x", "1a:x", "abc", "", "a", ":", "a:", "+a:", "ab", "ab/c:", "a b:", "a_b:",
        "\xe4"
        "b:",
        "a\xe4:", "ab%:"}) {
    EXPECT_FALSE(gIsURI(text)) << text;
    EXPECT_FALSE(gIsURI(std::string(text))) << text;
  }
  EXPECT_FALSE(gIsURI(std::string("ab\0:", 4)));
}

}  // namespace
