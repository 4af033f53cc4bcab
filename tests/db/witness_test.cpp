// SPDX-License-Identifier: MIT
// Other programs read what the backends write, and the other way round.
#include "tests/witness.h"
#include "tests/db/db_fixture.h"

namespace {

using namespace loomkit::testing;
using Texts = std::vector<std::string>;

// The standard output of a shell command, which is to succeed.
std::string run(const std::string& command) {
  const Witnessed witnessed = runShell(command);
  EXPECT_EQ(witnessed.status, 0) << command;
  return witnessed.output;
}

TEST(DbWitness, TheSqlite3ShellReadsWhatWeWrite) {
  const ScratchDirectory dir;
  {
    const DatabaseOwner database = openDb("sqlite3:" + dir / "w.db");
    GDbStructure structure;
    structure.appendField(field("id", GDbFieldInt, true));
    structure.appendField(field("name", GDbFieldString, false, true));
    structure.appendField(field("data", GDbFieldBlob));
    GDbTable* made = nullptr;
    ASSERT_EQ(database->createTable("w", &structure, &made), GDbNoError);
    const TableOwner table(made);
    GDbRecordSet set;
    auto* record = new GDbRecord;
    record->addIntField(1);
    record->addStringField("\xc3\xa9t\xc3\xa9 'quoted'");
    record->addBlobField("\x00\xff", 2);
    set.addRecord(record);
    ASSERT_EQ(table->insertRecords(set), GDbNoError);
  }
  const std::string output = run("sqlite3 " + dir / "w.db" +
                                 " \"SELECT id, name, hex(data) FROM w; PRAGMA integrity_check;\"");
  EXPECT_EQ(output, "1|\xc3\xa9t\xc3\xa9 'quoted'|00FF\nok\n");
}

TEST(DbWitness, WeReadWhatTheSqlite3ShellWrites) {
  const ScratchDirectory dir;
  run("sqlite3 " + dir / "r.db" +
      " \"CREATE TABLE r (id INTEGER, name VARCHAR(10), f DOUBLE);"
      " INSERT INTO r VALUES (1, 'a', 0.5), (2, NULL, 1e10);\"");
  const DatabaseOwner database = openDb("sqlite3:" + dir / "r.db");
  EXPECT_EQ(scan(openTable(database, "r").get()), (Texts{"1|a|0.5", "2||1e+10"}));
}

TEST(DbWitness, WeReadWhatPythonsCsvModuleWrites) {
  const ScratchDirectory dir;
  for (const char* quoting : {"QUOTE_MINIMAL", "QUOTE_ALL", "QUOTE_NONNUMERIC"}) {
    run("python3 -c \"import csv; w = csv.writer(open('" + dir / "p.csv" +
        "', 'w', newline=''), delimiter=';', quoting=csv." + quoting +
        "); w.writerows([['a;b', 'say \\\"x\\\"'], ['', ' plain '], ['1', '-']])\"");
    const DatabaseOwner database = openDb("csv:" + dir.path());
    const GDbStructure structure = structureOf({{"a", GDbFieldString}, {"b", GDbFieldString}});
    EXPECT_EQ(scan(openTable(database, "p", &structure).get()),
              (Texts{"a;b|say \"x\"", "| plain ", "1|-"}))
        << quoting;
  }
}

TEST(DbWitness, WeReadTablesOutOfAnArchiveThatPythonMade) {
  const ScratchDirectory dir;
  dir.write("t.csv", "1;file\n");
  run("python3 -c \"import zipfile; z = zipfile.ZipFile('" + dir / "a.zip" +
      "', 'w', zipfile.ZIP_DEFLATED); z.writestr('t.csv', '1;zip\\n2;more\\n');"
      " z.writestr('only.csv', '3;only\\n'); z.close()\"");
  const GDbStructure structure = structureOf({{"id", GDbFieldInt}, {"name", GDbFieldString}});
  const struct {
    const char* options;
    const char* table;
    Texts rows;
  } rows[] = {{"?zipfile=a.zip", "t", {"1|file"}},
              {"?zipfile=a.zip", "only", {"3|only"}},
              {"?zipfile=a.zip;order=zip,files", "t", {"1|zip", "2|more"}},
              {"?order=zip,files;zipfile=a.zip", "t", {"1|zip", "2|more"}}};
  for (const auto& row : rows) {
    const DatabaseOwner database = openDb("csv:" + dir.path() + row.options);
    const TableOwner table = openTable(database, row.table, &structure);
    EXPECT_EQ(scan(table.get()), row.rows) << row.options;
    GDbRecordSet found;
    EXPECT_EQ(table->lookupKey(GDbKey(0, 2), &found), GDbNoError);
    EXPECT_EQ(found.getNumRecords(), row.rows.size() - 1);
  }
}

// Every text quoted, numbers bare, CR LF: what an office suite exports.
TEST(DbWitness, WeReadOfficeQuoting) {
  const ScratchDirectory dir;
  dir.write("o.csv", "1;\"\xc3\x84pfel; rot\";2.5\r\n2;\"12\"\" Rad\";0\r\n");
  const DatabaseOwner database = openDb("csv:" + dir.path());
  const GDbStructure structure =
      structureOf({{"id", GDbFieldInt}, {"name", GDbFieldString}, {"price", GDbFieldFloat}});
  EXPECT_EQ(scan(openTable(database, "o", &structure).get()),
            (Texts{"1|\xc3\x84pfel; rot|2.5", "2|12\" Rad|0"}));
}

GDbStructure unicodeStructure() {
  GDbStructure structure;
  for (const char* name :
       {"code", "name", "category", "combining", "bidi", "decomposition", "decimal", "digit",
        "numeric", "mirrored", "oldName", "comment", "upper", "lower", "title"})
    structure.appendField(
        field(name, std::string(name) == "combining" ? GDbFieldInt : GDbFieldString));
  return structure;
}

TEST(DbWitness, TheUnicodeTableOpensScansAndLoadsIntoSqlite) {
  const std::string unicode = "/usr/share/unicode/UnicodeData.txt";
  if (!std::filesystem::exists(unicode))
    GTEST_FAIL() << "unicode-data is not installed: run scripts/setup.sh test";
  const ScratchDirectory dir;
  std::filesystem::create_symlink(unicode, dir / "unicode.csv");
  const DatabaseOwner csv = openDb("csv:" + dir.path());
  const GDbStructure structure = unicodeStructure();
  const TableOwner source = openTable(csv, "unicode", &structure);
  GDbRecordSet found;
  ASSERT_EQ(source->lookupKey(GDbKey(0, "00E9"), &found), GDbNoError);
  ASSERT_EQ(found.getNumRecords(), 1U);
  EXPECT_STREQ(found.getRecord(0)->getStringField(1), "LATIN SMALL LETTER E WITH ACUTE");
  const GDbKey marks[] = {GDbKey(2, "Mn"), GDbKey(3, 220)};
  found.clear();
  ASSERT_EQ(source->lookupKeys(marks, 2, &found), GDbNoError);
  EXPECT_GT(found.getNumRecords(), 100U);

  found.clear();
  GDbRecordSet all;
  ASSERT_EQ(source->getFirstRecord(&all), GDbNoError);
  for (unsigned seen = 0; all.getNumRecords() > seen;) {
    seen = all.getNumRecords();
    ASSERT_EQ(source->getNextRecord(&all), GDbNoError);
  }
  EXPECT_GT(all.getNumRecords(), 34000U);

  const DatabaseOwner sqlite = openDb("sqlite3:" + dir / "unicode.db");
  GDbTable* made = nullptr;
  ASSERT_EQ(sqlite->createTable("unicode", &structure, &made), GDbNoError);
  const TableOwner target(made);
  GDbTransactionHandler* transaction = sqlite->getTransactionHandler();
  ASSERT_EQ(transaction->begin(), GDbNoError);
  ASSERT_EQ(target->insertRecords(all), GDbNoError);
  ASSERT_EQ(transaction->commit(), GDbNoError);
  ASSERT_EQ(target->lookupKey(GDbKey(0, "00E9"), &found), GDbNoError);
  ASSERT_EQ(found.getNumRecords(), 1U);
  EXPECT_STREQ(found.getRecord(0)->getStringField(12), "00C9");
}

}  // namespace
