// SPDX-License-Identifier: MIT
// Index files: what they hold, how tags are opened, made, searched and kept up to
// date.
#include "loomkit/xbase/index_file.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

#include "loomkit/xbase/tag_header.h"
#include "tests/format_page.h"
#include "tests/xbase/index_fixture.h"

namespace loomkit::xbase {
namespace {

using ::testing::HasSubstr;

namespace header = cdx::header;

const std::vector<TagDescription> byName = {{"NAME", "NAME", "", false, false}};

TEST_F(IndexTest, WritesTheTagOfTagsAndATagAsTheyAreLaidOut) {
  const TableOwner table = makeTable();
  ASSERT_EQ(append(*table, "BOLT"), ok);
  ASSERT_EQ(append(*table, "ANVIL"), ok);
  ASSERT_NE(createIndex(*table, scratch / "t.cdx", {{"NAME", "NAME", "AMOUNT>10", false, true}}),
            nullptr);
  const std::string bytes = indexBytes();
  ASSERT_EQ(bytes.size(), 6 * cdx::blockSize);
  const RecordReader first(bytes.data(), header::size);
  EXPECT_EQ(first.get(header::root), 2 * cdx::blockSize);
  EXPECT_EQ(first.get(header::freeList), cdx::noBlock);
  EXPECT_EQ(first.get(header::keyLength), 10);
  EXPECT_EQ(first.get(header::typeCode), 0xE0);
  EXPECT_EQ(first.get(header::mark), std::string(8, '\0'));
  const RecordReader tag(bytes.data() + 3 * cdx::blockSize, header::size);
  EXPECT_EQ(tag.get(header::root), 5 * cdx::blockSize);
  EXPECT_EQ(tag.get(header::freeList), cdx::noBlock);
  EXPECT_EQ(tag.get(header::keyLength), 10);
  EXPECT_EQ(tag.get(header::typeCode), 0x68);
  EXPECT_EQ(tag.get(header::descending), 1);
  EXPECT_EQ(tag.get(header::keyTextLength), 5);
  EXPECT_EQ(tag.get(header::filterTextLength), 10);
  EXPECT_EQ(tag.get(header::keyTextLength2), 5);
  EXPECT_EQ(tag.get(header::texts).substr(0, 16), std::string("NAME\0AMOUNT>10\0\0", 16));
  // No record passes the filter: an empty leaf, which is the root.
  const RecordReader leaf(bytes.data() + 5 * cdx::blockSize, cdx::blockSize);
  EXPECT_EQ(leaf.get(cdx::node::attributes), 3);
  EXPECT_EQ(leaf.get(cdx::node::keyCount), 0);
  EXPECT_EQ(leaf.get(cdx::node::left), cdx::noBlock);
  EXPECT_EQ(leaf.get(cdx::node::right), cdx::noBlock);
  EXPECT_EQ(leaf.get(cdx::leaf::freeBytes), 488);
  EXPECT_EQ(leaf.get(cdx::leaf::duplicateBits), 4);
  EXPECT_EQ(leaf.get(cdx::leaf::trailingBits), 4);
  EXPECT_EQ(leaf.get(cdx::leaf::duplicateMask), 15);
}

TEST_F(IndexTest, StoresKeysAsWhatDiffersFromTheOneBefore) {
  const TableOwner table = makeTable();
  for (const char* name : {"BOLTS", "BOLT", "ANVIL"}) ASSERT_EQ(append(*table, name), ok);
  ASSERT_NE(createIndex(*table, scratch / "t.cdx", byName), nullptr);
  const std::string leaf = indexBytes().substr(5 * cdx::blockSize);
  // Record number, shared bytes, blanks: 16, 4 and 4 bits.
  EXPECT_EQ(leaf.substr(cdx::leaf::entries, 9), std::string("\x03\0\x50\x02\0\x60\x01\0\x54", 9));
  EXPECT_EQ(leaf.substr(cdx::blockSize - 10), "SBOLTANVIL");
  EXPECT_EQ(RecordReader(leaf.data(), leaf.size()).get(cdx::leaf::freeBytes), 488 - 9 - 10);
}

struct Width {
  std::size_t keyLength;
  std::uint32_t records;
  unsigned recordBits, countBits, mask, infoSize;
};

// By the rule for new leaves: counts as wide as the key's length, then what is left
// of whole bytes for the record number, at least 12 bits.
TEST(LeafFormat, GivesCountsAndRecordNumbersTheirBits) {
  constexpr Width widths[] = {
      {1, 0, 14, 1, 1, 2},
      {2, 4095, 20, 2, 3, 3},
      {10, 0, 16, 4, 15, 3},
      {10, 65535, 16, 4, 15, 3},
      {10, 65536, 24, 4, 15, 4},
      {8, 4096, 16, 4, 15, 3},
      {63, 0, 12, 6, 63, 3},
      {63, 4095, 20, 6, 63, 4},
      {127, 0, 18, 7, 127, 4},
      {128, 0, 16, 8, 0, 4},
      {240, 65535, 16, 8, 0, 4},
      {240, 65536, 24, 8, 0, 5},
      {240, 4294967295U, 32, 8, 0, 6},
  };
  for (const Width& wanted : widths) {
    const LeafFormat format = LeafFormat::forKeys(wanted.keyLength, wanted.records);
    SCOPED_TRACE(std::to_string(wanted.keyLength) + " bytes, record " +
                 std::to_string(wanted.records));
    EXPECT_EQ(format.recordBits, wanted.recordBits);
    EXPECT_EQ(format.duplicateBits, wanted.countBits);
    EXPECT_EQ(format.trailingBits, wanted.countBits);
    EXPECT_EQ(format.duplicateMask, wanted.mask);
    EXPECT_EQ(format.trailingMask, wanted.mask);
    EXPECT_EQ(format.infoSize, wanted.infoSize);
    EXPECT_TRUE(format.sound());
  }
}

TEST_F(IndexTest, OrdersEveryTypeOfKeyByItsValues) {
  const TableOwner table = makeTable();
  ASSERT_EQ(append(*table, "half", 1.5, "20000101", true), ok);
  ASSERT_EQ(append(*table, "nought", 0, "19991231", false), ok);
  ASSERT_EQ(append(*table, "minus", -1.5, "18991231", true), ok);
  ASSERT_EQ(append(*table, "blank", 0, "", false), ok);
  IndexFile* index = createIndex(*table, scratch / "t.cdx",
                                 {{"AMOUNT", "AMOUNT"},
                                  {"BORN", "BORN"},
                                  {"PAID", "PAID"},
                                  {"BOTH", "NAME+STR(AMOUNT,10,2)"},
                                  {"DOWN", "AMOUNT", "", false, true}});
  ASSERT_NE(index, nullptr);
  EXPECT_EQ(walk(*table, findTag(*index, "AMOUNT")), "minus nought blank half");
  EXPECT_EQ(walk(*table, findTag(*index, "BORN")), "blank minus nought half");
  EXPECT_EQ(walk(*table, findTag(*index, "PAID")), "nought blank half minus");
  EXPECT_EQ(walk(*table, findTag(*index, "BOTH")), "blank half minus nought");
  EXPECT_EQ(walk(*table, findTag(*index, "DOWN")), "half blank nought minus");
  EXPECT_EQ(walk(*table, findTag(*index, "DOWN"), false), "minus nought blank half");
  Tag* amount = findTag(*index, "amount");
  ASSERT_NE(amount, nullptr) << "whatever the letter case";
  EXPECT_EQ(tagExpression(*amount), "AMOUNT");
  ASSERT_EQ(seekKey(*amount, " -1.5"), ok);
  EXPECT_EQ(currentKey(*amount), std::string("\x40\x07\xFF\xFF\xFF\xFF\xFF\xFF"));
  ASSERT_EQ(seekKey(*amount, "0"), ok);
  EXPECT_EQ(currentKey(*amount), std::string("\x80\0\0\0\0\0\0\0", 8));
  EXPECT_EQ(amount->cursor.record, 2U);
  ASSERT_EQ(seekKey(*findTag(*index, "BORN"), "20000101"), ok);
  EXPECT_EQ(findTag(*index, "BORN")->cursor.record, 1U);
  ASSERT_EQ(seekKey(*findTag(*index, "PAID"), "T"), ok);
  EXPECT_EQ(currentKey(*findTag(*index, "PAID")), "T");
  EXPECT_EQ(findTag(*index, "nowhere"), nullptr);
  ASSERT_EQ(close(*table), ok);
  expectChecked("AMOUNT: 4 keys");
}

TEST_F(IndexTest, SeeksTheFirstOfEqualKeysInItsOwnOrder) {
  const TableOwner table = makeTable();
  for (const char* name : {"B", "D", "BB", "B", "D"}) ASSERT_EQ(append(*table, name), ok);
  IndexFile* index =
      createIndex(*table, scratch / "t.cdx", {{"UP", "NAME"}, {"DOWN", "NAME", "", false, true}});
  ASSERT_NE(index, nullptr);
  struct Case {
    const char* tag;
    const char* key;
    int result;
    std::uint32_t record;
  };
  for (const Case& c :
       {Case{"UP", "B         ", ok, 1}, Case{"UP", "B", ok, 1}, Case{"UP", "BB", ok, 3},
        Case{"UP", "C", notFound, 2}, Case{"UP", "A", notFound, 1}, Case{"UP", "E", endOfFile, 0},
        Case{"DOWN", "B         ", ok, 4}, Case{"DOWN", "B", ok, 3}, Case{"DOWN", "D", ok, 5},
        Case{"DOWN", "C", notFound, 3}, Case{"DOWN", "E", notFound, 5},
        Case{"DOWN", "A", endOfFile, 0}, Case{"UP", "", notFound, 1},
        Case{"DOWN", "", notFound, 5}}) {
    table->selected = findTag(*index, c.tag);
    EXPECT_EQ(seek(*table, c.key), c.result) << c.tag << " '" << c.key << "'";
    if (c.result == endOfFile) {
      EXPECT_TRUE(table->atEnd);
      EXPECT_EQ(table->recordNumber, 6U);
    } else {
      EXPECT_EQ(table->recordNumber, c.record) << c.tag << " '" << c.key << "'";
    }
  }
}

TEST_F(IndexTest, GoesOnFromOneRecordOfAKeyToTheNext) {
  const TableOwner table = makeTable();
  for (const char* name : {"B", "A", "B", "C", "B"}) ASSERT_EQ(append(*table, name), ok);
  IndexFile* index =
      createIndex(*table, scratch / "t.cdx", {{"UP", "NAME"}, {"DOWN", "NAME", "", false, true}});
  ASSERT_NE(index, nullptr);
  table->selected = findTag(*index, "UP");
  ASSERT_EQ(seek(*table, "B"), ok);
  EXPECT_EQ(table->recordNumber, 1U);
  ASSERT_EQ(seekNext(*table), ok);
  EXPECT_EQ(table->recordNumber, 3U);
  ASSERT_EQ(seekNext(*table), ok);
  EXPECT_EQ(table->recordNumber, 5U);
  EXPECT_EQ(seekNext(*table), notFound);
  EXPECT_EQ(table->recordNumber, 5U) << "it stays";
  table->selected = findTag(*index, "DOWN");
  ASSERT_EQ(seek(*table, "B"), ok);
  EXPECT_EQ(table->recordNumber, 5U);
  ASSERT_EQ(seekNext(*table), ok);
  EXPECT_EQ(table->recordNumber, 3U);
  ASSERT_EQ(seek(*table, "A"), ok);
  EXPECT_EQ(seekNext(*table), notFound) << "the last of all";
  table->selected = nullptr;
  EXPECT_EQ(seekNext(*table), errorTagName);
  takeError();
}

TEST_F(IndexTest, SkipsInTheOrderOfTheTag) {
  const TableOwner table = makeTable();
  for (const char* name : {"C", "A", "B", "OUT"}) ASSERT_EQ(append(*table, name, 1), ok);
  IndexFile* index = createIndex(*table, scratch / "t.cdx", {{"T", "NAME", "NAME<'D'"}});
  ASSERT_NE(index, nullptr);
  table->selected = findTag(*index, "T");
  ASSERT_EQ(seek(*table, "A"), ok);
  ASSERT_EQ(skip(*table, 2), ok);
  EXPECT_EQ(table->recordNumber, 1U);
  EXPECT_EQ(skip(*table, 1), endOfFile);
  EXPECT_TRUE(table->atEnd);
  EXPECT_EQ(table->recordNumber, 5U);
  ASSERT_EQ(skip(*table, -1), ok) << "the last of the tag";
  EXPECT_EQ(table->recordNumber, 1U);
  EXPECT_EQ(skip(*table, -3), beginningOfFile);
  EXPECT_TRUE(table->atBeginning);
  EXPECT_EQ(skip(*table, 1), -1) << "from nowhere";
  // Wherever the table went meanwhile, the tag follows.
  ASSERT_EQ(go(*table, 3), ok);
  ASSERT_EQ(skip(*table, 1), ok);
  EXPECT_EQ(table->recordNumber, 1U);
  // A record that is not in the tag stands between the others by its key.
  ASSERT_EQ(go(*table, 4), ok);
  ASSERT_EQ(skip(*table, -1), ok);
  EXPECT_EQ(table->recordNumber, 1U);
  ASSERT_EQ(go(*table, 4), ok);
  EXPECT_EQ(skip(*table, 1), endOfFile);
  table->selected = nullptr;
  EXPECT_EQ(seek(*table, "A"), errorTagName);
  EXPECT_EQ(takeError(), errorTagName);
}

TEST_F(IndexTest, FollowsRecordsThatChange) {
  const TableOwner table = makeTable();
  for (const char* name : {"A", "B", "C"}) ASSERT_EQ(append(*table, name), ok);
  IndexFile* index =
      createIndex(*table, scratch / "t.cdx", {{"N", "NAME"}, {"PAID", "NAME", "PAID"}});
  ASSERT_NE(index, nullptr);
  ASSERT_EQ(go(*table, 2), ok);
  assignText(*table, 0, "Z");
  assignText(*table, 3, "T");
  ASSERT_EQ(go(*table, 1), ok);
  EXPECT_EQ(walk(*table, findTag(*index, "N")), "A C Z");
  EXPECT_EQ(walk(*table, findTag(*index, "PAID")), "Z");
  ASSERT_EQ(go(*table, 2), ok);
  assignText(*table, 3, "F");
  ASSERT_EQ(flush(*table), ok);
  EXPECT_EQ(walk(*table, findTag(*index, "PAID")), "");
  markDeleted(*table);
  ASSERT_EQ(flush(*table), ok);
  EXPECT_EQ(walk(*table, findTag(*index, "N")), "A C Z") << "until the table is packed";
  ASSERT_EQ(go(*table, 3), ok);
  markDeleted(*table);
  ASSERT_EQ(pack(*table), ok);
  EXPECT_EQ(walk(*table, findTag(*index, "N")), "A");
  ASSERT_EQ(close(*table), ok);
  expectChecked("N: 1 keys");
}

TEST_F(IndexTest, RefusesASecondRecordOfAKeyInAUniqueTag) {
  TableOwner table = makeTable();
  for (const char* name : {"B", "A", "B"}) ASSERT_EQ(append(*table, name, 7), ok);
  const std::vector<TagDescription> tags = {{"ALL", "NAME"}, {"ONE", "NAME", "", true}};
  EXPECT_EQ(createIndex(*table, scratch / "t.cdx", tags, true), nullptr);
  EXPECT_EQ(takeError(), notUnique);
  EXPECT_FALSE(std::filesystem::exists(scratch / "t.cdx"));
  IndexFile* index = createIndex(*table, scratch / "t.cdx", tags);
  ASSERT_NE(index, nullptr);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(walk(*table, findTag(*index, "ONE")), "A B") << "the first of two";
    EXPECT_EQ(seekKey(*findTag(*index, "ONE"), "B"), ok);
    EXPECT_EQ(findTag(*index, "ONE")->cursor.record, 1U);
    EXPECT_EQ(append(*table, "A"), notUnique);
    EXPECT_EQ(table->recordCount, 3U);
    EXPECT_EQ(walk(*table, findTag(*index, "ALL")), "A B B") << "taken back";
    ASSERT_EQ(go(*table, 2), ok);
    assignText(*table, 0, "B");
    EXPECT_EQ(flush(*table), notUnique);
    assignText(*table, 0, "A");
    ASSERT_EQ(close(*table), ok);
    expectChecked("ALL: 3 keys");
    table = openDataFile(engine, scratch / "t.dbf");
    index = openIndex(*table, scratch / "t.cdx");
    ASSERT_NE(index, nullptr) << "the same when it is read back";
  }
}

TEST_F(IndexTest, MakesAProductionIndexOfATableThatIsCreatedWithTags) {
  TableOwner table = createDataFile(engine, scratch / "p.dbf", {{"N", 'C', 4, 0}}, {{"N", "N"}});
  ASSERT_NE(table, nullptr);
  EXPECT_TRUE(table->hasProductionIndex);
  ASSERT_EQ(table->indexes.size(), 1U);
  ASSERT_EQ(close(*table), ok);
  EXPECT_EQ(scratch.read("p.dbf")[28], 1);
  EXPECT_TRUE(std::filesystem::exists(scratch / "p.cdx"));
  engine.autoOpen = true;
  table = openDataFile(engine, scratch / "p.dbf");
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->indexes.size(), 1U);
  table.reset();
  engine.autoOpen = false;
  table = openDataFile(engine, scratch / "p.dbf");
  EXPECT_EQ(table->indexes.size(), 0U);
  // One that is made under a path of its own is none.
  const TableOwner other = makeTable();
  ASSERT_NE(createIndex(*other, scratch / "t", byName), nullptr);
  EXPECT_TRUE(std::filesystem::exists(scratch / "t.CDX")) << "the extension is added";
  EXPECT_FALSE(other->hasProductionIndex);
  // A tag that cannot be made leaves neither.
  EXPECT_EQ(createDataFile(engine, scratch / "q.dbf", {{"N", 'C', 4, 0}}, {{"N", "M"}}), nullptr);
  EXPECT_EQ(takeError(), errorValue);
  EXPECT_FALSE(std::filesystem::exists(scratch / "q.cdx"));
}

struct BadTag {
  TagDescription tag;
  int code;
};

TEST_F(IndexTest, RefusesTagsThatCannotBe) {
  const std::string longSource = "NAME" + std::string(252, ' ');
  const BadTag cases[] = {
      {{"T", "NOWHERE"}, errorValue},
      {{"T", longSource}, errorNotAnIndex},
      {{"T", "NAME", longSource.substr(0, 4) + "='A'" + std::string(248, ' ')}, errorNotAnIndex},
      {{"T", "NAME", "NAME"}, errorNotAnIndex},
      {{"T", "NAME", "NOWHERE"}, errorValue},
      {{"", "NAME"}, errorParameter},
      {{"  ", "NAME"}, errorParameter},
  };
  const TableOwner table = makeTable();
  for (const BadTag& bad : cases) {
    EXPECT_EQ(createIndex(*table, scratch / "t.cdx", {bad.tag}), nullptr);
    EXPECT_EQ(takeError(), bad.code) << bad.tag.expression << " / " << bad.tag.filter;
    EXPECT_FALSE(std::filesystem::exists(scratch / "t.cdx"));
  }
  EXPECT_EQ(createIndex(*table, scratch / "t.cdx", {{"T", "NAME"}, {"t", "NAME"}}), nullptr);
  EXPECT_EQ(takeError(), errorParameter);
  // 255 characters are not too many.
  EXPECT_NE(createIndex(*table, scratch / "t.cdx", {{"T", "NAME" + std::string(251, ' ')}}),
            nullptr);
  engine.report.files = true;
  EXPECT_EQ(createIndex(*table, scratch / "u.cdx", {{"T", longSource}}), nullptr);
  EXPECT_EQ(takeError(), errorNotAnIndex);
  EXPECT_EQ(createIndex(*table, scratch / "u.cdx", {{"T", "NAME", "NAME"}}), nullptr);
  EXPECT_EQ(takeError(), errorNotAnIndex);
  ASSERT_EQ(reports.size(), 2U);
  EXPECT_THAT(reports[0], HasSubstr("expression source length > max allowable chars for index"));
  EXPECT_THAT(reports[0], HasSubstr("Not a Correct Index File"));
  EXPECT_THAT(reports[1], HasSubstr("Filter should be Logical"));
}

TEST_F(IndexTest, RefusesToCreateOverAFileThatIsThere) {
  engine.safety = true;
  const TableOwner table = makeTable();
  scratch.write("t.cdx", "something else");
  EXPECT_EQ(createIndex(*table, scratch / "t.cdx", byName), nullptr);
  EXPECT_EQ(takeError(), errorCreating);
  EXPECT_EQ(indexBytes(), "something else");
}

// A change of one field of an index file, and what opening says.
struct Damage {
  const char* what;
  std::size_t offset;
  std::string bytes;
  int code;
};

TEST_F(IndexTest, OpensNothingThatIsNoIndex) {
  TableOwner table = makeTable();
  ASSERT_EQ(append(*table, "A"), ok);
  ASSERT_NE(createIndex(*table, scratch / "t.cdx", {{"T", "NAME", "PAID"}}), nullptr);
  ASSERT_EQ(closeIndex(*table->indexes.back()), ok);
  const std::string good = indexBytes();
  constexpr std::size_t tag = 3 * cdx::blockSize;
  const auto at = [](auto field) { return field.offset; };
  const Damage cases[] = {
      {"nothing", 0, "", ok},
      {"a root of 0", at(header::root), std::string(4, '\0'), errorNotAnIndex},
      {"a negative root", at(header::root), "\xFF\xFF\xFF\xFF", errorNotAnIndex},
      {"a root outside", at(header::root), std::string("\0\0\1\0", 4), errorNotAnIndex},
      {"a root inside a block", at(header::root), std::string("\1\4\0\0", 4), errorNotAnIndex},
      {"the type 31", at(header::typeCode), "\x1F", errorNotAnIndex},
      {"a compound file without its tag of tags", at(header::typeCode), "\x60", errorNotAnIndex},
      {"names of another length", at(header::keyLength), "\x0B", errorNotAnIndex},
      {"the mark of a change", at(header::mark), "CHANGING", errorNotAnIndex},
      {"something else in its place", at(header::mark), "HARMLESS", ok},
      {"a tag's root of 0", tag + at(header::root), std::string(4, '\0'), errorNotAnIndex},
      {"a tag of type 31", tag + at(header::typeCode), "\x1F", errorNotAnIndex},
      {"a second tag of tags", tag + at(header::typeCode), "\xE0", errorNotAnIndex},
      {"a key length that is not the expression's", tag + at(header::keyLength), "\x09",
       errorNotAnIndex},
      {"the key length of 240", tag + at(header::keyLength), "\xF0", ok},
      {"a key length of 0", tag + at(header::keyLength), std::string(1, '\0'), errorNotAnIndex},
      {"an expression of 513 bytes", tag + at(header::keyTextLength2), "\x01\x02", errorNotAnIndex},
      {"an unknown field", tag + header::texts.offset, "MAME", errorValue},
      {"a filter that is no condition", tag + header::texts.offset + 5, "NAME", errorNotAnIndex},
      {"a tag outside the file", 2 * cdx::blockSize + cdx::leaf::entries, "\x01\x10",
       errorNotAnIndex},
      {"a tag that is the tag of tags", 2 * cdx::blockSize + cdx::leaf::entries,
       std::string(2, '\0'), errorNotAnIndex},
  };
  for (const Damage& damage : cases) {
    std::string bytes = good;
    bytes.replace(damage.offset, damage.bytes.size(), damage.bytes);
    scratch.write("t.cdx", bytes);
    IndexFile* index = openIndex(*table, scratch / "t.cdx");
    EXPECT_EQ(index != nullptr, damage.code == ok) << damage.what;
    EXPECT_EQ(takeError(), damage.code) << damage.what;
    if (index != nullptr) closeIndex(*index);
    takeError();
  }
  scratch.write("t.cdx");
  EXPECT_EQ(openIndex(*table, scratch / "t.cdx"), nullptr);
  EXPECT_EQ(takeError(), errorNotAnIndex) << "an empty file";
  EXPECT_EQ(openIndex(*table, scratch / "none.cdx"), nullptr);
  EXPECT_EQ(takeError(), notOpened);
}

// A file of one tag, as the engine reads it and does not write it.
TEST_F(IndexTest, ReadsAFileOfASingleTag) {
  const TableOwner table = makeTable();
  for (const char* name : {"B", "A"}) ASSERT_EQ(append(*table, name), ok);
  ASSERT_NE(createIndex(*table, scratch / "t.cdx", byName), nullptr);
  ASSERT_EQ(closeIndex(*table->indexes.back()), ok);
  std::string bytes = indexBytes();
  bytes.replace(0, header::size, bytes.substr(3 * cdx::blockSize, header::size));
  bytes[header::typeCode.offset] = 0x20;
  scratch.write("single.idx", bytes);
  IndexFile* index = openIndex(*table, scratch / "single.idx");
  ASSERT_NE(index, nullptr);
  ASSERT_EQ(index->tags.size(), 1U);
  EXPECT_EQ(index->tags[0]->name, "SINGLE");
  EXPECT_EQ(walk(*table, index->tags[0].get()), "A B");
  ASSERT_EQ(append(*table, "AA"), ok);
  ASSERT_EQ(closeIndex(*index), ok);
  EXPECT_EQ(scratch.read("single.idx")[header::typeCode.offset], 0x20);
  index = openIndex(*table, scratch / "single.idx");
  ASSERT_NE(index, nullptr);
  EXPECT_EQ(walk(*table, index->tags[0].get()), "A AA B");
  ASSERT_EQ(rebuild(*index), ok);
  EXPECT_EQ(walk(*table, index->tags[0].get()), "A AA B");
  ASSERT_EQ(closeIndex(*index), ok);
  bytes[header::root.offset] = 1;
  scratch.write("single.idx", bytes);
  engine.report.files = true;
  bytes[header::texts.offset] = 'M';
  scratch.write("single.idx", bytes);
  EXPECT_EQ(openIndex(*table, scratch / "single.idx"), nullptr);
  takeError();
  EXPECT_THAT(reports.back(), HasSubstr("Corrupt IDX FoxPro index file"));
}

// From the first change to the flush, the file says that it is ahead of itself.
TEST_F(IndexTest, MarksTheFileWhileItIsBeingChanged) {
  const TableOwner table = makeTable();
  IndexFile* index = createIndex(*table, scratch / "t.cdx", byName);
  ASSERT_NE(index, nullptr);
  const auto marked = [&] {
    return indexBytes().substr(header::mark.offset, header::mark.size) == header::changing;
  };
  EXPECT_FALSE(marked());
  for (int round = 0; round < 2; ++round) {
    const std::uint32_t version = number(indexBytes(), 0, header::version);
    ASSERT_EQ(append(*table, "A"), ok);
    EXPECT_TRUE(marked());
    scratch.write("copy.cdx", indexBytes());
    EXPECT_EQ(openIndex(*table, scratch / "copy.cdx"), nullptr);
    EXPECT_EQ(takeError(), errorNotAnIndex);
    ASSERT_EQ(flush(*table), ok);
    EXPECT_FALSE(marked());
    EXPECT_GT(number(indexBytes(), 0, header::version), version);
  }
  ASSERT_EQ(go(*table, 1), ok);
  assignDouble(*table, 1, 5);
  ASSERT_EQ(flush(*table), ok);
  const std::string before = indexBytes();
  EXPECT_EQ(walk(*table, findTag(*index, "NAME")), "A A");
  ASSERT_EQ(close(*table), ok);
  EXPECT_EQ(indexBytes(), before) << "nothing that is in the index has changed";
}

TEST_F(IndexTest, MendsAFileThatWasLeftInTheMidstOfAChange) {
  TableOwner table = makeTable();
  ASSERT_NE(createIndex(*table, scratch / "t.cdx", {{"DOWN", "NAME", "AMOUNT>1", false, true}}),
            nullptr);
  for (const char* name : {"B", "A", "C"}) ASSERT_EQ(append(*table, name, 5), ok);
  scratch.write("copy.cdx", indexBytes());
  ASSERT_EQ(close(*table), ok);
  table = openDataFile(engine, scratch / "t.dbf");
  EXPECT_EQ(openIndex(*table, scratch / "copy.cdx"), nullptr);
  EXPECT_EQ(takeError(), errorNotAnIndex);
  IndexFile* index = mendIndex(*table, scratch / "copy.cdx");
  ASSERT_NE(index, nullptr);
  EXPECT_EQ(walk(*table, findTag(*index, "DOWN")), "C B A");
  ASSERT_EQ(close(*table), ok);
  expectChecked("DOWN: 3 keys", "t.dbf", "copy.cdx");
  table = openDataFile(engine, scratch / "t.dbf");
  EXPECT_NE(openIndex(*table, scratch / "copy.cdx"), nullptr);
  // One that does not tell what its tags are is beyond that.
  scratch.write("none.cdx", std::string(1024, '\0'));
  EXPECT_EQ(mendIndex(*table, scratch / "none.cdx"), nullptr);
  EXPECT_EQ(takeError(), errorNotAnIndex);
}

TEST_F(IndexTest, CutsKeysAt240Bytes) {
  const TableOwner table = createDataFile(engine, scratch / "t.dbf", {{"WIDE", 'C', 300, 0}});
  ASSERT_NE(table, nullptr);
  for (const char last : {'B', 'A'}) {
    ASSERT_EQ(startAppend(*table), ok);
    blank(*table);
    assignText(*table, 0, std::string(239, 'x') + last + std::string(60, last == 'A' ? 'z' : 'y'));
    ASSERT_EQ(finishAppend(*table), ok);
  }
  IndexFile* index = createIndex(*table, scratch / "t.cdx", {{"WIDE", "WIDE"}});
  ASSERT_NE(index, nullptr);
  ASSERT_EQ(goTop(*index->tags[0]), ok);
  EXPECT_EQ(index->tags[0]->cursor.record, 2U);
  EXPECT_EQ(currentKey(*index->tags[0]).size(), 240U);
  ASSERT_EQ(seekKey(*index->tags[0], std::string(239, 'x') + "B" + std::string(60, 'q')), ok);
  EXPECT_EQ(index->tags[0]->cursor.record, 1U);
  ASSERT_EQ(close(*table), ok);
  expectChecked("WIDE: 2 keys");
}

TEST_F(IndexTest, GivesMinusZeroThePlaceOfZero) {
  unsigned char zero[8];
  unsigned char minus[8];
  encodeKeyNumber(0.0, zero);
  encodeKeyNumber(-0.0, minus);
  EXPECT_TRUE(std::equal(zero, zero + 8, minus));
}

// The page that describes the format, byte for byte.
TEST_F(IndexTest, WritesAndReadsTheExampleOfItsPage) {
  const std::string example = testing::hexExampleOf("cdx.md");
  const TableOwner table = createDataFile(engine, scratch / "t.dbf", {{"NAME", 'C', 10, 0}});
  ASSERT_NE(table, nullptr);
  for (const char* name : {"BOLTS", "BOLT", "ANVIL"}) {
    ASSERT_EQ(startAppend(*table), ok);
    blank(*table);
    assignText(*table, 0, name);
    ASSERT_EQ(finishAppend(*table), ok);
  }
  ASSERT_NE(createIndex(*table, scratch / "t.cdx", byName), nullptr);
  EXPECT_EQ(indexBytes(), example);
  scratch.write("page.cdx", example);
  IndexFile* index = openIndex(*table, scratch / "page.cdx");
  ASSERT_NE(index, nullptr);
  EXPECT_EQ(walk(*table, findTag(*index, "NAME")), "ANVIL BOLT BOLTS");
}

// Reading alone leaves the file alone, and what would change it is refused.
TEST_F(IndexTest, ReadsAReadOnlyIndex) {
  TableOwner table = makeTable();
  ASSERT_EQ(append(*table, "A"), ok);
  ASSERT_NE(createIndex(*table, scratch / "t.cdx", byName), nullptr);
  ASSERT_EQ(close(*table), ok);
  engine.readOnly = true;
  table = openDataFile(engine, scratch / "t.dbf");
  ASSERT_NE(table, nullptr);
  IndexFile* index = openIndex(*table, scratch / "t.cdx");
  ASSERT_NE(index, nullptr);
  EXPECT_EQ(walk(*table, findTag(*index, "NAME")), "A");
  EXPECT_EQ(append(*table, "B"), errorWriting);
  takeError();
  EXPECT_EQ(close(*table), ok);
}

}  // namespace
}  // namespace loomkit::xbase
