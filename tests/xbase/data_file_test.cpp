// SPDX-License-Identifier: MIT
#include "loomkit/xbase/data_file.h"

#include <climits>
#include <random>

#include "loomkit/xbase/dates.h"
#include "loomkit/xbase/dbf_layout.h"
#include "tests/xbase/table_fixture.h"

namespace loomkit::xbase {
namespace {

using Texts = std::vector<std::string>;

class XBaseTable : public TableTest {
 protected:
  TableOwner makePeople(int count) {
    TableOwner table =
        createDataFile(engine, scratch / "people.dbf", {{"NAME", 'C', 6, 0}, {"AGE", 'N', 3, 0}});
    EXPECT_NE(table, nullptr);
    for (int i = 1; i <= count; ++i) append(table.get(), "p" + std::to_string(i), i);
    return table;
  }
  static void append(DataFile* table, const std::string& name, int age) {
    ASSERT_EQ(startAppend(*table), ok);
    blank(*table);
    unmarkDeleted(*table);
    assignText(*table, 0, name);
    assignLong(*table, 1, age);
    ASSERT_EQ(finishAppend(*table), ok);
  }
};

TEST_F(XBaseTable, ANewOneHasItsHeaderItsDescriptorsAndTwoEndBytes) {
  ASSERT_NE(createDataFile(engine, scratch / "t",
                           {{" wide name of it", 'c', 300, 7}, {"n", 'N', 8, 2}, {"l", 'L', 9, 9}}),
            nullptr);
  const std::string bytes = scratch.read("t.DBF");
  const Day date = today();
  std::string expected("\x03", 1);
  expected += static_cast<char>(date.year - 1900);
  expected += static_cast<char>(date.month);
  expected += static_cast<char>(date.day);
  expected += std::string("\0\0\0\0\x81\0\x36\x01", 8);
  expected += std::string(20, '\0');
  expected += std::string("WIDE NAME\0\0C\0\0\0\0\x2C\x01", 18) + std::string(14, '\0');
  expected += std::string("N\0\0\0\0\0\0\0\0\0\0N\0\0\0\0\x08\x02", 18) + std::string(14, '\0');
  expected += std::string("L\0\0\0\0\0\0\0\0\0\0L\0\0\0\0\x01\0", 18) + std::string(14, '\0');
  expected += "\r\x1a";
  EXPECT_EQ(bytes, expected);
}

TEST_F(XBaseTable, WithAMemoFieldHasAnotherVersionAndAMemoFile) {
  for (const char type : {'M', 'G', 'B'}) {
    engine.safety = false;
    const TableOwner table = createDataFile(engine, scratch / "t.DBF", {{"A", type, 3, 0}});
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(scratch.read("t.DBF")[0], '\xF5');
    EXPECT_EQ(scratch.read("t.FPT").size(), 512U);
    EXPECT_EQ(table->fields[0].type, 'M');
    EXPECT_EQ(table->fields[0].width, 10U);
  }
}

TEST_F(XBaseTable, WhatCannotBeMadeIsRefusedWithItsCode) {
  const std::vector<FieldDescription> many(2047, FieldDescription{"A", 'L', 1, 0});
  const struct {
    std::vector<FieldDescription> fields;
    int code;
  } rows[] = {
      {{{"A", 'C', 65534, 0}}, errorRecordLength},
      {{{"A", 'C', 4000000000U, 0}}, errorRecordLength},
      {std::vector<FieldDescription>(300, FieldDescription{"A", 'N', 250, 0}), errorRecordLength},
      {many, errorCreating},
      {{{"A", 'X', 1, 0}}, errorFieldType},
      {{{"", 'C', 1, 0}}, errorFieldName},
      {{{"\r", 'C', 1, 0}}, errorFieldName},
      {{{"A", 'C', 0, 0}}, errorParameter},
      {{{"A", 'N', 256, 0}}, errorParameter},
      {{{"A", 'N', 3, 3}}, errorParameter},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(createDataFile(engine, scratch / "t.dbf", row.fields), nullptr);
    EXPECT_EQ(takeError(), row.code);
    EXPECT_EQ(scratch.read("t.dbf"), "");
  }
  engine.report.create = true;
  EXPECT_EQ(createDataFile(engine, scratch / "t.dbf", many), nullptr);
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_NE(reports[0].find("Too Many Fields"), std::string::npos);
  takeError();
  EXPECT_NE(createDataFile(engine, scratch / "t.dbf", {{"A", 'C', 65533, 0}}), nullptr);
  EXPECT_EQ(createDataFile(engine, scratch / "t.dbf", {{"A", 'C', 1, 0}}), nullptr) << "safety";
  EXPECT_EQ(takeError(), errorCreating);
}

TEST_F(XBaseTable, AnAppendedRecordHasTheEndMarkBehindIt) {
  TableOwner table = makePeople(2);
  ASSERT_EQ(flush(*table), ok);
  const std::string bytes = scratch.read("people.dbf");
  EXPECT_EQ(bytes.substr(97), " p1      1 p2      2\x1a");
  EXPECT_EQ(bytes[4], 2);
  EXPECT_EQ(all(table.get()), (Texts{"|p1    |  1", "|p2    |  2"}));
}

TEST_F(XBaseTable, IsFoundAgainWithAndWithoutItsExtension) {
  makePeople(1);
  TableOwner table = open("people.dbf");
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->alias, "PEOPLE");
  EXPECT_EQ(all(table.get()), Texts{"|p1    |  1"});
  ASSERT_NE(createDataFile(engine, scratch / "other", {{"A", 'C', 1, 0}}), nullptr);
  EXPECT_NE(open("other"), nullptr);
}

TEST_F(XBaseTable, GoesToItsRecordsAndNoOthers) {
  TableOwner table = makePeople(3);
  ASSERT_EQ(go(*table, 2), ok);
  EXPECT_EQ(texts(*table), "|p2    |  2");
  for (const std::uint32_t number : {0U, 4U, 0xFFFFFFFFU}) {
    EXPECT_EQ(go(*table, number), noSuchRecord);
    EXPECT_EQ(texts(*table), "|      |   ");
    EXPECT_EQ(table->engine->errorCode, 0);
  }
}

TEST_F(XBaseTable, SkipsInTheOrderOfRecordNumbers) {
  TableOwner table = makePeople(5);
  ASSERT_EQ(go(*table, 2), ok);
  EXPECT_EQ(skip(*table, 2), ok);
  EXPECT_EQ(table->recordNumber, 4U);
  EXPECT_EQ(skip(*table, -3), ok);
  EXPECT_EQ(table->recordNumber, 1U);
  EXPECT_EQ(skip(*table, 5), endOfFile);
  EXPECT_EQ(table->recordNumber, 6U);
  EXPECT_TRUE(table->atEnd);
  EXPECT_EQ(texts(*table), "|      |   ");
  EXPECT_EQ(skip(*table, -1), ok);
  EXPECT_EQ(table->recordNumber, 5U);
  EXPECT_FALSE(table->atEnd);
  EXPECT_EQ(skip(*table, LONG_MAX), endOfFile);
  EXPECT_EQ(skip(*table, LONG_MIN), beginningOfFile);
  EXPECT_TRUE(table->atBeginning);
  EXPECT_EQ(texts(*table), "|      |   ");
  EXPECT_EQ(skip(*table, 1), -1) << "from nowhere";
  EXPECT_EQ(takeError(), 0);
  engine.report.skip = true;
  EXPECT_EQ(skip(*table, 1), errorInformation);
  EXPECT_EQ(takeError(), errorInformation);
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_NE(reports[0].find("Skip must be made from valid record number"), std::string::npos);
}

TEST_F(XBaseTable, ChangesReachTheFileWhenTheRecordIsLeft) {
  TableOwner table = makePeople(3);
  ASSERT_EQ(go(*table, 2), ok);
  assignText(*table, 0, "changed");
  markDeleted(*table);
  ASSERT_EQ(go(*table, 3), ok);
  assignLong(*table, 1, 77);
  ASSERT_EQ(close(*table), ok);
  table = open("people.dbf");
  EXPECT_EQ(all(table.get()), (Texts{"|p1    |  1", "*|change|  2", "|p3    | 77"}));
  ASSERT_EQ(go(*table, 2), ok);
  unmarkDeleted(*table);
  ASSERT_EQ(go(*table, 1), ok);
  ASSERT_EQ(go(*table, 2), ok);
  EXPECT_FALSE(isDeleted(*table));
}

TEST_F(XBaseTable, AnAppendThatIsGivenUpLeavesNothing) {
  TableOwner table = makePeople(1);
  ASSERT_EQ(startAppend(*table), ok);
  assignText(*table, 0, "lost");
  ASSERT_EQ(go(*table, 1), ok);
  EXPECT_EQ(all(table.get()), Texts{"|p1    |  1"});
}

TEST_F(XBaseTable, PacksTheLiveRecordsTogether) {
  TableOwner table = makePeople(7);
  for (const std::uint32_t number : {1U, 3U, 4U, 7U}) {
    ASSERT_EQ(go(*table, number), ok);
    markDeleted(*table);
  }
  ASSERT_EQ(pack(*table), ok);
  EXPECT_EQ(table->recordNumber, 1U);
  const Texts left{"|p2    |  2", "|p5    |  5", "|p6    |  6"};
  EXPECT_EQ(all(table.get()), left);
  EXPECT_EQ(scratch.read("people.dbf").substr(97), " p2      2 p5      5 p6      6\x1a");
  append(table.get(), "p8", 8);
  ASSERT_EQ(close(*table), ok);
  EXPECT_EQ(scratch.read("people.dbf").substr(97), " p2      2 p5      5 p6      6 p8      8\x1a");
  EXPECT_EQ(scratch.read("people.dbf")[4], 4);
}

TEST_F(XBaseTable, PackedWithoutALiveRecordItIsEmpty) {
  TableOwner table = makePeople(2);
  for (const std::uint32_t number : {1U, 2U}) {
    ASSERT_EQ(go(*table, number), ok);
    markDeleted(*table);
  }
  ASSERT_EQ(pack(*table), ok);
  EXPECT_EQ(table->recordCount, 0U);
  EXPECT_TRUE(table->atEnd && table->atBeginning);
  ASSERT_EQ(close(*table), ok);
  EXPECT_EQ(scratch.read("people.dbf").substr(96), "\r\x1a");
  EXPECT_EQ(scratch.read("people.dbf")[4], 0);
}

TEST_F(XBaseTable, KnowsItsFieldsWhateverTheLetterCase) {
  const TableOwner table = makePeople(0);
  EXPECT_EQ(fieldNumber(*table, "NAME"), 0);
  EXPECT_EQ(fieldNumber(*table, "aGe"), 1);
  EXPECT_EQ(fieldNumber(*table, "AG"), -1);
  EXPECT_EQ(fieldNumber(*table, ""), -1);
  EXPECT_EQ(fieldNumber(*table, "ABCDEFGHIJK"), -1);
}

// --- Tables of other programs -----------------------------------------------

TEST_F(XBaseTable, AnyVersionIsReadAndNamesStayAsTheyAre) {
  for (unsigned version = 0x02; version <= 0x7B; ++version) {
    TableBytes bytes;
    bytes.version = version;
    bytes.field("lower", 'c', 3).record(" abc");
    const TableOwner table = openBytes(bytes);
    ASSERT_NE(table, nullptr) << version;
    EXPECT_EQ(table->fields[0].name, "lower");
    EXPECT_EQ(table->fields[0].type, 'C');
    EXPECT_EQ(fieldNumber(*table, "LOWER"), 0);
    EXPECT_EQ(all(table.get()), Texts{"|abc"});
  }
}

TEST_F(XBaseTable, TheMemoFileBelongsToItWhenTheVersionSaysSo) {
  for (const unsigned version : {0x80U, 0x83U, 0x8BU, 0xCBU, 0xF5U, 0xFBU}) {
    TableBytes bytes;
    bytes.version = version;
    bytes.field("N", 'M', 10).record(" " + std::string(10, ' '));
    const bool foreign = version == 0x83 || version == 0x8B || version == 0xCB;
    EXPECT_EQ(openBytes(bytes) != nullptr, foreign)
        << "memos of another kind are not read, and the rest is";
    EXPECT_EQ(takeError(), foreign ? 0 : notOpened);
    scratch.write("T.FPT", std::string("\0\0\0\x01\0\0\x02\0", 8) + std::string(504, '\0'));
    TableOwner table = openBytes(bytes);
    ASSERT_NE(table, nullptr) << "in any letter case";
    EXPECT_NE(table->memo, nullptr);
    table = nullptr;
    std::remove((scratch / "T.FPT").c_str());
  }
}

TEST_F(XBaseTable, ALongerHeaderIsSkipped) {
  TableBytes bytes;
  bytes.extra = std::string(263, '\r');
  bytes.field("A", 'C', 2).record(" ab").record("*cd");
  const TableOwner table = openBytes(bytes);
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(all(table.get()), (Texts{"|ab", "*|cd"}));
}

TEST_F(XBaseTable, TheEndMarkMayBeMissingOrRepeatedOrFollowed) {
  for (const std::string& tail : Texts{"", "\x1a", "\x1a\x1a\x1a", "\x1arubbish behind it", "x"}) {
    TableBytes bytes;
    bytes.tail = tail;
    bytes.field("A", 'C', 2).record(" ab").record(" cd");
    TableOwner table = openBytes(bytes);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(all(table.get()), (Texts{"|ab", "|cd"}));
    ASSERT_EQ(startAppend(*table), ok);
    assignText(*table, 0, "ef");
    ASSERT_EQ(finishAppend(*table), ok);
    ASSERT_EQ(close(*table), ok);
    EXPECT_EQ(all(open("t.dbf").get()), (Texts{"|ab", "|cd", "|ef"}));
  }
}

TEST_F(XBaseTable, ACountLargerThanTheFileIsHeldToTheWholeRecords) {
  TableBytes bytes;
  bytes.tail = " e";
  bytes.countError = 1000000;
  bytes.field("A", 'C', 2).record(" ab").record(" cd");
  const TableOwner table = openBytes(bytes);
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->recordCount, 2U);
  EXPECT_EQ(all(table.get()), (Texts{"|ab", "|cd"}));
}

TEST_F(XBaseTable, ACountSmallerThanTheFileCounts) {
  TableBytes bytes;
  bytes.countError = static_cast<std::size_t>(-1);
  bytes.field("A", 'C', 2).record(" ab").record(" cd");
  const TableOwner table = openBytes(bytes);
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(all(table.get()), Texts{"|ab"});
}

TEST_F(XBaseTable, WhatIsNoTableIsRefusedWithItsCode) {
  TableBytes good;
  good.field("A", 'C', 2).field("B", 'N', 3, 1).record(" ab1.5");
  ASSERT_NE(openBytes(good), nullptr);
  for (const std::size_t error : {std::size_t{1}, static_cast<std::size_t>(-1)}) {
    TableBytes bytes = good;
    bytes.lengthError = error;
    EXPECT_EQ(openBytes(bytes), nullptr);
    EXPECT_EQ(takeError(), errorNotATable);
  }
  const std::string whole = good.bytes();
  const std::size_t headerLength = 97;
  for (std::size_t size = 0; size < headerLength; ++size) {
    scratch.write("t.dbf", whole.substr(0, size));
    EXPECT_EQ(open("t.dbf"), nullptr) << size;
    EXPECT_EQ(takeError(), errorNotATable) << size;
  }
  EXPECT_EQ(open("nosuch.dbf"), nullptr);
  EXPECT_EQ(takeError(), notOpened);
}

TEST_F(XBaseTable, OtherLettersAreRefusedUnlessTheEngineReadsLaterTables) {
  for (int c = 1; c < 256; ++c) {
    const char type = static_cast<char>(c);
    if (type == '\r') continue;
    TableBytes bytes;
    bytes.field("A", type, 8).record(" 12345678");
    const bool known = std::string("CDFLMNGBcdflmngb").find(type) != std::string::npos;
    EXPECT_EQ(openBytes(bytes) != nullptr, known) << c;
    EXPECT_EQ(takeError(), known ? 0 : errorFieldType) << c;
    engine.laterTypes = true;
    const bool later = std::string("IYTiyt0").find(type) != std::string::npos;
    EXPECT_EQ(openBytes(bytes) != nullptr, known || later) << c;
    takeError();
    engine.laterTypes = false;
  }
}

TEST_F(XBaseTable, ReadOnlyItCanBeReadAndNothingElse) {
  makePeople(2);
  engine.readOnly = true;
  const TableOwner table = open("people.dbf");
  engine.readOnly = false;
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(all(table.get()).size(), 2U);
  ASSERT_EQ(startAppend(*table), ok);
  EXPECT_EQ(finishAppend(*table), errorWriting);
  EXPECT_EQ(takeError(), errorWriting);
  EXPECT_EQ(table->recordCount, 2U);
}

TEST_F(XBaseTable, DoesNothingWhileAnErrorStands) {
  TableOwner table = makePeople(2);
  engine.errorCode = errorReading;
  EXPECT_EQ(go(*table, 1), errorReading);
  EXPECT_EQ(skip(*table, 1), errorReading);
  EXPECT_EQ(startAppend(*table), errorReading);
  EXPECT_EQ(finishAppend(*table), errorReading);
  EXPECT_EQ(flush(*table), errorReading);
  EXPECT_EQ(pack(*table), errorReading);
  EXPECT_EQ(open("people.dbf"), nullptr);
  EXPECT_EQ(takeError(), errorReading);
  EXPECT_EQ(all(table.get()).size(), 2U);
}

// Every byte of a small table forged in turn: it opens or it does not, and what
// opens can be read, added to and packed.
TEST_F(XBaseTable, SurvivesAnyByteOfItBeingWrong) {
  TableBytes bytes;
  bytes.version = 0xF5;
  bytes.field("A", 'C', 3).field("N", 'N', 5, 2).field("M", 'M', 10).field("L", 'L', 1);
  bytes.record(" abc 1.25         1T").record("*xyz-9.99         2?");
  const std::string table = bytes.bytes();
  std::string memo("\0\0\0\x03\0\0\x02\0", 8);
  memo.resize(512);
  memo += std::string(
      "\0\0\0\x01\0\0\0\x03"
      "abc",
      11);
  memo.resize(1024);
  memo += std::string(
      "\0\0\0\x01\0\0\0\x05"
      "hello",
      13);
  int opened = 0;
  const auto use = [&](const std::string& tableBytes, const std::string& memoBytes) {
    scratch.write("t.dbf", tableBytes);
    scratch.write("t.fpt", memoBytes);
    const TableOwner data = open("t.dbf");
    takeError();
    if (data == nullptr) return;
    ++opened;
    std::string text;
    for (std::uint32_t n = 1; n <= 3 && go(*data, n) == ok; ++n) {
      for (std::size_t i = 0; i < data->fields.size(); ++i) {
        static_cast<void>(fieldNumber(*data, i));
        if (data->fields[i].type == 'M') static_cast<void>(memoText(*data, i, &text));
        takeError();
      }
    }
    for (std::size_t i = 0; i < data->fields.size(); ++i) {
      if (data->fields[i].type == 'M') assignMemo(*data, i, "changed");
    }
    static_cast<void>(startAppend(*data));
    static_cast<void>(finishAppend(*data));
    takeError();
    static_cast<void>(pack(*data));
    takeError();
  };
  for (std::size_t at = 0; at < table.size(); ++at) {
    use(table.substr(0, at), memo);
    for (const char value : {'\0', '\x01', '\r', ' ', '*', '\x7f', '\xff'}) {
      std::string forged = table;
      forged[at] = value;
      use(forged, memo);
    }
  }
  for (const std::size_t at : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 512U, 515U, 516U, 519U, 1027U}) {
    use(table, memo.substr(0, at));
    for (int value = 0; value < 256; value += 15) {
      std::string forged = memo;
      forged[at] = static_cast<char>(value);
      use(table, forged);
    }
  }
  EXPECT_GT(opened, 500);
}

}  // namespace
}  // namespace loomkit::xbase
