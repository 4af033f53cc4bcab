// SPDX-License-Identifier: MIT
// The xBase backend beyond what all backends have in common.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "loomkit/db/catalog.h"
#include "loomkit/db/xbase/xbase_database.h"
#include "loomkit/text/output.h"
#include "tests/db/xbase_fixture.h"

namespace {

using namespace loomkit::testing;

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
