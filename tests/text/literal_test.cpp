// SPDX-License-Identifier: MIT
#include "loomkit/text/literal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "loomkit/text/gi_string.h"

namespace {

constexpr unsigned all = 0xFFFFFFFFU;

struct StringRow {
  const char* source;
  const char* text;
  std::size_t length;  // what was consumed; 0 for nothing
};

void expectString(const StringRow& row, bool acceptNull) {
  const char* end = nullptr;
  EXPECT_EQ(gParseCString(row.source, &end, acceptNull), row.text) << row.source;
  EXPECT_EQ(static_cast<std::size_t>(end - row.source), row.length) << row.source;
  unsigned length = 99;
  EXPECT_EQ(gParseCString(std::string(row.source), 0, &length, acceptNull), row.text);
  EXPECT_EQ(length, row.length) << row.source;
}

TEST(ParseCString, ReadsQuotedTexts) {
  const StringRow rows[] = {
      {"  \"ab\"x", "ab", 6},
      {" \t\n\v\f\r\"ab\"", "ab", 10},
      {"\"\"", "", 2},
      {"\"NULL\"", "NULL", 6},
      {"\"a\nb\"", "a\nb", 5},
      // escapes
      {"\"a\\tb\"", "a\tb", 6},
      {"\"\\a\\b\\f\\n\\r\\t\\v\"", "\a\b\f\n\r\t\v", 16},
      {"\"\\\"\\'\\\\\"", "\"'\\", 8},
      {"\"\\101\"", "A", 6},
      {"\"\\1011\"", "A1", 7},
      {"\"\\7\"", "\a", 4},
      {"\"\\18\"", "\0018", 5},
      {"\"\\8\"", "8", 4},
      {"\"\\501\"", "A", 6},  // 0501 cut to eight bits
      {"\"\\x41\"", "A", 6},
      {"\"\\xaB\"", "\xab", 6},
      {"\"\\x00041\"", "A", 9},  // only the last two digits count
      {"\"\\xffffffffff41\"", "A", 16},
      {"\"\\x41g\"", "Ag", 7},
      {"\"\\x\"", "x", 4},
      {"\"\\xg\"", "xg", 5},
      {"\"\\X41\"", "X41", 6},
      {"\"\\q\\?\\e\"", "q?e", 8},
      {"\"\\\xe4\"", "\xe4", 4},
      // no string
      {"", "", 0},
      {"  ", "", 0},
      {"ab", "", 0},
      {"'a'", "", 0},
      {"\\\"a\"", "", 0},
      // no end: what was read is returned
      {"\"abc", "abc", 0},
      {"\"", "", 0},
      {"  \"abc", "abc", 0},
      {"\"abc\\", "abc", 0},
      {"\"abc\\\"", "abc\"", 0},
      {"\"ab\\x", "abx", 0},
      {"\"ab\\x4", "ab\x04", 0},
      {"\"ab\\1", "ab\x01", 0},
  };
  for (const StringRow& row : rows) {
    expectString(row, false);
    expectString(row, true);
    const char* end = nullptr;
    EXPECT_EQ(gParseCString(row.source, &end), row.text);
    EXPECT_EQ(static_cast<std::size_t>(end - row.source), row.length);
  }
}

TEST(ParseCString, AnEscapedZeroIsPartOfTheText) {
  const char* end = nullptr;
  EXPECT_EQ(gParseCString("\"a\\0b\\x0\"", &end), std::string("a\0b\0", 4));
}

TEST(ParseCString, NullIsAWord) {
  const StringRow rows[] = {{"NULL", "", 4},  {"  NULL ", "", 6}, {"NULL)", "", 4},
                            {"NULL-", "", 4}, {"NULL\"", "", 4},  {"NULL\xe4", "", 4},
                            {"NULLx", "", 0}, {"NULL1", "", 0},   {"NULL_", "", 0},
                            {"NUL", "", 0},   {"null", "", 0},    {"xNULL", "", 0}};
  for (const StringRow& row : rows) {
    expectString(row, true);
    expectString({row.source, "", 0}, false);
  }
}

TEST(ParseCString, APositionInAString) {
  const std::string s = "x \"ab\" y";
  unsigned length = 99;
  EXPECT_EQ(gParseCString(s, 1, &length, false), "ab");
  EXPECT_EQ(length, 5U);
  EXPECT_EQ(gParseCString(s, 2, nullptr, false), "ab");
  EXPECT_EQ(gParseCString(s, 0, &length, false), "");
  EXPECT_EQ(length, 0U);
  for (const unsigned pos : {8U, 9U, all}) {  // at the end, and above
    length = 99;
    EXPECT_EQ(gParseCString(s, pos, &length, true), "");
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(gParseCString(s, pos, nullptr, true), "");
  }
  length = 99;
  EXPECT_EQ(gParseCString(std::string("\"a\0b\"", 5), 0, &length, false), "a");
  EXPECT_EQ(length, 0U) << "a NUL ends the text";
}

// ---- GiString::parseAsCString

struct InsideRow {
  std::string source;
  unsigned pos;
  std::string text;
  unsigned end;
};

TEST(ParseAsCString, IsBoundedByTheText) {
  const InsideRow rows[] = {
      {"\"ab\"x", 0, "ab", 4},   {"ab\"x", 0, "ab", 3},  // the opening quote is optional
      {"xx\"ab\"x", 2, "ab", 4}, {"xx\"ab\"x", 3, "ab", 3},
      {"\"\"", 0, "", 2},        {"\"", 0, "", all},
      {"\"a", 0, "a", all},      {"a", 0, "a", all},
      {"", 0, "", all},          {"a", 1, "", all},
      {"a", 2, "", all},         {"a", all, "", all},
      {"a\\", 0, "a", all},      {"\"a\\\"", 0, "a\"", all},
      {" \"a\"", 0, " ", 2},  // no white space is skipped
      {"NULL\"", 0, "NULL", 5},  {"a\\tb\\101\\x41\"", 0, "a\tbAA", 13},
      {"a\\x", 0, "ax", all},    {"a\\x4", 0, "a\x04", all},
      {"a\\12", 0, "a\n", all},  {std::string("a\0b\"", 4), 0, std::string("a\0b", 3), 4},
  };
  for (const InsideRow& row : rows) {
    const GiString s(row.source);
    unsigned end = 99;
    EXPECT_EQ(s.parseAsCString(row.pos, &end), row.text) << row.source;
    EXPECT_EQ(end, row.end) << row.source;
    EXPECT_EQ(s.parseAsCString(row.pos, nullptr), row.text) << row.source;
  }
}

// ---- writing

std::string writtenByModel(unsigned char c) {
  static const std::string special = "\a\b\t\n\v\f\r\"\\";
  static const std::string letters = "abtnvfr\"\\";
  const std::size_t at = special.find(static_cast<char>(c));
  std::string text = "\\";
  if (at != std::string::npos) return text + letters[at];
  if (c >= 32) return std::string(1, static_cast<char>(c));
  for (const int shift : {6, 3, 0}) text.push_back(static_cast<char>('0' + (c >> shift & 7)));
  return text;
}

TEST(ConvertToCString, WritesEachByte) {
  for (unsigned c = 0; c < 256; ++c) {
    std::string expected = writtenByModel(static_cast<unsigned char>(c));
    expected.insert(0, 1, '"').push_back('"');
    EXPECT_EQ(GiString(1, static_cast<char>(c)).convertToCString(0, 1), expected);
  }
}

TEST(ConvertToCString, TakesARange) {
  const GiString s("abc");
  EXPECT_EQ(s.convertToCString(0, all), "\"abc\"");
  EXPECT_EQ(s.convertToCString(0, 3), "\"abc\"");
  EXPECT_EQ(s.convertToCString(1, 1), "\"b\"");
  EXPECT_EQ(s.convertToCString(1, all), "\"bc\"");
  EXPECT_EQ(s.convertToCString(1, 0), "\"\"");
  EXPECT_EQ(s.convertToCString(3, 1), "\"\"");
  EXPECT_EQ(s.convertToCString(4, 1), "\"\"");
  EXPECT_EQ(GiString("a\n\"").convertToCString(0, 3), "\"a\\n\\\"\"");
  EXPECT_EQ(GiString("\x01").convertToCString(0, 1), "\"\\001\"");
}

TEST(ConvertToCString, ReservesRoomForAFewEscapes) {
  const GiString s(800, 'x');
  EXPECT_GE(s.convertToCString(0, all).capacity(), 800U + 100 + 3);
}

TEST(ConvertToCStringOrNull, WritesNullForNoText) {
  EXPECT_EQ(gConvertToCStringOrNULL("", 0, all), "NULL");
  EXPECT_EQ(gConvertToCStringOrNULL("abc", 0, 0), "NULL");
  EXPECT_EQ(gConvertToCStringOrNULL("abc", 0, all), "\"abc\"");
  EXPECT_EQ(gConvertToCStringOrNULL("abc", 1, 1), "\"b\"");
  EXPECT_EQ(gConvertToCStringOrNULL("abc", 3, 1), "\"\"");
}

// ---- gParseSymbol

TEST(ParseSymbol, ReadsBothForms) {
  const StringRow rows[] = {
      {"@ab_1 ", "@ab_1", 5},
      {"  @ab", "@ab", 5},
      {"@_", "@_", 2},
      {"@a-b", "@a", 2},
      {"@a\xe4", "@a", 2},
      {"Symbol(\"x\")", "@x", 11},
      {"Symbol ( \"x y\" )", "@x y", 16},
      {" Symbol\t(\n\"\\x41\"\v)x", "@A", 18},
      {"Symbol(\"\")", "@", 10},
      {"Symbol(\"@a\")", "@@a", 12},
      // nothing
      {"@1", "", 0},
      {"@", "", 0},
      {"@@a", "", 0},
      {"@\xe4", "", 0},
      {"a", "", 0},
      {"", "", 0},
      {"  ", "", 0},
      {"Symbol", "", 0},
      {"Symbol x", "", 0},
      {"Symbolic", "", 0},
      {"Symbol(", "", 0},
      {"Symbol()", "", 0},
      {"Symbol(x)", "", 0},
      {"Symbol(NULL)", "", 0},
      {"Symbol(\"x\"", "", 0},
      {"Symbol(\"x\" x)", "", 0},
      {"Symbol(\"x)", "", 0},
      {"symbol(\"x\")", "", 0},
      {"Symbo", "", 0},
  };
  for (const StringRow& row : rows) {
    for (const bool acceptNull : {false, true}) {
      const char* end = nullptr;
      EXPECT_EQ(gParseSymbol(row.source, &end, acceptNull), row.text) << row.source;
      EXPECT_EQ(static_cast<std::size_t>(end - row.source), row.length) << row.source;
    }
  }
}

TEST(ParseSymbol, NullNeedsNoWordEnd) {
  const StringRow rows[] = {{"NULL", "", 4}, {" NULL", "", 5}, {"NULLx", "", 4}, {"NUL", "", 0}};
  for (const StringRow& row : rows) {
    const char* end = nullptr;
    EXPECT_EQ(gParseSymbol(row.source, &end, true), "");
    EXPECT_EQ(static_cast<std::size_t>(end - row.source), row.length) << row.source;
    EXPECT_EQ(gParseSymbol(row.source, &end, false), "");
    EXPECT_EQ(end, row.source);
  }
}

// ---- models

// The reading rules over a string and an index, by their table.
struct Parsed {
  std::string text;
  bool closed = false;
  std::size_t next = 0;
};

Parsed modelParse(const std::string& s, std::size_t i) {
  static const std::string letters = "abfnrtv";
  static const std::string bytes = "\a\b\f\n\r\t\v";
  static const std::string hexDigits = "0123456789abcdefABCDEF";
  Parsed parsed;
  while (i < s.size()) {
    if (s[i] == '"') {
      parsed.closed = true;
      parsed.next = i + 1;
      return parsed;
    }
    if (s[i] != '\\') {
      parsed.text += s[i++];
      continue;
    }
    if (++i == s.size()) return parsed;
    const std::size_t octalEnd = std::min(s.find_first_not_of("01234567", i), s.size());
    if (octalEnd > i) {
      const std::string digits = s.substr(i, std::min<std::size_t>(octalEnd - i, 3));
      parsed.text += static_cast<char>(std::stoul(digits, nullptr, 8) & 0xFF);
      i += digits.size();
      continue;
    }
    const std::size_t hexEnd = std::min(s.find_first_not_of(hexDigits, i + 1), s.size());
    if (s[i] == 'x' && hexEnd > i + 1) {
      const std::size_t first = std::max(i + 1, hexEnd - std::min<std::size_t>(2, hexEnd));
      parsed.text += static_cast<char>(std::stoul(s.substr(first, hexEnd - first), nullptr, 16));
      i = hexEnd;
      continue;
    }
    const std::size_t letter = letters.find(s[i]);
    parsed.text += letter != std::string::npos ? bytes[letter] : s[i];
    ++i;
  }
  return parsed;
}

std::string randomText(std::mt19937& random, const std::string& alphabet, std::size_t maxLength) {
  std::string text;
  for (std::size_t n = random() % (maxLength + 1); n != 0; --n) {
    text.push_back(alphabet[random() % alphabet.size()]);
  }
  return text;
}

TEST(ParseCString, AgreesWithTheModel) {
  std::mt19937 random(12);
  for (int i = 0; i < 100000; ++i) {
    const std::string inside = randomText(random, "\\\\\\\"x017afg8n'", 14);
    const Parsed expected = modelParse(inside, 0);

    unsigned end = 0;
    ASSERT_EQ(GiString(inside).parseAsCString(0, &end),
              inside[0] == '"' ? modelParse(inside, 1).text : expected.text)
        << inside;
    if (inside[0] != '"') {
      ASSERT_EQ(end, expected.closed ? static_cast<unsigned>(expected.next) : all) << inside;
    }

    const std::string quoted = "\"" + inside;
    const char* stop = nullptr;
    ASSERT_EQ(gParseCString(quoted.c_str(), &stop), expected.text) << inside;
    ASSERT_EQ(static_cast<std::size_t>(stop - quoted.c_str()),
              expected.closed ? expected.next + 1 : 0)
        << inside;
  }
}

TEST(ConvertToCString, EveryTextReadsBack) {
  std::mt19937 random(13);
  for (int i = 0; i < 100000; ++i) {
    GiString text;
    for (std::size_t n = random() % 16; n != 0; --n) text.push_back(static_cast<char>(random()));
    const GiString literal = text.convertToCString(0, all);

    const char* end = nullptr;
    ASSERT_EQ(gParseCString(literal.c_str(), &end), text) << literal;
    ASSERT_EQ(end, literal.c_str() + literal.size()) << literal;
    unsigned length = 0;
    ASSERT_EQ(literal.parseAsCString(0, &length), text) << literal;
    ASSERT_EQ(length, literal.size()) << literal;

    const std::string orNull = gConvertToCStringOrNULL(text, 0, all);
    ASSERT_EQ(gParseCString(orNull.c_str(), &end, true), text) << orNull;
    ASSERT_EQ(end, orNull.c_str() + orNull.size()) << orNull;

    const std::string symbol = "Symbol(" + literal + ")";
    ASSERT_EQ(gParseSymbol(symbol.c_str(), &end, false), "@" + text) << symbol;
  }
}

}  // namespace
