// SPDX-License-Identifier: MIT
#include "loomkit/text/csv_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using loomkit::CsvReader;

// Each field as its text, in brackets when it was quoted; "|" between rows.
std::string shown(const std::string& text, const CsvReader::Dialect& dialect = {}) {
  CsvReader reader(text, dialect);
  std::vector<CsvReader::Field> row;
  std::string result;
  while (reader.read(&row)) {
    for (const CsvReader::Field& field : row) {
      if (&field != row.data()) result += ' ';
      result += field.quoted ? "[" + std::string(field.text) + "]" : std::string(field.text);
    }
    result += '|';
  }
  if (reader.failed())
    result += std::string(reader.getError()) + " " + std::to_string(reader.getLine()) + ":" +
              std::to_string(reader.getColumn());
  return result;
}

TEST(CsvReader, ReadsRowsOfEveryShape) {
  const struct {
    std::string text;
    std::string rows;
  } cases[] = {{"", ""},
               {"a", "a|"},
               {"a,b\nc,d\n", "a b|c d|"},
               {"a,b\r\nc,d\r\n", "a b|c d|"},
               {"a,b\rc,d", "a b|c d|"},
               {"a,\n,b\n", "a | b|"},
               {"\n\na", "||a|"},
               {"\"\",\n", "[] |"},
               {"\"a,b\",\"c\nd\",\"e\r\nf\"\n", "[a,b] [c\nd] [e\r\nf]|"},
               {"\"a\"\"b\",\"\"\"\",\"\"\"\"\"\"\n", "[a\"b] [\"] [\"\"]|"},
               {"a\"b,c\"\"d\n", "a\"b c\"\"d|"},
               {" \"a\"\n", " \"a\"|"},
               {"x;y\n", "x;y|"}};
  for (const auto& c : cases) EXPECT_EQ(shown(c.text), c.rows) << c.text;
  EXPECT_EQ(shown("a,b;c\n", {';'}), "a,b c|");
  EXPECT_EQ(shown("'a''b','c,d',\"e\"\n", {',', '\''}), "[a'b] [c,d] \"e\"|");
  EXPECT_EQ(shown("\"a\",'b\n", {',', std::nullopt}), "\"a\" 'b|");
  EXPECT_EQ(shown(std::string("a\0b,\0\n", 6), {',', std::nullopt}), std::string("a\0b \0|", 6));
}

TEST(CsvReader, TellsWhereAnErrorIs) {
  EXPECT_EQ(shown("a,b\nc,\"d\ne\n"), "a b|a quote has no end 2:3");
  EXPECT_EQ(shown("\""), "a quote has no end 1:1");
  EXPECT_EQ(shown("\"a\"b\n"), "a separator is missing behind a quoted field 1:4");
  EXPECT_EQ(shown("\"a\nb\" ,c\n"), "a separator is missing behind a quoted field 2:3");
}

TEST(CsvReader, FindsTheSeparator) {
  const struct {
    std::string text;
    char separator;
  } cases[] = {{"", ','},
               {"abc\n", ','},
               {"a,b\n1,2\n", ','},
               {"a;b;c\n1,5;2;3\n", ';'},
               {"a\tb\n", '\t'},
               {"a|b\n1|2\n", '|'},
               {"\"a;b;c\",d\n", ','},
               {"name,text\nx,\"a;b\"\n", ','}};
  for (const auto& c : cases) EXPECT_EQ(CsvReader::findSeparator(c.text), c.separator) << c.text;
}

TEST(CsvReader, FindsTheQuote) {
  const struct {
    std::string text;
    CsvReader::Dialect dialect;
  } cases[] = {{"id;name\n1;'a;b'\n2;'it''s'\n", {';', '\''}},
               {"'id','name'\n'1','a'\n", {',', '\''}},
               {"id,name\n1,'a'\n2,b\n", {',', '"'}},  // a text that has no quotes
               {"id,name\n1,'tis\n", {',', '"'}},      // a quote without its end
               {"id,name\n1,2\n", {',', '"'}},
               {"'a','b'\n", {',', '"'}},  // one line is not enough
               {"id,name\n1,\"'a'\"\n", {',', '"'}}};
  for (const auto& c : cases) {
    const CsvReader::Dialect found = CsvReader::findDialect(c.text);
    EXPECT_EQ(found.separator, c.dialect.separator) << c.text;
    EXPECT_EQ(found.quote, c.dialect.quote) << c.text;
  }
}

TEST(CsvReader, FindsTheSeparatorOfALongTextByItsBegin) {
  std::string text = "a;b,c\n1;\"x,y\"\n";
  while (text.size() < 200000) text += "2;\"p\nq,r\"\n";
  EXPECT_EQ(CsvReader::findSeparator(text), ';');
  const std::string cut = "a;b\n1;\"" + std::string(100000, 'x') + "\"\n2;y\n";
  EXPECT_EQ(CsvReader::findSeparator(cut), ';') << "the row that was cut off is left out";
}

// A writer that quotes every field, as the slow and obvious counterpart.
TEST(CsvReader, ReadsBackAllTextsOverASmallAlphabet) {
  const std::string alphabet = "a,\"\n\r";
  for (unsigned number = 0; number < 3125; ++number) {
    std::string value;
    for (unsigned rest = number, i = 0; i < 5; rest /= 5, ++i) value += alphabet[rest % 5];
    std::string text = "\"";
    for (const char c : value) text.append(c == '"' ? 2 : 1, c);
    text += "\",end\n";
    CsvReader reader(text, {});
    std::vector<CsvReader::Field> row;
    ASSERT_TRUE(reader.read(&row)) << text;
    ASSERT_EQ(row.size(), 2U) << text;
    EXPECT_EQ(row[0].text, value);
    EXPECT_EQ(row[1].text, "end");
    EXPECT_FALSE(reader.read(&row));
    EXPECT_FALSE(reader.failed());
  }
}

}  // namespace
