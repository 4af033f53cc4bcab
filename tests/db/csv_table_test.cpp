// SPDX-License-Identifier: MIT
#include "loomkit/db/csv/csv_database.h"

#include <algorithm>
#include <map>
#include <random>

#include "tests/db/db_fixture.h"
#include "tests/format_page.h"

namespace {

using namespace loomkit::testing;
using Texts = std::vector<std::string>;

class CsvTable : public ::testing::Test {
 protected:
  DatabaseOwner open(const std::string& options = "") {
    return openDb("csv:" + dir.path() + options);
  }

  // Opens a table of these bytes; null when that fails with `*status`.
  TableOwner table(const std::string& bytes, const GDbStructure& structure,
                   GDbStatus* status = nullptr) {
    dir.write("t.csv", bytes);
    if (database == nullptr) database = open();
    GDbTable* result = nullptr;
    const GDbStatus opened = database->openTable("t", &structure, &result);
    if (status != nullptr)
      *status = opened;
    else
      EXPECT_EQ(opened, GDbNoError);
    return TableOwner(result);
  }

  ScratchDirectory dir;
  DatabaseOwner database;
  const GDbStructure idName = structureOf({{"Id", GDbFieldInt}, {"Name", GDbFieldString}});
  const GDbStructure text = structureOf({{"text", GDbFieldString}});
  const GDbStructure number = structureOf({{"number", GDbFieldInt}});
};

TEST_F(CsvTable, OpensDirectoriesOnly) {
  GDbDatabase* opened = nullptr;
  EXPECT_EQ(GDbDatabase::openDatabase("csv:/no/such/dir", &opened), GDbCantOpenDirectory);
  const std::string file = "csv:" + dir.write("file", "");
  EXPECT_EQ(GDbDatabase::openDatabase(file.c_str(), &opened), GDbCantOpenDirectory);
  GDbCSVFactory* const factory = new GDbCSVFactory;  // registered for good, behind the first
  EXPECT_EQ(factory->openDatabase("no colon", &opened), GDbInvalidLocator);
  EXPECT_EQ(factory->getDbTypeId(), "csv");
}

TEST_F(CsvTable, UnescapesThePathAndNotTheOptions) {
  std::filesystem::create_directory(dir / "a b?c");
  dir.write("a b?c/t.csv", "1;x\n");
  const DatabaseOwner escaped = openDb("CSV:" + dir.path() + "/a%20b%3fc");
  EXPECT_EQ(scan(openTable(escaped, "t", &idName).get()), Texts{"1|x"});
  EXPECT_EQ(escaped->getName(), "CSV:" + dir.path() + "/a%20b%3fc");
}

TEST_F(CsvTable, RefusesWhatItCannotDo) {
  const TableOwner opened = table("1;x\n", idName);
  GDbTable* none = nullptr;
  EXPECT_EQ(database->openTable("t", nullptr, &none), GDbInvalidArgument);
  EXPECT_EQ(database->openTable("nosuch", &idName, &none), GDbInvalidTableName);
  EXPECT_EQ(database->createTable("t", &idName, &none), GDbCreateTableNotSupported);
  EXPECT_EQ(database->deleteTable("t"), GDbDeleteTableNotSupported);
  EXPECT_EQ(opened->insertRecords(GDbRecordSet()), GDbInsertNotSupported);
  EXPECT_EQ(opened->deleteKey(GDbKey(0, 1)), GDbDeleteNotSupported);
  EXPECT_EQ(database->getTransactionHandler(), nullptr);
}

TEST_F(CsvTable, ChecksTheFirstLineWhenItOpens) {
  GDbStatus status = GDbNoError;
  EXPECT_EQ(table("x;1\n", idName, &status), nullptr);
  EXPECT_EQ(status, GDbFieldTypeMismatch);
  EXPECT_EQ(table("7\n", structureOf({{"a", GDbFieldInt}, {"b", GDbFieldInt}}), &status), nullptr);
  EXPECT_EQ(status, GDbFieldCountMismatch);
  EXPECT_EQ(table("x\n", structureOf({{"a", GDbFieldBlob}}), &status), nullptr);
  EXPECT_EQ(status, GDbInvalidArgument);
  EXPECT_NE(table("", structureOf({{"a", GDbFieldBlob}}), &status), nullptr);
  EXPECT_EQ(status, GDbNoError);
  EXPECT_NE(table("1;a\nx;b\n", idName, &status), nullptr) << "later lines are not looked at";
}

TEST_F(CsvTable, ADirectoryOfATablesNameIsAReadError) {
  std::filesystem::create_directory(dir / "d.csv");
  GDbTable* none = nullptr;
  const GDbStatus status = open()->openTable("d", &idName, &none);
  EXPECT_TRUE(status == GDbIoError || status == GDbInvalidTableName) << gDbStrError(status);
}

TEST_F(CsvTable, ScansTheSameRecordsWhateverEndsTheLines) {
  const Texts expected{"1|a", "2|b", "3|c"};
  for (const char* bytes : {"1;a\n2;b\n3;c\n", "1;a\r\n2;b\r\n3;c\r\n", "1;a\r2;b\r3;c\r",
                            "1;a\n\r2;b\n\r3;c\n\r", "1;a\n2;b\n3;c", "1;a\n\n \t\n2;b\n3;c\n\n"})
    EXPECT_EQ(scan(table(bytes, idName).get()), expected) << bytes;
}

TEST_F(CsvTable, ABlankLineIsARecordOnlyWhereThereIsOneColumn) {
  EXPECT_EQ(scan(table("a\n\nb\n \n", text).get()), (Texts{"a", "", "b", " "}));
  GDbStatus status = GDbNoError;
  EXPECT_EQ(scan(table("1\n\n2\n", number).get(), &status), Texts{"1"});
  EXPECT_EQ(status, GDbFieldTypeMismatch);
}

TEST_F(CsvTable, ABlankRestWithoutATerminatorIsReadAsText) {
  GDbStatus status = GDbNoError;
  EXPECT_EQ(scan(table("1;a\n  ", idName).get(), &status), Texts{"1|a"});
  EXPECT_EQ(status, GDbFieldTypeMismatch);
  EXPECT_EQ(scan(table("1;a\n  \n", idName).get(), &status), Texts{"1|a"});
  EXPECT_EQ(status, GDbNoError);
}

TEST_F(CsvTable, AScanGoesOnBehindABadLine) {
  const TableOwner opened = table("1;a\nx;b\n3;c\n", idName);
  GDbRecordSet set;
  EXPECT_EQ(opened->getFirstRecord(&set), GDbNoError);
  EXPECT_EQ(opened->getNextRecord(&set), GDbFieldTypeMismatch);
  EXPECT_EQ(opened->getNextRecord(&set), GDbNoError);
  EXPECT_EQ(textsOf(set), (Texts{"1|a", "3|c"})) << "the set is appended to";
  EXPECT_EQ(opened->getNextRecord(&set), GDbNoError);
  EXPECT_EQ(set.getNumRecords(), 2U);
}

TEST_F(CsvTable, AFreshTablesScanStandsBehindTheFirstLine) {
  const TableOwner opened = table("1;a\n2;b\n", idName);
  GDbRecordSet set;
  EXPECT_EQ(opened->getNextRecord(&set), GDbNoError);
  EXPECT_EQ(textsOf(set), Texts{"2|b"});
}

TEST_F(CsvTable, ALookupMovesTheScan) {
  const TableOwner opened = table("1;a\n2;b\n3;c\n4;d\n", idName);
  GDbRecordSet set;
  opened->getFirstRecord(&set);
  EXPECT_EQ(opened->lookupKey(GDbKey(0, 3), &set), GDbNoError);
  EXPECT_EQ(opened->getNextRecord(&set), GDbNoError);
  EXPECT_EQ(textsOf(set), (Texts{"1|a", "3|c", "4|d"}));
  EXPECT_EQ(opened->lookupKey(GDbKey(1, "nothing"), &set), GDbNoError);
  EXPECT_EQ(opened->getNextRecord(&set), GDbNoError);
  EXPECT_EQ(set.getNumRecords(), 3U) << "an index build leaves the stream at its end";
}

TEST_F(CsvTable, LooksUpByAnyCombinationOfTypesAndKeys) {
  const GDbStructure structure = structureOf(
      {{"i", GDbFieldInt}, {"u", GDbFieldUInt}, {"f", GDbFieldFloat}, {"s", GDbFieldString}});
  const TableOwner opened =
      table("-1;4294967295;0.5;a\n2;2;-0.5;B\n2;3;1e300;B\n4;4;0;\n", structure);
  const struct {
    std::vector<GDbKey> keys;
    Texts found;
  } rows[] = {
      {{GDbKey(0, 2)}, {"2|2|-0.5|B", "2|3|1e+300|B"}},
      {{GDbKey(0, 2U)}, {"2|2|-0.5|B", "2|3|1e+300|B"}},
      {{GDbKey(0, 4294967295U)}, {"-1|4294967295|0.5|a"}},
      {{GDbKey(1, -1)}, {"-1|4294967295|0.5|a"}},
      {{GDbKey(2, 0.5)}, {"-1|4294967295|0.5|a"}},
      {{GDbKey(2, -0.5)}, {"2|2|-0.5|B"}},
      {{GDbKey(2, -0.0)}, {"4|4|0|"}},
      {{GDbKey(3, "B")}, {"2|2|-0.5|B", "2|3|1e+300|B"}},
      {{GDbKey(3, "b")}, {}},
      {{GDbKey(3, "")}, {"4|4|0|"}},
      {{GDbKey(0, 2), GDbKey(3, "B"), GDbKey(1, 3)}, {"2|3|1e+300|B"}},
      {{GDbKey(3, "B"), GDbKey(0, 2)}, {"2|2|-0.5|B", "2|3|1e+300|B"}},
      {{GDbKey(0, 2), GDbKey(3, "a")}, {}},
      {{GDbKey(0, 2.0)}, {}},
      {{GDbKey(0, "2")}, {}},
      {{GDbKey(2, 0)}, {}},
      {{GDbKey(3, 0)}, {}},
      {{GDbKey()}, {}},
  };
  for (const auto& row : rows) {
    GDbRecordSet set;
    EXPECT_EQ(opened->lookupKeys(row.keys.data(), static_cast<int>(row.keys.size()), &set),
              GDbNoError);
    EXPECT_EQ(textsOf(set), row.found);
  }
  GDbRecordSet set;
  EXPECT_EQ(opened->lookupKey(GDbKey(-1, 2), &set), GDbInvalidArgument);
  EXPECT_EQ(opened->lookupKey(GDbKey(4, 2), &set), GDbInvalidArgument);
}

TEST_F(CsvTable, EveryRecordHasNoKeysAtAll) {
  const TableOwner opened = table("1;a\n2;b\n", idName);
  for (const int count : {0, -1}) {
    GDbRecordSet set;
    EXPECT_EQ(opened->lookupKeys(nullptr, count, &set), GDbNoError);
    EXPECT_EQ(textsOf(set), (Texts{"1|a", "2|b"})) << count;
  }
}

TEST_F(CsvTable, ABadLineStopsAnIndexBuildAndNoIndexIsKept) {
  const TableOwner opened = table("1;a\nx;b\n", idName);
  GDbRecordSet set;
  EXPECT_EQ(opened->lookupKey(GDbKey(0, 1), &set), GDbFieldTypeMismatch);
  EXPECT_EQ(opened->lookupKey(GDbKey(0, 1), &set), GDbFieldTypeMismatch) << "built again";
  EXPECT_EQ(set.getNumRecords(), 0U);
}

TEST_F(CsvTable, AFileThatShrankIsAnInternalError) {
  const TableOwner opened = table("1;a\n2;b\n", idName);
  GDbRecordSet set;
  EXPECT_EQ(opened->lookupKey(GDbKey(0, 2), &set), GDbNoError);
  std::filesystem::resize_file(dir / "t.csv", 4);
  EXPECT_EQ(opened->lookupKey(GDbKey(0, 2), &set), GDbInternalError);
}

TEST_F(CsvTable, FieldIdsFollowTheStructure) {
  GDbStructure loose(true, 4);
  loose.appendField(field("NAME", GDbFieldString));
  const TableOwner opened = table("x\n", loose);
  int id = -1;
  EXPECT_EQ(opened->getFieldId("names", &id), GDbNoError);
  EXPECT_EQ(id, 0);
  EXPECT_EQ(opened->getFieldId("nam", &id), GDbInvalidFieldName);
}

TEST_F(CsvTable, ClosingTheDatabaseLeavesItsTablesWorking) {
  const TableOwner opened = table("1;a\n", idName);
  EXPECT_EQ(database->closeDatabase(), GDbNoError);
  EXPECT_EQ(database->closeDatabase(), GDbNoError);
  EXPECT_TRUE(opened->isTableOpen());
  EXPECT_EQ(scan(opened.get()), Texts{"1|a"});
}

TEST_F(CsvTable, AClosedDatabaseLooksForItsTablesInTheRoot) {
  dir.write("t.csv", "1;a\n");
  database = open();
  EXPECT_EQ(database->closeDatabase(), GDbNoError);
  GDbTable* none = nullptr;
  EXPECT_EQ(database->openTable("t", &idName, &none), GDbInvalidTableName);
  const std::string fromRoot = dir.path().substr(1) + "/t";
  EXPECT_EQ(scan(openTable(database, fromRoot, &idName).get()), Texts{"1|a"});
}

TEST_F(CsvTable, HandsOutSingleBlockRecordsThatOutliveTheTable) {
  GDbRecordSet set;
  {
    const TableOwner opened = table("1;some text\n", idName);
    opened->getFirstRecord(&set);
  }
  EXPECT_EQ(textsOf(set), Texts{"1|some text"});
}

TEST_F(CsvTable, TriesItsSourcesInOrder) {
  dir.write("t.csv", "1;file\n");
  dir.write("broken.zip", "this is no archive");
  const struct {
    const char* options;
    GDbStatus status;
  } rows[] = {
      {"", GDbNoError},
      {"?", GDbNoError},
      {"?order=", GDbNoError},
      {"?order=files", GDbNoError},
      {"?order=FILES", GDbInvalidTableName},
      {"?order=nosuch", GDbInvalidTableName},
      {"?order=nosuch,files", GDbNoError},
      {"?order=zip", GDbInvalidTableName},
      {"?zipfile=broken.zip;order=zip,files", GDbNoError},
      {"?zipfile=broken.zip;order=zip", GDbInvalidTableName},
      {"?zipfile=nosuch.zip;order=zip", GDbInvalidTableName},
      {"?other=1;order=files", GDbNoError},
  };
  for (const auto& row : rows) {
    CaptureOutput quiet;
    const DatabaseOwner opened = open(row.options);
    GDbTable* result = nullptr;
    EXPECT_EQ(opened->openTable("t", &idName, &result), row.status) << row.options;
    delete result;
  }
}

TEST_F(CsvTable, SurvivesAHugeLineOfQuotesAndAnyBytes) {
  std::string bytes = "1;\"" + std::string(3 << 20, 'x') + ";;;";
  GDbRecordSet set;
  {
    const TableOwner opened = table(bytes, idName);
    EXPECT_EQ(opened->getFirstRecord(&set), GDbNoError);
    EXPECT_EQ(std::string(set.getRecord(0)->getStringField(1)).size(), bytes.size() - 3);
  }
  bytes.clear();
  for (int c = 1; c < 256; ++c) bytes += static_cast<char>(c);
  const TableOwner opened = table(bytes, text);
  GDbStatus status = GDbNoError;
  EXPECT_EQ(scan(opened.get(), &status).size(), 3U) << "LF and CR end lines";
}

// What stands behind a NUL byte cannot be told in a text, and must not be lost.
TEST_F(CsvTable, ANulByteIsDamageWhereverARecordIsRead) {
  const std::string lines = "1;one\n" + std::string("2;t\0wo\n", 7) + "3;three\n";
  const TableOwner opened = table(lines, idName);
  GDbStatus status = GDbNoError;
  EXPECT_EQ(scan(opened.get(), &status), Texts{"1|one"});
  EXPECT_EQ(status, GDbFieldTypeMismatch);
  GDbRecordSet set;
  EXPECT_EQ(opened->getNextRecord(&set), GDbNoError) << "the scan goes on behind the line";
  EXPECT_EQ(textsOf(set), Texts{"3|three"});
  EXPECT_EQ(opened->lookupKey(GDbKey(1, "three"), &set), GDbFieldTypeMismatch)
      << "an index would have left the row out";
  dir.write("bad.csv", std::string("1;t\0wo\n", 7));
  GDbTable* none = nullptr;
  EXPECT_EQ(database->openTable("bad", &idName, &none), GDbFieldTypeMismatch);
  dir.write("more.csv", std::string("1;two;\0\n", 8));
  EXPECT_EQ(scan(openTable(database, "more", &idName).get()), Texts{"1|two"})
      << "what stands behind the last column is not looked at";
}

TEST_F(CsvTable, ReadsAsManyColumnsAsTheStructureHas) {
  GDbStructure wide;
  std::string line;
  for (int i = 0; i < 65536; ++i) {
    wide.appendField(field("c" + std::to_string(i), GDbFieldInt));
    line += std::to_string(i) + ";";
  }
  const TableOwner opened = table(line + "\n", wide);
  GDbRecordSet set;
  EXPECT_EQ(opened->getFirstRecord(&set), GDbNoError);
  EXPECT_EQ(set.getRecord(0)->getIntField(65535), 65535);
}

TEST_F(CsvTable, TheExampleOfItsFormatPageReadsAsThePageSays) {
  const GDbStructure three =
      structureOf({{"a", GDbFieldInt}, {"b", GDbFieldString}, {"c", GDbFieldString}});
  EXPECT_EQ(scan(table(hexExampleOf("csv.md"), three).get()), (Texts{"1|a;b|c\"d", "-2|x|"}));
}

// Random tables against a multimap: every key finds its lines in file order.
TEST_F(CsvTable, LookupsAgreeWithAModelOnRandomTables) {
  std::mt19937 random(99);
  for (int round = 0; round < 20; ++round) {
    std::string bytes;
    std::map<std::pair<int, std::string>, Texts> model;
    for (int row = 0; row < 300; ++row) {
      const int id = static_cast<int>(random() % 40) - 20;
      const std::string name(1, static_cast<char>('a' + random() % 3));
      bytes += std::to_string(id) + ";" + name + (random() % 2 != 0 ? "\r\n" : "\n");
      model[{id, name}].push_back(std::to_string(id) + "|" + name);
    }
    const TableOwner opened = table(bytes, idName);
    for (int id = -21; id <= 21; ++id) {
      for (const char* name : {"a", "b", "c", "d"}) {
        const GDbKey keys[] = {GDbKey(1, name), GDbKey(0, id)};
        GDbRecordSet set;
        ASSERT_EQ(opened->lookupKeys(keys, 2, &set), GDbNoError);
        const auto expected = model.find({id, name});
        ASSERT_EQ(textsOf(set), expected == model.end() ? Texts{} : expected->second);
      }
    }
  }
}

// Cut and changed at every byte, a small table gives records or a status.
TEST_F(CsvTable, EveryTruncationAndMutationEndsInAStatus) {
  const std::string good = "1;\"a;b\"\r\n-2;\"c\"\"d\"\n3;e\n";
  const auto readAll = [&](const std::string& bytes) {
    GDbStatus status = GDbNoError;
    const TableOwner opened = table(bytes, idName, &status);
    if (opened == nullptr) return;
    for (int i = 0; i < 10; ++i) {
      GDbRecordSet set;
      static_cast<void>(opened->getNextRecord(&set));
      static_cast<void>(opened->lookupKey(GDbKey(0, 3), &set));
    }
  };
  for (std::size_t cut = 0; cut < good.size(); ++cut) readAll(good.substr(0, cut));
  for (std::size_t at = 0; at < good.size(); ++at)
    for (const char c : {'\0', ';', '"', '\n', '\r', 'x', '\xff'}) {
      std::string changed = good;
      changed[at] = c;
      readAll(changed);
    }
}

}  // namespace
