// SPDX-License-Identifier: MIT
// The xBase backend beyond what all backends have in common.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "loomkit/db/catalog.h"
#include "loomkit/db/xbase/xbase_database.h"
#include "loomkit/text/output.h"
#include "tests/db/db_fixture.h"

namespace {

using namespace loomkit::testing;
using Texts = std::vector<std::string>;

GDbField column(const std::string& name, GDbFieldType type, int width = 8, int decimals = 0) {
  return {name, type, width, decimals, false, false};
}

// A descriptor of a table file.
std::string descriptor(const std::string& name, char type, unsigned width, unsigned high = 0) {
  std::string bytes(32, '\0');
  bytes.replace(0, name.size(), name);
  bytes[11] = type;
  bytes[16] = static_cast<char>(width);
  bytes[17] = static_cast<char>(high);
  return bytes;
}

std::string tableFile(const Texts& descriptors, std::size_t recordLength, const Texts& records) {
  std::string bytes(32, '\0');
  bytes[0] = 3;
  bytes[4] = static_cast<char>(records.size());
  const std::size_t headerLength = 33 + 32 * descriptors.size();
  bytes[8] = static_cast<char>(headerLength);
  bytes[9] = static_cast<char>(headerLength >> 8);
  bytes[10] = static_cast<char>(recordLength);
  for (const std::string& each : descriptors) bytes += each;
  bytes += '\r';
  for (const std::string& record : records) bytes += record;
  return bytes + '\x1a';
}

class XBaseBackend : public ::testing::Test {
 protected:
  XBaseBackend() {
    structure.appendField(column("num", GDbFieldInt));
    structure.appendField(column("price", GDbFieldFloat, 10, 2));
    structure.appendField(column("name", GDbFieldString, 6));
    structure.addIndex(GDbIndex("by_num", "num", false, false));
    structure.addIndex(GDbIndex("by_name", "name", false, false));
    structure.addIndex(GDbIndex("by_both", "name,num", false, true));
    database = open();
  }

  DatabaseOwner open() { return openDb("xbase:" + dir.path()); }

  GDbStatus tryOpen(const std::string& name, const GDbStructure& wanted,
                    TableOwner* table = nullptr) {
    GDbTable* opened = nullptr;
    const GDbStatus status = database->openTable(name, &wanted, &opened);
    TableOwner owner(opened);
    if (table != nullptr) *table = std::move(owner);
    return status;
  }
  TableOwner create(const std::string& name) {
    GDbTable* made = nullptr;
    EXPECT_EQ(database->createTable(name, &structure, &made), GDbNoError);
    return TableOwner(made);
  }
  static GDbStatus insert(GDbTable* table, int num, double price, const std::string& name) {
    GDbRecordSet set;
    auto* record = new GDbRecord;
    record->addIntField(num);
    record->addFloatField(price);
    record->addStringField(name);
    set.addRecord(record);
    return table->insertRecords(set);
  }
  static Texts lookup(GDbTable* table, const std::vector<GDbKey>& keys,
                      GDbStatus expected = GDbNoError) {
    GDbRecordSet set;
    EXPECT_EQ(table->lookupKeys(keys.data(), static_cast<int>(keys.size()), &set), expected);
    return textsOf(set);
  }
  // A table of one field of each letter, and three records.
  void writeLetters() {
    dir.write("LETTERS.DBF",
              tableFile({descriptor("TEXT", 'C', 5), descriptor("DAY", 'D', 8),
                         descriptor("WHOLE", 'N', 5), descriptor("PART", 'F', 7, 2),
                         descriptor("FLAG", 'L', 1)},
                        27,
                        {" abc  19950726   42   1.50T", "*gone 19950727    1   0.00F",
                         std::string(" \0b\0  2020       -7*******?", 27)}));
    database = nullptr;
    database = open();
  }

  ScratchDirectory dir;
  GDbStructure structure;
  DatabaseOwner database;
};

TEST_F(XBaseBackend, NeedsAColonAndADirectory) {
  GDbDatabase* none = nullptr;
  EXPECT_EQ(GDbXBaseFactory().openDatabase("xbase", &none), GDbInvalidLocator);
  EXPECT_EQ(GDbDatabase::openDatabase(("xbase:" + dir / "nosuch").c_str(), &none),
            GDbCantOpenDirectory);
  dir.write("file", "");
  EXPECT_EQ(GDbDatabase::openDatabase(("xbase:" + dir / "file").c_str(), &none),
            GDbCantOpenDirectory);
  EXPECT_EQ(none, nullptr);
}

TEST_F(XBaseBackend, UnescapesThePathAndIgnoresOptions) {
  std::filesystem::create_directory(dir / "a b");
  const DatabaseOwner other = openDb("xbase:" + dir.path() + "/a%20b?order=zip;x");
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(other->getName(), "xbase:" + dir.path() + "/a%20b?order=zip;x");
}

TEST_F(XBaseBackend, FindsTablesInAnyLetterCase) {
  writeLetters();
  std::filesystem::rename(dir / "LETTERS.DBF", dir / "leTTers.DbF");
  dir.write("noextension");
  dir.write("other.txt");
  database = nullptr;
  database = open();
  EXPECT_EQ(tryOpen("letters", {}), GDbNoError);
  EXPECT_EQ(tryOpen("LETTERS", {}), GDbNoError);
  EXPECT_EQ(tryOpen("noextension", {}), GDbInvalidTableName);
  EXPECT_EQ(tryOpen("other", {}), GDbInvalidTableName);
}

TEST_F(XBaseBackend, ReadsEachLetterInTheTypeThatIsNaturalOrWanted) {
  writeLetters();
  TableOwner table;
  ASSERT_EQ(tryOpen("letters", {}, &table), GDbNoError);
  EXPECT_EQ(scan(table.get()), (Texts{"abc|19950726|42|1.5|1", " b|2020|-7|0|0"}));
  GDbRecordSet set;
  ASSERT_EQ(table->getFirstRecord(&set), GDbNoError);
  const GDbFieldType natural[] = {GDbFieldString, GDbFieldUInt, GDbFieldInt, GDbFieldFloat,
                                  GDbFieldInt};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(set.getRecord(0)->getFieldType(i), natural[i]) << i;

  GDbStructure wanted;
  wanted.appendField(column("day", GDbFieldInt));
  wanted.appendField(column("whole", GDbFieldFloat));
  wanted.appendField(column("flag", GDbFieldUInt));
  ASSERT_EQ(tryOpen("letters", wanted, &table), GDbNoError);
  set.clear();
  ASSERT_EQ(table->getFirstRecord(&set), GDbNoError);
  EXPECT_EQ(set.getRecord(0)->getFieldType(1), GDbFieldInt);
  EXPECT_EQ(set.getRecord(0)->getFieldType(2), GDbFieldFloat);
  EXPECT_EQ(set.getRecord(0)->getFieldType(4), GDbFieldInt);
  EXPECT_EQ(textsOf(set), Texts{"abc|19950726|42|1.5|1"});
}

// The records come from the cache at first and are then read ahead, most of them in
// stretches without a zero byte. All are to be read alike.
TEST_F(XBaseBackend, ALongScanReadsTextsOfEveryLengthAndZeroBytesAsBlanks) {
  constexpr std::size_t width = 20;
  constexpr std::size_t count = 20000;
  Texts records;
  Texts expected;
  for (std::size_t i = 0; i < count; ++i) {
    std::string text = std::string("x234567890abcdefghi.").substr(0, i % (width + 1));
    expected.push_back(text + '|' + std::to_string(i));
    const char filler = i % 7000 == 6999 ? '\0' : ' ';
    text.resize(width, filler);
    std::string number = std::to_string(i);
    number.insert(0, 9 - number.size(), filler);
    records.push_back(' ' + text + number);
  }
  std::string bytes =
      tableFile({descriptor("TEXT", 'C', width), descriptor("NUM", 'N', 9)}, 30, records);
  bytes[4] = static_cast<char>(count & 0xFF);
  bytes[5] = static_cast<char>(count >> 8);
  dir.write("LONG.DBF", bytes);
  database = nullptr;
  database = open();
  TableOwner table;
  ASSERT_EQ(tryOpen("long", {}, &table), GDbNoError);
  EXPECT_EQ(scan(table.get()), expected);
}

TEST_F(XBaseBackend, HoldsIntegersTo32Bits) {
  dir.write("N.DBF",
            tableFile({descriptor("A", 'N', 12)}, 13,
                      {"   3000000000", "  -3000000000", "   5000000000", "  1 2        "}));
  database = nullptr;
  database = open();
  TableOwner table;
  ASSERT_EQ(tryOpen("n", {}, &table), GDbNoError);
  EXPECT_EQ(scan(table.get()), (Texts{"2147483647", "-2147483648", "2147483647", "1"}));
  GDbStructure wanted;
  wanted.appendField(column("a", GDbFieldUInt));
  ASSERT_EQ(tryOpen("n", wanted, &table), GDbNoError);
  EXPECT_EQ(scan(table.get()), (Texts{"3000000000", "1294967296", "4294967295", "1"}));
}

TEST_F(XBaseBackend, ChecksTheTypesOfTheStructure) {
  writeLetters();
  const struct {
    const char* name;
    GDbFieldType type;
    GDbStatus status;
  } rows[] = {{"text", GDbFieldString, GDbNoError},
              {"text", GDbFieldInt, GDbFieldTypeMismatch},
              {"text", GDbFieldBlob, GDbFieldTypeMismatch},
              {"text", GDbFieldNone, GDbFieldTypeMismatch},
              {"day", GDbFieldInt, GDbNoError},
              {"day", GDbFieldUInt, GDbNoError},
              {"day", GDbFieldString, GDbFieldTypeMismatch},
              {"whole", GDbFieldUInt, GDbNoError},
              {"whole", GDbFieldFloat, GDbNoError},
              {"part", GDbFieldFloat, GDbNoError},
              {"part", GDbFieldInt, GDbFieldTypeMismatch},
              {"flag", GDbFieldInt, GDbNoError},
              {"flag", GDbFieldFloat, GDbFieldTypeMismatch},
              {"nosuch", GDbFieldInt, GDbInvalidFieldName},
              {"te-xt", GDbFieldString, GDbInvalidArgument},
              {"1text", GDbFieldString, GDbInvalidArgument},
              {"", GDbFieldString, GDbInvalidArgument}};
  for (const auto& row : rows) {
    GDbStructure wanted;
    wanted.appendField(column(row.name, row.type));
    EXPECT_EQ(tryOpen("letters", wanted), row.status) << row.name << ' ' << row.type;
  }
}

TEST_F(XBaseBackend, TakesTenCharactersOfANameUnlessItIsAllCapitals) {
  dir.write("N.DBF", tableFile({descriptor("ABCDEFGHIJ", 'N', 3), descriptor("MYFIELD", 'N', 3)}, 7,
                               {"   1  2"}));
  database = nullptr;
  database = open();
  const struct {
    const char* name;
    GDbStatus status;
  } rows[] = {{"myfield", GDbNoError},
              {"my-field", GDbInvalidArgument},
              {"abcdefghijk", GDbNoError},
              {"abcdefghij-", GDbNoError},
              {"ABCDEFGHIJ", GDbNoError},
              {"ABCDEFGHIJK", GDbInvalidFieldName},
              {"ABCDEFGHIJ-x", GDbInvalidFieldName}};
  for (const auto& row : rows) {
    GDbStructure wanted;
    wanted.appendField(column(row.name, GDbFieldInt));
    EXPECT_EQ(tryOpen("n", wanted), row.status) << row.name;
  }
  TableOwner table;
  ASSERT_EQ(tryOpen("n", {}, &table), GDbNoError);
  int id = -1;
  EXPECT_EQ(table->getFieldId("ABCDEFGHIJKL", &id), GDbNoError);
  EXPECT_EQ(id, 0);
  EXPECT_EQ(table->getFieldId("MyField", &id), GDbNoError);
  EXPECT_EQ(id, 1);
}

TEST_F(XBaseBackend, ATableNameHasTenCharactersAtMost) {
  GDbTable* none = nullptr;
  EXPECT_EQ(database->createTable("elevenchars", &structure, &none), GDbInvalidFileName);
  writeLetters();
  std::filesystem::rename(dir / "LETTERS.DBF", dir / "elevenchars.dbf");
  database = nullptr;
  database = open();
  EXPECT_EQ(tryOpen("elevenchars", {}), GDbInvalidFileName);
}

TEST_F(XBaseBackend, ATableThatIsNoneSaysWithWhichCode) {
  CaptureOutput output;
  dir.write("Bad.dbf", "no table");
  dir.write("letter.dbf", tableFile({descriptor("A", 'I', 4)}, 5, {"     "}));
  database = nullptr;
  database = open();
  EXPECT_EQ(tryOpen("bad", {}), GDbCantOpenFile);
  EXPECT_EQ(tryOpen("letter", {}), GDbCantOpenFile);
  EXPECT_EQ(output.texts(),
            (Texts{"Unexpected error: failed to open \"Bad.dbf\": XBase error -200",
                   "Unexpected error: failed to open \"letter.dbf\": XBase error -220"}));
}

TEST_F(XBaseBackend, CreatesItsFilesInSmallLetters) {
  create("Parts");
  EXPECT_TRUE(std::filesystem::exists(dir / "parts.dbf"));
  EXPECT_TRUE(std::filesystem::exists(dir / "parts.cdx"));
  GDbTable* none = nullptr;
  EXPECT_EQ(database->createTable("PARTS", &structure, &none), GDbTableExists);
}

TEST_F(XBaseBackend, RefusesToCreateWhatCannotBeWritten) {
  CaptureOutput output;
  GDbTable* none = nullptr;
  GDbStructure blob;
  blob.appendField(column("a", GDbFieldBlob));
  EXPECT_EQ(database->createTable("t", &blob, &none), GDbInvalidArgument);
  GDbStructure wide;
  wide.appendField(column("a", GDbFieldString, 70000));
  EXPECT_EQ(database->createTable("t", &wide, &none), GDbCantCreateTable);
  GDbStructure unbounded;
  unbounded.appendField(column("a", GDbFieldString, -1));
  EXPECT_EQ(database->createTable("t", &unbounded, &none), GDbCantCreateTable);
  const std::string path = std::filesystem::canonical(dir.path()).generic_string() + "/t.dbf";
  EXPECT_EQ(output.texts(),
            Texts(2, "Failed to create table \"t\" (" + path + "): XBase error -230"));
  EXPECT_FALSE(std::filesystem::exists(dir / "t.dbf"));
}

TEST_F(XBaseBackend, FindsRecordsByKeysInAnyOrder) {
  const TableOwner table = create("parts");
  ASSERT_EQ(insert(table.get(), 1, 0.5, "bolt"), GDbNoError);
  ASSERT_EQ(insert(table.get(), 2, 1.25, "nut"), GDbNoError);
  ASSERT_EQ(insert(table.get(), 3, 2, "bolt"), GDbNoError);
  ASSERT_EQ(insert(table.get(), -4, 2, ""), GDbNoError);
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, 2)}), Texts{"2|1.25|nut"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, -4)}), Texts{"-4|2|"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, 2U)}), Texts{"2|1.25|nut"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "bolt")}), (Texts{"1|0.5|bolt", "3|2|bolt"}));
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "")}), Texts{"-4|2|"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, 3), GDbKey(2, "bolt")}), Texts{"3|2|bolt"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "bolt"), GDbKey(0, 3)}), Texts{"3|2|bolt"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "bolt"), GDbKey(0, 2)}), Texts{});
}

TEST_F(XBaseBackend, AKeyThatCannotBeStoredMatchesNothing) {
  const TableOwner table = create("parts");
  ASSERT_EQ(insert(table.get(), 1, 0.5, "bolts7"), GDbNoError);
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "bolts7")}), Texts{"1|0.5|bolts7"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "bolts78")}), Texts{});
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, 1234567890)}), Texts{});
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "bolts78"), GDbKey(0, 1)}), Texts{});
}

TEST_F(XBaseBackend, RefusesKeysWithoutAnIndexOrOfAnotherType) {
  const TableOwner table = create("parts");
  lookup(table.get(), {GDbKey(1, 0.5)}, GDbNoIndex);
  lookup(table.get(), {GDbKey(0, 1), GDbKey(0, 1)}, GDbNoIndex);
  lookup(table.get(), {GDbKey(7, 1)}, GDbInvalidArgument);
  lookup(table.get(), {GDbKey(-1, 1)}, GDbInvalidArgument);
  lookup(table.get(), {}, GDbNoIndex);
  lookup(table.get(), {GDbKey(0, "1")}, GDbFieldTypeMismatch);
  lookup(table.get(), {GDbKey(2, 1)}, GDbFieldTypeMismatch);
  GDbKey none;
  none.field = 0;
  lookup(table.get(), {none}, GDbInvalidArgument);
}

TEST_F(XBaseBackend, LooksLogicalFieldsUpByTrueAndFalse) {
  writeLetters();
  GDbStructure wanted;
  wanted.addIndex(GDbIndex("flag", "flag", false, false));
  wanted.addIndex(GDbIndex("day", "day", false, false));
  wanted.addIndex(GDbIndex("part", "part", false, false));
  TableOwner table;
  ASSERT_EQ(tryOpen("letters", wanted, &table), GDbNoError);
  EXPECT_EQ(lookup(table.get(), {GDbKey(4, 5)}), Texts{"abc|19950726|42|1.5|1"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(4, 0U)}), Texts{" b|2020|-7|0|0"})
      << "the deleted one is passed over";
  EXPECT_EQ(lookup(table.get(), {GDbKey(1, 19950726)}), Texts{"abc|19950726|42|1.5|1"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(1, 19950727)}), Texts{}) << "deleted";
  EXPECT_EQ(lookup(table.get(), {GDbKey(3, 1.5)}), Texts{"abc|19950726|42|1.5|1"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(3, 1e20)}), Texts{});
}

TEST_F(XBaseBackend, DatesAreStoredWithALeadingZeroAndWithoutTheirLastDigit) {
  writeLetters();
  GDbStructure wanted;
  wanted.addIndex(GDbIndex("text", "text", false, false));
  TableOwner table;
  ASSERT_EQ(tryOpen("letters", wanted, &table), GDbNoError);
  GDbRecordSet set;
  auto* record = new GDbRecord;
  record->addStringField("new");
  record->addUIntField(19950726);
  record->addIntField(7);
  record->addFloatField(2.25);
  record->addUIntField(3);
  set.addRecord(record);
  ASSERT_EQ(table->insertRecords(set), GDbNoError);
  EXPECT_NE(dir.read("LETTERS.DBF").find(" new  01995072    7   2.25T"), std::string::npos);
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, "new")}), Texts{"new|1995072|7|2.25|1"});
}

TEST_F(XBaseBackend, InsertsUntilTheFirstRecordThatDoesNotFit) {
  const TableOwner table = create("parts");
  GDbRecordSet set;
  for (int i = 0; i < 3; ++i) {
    auto* record = new GDbRecord;
    record->addIntField(i);
    record->addFloatField(0);
    if (i < 2) record->addStringField("x");
    if (i == 1) record->addStringField("one more");
    set.addRecord(record);
  }
  EXPECT_EQ(table->insertRecords(set), GDbFieldCountMismatch);
  EXPECT_EQ(scan(table.get()), Texts{"0|0|x"});
  GDbRecordSet wrong;
  auto* record = new GDbRecord;
  record->addStringField("1");
  record->addFloatField(0);
  record->addStringField("x");
  wrong.addRecord(record);
  EXPECT_EQ(table->insertRecords(wrong), GDbFieldTypeMismatch);
}

// What addIntField() leaves in a record when memory runs out.
TEST_F(XBaseBackend, RefusesARecordWhoseNumberHasNoValue) {
  const TableOwner table = create("parts");
  GDbFieldType types[] = {GDbFieldInt, GDbFieldFloat, GDbFieldString};
  double weight = 0;
  char name[] = "x";
  void* values[] = {nullptr, &weight, name};
  void* const room = ::operator new(sizeof(GDbRecord));  // a single block is freed as one
  GDbRecordSet set;
  set.addRecord(new (room) GDbRecord(true, 3, types, values));
  EXPECT_EQ(table->insertRecords(set), GDbInvalidArgument);
  EXPECT_EQ(scan(table.get()), Texts{});
}

TEST_F(XBaseBackend, NumbersThatDoNotFitBecomeStarsAndTextsAreCut) {
  const TableOwner table = create("parts");
  ASSERT_EQ(insert(table.get(), 123456789, 123456789.126, "longer text"), GDbNoError);
  EXPECT_NE(dir.read("parts.dbf").find(" ******** 123456789longer"), std::string::npos)
      << dir.read("parts.dbf").substr(129);
}

TEST_F(XBaseBackend, AUniqueIndexRefusesASecondRecord) {
  GDbStructure unique = structure;
  unique.addIndex(GDbIndex("once", "num", true, false));
  GDbTable* made = nullptr;
  ASSERT_EQ(database->createTable("parts", &unique, &made), GDbNoError);
  const TableOwner table(made);
  EXPECT_EQ(insert(table.get(), 1, 1, "a"), GDbNoError);
  EXPECT_EQ(insert(table.get(), 1, 2, "b"), GDbNonUniqueKey);
  EXPECT_EQ(insert(table.get(), 2, 2, "b"), GDbNoError);
  EXPECT_EQ(scan(table.get()), (Texts{"1|1|a", "2|2|b"}));
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "b")}), Texts{"2|2|b"});
}

TEST_F(XBaseBackend, DeletesAllRecordsOfAKeyAndPacks) {
  const TableOwner table = create("parts");
  for (int i = 0; i < 6; ++i)
    ASSERT_EQ(insert(table.get(), i, i, i % 2 == 0 ? "even" : "odd"), GDbNoError);
  EXPECT_EQ(table->deleteKey(GDbKey(2, "none")), GDbNoError);
  EXPECT_EQ(table->deleteKey(GDbKey(2, "even")), GDbNoError);
  const Texts odd{"1|1|odd", "3|3|odd", "5|5|odd"};
  EXPECT_EQ(scan(table.get()), odd);
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "odd")}), odd);
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "even")}), Texts{});
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, 3)}), Texts{"3|3|odd"});
  EXPECT_EQ(table->deleteKey(GDbKey(2, "odd")), GDbNoError);
  EXPECT_EQ(scan(table.get()), Texts{});
}

TEST_F(XBaseBackend, AfterTheEndTheScanHasNoRecordNumber) {
  const TableOwner table = create("parts");
  insert(table.get(), 1, 1, "a");
  GDbRecordSet set;
  EXPECT_EQ(table->getNextRecord(&set), GDbNoRecordNumber);
  EXPECT_EQ(table->getFirstRecord(&set), GDbNoError);
  EXPECT_EQ(table->getNextRecord(&set), GDbNoError);
  EXPECT_EQ(set.getNumRecords(), 1U);
  EXPECT_EQ(table->getNextRecord(&set), GDbNoRecordNumber);
}

TEST_F(XBaseBackend, AScanBehindAPackedTableIsAnInvalidArgument) {
  const TableOwner table = create("parts");
  for (int i = 0; i < 4; ++i) insert(table.get(), i, i, i < 3 ? "gone" : "kept");
  const TableOwner other = openTable(database, "parts", &structure);
  GDbRecordSet set;
  ASSERT_EQ(table->getFirstRecord(&set), GDbNoError);
  for (int i = 0; i < 2; ++i) ASSERT_EQ(table->getNextRecord(&set), GDbNoError);
  ASSERT_EQ(other->deleteKey(GDbKey(2, "gone")), GDbNoError);
  EXPECT_EQ(table->getNextRecord(&set), GDbInvalidArgument);
}

TEST_F(XBaseBackend, WithoutAnIndexItOnlyScans) {
  create("parts");
  database = nullptr;
  database = open();
  TableOwner table;
  ASSERT_EQ(tryOpen("parts", {}, &table), GDbNoError);
  EXPECT_EQ(scan(table.get()), Texts{});
  lookup(table.get(), {GDbKey(0, 1)}, GDbTableNotOpen);
  EXPECT_EQ(insert(table.get(), 1, 1, "a"), GDbTableNotOpen);
  EXPECT_EQ(table->deleteKey(GDbKey(0, 1)), GDbTableNotOpen);
}

TEST_F(XBaseBackend, TablesOnOneFileShareItAndScanForThemselves) {
  const TableOwner first = create("parts");
  const DatabaseOwner otherDatabase = open();
  const TableOwner second = openTable(otherDatabase, "PARTS", &structure);
  for (int i = 1; i <= 3; ++i) ASSERT_EQ(insert(first.get(), i, i, "x"), GDbNoError);
  GDbRecordSet a;
  GDbRecordSet b;
  ASSERT_EQ(first->getFirstRecord(&a), GDbNoError);
  ASSERT_EQ(second->getFirstRecord(&b), GDbNoError);
  ASSERT_EQ(second->getNextRecord(&b), GDbNoError);
  EXPECT_EQ(lookup(second.get(), {GDbKey(0, 3)}), Texts{"3|3|x"});
  ASSERT_EQ(first->getNextRecord(&a), GDbNoError);
  EXPECT_EQ(textsOf(a), textsOf(b));
  EXPECT_EQ(otherDatabase->deleteTable("parts"), GDbTableInUse);
}

TEST_F(XBaseBackend, ChangedIndexesAreBuiltAnewBesideThoseThatAreThere) {
  {
    const TableOwner table = create("parts");
    for (int i = 1; i <= 3; ++i) insert(table.get(), i, 4 - i, "x");
    GDbStructure fewer;
    fewer.addIndex(GDbIndex("by_price", "price", false, false));
    const TableOwner other = openTable(database, "parts", &fewer);
    EXPECT_EQ(lookup(table.get(), {GDbKey(1, 2.0)}), Texts{"2|2|x"});
    EXPECT_EQ(lookup(other.get(), {GDbKey(0, 3)}), Texts{"3|1|x"}) << "the others survive";
  }
  GDbCatalog::Description description;
  ASSERT_EQ(GDbCatalog::describeTable(database.get(), "parts", &description), GDbNoError);
  EXPECT_EQ(description.structure.getIndices().size(), 4U);
  GDbStructure other;
  other.addIndex(GDbIndex("by_price", "num", false, false));
  TableOwner table;
  ASSERT_EQ(tryOpen("parts", other, &table), GDbNoError) << "of another expression";
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, 2)}), Texts{"2|2|x"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "x")}, GDbNoIndex), Texts{});
}

TEST_F(XBaseBackend, RefusesIndexesThatMakeNoSense) {
  const TableOwner table = create("parts");
  const struct {
    const char* name;
    const char* columns;
    bool unique;
    GDbStatus status;
  } rows[] = {{"BY_NUM", "num", false, GDbNoError},
              {"by_num", "num", true, GDbInvalidArgument},
              {"by_num", "price", false, GDbInvalidArgument},
              {"none", "", false, GDbInvalidArgument},
              {"none", "nosuch", false, GDbInvalidArgument},
              {"none", "num,my-field", false, GDbNoError},
              {"elevenchars", "num", false, GDbInvalidIndexName}};
  for (const auto& row : rows) {
    GDbStructure wanted;
    wanted.addIndex(GDbIndex(row.name, row.columns, row.unique, false));
    EXPECT_EQ(tryOpen("parts", wanted), row.status) << row.name << ' ' << row.columns;
  }
  GDbStructure twice;
  twice.addIndex(GDbIndex("a", "num", false, false));
  twice.addIndex(GDbIndex("A", "num", false, false));
  EXPECT_EQ(tryOpen("parts", twice), GDbInvalidArgument);
}

TEST_F(XBaseBackend, ADamagedIndexFileIsDeletedWithAWarningAndBuiltAnew) {
  insert(create("parts").get(), 1, 1, "a");
  database = nullptr;
  for (const std::string& damage :
       {std::string("rubbish"), std::string(2048, '\0'), std::string()}) {
    dir.write("parts.cdx", damage);
    database = open();
    CaptureOutput output;
    TableOwner table;
    ASSERT_EQ(tryOpen("parts", structure, &table), GDbNoError);
    EXPECT_EQ(output.texts(),
              Texts{"Unable to open index file \"" +
                    std::filesystem::canonical(dir.path()).generic_string() + "/parts.cdx\""});
    EXPECT_EQ(lookup(table.get(), {GDbKey(0, 1)}), Texts{"1|1|a"});
    table = nullptr;
    database = nullptr;
  }
}

TEST_F(XBaseBackend, AMissingIndexFileIsBuilt) {
  insert(create("parts").get(), 1, 1, "a");
  database = nullptr;
  std::filesystem::remove(dir / "parts.cdx");
  database = open();
  TableOwner table;
  ASSERT_EQ(tryOpen("parts", structure, &table), GDbNoError);
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, 1)}), Texts{"1|1|a"});
}

TEST_F(XBaseBackend, AReadOnlyTableIsReadAndNotChanged) {
  insert(create("parts").get(), 1, 1, "a");
  database = nullptr;
  ASSERT_EQ(::chmod((dir / "parts.dbf").c_str(), 0444), 0);
  ASSERT_EQ(::chmod((dir / "parts.cdx").c_str(), 0444), 0);
  database = open();
  TableOwner table;
  ASSERT_EQ(tryOpen("parts", structure, &table), GDbNoError);
  EXPECT_EQ(lookup(table.get(), {GDbKey(0, 1)}), Texts{"1|1|a"});
  // Who may write anything has no read-only files.
  const GDbStatus expected = ::geteuid() == 0 ? GDbNoError : GDbTableReadOnly;
  EXPECT_EQ(insert(table.get(), 2, 2, "b"), expected);
  EXPECT_EQ(table->deleteKey(GDbKey(0, 2)), expected);
}

TEST_F(XBaseBackend, DeletesATableThatNobodyHasOpen) {
  {
    const TableOwner table = create("parts");
    EXPECT_EQ(database->deleteTable("PARTS"), GDbTableInUse);
  }
  EXPECT_EQ(database->deleteTable("PARTS"), GDbNoError);
  EXPECT_FALSE(std::filesystem::exists(dir / "parts.dbf"));
  EXPECT_FALSE(std::filesystem::exists(dir / "parts.cdx"));
  EXPECT_EQ(tryOpen("parts", structure), GDbInvalidTableName);
  create("parts");
}

TEST_F(XBaseBackend, AClosedDatabaseOpensCreatesAndDeletesNothing) {
  const TableOwner table = create("parts");
  EXPECT_EQ(database->closeDatabase(), GDbNoError);
  EXPECT_FALSE(table->isTableOpen());
  GDbTable* none = nullptr;
  EXPECT_EQ(database->openTable("parts", &structure, &none), GDbNotOpen);
  EXPECT_EQ(database->createTable("other", &structure, &none), GDbNotOpen);
  EXPECT_EQ(database->deleteTable("parts"), GDbNotOpen);
  std::vector<GDbCatalog::Table> tables;
  EXPECT_EQ(GDbCatalog::listTables(database.get(), &tables), GDbNotOpen);
}

TEST_F(XBaseBackend, ConvertsTextsThatAreReadAndKeysButNotThoseInserted) {
  const TableOwner table = create("parts");
  ASSERT_EQ(insert(table.get(), 1, 1, "gr\xFCn"), GDbNoError) << "ISO-8859-1 as it stands";
  database->setEncoding("ISO-8859-1");
  EXPECT_EQ(scan(table.get()), Texts{"1|1|gr\xC3\xBCn"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "gr\xC3\xBCn")}), Texts{"1|1|gr\xC3\xBCn"});
  EXPECT_EQ(lookup(table.get(), {GDbKey(2, "gr\xC3\xBCnnnnn")}), Texts{});
  CaptureLog log;
  lookup(table.get(), {GDbKey(2, "\xFF\xFE")}, GDbIoError);
  ASSERT_EQ(log.texts().size(), 1U);
  EXPECT_EQ(log.texts()[0].find("codeset converion failed: "), 0U);
  database->setEncoding("");
  EXPECT_EQ(scan(table.get()), Texts{"1|1|gr\xFCn"});
  database->setEncoding("no such set");
  EXPECT_EQ(log.texts().back(), "codeset not supported: `no such set'");
  EXPECT_EQ(scan(table.get()), Texts{"1|1|gr\xFCn"});
}

TEST_F(XBaseBackend, ARecordWhoseTextCannotBeDecodedIsDropped) {
  const TableOwner table = create("parts");
  ASSERT_EQ(insert(table.get(), 1, 1, "\xFF\xFF"), GDbNoError);
  ASSERT_EQ(insert(table.get(), 2, 2, "good"), GDbNoError);
  database->setEncoding("UTF-16LE");
  database->setEncoding("UTF-8");
  CaptureLog log;
  GDbRecordSet set;
  EXPECT_EQ(table->getFirstRecord(&set), GDbNoError);
  EXPECT_EQ(set.getNumRecords(), 0U);
  EXPECT_EQ(table->getNextRecord(&set), GDbNoError);
  EXPECT_EQ(textsOf(set), Texts{"2|2|good"});
  ASSERT_EQ(log.texts().size(), 1U);
  EXPECT_EQ(log.texts()[0].find("codeset converion failed: "), 0U);
}

TEST_F(XBaseBackend, ItsStructureIsThatOfTheFile) {
  writeLetters();
  GDbStructure wanted;
  wanted.addIndex(GDbIndex("txt", "text,whole", true, true));
  TableOwner table;
  ASSERT_EQ(tryOpen("letters", wanted, &table), GDbNoError);
  GDbStructure* raw = nullptr;
  ASSERT_EQ(table->getStructure(&raw), GDbNoError);
  const std::unique_ptr<GDbStructure> found(raw);
  ASSERT_EQ(found->getNumFields(), 5);
  const struct {
    const char* name;
    GDbFieldType type;
    int width;
    int decimals;
  } rows[] = {{"TEXT", GDbFieldString, 5, 0},
              {"DAY", GDbFieldUInt, 8, 0},
              {"WHOLE", GDbFieldInt, 5, 0},
              {"PART", GDbFieldFloat, 7, 2},
              {"FLAG", GDbFieldInt, 1, 0}};
  for (int i = 0; i < 5; ++i) {
    const GDbField& each = found->getField(i);
    EXPECT_EQ(each.getName(), rows[i].name);
    EXPECT_EQ(each.getType(), rows[i].type);
    EXPECT_EQ(each.getWidth(), rows[i].width);
    EXPECT_EQ(each.getDecDigits(), rows[i].decimals);
  }
  ASSERT_EQ(found->getIndices().size(), 1U);
  EXPECT_TRUE(found->getIndices()[0].isUnique() && found->getIndices()[0].isDescending());
  EXPECT_EQ(found->getFieldId("textlonger"), -1);
  GDbCatalog::Description description;
  ASSERT_EQ(GDbCatalog::describeTable(database.get(), "letters", &description), GDbNoError);
  EXPECT_EQ(description.columns[0].declaredType, "C(5)");
  EXPECT_EQ(description.columns[1].declaredType, "D");
  EXPECT_EQ(description.columns[3].declaredType, "F(7,2)");
  ASSERT_EQ(description.structure.getIndices().size(), 1U);
  EXPECT_EQ(description.structure.getIndices()[0].getColumns(), "TEXT,WHOLE");
}

}  // namespace
