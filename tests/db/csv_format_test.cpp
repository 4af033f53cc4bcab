// SPDX-License-Identifier: MIT
// One line of a CSV table, and how lines are found in bytes.
#include "loomkit/db/csv/csv_format.h"

#include <cstring>
#include <random>
#include <sstream>

#include "loomkit/db/csv/csv_index.h"
#include "loomkit/db/csv/csv_line_reader.h"
#include "loomkit/text/number.h"
#include "loomkit/text/number32.h"
#include "tests/db/db_fixture.h"

namespace {

using namespace loomkit::testing;
using Types = std::vector<GDbFieldType>;

constexpr GDbFieldType I = GDbFieldInt;
constexpr GDbFieldType U = GDbFieldUInt;
constexpr GDbFieldType F = GDbFieldFloat;
constexpr GDbFieldType S = GDbFieldString;
constexpr GDbFieldType B = GDbFieldBlob;

GDbStructure structureFor(const Types& types) {
  GDbStructure structure;
  for (const GDbFieldType type : types) structure.appendField(field("f", type));
  return structure;
}

// The record's text, or the words of the status. The block has exactly the
// size that the layout asks for, so the sanitizer sees every byte too much.
std::string parse(const Types& types, const std::string& line) {
  const loomkit::CsvLayout layout(structureFor(types));
  void* block = ::operator new(layout.blockSize(line.size()));
  GDbRecord* record = nullptr;
  const GDbStatus status = layout.parse(line.c_str(), line.size(), block, &record);
  if (status != GDbNoError) {
    ::operator delete(block);
    return gDbStrError(status);
  }
  std::string text = textOf(*record);
  record->deleteRecord();
  return text;
}

const char* const mismatch = "field type mismatch";
const char* const missing = "field count mismatch";

TEST(CsvFormat, ParsesALineByTheTypesOfItsColumns) {
  const struct {
    Types types;
    std::string line;
    std::string result;
  } rows[] = {
      {{I, S, S}, "1;\"a;b\";\"c\"\"d\"", "1|a;b|c\"d"},
      {{I, I}, "7", missing},
      {{I, S}, "7", "7|"},
      {{I, S, S}, "7", "7||"},
      {{I, S, F}, "7", missing},
      {{I, I}, "7x;8", mismatch},
      {{I, I}, "7;", mismatch},
      {{I, I}, "7;8", "7|8"},
      {{I, I}, " 7 ; \t8 ", "7|8"},
      {{I, I}, "+7;-8", "7|-8"},
      {{I, I}, ";8", mismatch},
      {{I}, "", mismatch},
      {{I}, "-", mismatch},
      {{I}, "--1", mismatch},
      {{I}, "- 1", mismatch},
      {{I}, "0x10", mismatch},
      {{I}, "000000000000017", "17"},
      {{I}, "123456789", "123456789"},
      {{I}, "2147483647", "2147483647"},
      {{I}, "2147483648", "2147483647"},
      {{I}, "-2147483649", "-2147483648"},
      {{I}, "99999999999999999999", "2147483647"},
      {{U}, "4294967295", "4294967295"},
      {{U}, "4294967296", "4294967295"},
      {{U}, "-1", "4294967295"},
      {{U}, "-5;", "4294967291"},
      {{U}, "x", mismatch},
      {{F}, "1.5e3", "1500"},
      {{F}, "-.5", "-0.5"},
      {{F}, "5.;", "5"},
      {{F}, "", mismatch},
      {{F}, "1,5", mismatch},
      {{F, F}, "1;2;3;rest is not looked at", "1|2"},
      {{I}, "1;anything", "1"},
      {{I}, "1 anything", mismatch},
      {{S}, "", ""},
      {{S}, "  kept  ;", "  kept  "},
      {{S}, "in\"side", "in\"side"},
      {{S}, " \"not quoted\"", " \"not quoted\""},
      {{S}, "\"open", "open"},
      {{S}, "\"", ""},
      {{S}, "\"\"", ""},
      {{S}, "\"\"\"\"", "\""},
      {{S}, "\"a\" \t;x", "a"},
      {{S}, "\"a\"b;x", mismatch},
      {{S, S}, "\"a\";\"b\"", "a|b"},
      {{S, S}, "\"a;b", "a;b|"},
      {{S, S, S}, "a;;c", "a||c"},
      {{S, I}, "a", missing},
      {{S}, std::string("a\0b", 3), mismatch},
      {{S}, std::string("\"a\0b\"", 5), mismatch},
      {{S}, std::string("a\0", 2), mismatch},
      {{S, S}, std::string("a;\0", 3), mismatch},
      {{I}, std::string("1\0", 2), mismatch},
      {{I, S}, std::string("1\0;b", 4), mismatch},
      {{I, I}, std::string("1;\0002", 4), mismatch},
      {{I}, std::string("1;\0b", 4), "1"},
      {{B}, "x", "invalid argument"},
      {{I, B}, "x", mismatch},
      {{I, B}, "1", "invalid argument"},
      {{}, "anything", ""},
  };
  for (const auto& row : rows) EXPECT_EQ(parse(row.types, row.line), row.result) << row.line;
}

// The same format, read the plain way: one column after the other into a text.
std::string slowParse(const Types& types, const std::string& text) {
  std::string result;
  const char* at = text.c_str();
  bool atEnd = false;
  for (std::size_t i = 0; i < types.size(); ++i) {
    if (i != 0) result += '|';
    const char* end = at;
    if (types[i] == S) {
      const bool quoted = *at == '"';
      if (quoted) ++at;
      while (*at != '\0') {
        if (quoted && *at == '"') {
          ++at;
          if (*at != '"') break;
        } else if (!quoted && *at == ';') {
          break;
        }
        result += *at++;
      }
    } else {
      if (atEnd) return missing;
      if (types[i] == F) {
        GOStrStream number;
        number << gParseCDouble(at, &end);
        result += number.str();
      } else if (types[i] == I) {
        result += std::to_string(loomkit::parseLong32(at, &end, 10));
      } else {
        result += std::to_string(loomkit::parseUnsignedLong32(at, &end, 10));
      }
      if (end == at) return mismatch;
      at = end;
    }
    while (*at == ' ' || (*at >= '\t' && *at <= '\r')) ++at;
    if (*at == ';')
      ++at;
    else if (at == text.c_str() + text.size())
      atEnd = true;
    else
      return mismatch;
  }
  return result;
}

TEST(CsvFormat, AgreesWithTheSlowReaderOnRandomLines) {
  std::mt19937 random(20240601);
  const std::string alphabet = ";;;\"\"0123456789-+.e \tab\xe4";
  const GDbFieldType kinds[] = {I, U, F, S, S};
  for (int round = 0; round < 200000; ++round) {
    Types types(1 + random() % 4);
    for (GDbFieldType& type : types) type = kinds[random() % 5];
    std::string line(random() % 24, '\0');
    for (char& c : line) c = alphabet[random() % alphabet.size()];
    ASSERT_EQ(parse(types, line), slowParse(types, line)) << "round " << round << ": " << line;
  }
}

TEST(CsvFormat, EveryValueIsAligned) {
  const loomkit::CsvLayout layout(structureFor({S, F, S, I, S, F}));
  for (int length = 0; length < 20; ++length) {
    const std::string text(static_cast<std::size_t>(length), 'x');
    const std::string line = text + ";1;" + text + ";2;" + text + ";3";
    void* block = ::operator new(layout.blockSize(line.size()));
    GDbRecord* record = nullptr;
    ASSERT_EQ(layout.parse(line.c_str(), line.size(), block, &record), GDbNoError);
    EXPECT_EQ(record->getFloatField(1) + record->getIntField(3) + record->getFloatField(5), 6.0);
    record->deleteRecord();
  }
}

TEST(CsvFormatDeathTest, AColumnWithoutATypeAborts) {
  EXPECT_DEATH(loomkit::CsvLayout(structureFor({I, GDbFieldNone})), "");
}

std::vector<std::string> linesOf(const std::string& bytes) {
  loomkit::CsvLineReader reader(std::make_unique<std::istringstream>(bytes));
  std::vector<std::string> lines;
  while (reader.read() == loomkit::CsvLineReader::Result::line)
    lines.push_back(reader.line() + "@" + std::to_string(reader.lineStart()));
  return lines;
}

TEST(CsvLineReader, EndsLinesAtEveryKindOfTerminator) {
  using Lines = std::vector<std::string>;
  EXPECT_EQ(linesOf(""), Lines{});
  EXPECT_EQ(linesOf("a\nb\n"), (Lines{"a@0", "b@2"}));
  EXPECT_EQ(linesOf("a\rb\r"), (Lines{"a@0", "b@2"}));
  EXPECT_EQ(linesOf("a\r\nb\r\n"), (Lines{"a@0", "b@3"}));
  EXPECT_EQ(linesOf("a\n\rb\n\r"), (Lines{"a@0", "b@3"}));
  EXPECT_EQ(linesOf("a\n\nb"), (Lines{"a@0", "@2", "b@3"}));
  EXPECT_EQ(linesOf("a\r\rb"), (Lines{"a@0", "@2", "b@3"}));
  EXPECT_EQ(linesOf("a\r\n\r\nb"), (Lines{"a@0", "@3", "b@5"}));
  EXPECT_EQ(linesOf("a\n\r\nb"), (Lines{"a@0", "@3", "b@4"})) << "the first pair wins";
  EXPECT_EQ(linesOf("\n"), Lines{"@0"});
  EXPECT_EQ(linesOf("last"), Lines{"last@0"});
}

// Hands its bytes out one at a time, so that every pair is cut in two.
class OneByteBuffer : public std::streambuf {
 public:
  explicit OneByteBuffer(std::string bytes) : data(std::move(bytes)) {}

 protected:
  int_type underflow() override {
    if (at == data.size()) return traits_type::eof();
    current = data[at++];
    setg(&current, &current, &current + 1);
    return traits_type::to_int_type(current);
  }

 private:
  std::string data;
  std::size_t at = 0;
  char current = 0;
};

class OwningStream : public std::istream {
 public:
  explicit OwningStream(std::streambuf* buffer) : std::istream(buffer), owned(buffer) {}

 private:
  std::unique_ptr<std::streambuf> owned;
};

TEST(CsvLineReader, ReadsTheSameWhateverTheBuffersAre) {
  std::mt19937 random(7);
  for (int round = 0; round < 3000; ++round) {
    std::string bytes(random() % 40, '\0');
    for (char& c : bytes) c = "\r\n\r\nab;\0"[random() % 8];
    loomkit::CsvLineReader reader(std::make_unique<OwningStream>(new OneByteBuffer(bytes)));
    std::vector<std::string> lines;
    while (reader.read() == loomkit::CsvLineReader::Result::line)
      lines.push_back(reader.line() + "@" + std::to_string(reader.lineStart()));
    ASSERT_EQ(lines, linesOf(bytes)) << round;
  }
}

// Breaks after the first bytes, as a disk does.
class BreakingBuffer : public std::streambuf {
 protected:
  int_type underflow() override {
    if (broken) throw std::runtime_error("read error");
    broken = true;
    setg(bytes, bytes, bytes + 4);
    return traits_type::to_int_type(bytes[0]);
  }

 private:
  bool broken = false;
  char bytes[4] = {'1', '\n', '2', '2'};
};

TEST(CsvLineReader, ABrokenStreamIsAFailureAndStaysOne) {
  loomkit::CsvLineReader reader(std::make_unique<OwningStream>(new BreakingBuffer));
  EXPECT_EQ(reader.read(), loomkit::CsvLineReader::Result::line);
  EXPECT_EQ(reader.read(), loomkit::CsvLineReader::Result::failed);
  EXPECT_EQ(reader.read(), loomkit::CsvLineReader::Result::failed);
  EXPECT_FALSE(reader.seek(0));
}

TEST(CsvIndex, HashesEachTypeByItsRule) {
  const GDbKey number(0, 5);
  EXPECT_EQ(loomkit::csvKeyHash(&number, 1), 5U);
  const GDbKey negative(0, -1);
  EXPECT_EQ(loomkit::csvKeyHash(&negative, 1), 0xFFFFFFFFU);
  const GDbKey text(0, "ab\xff");
  EXPECT_EQ(loomkit::csvKeyHash(&text, 1), (97U * 31 + 98) * 31 + 255);
  // 1.0 has the mantissa 0.5: -(trunc(0.5 * -4294967295)) is 2147483647.
  const GDbKey one(0, 1.0);
  EXPECT_EQ(loomkit::csvKeyHash(&one, 1), 2147483647U >> 4);
  const GDbKey minusOne(0, -1.0);
  EXPECT_EQ(loomkit::csvKeyHash(&minusOne, 1), (0U - 2147483647U) >> 4);
  const GDbKey both[] = {GDbKey(0, 5), GDbKey(1, "a")};
  EXPECT_EQ(loomkit::csvKeyHash(both, 2), 5U * 31 + 97);
  const GDbKey infinite(0, HUGE_VAL);
  EXPECT_EQ(loomkit::csvKeyHash(&infinite, 1), 0U);
  const GDbKey none;
  EXPECT_EQ(loomkit::csvKeyHash(&none, 1), 0U);
}

// Every hash among every kind of spread, against a plain count.
TEST(CsvIndex, FindsTheEntriesOfAHashInFileOrder) {
  std::mt19937 random(5);
  for (int round = 0; round < 300; ++round) {
    loomkit::CsvIndex index({0});
    std::vector<unsigned> values;
    const unsigned mask = round % 3 == 0 ? 0xFFFFFFFFU : (round % 3 == 1 ? 15U : 0x800000FFU);
    for (unsigned i = 0; i < static_cast<unsigned>(round); ++i) {
      values.push_back(static_cast<unsigned>(random()) & mask);
      auto* record = new GDbRecord;
      record->addUIntField(values.back());
      index.add(*record, static_cast<std::int64_t>(i));
      record->deleteRecord();
    }
    index.sort();
    std::vector<unsigned> wanted = values;
    for (const unsigned extra : {0U, 1U, 7U, 0x80000000U, 0xFFFFFFFFU}) wanted.push_back(extra);
    for (const unsigned hash : wanted) {
      std::vector<std::int64_t> expected;
      for (std::size_t i = 0; i < values.size(); ++i)
        if (values[i] == hash) expected.push_back(static_cast<std::int64_t>(i));
      std::vector<std::int64_t> found;
      const auto [first, last] = index.find(hash);
      for (auto entry = first; entry != last; ++entry) found.push_back(entry->position);
      ASSERT_EQ(found, expected) << "round " << round << " hash " << hash;
    }
  }
}

}  // namespace
