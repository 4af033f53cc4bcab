// SPDX-License-Identifier: MIT
#include "loomkit/xbase/xbase.h"

#include <cstring>

#include "loomkit/xbase/index_file.h"
#include "tests/xbase/table_fixture.h"

namespace loomkit::xbase {
namespace {

using Texts = std::vector<std::string>;

class XBaseTool : public TableTest {
 protected:
  // Four records with a memo each, and two tags.
  void makeTable() {
    const TableOwner made = createDataFile(
        engine, scratch / "parts.dbf", {{"NAME", 'C', 6, 0}, {"N", 'N', 5, 1}, {"NOTE", 'M', 0, 0}},
        {{"BY_N", "N", "", true, false}, {"BY_NAME", "UPPER(NAME)", "N>1", false, true}});
    ASSERT_NE(made, nullptr);
    for (int i = 1; i <= 4; ++i) append(made.get(), i);
    ASSERT_EQ(xbase::close(*made), ok);
  }
  static void append(DataFile* data, int i) {
    ASSERT_EQ(startAppend(*data), ok);
    blank(*data);
    unmarkDeleted(*data);
    assignText(*data, 0, "p" + std::to_string(i % 3));
    assignLong(*data, 1, i);
    assignMemo(*data, 2, "memo " + std::to_string(i));
    ASSERT_EQ(finishAppend(*data), ok);
  }
  Texts findings() {
    GXBaseTable table;
    EXPECT_TRUE(table.open(scratch / "parts.dbf", true)) << table.getErrMsg();
    EXPECT_TRUE(table.openIndexes()) << table.getErrMsg();
    std::vector<GXBaseTable::Finding> found;
    EXPECT_TRUE(table.check(&found, 100, nullptr)) << table.getErrMsg();
    Texts texts;
    for (const auto& each : found)
      texts.push_back(std::to_string(each.record) + " " + each.where + ": " + each.what);
    return texts;
  }
};

TEST_F(XBaseTool, ShowsATableAsItsFilesHaveIt) {
  makeTable();
  GXBaseTable table;
  ASSERT_TRUE(table.open(scratch / "parts.dbf", true));
  ASSERT_TRUE(table.openIndexes());
  const GXBaseTable::Header header = table.getHeader();
  EXPECT_EQ(header.version, 0xF5U);
  EXPECT_EQ(header.recordCount, 4U);
  EXPECT_EQ(header.recordLength, 22U);
  EXPECT_EQ(header.headerLength, 129U);
  EXPECT_EQ(header.memoBlockSize, 512U);
  EXPECT_TRUE(header.hasProductionIndex);
  ASSERT_EQ(table.getFields().size(), 3U);
  EXPECT_EQ(table.getFields()[1].name, "N");
  EXPECT_EQ(table.getFields()[1].decimals, 1U);
  EXPECT_EQ(table.getFieldId("note"), 2);
  ASSERT_EQ(table.getTags().size(), 2U);
  EXPECT_EQ(table.getTags()[0].name, "BY_N");
  EXPECT_TRUE(table.getTags()[0].unique);
  EXPECT_EQ(table.getTags()[1].expression, "UPPER(NAME)");
  EXPECT_EQ(table.getTags()[1].filter, "N>1");
  EXPECT_TRUE(table.getTags()[1].descending);
  ASSERT_TRUE(table.go(2));
  EXPECT_EQ(table.getRecordNumber(), 2U);
  EXPECT_FALSE(table.isDeleted());
  EXPECT_EQ(table.getText(0), "p2");
  EXPECT_EQ(table.getText(1), "2.0");
  EXPECT_EQ(table.getText(2), "memo 2");
  EXPECT_FALSE(table.go(5));
  EXPECT_EQ(table.getErrorCode(), noSuchRecord);
  EXPECT_TRUE(table.go(1)) << "a failure does not stay";
}

TEST_F(XBaseTool, WithoutATableNothingWorksAndNothingBreaks) {
  GXBaseTable table;
  EXPECT_FALSE(table.open(scratch / "nosuch", true));
  EXPECT_EQ(table.getErrMsg(), "XBase error 70: Opening File");
  EXPECT_FALSE(table.isOpen() || table.go(1) || table.pack() || table.reindex() ||
               table.openIndexes() || table.check(nullptr, 0, nullptr));
  EXPECT_TRUE(table.getFields().empty() && table.getTags().empty());
  EXPECT_EQ(table.getHeader().recordCount, 0U);
  EXPECT_TRUE(table.close());
}

TEST_F(XBaseTool, ReadsTheLettersOfLaterProgramsAndDoesNotChangeSuchTables) {
  std::string record(" ");
  const auto number = [&](std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) record += static_cast<char>(value >> (8 * i));
  };
  double real = -1.25;
  std::uint64_t bits = 0;
  std::memcpy(&bits, &real, sizeof bits);
  number(0xFFFFFFF9, 4);                               // I: -7
  number(static_cast<std::uint64_t>(-12345), 8);       // Y: -1.2345
  number(2449925 | std::uint64_t{45296000} << 32, 8);  // T
  number(bits, 8);                                     // B
  number(5, 1);                                        // 0
  TableBytes bytes;
  bytes.version = 0x30;
  bytes.field("I", 'I', 4).field("Y", 'Y', 8).field("T", 'T', 8).field("B", 'B', 8, 2);
  bytes.field("_NullFlags", '0', 1)
      .record(record)
      .record(std::string(1, ' ') + std::string(29, '\0'));
  scratch.write("t.dbf", bytes.bytes());
  GXBaseTable table;
  ASSERT_TRUE(table.open(scratch / "t.dbf", false)) << table.getErrMsg();
  ASSERT_TRUE(table.go(1));
  const char* texts[] = {"-7", "-1.2345", "19950726 12:34:56", "-1.25", "05"};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(table.getText(i), texts[i]) << i;
  ASSERT_TRUE(table.go(2));
  const char* zeros[] = {"0", "0.0000", "", "0", "00"};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(table.getText(i), zeros[i]) << i;
  EXPECT_FALSE(table.pack());
  EXPECT_EQ(table.getErrMsg(), "the table is open for reading only");
}

TEST_F(XBaseTool, FindsNothingWrongWithAWholeTable) {
  makeTable();
  EXPECT_EQ(findings(), Texts{});
}

TEST_F(XBaseTool, FindsMemosThatLeadNowhereAndOddFlags) {
  makeTable();
  std::string bytes = scratch.read("parts.dbf");
  const std::size_t second = 129 + 22;
  bytes[second] = '?';
  bytes[second + 21] = '9';
  scratch.write("parts.dbf", bytes);
  EXPECT_EQ(findings(), (Texts{"2 : the deletion flag is neither blank nor '*'",
                               "2 NOTE: the memo pointer leads to no memo"}));
}

TEST_F(XBaseTool, FindsTagsThatAreNotThoseOfTheRecordsAndMendsThem) {
  makeTable();
  {
    engine.autoOpen = false;  // so that the tags do not follow
    const TableOwner table = open("parts.dbf");
    ASSERT_EQ(go(*table, 3), ok);
    assignText(*table, 0, "zz");
    append(table.get(), 9);
  }
  EXPECT_EQ(findings(),
            (Texts{"3 BY_NAME: the tag does not have the record's key",
                   "5 BY_N: the tag does not have the record's key",
                   "5 BY_NAME: the tag does not have the record's key",
                   "3 BY_NAME: the tag has the record under another key than its own"}));
  GXBaseTable table;
  ASSERT_TRUE(table.open(scratch / "parts.dbf", false));
  ASSERT_TRUE(table.openIndexes());
  ASSERT_TRUE(table.reindex()) << table.getErrMsg();
  ASSERT_TRUE(table.close());
  EXPECT_EQ(findings(), Texts{});
}

TEST_F(XBaseTool, ACheckCanBeStoppedAndLimited) {
  makeTable();
  {
    engine.autoOpen = false;
    const TableOwner table = open("parts.dbf");
    for (int i = 10; i < 5010; ++i) append(table.get(), i);
  }
  GXBaseTable table;
  ASSERT_TRUE(table.open(scratch / "parts.dbf", true));
  ASSERT_TRUE(table.openIndexes());
  std::vector<GXBaseTable::Finding> found;
  EXPECT_TRUE(table.check(&found, 7, nullptr));
  EXPECT_EQ(found.size(), 7U);
  found.clear();
  EXPECT_FALSE(table.check(&found, 100000, [](unsigned done, unsigned all) {
    EXPECT_TRUE(done == 4096 && all == 5004);
    return false;
  }));
  EXPECT_EQ(table.getErrMsg(), "stopped");
}

TEST_F(XBaseTool, PacksATableWithItsTags) {
  makeTable();
  {
    const TableOwner table = open("parts.dbf");
    ASSERT_EQ(go(*table, 2), ok);
    markDeleted(*table);
  }
  GXBaseTable table;
  ASSERT_TRUE(table.open(scratch / "parts.dbf", false));
  ASSERT_TRUE(table.openIndexes());
  ASSERT_TRUE(table.pack()) << table.getErrMsg();
  EXPECT_EQ(table.getHeader().recordCount, 3U);
  ASSERT_TRUE(table.close());
  EXPECT_EQ(findings(), Texts{});
}

TEST_F(XBaseTool, TellsHowFarAPackAndAReindexHaveCome) {
  constexpr int records = 10000;
  {
    const TableOwner made =
        createDataFile(engine, scratch / "many.dbf", {{"N", 'N', 5, 0}}, {{"BY_N", "N"}});
    ASSERT_NE(made, nullptr);
    for (int i = 1; i <= records; ++i) {
      ASSERT_EQ(startAppend(*made), ok);
      blank(*made);
      assignLong(*made, 0, i);
      ASSERT_EQ(finishAppend(*made), ok);
    }
    ASSERT_EQ(xbase::close(*made), ok);
  }
  GXBaseTable table;
  ASSERT_TRUE(table.open(scratch / "many.dbf", false));
  ASSERT_TRUE(table.openIndexes());
  std::vector<std::uint64_t> seen;
  table.setProgress([&](std::uint64_t done, std::uint64_t all) {
    seen.push_back(done);
    seen.push_back(all);
  });
  ASSERT_TRUE(table.reindex());
  EXPECT_EQ(seen, (std::vector<std::uint64_t>{4096, 10000, 8192, 10000})) << "one tag";
  seen.clear();
  ASSERT_TRUE(table.pack());
  EXPECT_EQ(seen, (std::vector<std::uint64_t>{4096, 30000, 8192, 30000, 12288, 30000, 16384, 30000,
                                              20480, 30000, 24576, 30000}))
      << "counted, copied, and one tag";
  seen.clear();
  table.setProgress(nullptr);
  ASSERT_TRUE(table.reindex());
  EXPECT_TRUE(seen.empty());
}

TEST_F(XBaseTool, AddsTagsToThoseThatThereAre) {
  makeTable();
  GXBaseTable table;
  ASSERT_TRUE(table.open(scratch / "parts.dbf", false));
  EXPECT_FALSE(table.addTags({{"TWICE", "N*2", "", false, false}})) << "the index file is not open";
  ASSERT_TRUE(table.openIndexes());
  const std::size_t before = table.getTags().size();
  const std::string index = scratch.read("parts.cdx");
  EXPECT_FALSE(table.addTags({{"WRONG", "NAME+NOSUCH", "", false, false}}));
  EXPECT_EQ(table.getErrorCode(), errorValue);
  EXPECT_FALSE(
      table.addTags({{"TWICE", "N*2", "", false, false}, {"twice", "N", "", false, false}}));
  EXPECT_EQ(table.getErrMsg(), "there are two tags named twice");
  EXPECT_EQ(scratch.read("parts.cdx"), index);
  ASSERT_TRUE(table.addTags({{"TWICE", "N*2", "N>1", false, true}})) << table.getErrMsg();
  ASSERT_EQ(table.getTags().size(), before + 1);
  const GXBaseTable::Tag added = table.getTags().back();
  EXPECT_EQ(added.name + "|" + added.expression + "|" + added.filter, "TWICE|N*2|N>1");
  EXPECT_TRUE(added.descending);
  EXPECT_TRUE(table.getHeader().hasProductionIndex);
  ASSERT_TRUE(table.close());
  EXPECT_EQ(findings(), Texts{});
  ASSERT_TRUE(table.open(scratch / "parts.dbf", true));
  EXPECT_FALSE(table.addTags({{"MORE", "N", "", false, false}})) << "open for reading only";
}

TEST_F(XBaseTool, EvaluatesExpressions) {
  makeTable();
  GXBaseTable table;
  ASSERT_TRUE(table.open(scratch / "parts.dbf", true));
  ASSERT_TRUE(table.go(3));
  const struct {
    const char* source;
    char type;
    const char* value;
  } rows[] = {{"TRIM(NAME)+'!'", 'C', "p0!    "},
              {"N/4", 'n', "0.75"},
              {"N", 'N', "  3.0"},
              {"STOD('19950726')+1", 'd', "19950727"},
              {"N>2", 'L', "T"}};
  GXBaseExpression expression;
  for (const auto& row : rows) {
    ASSERT_TRUE(expression.parse(&table, row.source)) << expression.getErrMsg();
    EXPECT_EQ(expression.getType(), row.type);
    std::string value;
    ASSERT_TRUE(expression.evaluate(&value));
    EXPECT_EQ(value, row.value);
  }
  EXPECT_FALSE(expression.parse(&table, "NAME+NOSUCH"));
  EXPECT_EQ(expression.getErrMsg(), "XBase error -490: Unrecognized Value");
  EXPECT_EQ(expression.getErrorPosition(), 5U);
  ASSERT_TRUE(expression.parse(&table, "N/(N-3)"));
  std::string value;
  EXPECT_FALSE(expression.evaluate(&value));
  EXPECT_EQ(expression.getErrorPosition(), 1U);
  EXPECT_TRUE(table.go(1)) << "a failure does not stay";
}

TEST_F(XBaseTool, ADamagedIndexFileIsRefusedAndTheTableStaysOpen) {
  makeTable();
  scratch.write("parts.cdx", "rubbish");
  GXBaseTable table;
  ASSERT_TRUE(table.open(scratch / "parts.dbf", true));
  EXPECT_FALSE(table.openIndexes());
  EXPECT_EQ(table.getErrorCode(), errorNotAnIndex);
  EXPECT_TRUE(table.go(1));
}

TEST_F(XBaseTool, ReportsOfTheProcessesEngineGoToTheHost) {
  Texts kept;
  gXBaseSetReportSink(keepReport, &kept);
  fail(theEngine(), errorValue, true, "NAME+");
  theEngine().errorCode = 0;
  gXBaseSetReportSink(nullptr, nullptr);
  EXPECT_EQ(kept, Texts{"XBASE ERROR|Error #: -490\r\nUnrecognized Value\r\nNAME+"});
}

}  // namespace
}  // namespace loomkit::xbase
