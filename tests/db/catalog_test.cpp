// SPDX-License-Identifier: MIT
// What the conformance suite does not ask of every catalog: the registry, and
// what is special about SQLite and CSV.
#include "loomkit/db/catalog.h"

#include <algorithm>

#include "loomkit/archive/zip/zip_writer.h"
#include "loomkit/db/csv/csv_inference.h"
#include "tests/db/db_fixture.h"

namespace {

using namespace loomkit::testing;
using Texts = std::vector<std::string>;

// "name", or "name (view)".
Texts listed(GDbDatabase* database) {
  std::vector<GDbCatalog::Table> tables;
  EXPECT_EQ(GDbCatalog::listTables(database, &tables), GDbNoError);
  Texts texts;
  for (const GDbCatalog::Table& table : tables)
    texts.push_back(table.name + (table.kind == GDbCatalog::Kind::view ? " (view)" : ""));
  return texts;
}

// "name type declared", with " key" and " not null" where it is so.
Texts columnsOf(const GDbCatalog::Description& description) {
  Texts texts;
  EXPECT_EQ(description.columns.size(), description.structure.getFields().size());
  for (std::size_t i = 0; i < description.columns.size(); ++i) {
    const GDbField& field = description.structure.getField(static_cast<int>(i));
    const GDbCatalog::Column& column = description.columns[i];
    texts.push_back(field.getName() + " " + std::to_string(field.getType()) + " " +
                    column.declaredType + (field.isPrimKey() ? " key" : "") +
                    (column.nullable ? "" : " not null"));
  }
  return texts;
}

// --- the registry ---

// A database of the test's own, with one table called "only".
class OwnDatabase : public GDbDatabase {
 public:
  OwnDatabase() : GDbDatabase("own:x") {}
  GDbStatus openTable(const std::string&, const GDbStructure*, GDbTable**) override {
    return GDbInvalidTableName;
  }
  GDbStatus createTable(const std::string&, const GDbStructure*, GDbTable**) override {
    return GDbCreateTableNotSupported;
  }
  GDbStatus deleteTable(const std::string&) override { return GDbDeleteTableNotSupported; }
  GDbStatus failure = GDbNoError;
};

class OwnCatalog : public GDbCatalog {
 protected:
  [[nodiscard]] bool serves(const GDbDatabase& database) const override {
    return dynamic_cast<const OwnDatabase*>(&database) != nullptr;
  }
  GDbStatus appendTables(GDbDatabase* database, std::vector<Table>* tables) const override {
    tables->push_back({"z", Kind::view});
    tables->push_back({"only", Kind::table});
    return static_cast<OwnDatabase*>(database)->failure;
  }
  GDbStatus describe(GDbDatabase* database, const std::string& name,
                     Description* description) const override {
    description->structure.appendField(field(name, GDbFieldInt));
    description->columns.push_back({"number", false});
    return static_cast<OwnDatabase*>(database)->failure;
  }
};

class OwnDatabaseCatalog : public ::testing::Test {
 protected:
  OwnDatabaseCatalog() {
    // A catalog lives to the end of the process.
    static OwnCatalog* const registered = [] {
      auto* catalog = new OwnCatalog;
      GDbCatalog::registerCatalog(catalog);
      return catalog;
    }();
    static_cast<void>(registered);
  }
  OwnDatabase database;
};

TEST_F(OwnDatabaseCatalog, IsAskedForItsDatabaseAndItsTablesAreSorted) {
  EXPECT_EQ(listed(&database), (Texts{"only", "z (view)"}));
  GDbCatalog::Description description;
  EXPECT_EQ(GDbCatalog::describeTable(&database, "only", &description), GDbNoError);
  EXPECT_EQ(columnsOf(description), Texts{"only 1 number not null"});
  EXPECT_FALSE(description.inferred);
}

TEST_F(OwnDatabaseCatalog, AFailureLeavesNothing) {
  database.failure = GDbIoError;
  std::vector<GDbCatalog::Table> tables(3);
  EXPECT_EQ(GDbCatalog::listTables(&database, &tables), GDbIoError);
  EXPECT_TRUE(tables.empty());
  GDbCatalog::Description description;
  EXPECT_EQ(GDbCatalog::describeTable(&database, "only", &description), GDbIoError);
  EXPECT_TRUE(description.columns.empty());
  EXPECT_EQ(description.structure.getNumFields(), 0);
}

TEST(GDbCatalogTest, WithoutACatalogTheTypeIsUnknown) {
  class Plain : public GDbDatabase {
   public:
    Plain() : GDbDatabase("plain:x") {}
    GDbStatus openTable(const std::string&, const GDbStructure*, GDbTable**) override {
      return GDbInvalidTableName;
    }
    GDbStatus createTable(const std::string&, const GDbStructure*, GDbTable**) override {
      return GDbCreateTableNotSupported;
    }
    GDbStatus deleteTable(const std::string&) override { return GDbDeleteTableNotSupported; }
  } database;
  std::vector<GDbCatalog::Table> tables;
  GDbCatalog::Description description;
  EXPECT_EQ(GDbCatalog::listTables(&database, &tables), GDbInvalidTypeId);
  EXPECT_EQ(GDbCatalog::describeTable(&database, "t", &description), GDbInvalidTypeId);
}

TEST(GDbCatalogTest, ANullPointerIsAnInvalidArgument) {
  OwnDatabase database;
  std::vector<GDbCatalog::Table> tables;
  GDbCatalog::Description description;
  EXPECT_EQ(GDbCatalog::listTables(nullptr, &tables), GDbInvalidArgument);
  EXPECT_EQ(GDbCatalog::listTables(&database, nullptr), GDbInvalidArgument);
  EXPECT_EQ(GDbCatalog::describeTable(nullptr, "t", &description), GDbInvalidArgument);
  EXPECT_EQ(GDbCatalog::describeTable(&database, "t", nullptr), GDbInvalidArgument);
}

// --- SQLite ---

class SqliteCatalog : public ::testing::Test {
 protected:
  void run(const std::string& statement) {
    GSqlQuery query(sqlOf(database));
    EXPECT_EQ(query.exec(statement), GDbNoError) << statement;
  }
  GDbCatalog::Description describe(const std::string& name) {
    GDbCatalog::Description description;
    EXPECT_EQ(GDbCatalog::describeTable(database.get(), name, &description), GDbNoError) << name;
    return description;
  }

  ScratchDirectory dir;
  DatabaseOwner database = openDb("sqlite3:" + dir / "t.db");
};

TEST_F(SqliteCatalog, ListsTablesAndViews) {
  EXPECT_EQ(listed(database.get()), Texts{});
  run("CREATE TABLE parts (id INTEGER);");
  run("CREATE TABLE \"a; \"\"b\"\"\" (id INTEGER);");
  run("CREATE VIEW cheap AS SELECT id FROM parts;");
  run("CREATE INDEX i ON parts (id);");
  EXPECT_EQ(listed(database.get()), (Texts{"a; \"b\"", "cheap (view)", "parts"}));
}

TEST_F(SqliteCatalog, TellsDeclaredTypesKeysAndNullability) {
  run("CREATE TABLE t (id INTEGER PRIMARY KEY, name VARCHAR(20) NOT NULL, price REAL,"
      " day DATE, data BLOB, any);");
  EXPECT_EQ(columnsOf(describe("t")),
            (Texts{"id 1 INTEGER key", "name 4 VARCHAR(20) not null", "price 3 REAL", "day 0 DATE",
                   "data 5 BLOB", "any 0 "}));
  EXPECT_FALSE(describe("t").inferred);
  EXPECT_EQ(describe("t").structure.getFieldId("NAME"), 1) << "letter case does not count";
}

TEST_F(SqliteCatalog, DescribesViewsAndTablesWithOddNames) {
  run("CREATE TABLE \"a; \"\"b\"\"\" (\"c d\" TEXT);");
  run("CREATE VIEW v AS SELECT \"c d\" AS x FROM \"a; \"\"b\"\"\";");
  EXPECT_EQ(columnsOf(describe("a; \"b\"")), Texts{"c d 4 TEXT"});
  EXPECT_EQ(columnsOf(describe("v")), Texts{"x 4 TEXT"});
}

TEST_F(SqliteCatalog, TellsTheIndexesThatAGDbIndexCanTell) {
  run("CREATE TABLE t (a INTEGER, b TEXT, c TEXT UNIQUE, PRIMARY KEY (a, b));");
  run("CREATE UNIQUE INDEX one ON t (b, a);");
  run("CREATE INDEX two ON t (c DESC);");
  run("CREATE INDEX partial ON t (a) WHERE a > 1;");
  run("CREATE INDEX expression ON t (a, b || c);");
  const GDbCatalog::Description description = describe("t");
  Texts texts;
  for (const GDbIndex& index : description.structure.getIndices())
    texts.push_back(index.getName() + " " + index.getColumns() + (index.isUnique() ? " u" : "") +
                    (index.isDescending() ? " d" : ""));
  std::sort(texts.begin(), texts.end());
  EXPECT_EQ(texts, (Texts{"one b,a u", "sqlite_autoindex_t_1 c u", "two c d"}));
}

TEST_F(SqliteCatalog, SaysWhatIsNotThere) {
  GDbCatalog::Description description;
  EXPECT_EQ(GDbCatalog::describeTable(database.get(), "nosuch", &description), GDbInvalidTableName);
  database->closeDatabase();
  std::vector<GDbCatalog::Table> tables;
  EXPECT_EQ(GDbCatalog::listTables(database.get(), &tables), GDbNotOpen);
  EXPECT_EQ(GDbCatalog::describeTable(database.get(), "t", &description), GDbNotOpen);
}

// --- CSV ---

TEST(CsvCatalog, ListsFilesAndMembersOfTheArchiveOnce) {
  const ScratchDirectory dir;
  dir.write("b.csv", "1\n");
  dir.write("a.csv", "1\n");
  dir.write("a.CSV", "1\n");
  dir.write(".csv", "1\n");
  dir.write("a.csv.bak", "1\n");
  std::filesystem::create_directory(dir / "folder.csv");
  {
    GZipWriter writer;
    ASSERT_TRUE(writer.open(dir / "t.zip"));
    for (const char* name : {"a.csv", "sub/c.csv", "d.txt"})
      ASSERT_TRUE(writer.writeEntry(name, "1;2\n", 4));
    ASSERT_TRUE(writer.close());
  }
  EXPECT_EQ(listed(openDb("csv:" + dir.path()).get()), (Texts{"a", "b"}));
  EXPECT_EQ(listed(openDb("csv:" + dir.path() + "?zipfile=t.zip").get()),
            (Texts{"a", "b", "sub/c"}));
  EXPECT_EQ(listed(openDb("csv:" + dir.path() + "?zipfile=t.zip;order=zip").get()),
            (Texts{"a", "sub/c"}));
  EXPECT_EQ(listed(openDb("csv:" + dir.path() + "?zipfile=nosuch.zip").get()), (Texts{"a", "b"}))
      << "an archive that cannot be read is passed over, as it is when a table is opened";
  const DatabaseOwner both = openDb("csv:" + dir.path() + "?zipfile=t.zip");
  GDbCatalog::Description description;
  EXPECT_EQ(GDbCatalog::describeTable(both.get(), "sub/c", &description), GDbNoError);
  EXPECT_EQ(columnsOf(description), (Texts{"c1 1  not null", "c2 1  not null"}));
  EXPECT_TRUE(description.inferred);
}

TEST(CsvCatalog, SaysWhatIsNotThere) {
  const ScratchDirectory dir;
  const DatabaseOwner database = openDb("csv:" + dir.path());
  GDbCatalog::Description description;
  std::vector<GDbCatalog::Table> tables;
  EXPECT_EQ(GDbCatalog::describeTable(database.get(), "nosuch", &description), GDbInvalidTableName);
  std::filesystem::remove(dir.path());
  EXPECT_EQ(GDbCatalog::listTables(database.get(), &tables), GDbCantOpenDirectory);
  database->closeDatabase();
  EXPECT_EQ(GDbCatalog::listTables(database.get(), &tables), GDbNotOpen);
  EXPECT_EQ(GDbCatalog::describeTable(database.get(), "nosuch", &description), GDbNotOpen);
}

// The types of the inferred columns, a letter each; "?" and a status on failure.
std::string inferred(const std::string& text) {
  GDbStructure structure;
  const GDbStatus status =
      loomkit::inferCsvStructure(std::make_unique<std::istringstream>(text), &structure);
  if (status != GDbNoError) return std::string("? ") + gDbStrError(status);
  std::string types;
  for (const GDbField& column : structure.getFields()) types += "-IUFSB"[column.getType()];
  return types;
}

TEST(CsvInference, TakesTheNarrowestTypeThatHoldsEveryValue) {
  const struct {
    const char* text;
    const char* types;
  } rows[] = {
      {"", "I"},
      {"1\n2\n", "I"},
      {"1\n2.5\n", "F"},
      {"2.5\n1\n", "F"},
      {"1\nx\n2\n", "S"},
      {"1;2.5;x\n", "IFS"},
      {"007\n", "S"},
      {"0\n-0\n", "I"},
      {"-07\n", "S"},
      {"2147483647\n-2147483648\n", "I"},
      {"2147483648\n", "S"},
      {"1e3\n", "F"},
      {"01.5\n", "S"},
      {"0.5\n", "F"},
      {"nan\n", "S"},
      {"1 \n", "S"},
      {"\"1\"\n", "I"},
      {"\"1\" ;2\n", "II"},
      {"1;2\n3\n", "IS"},
      {"1\n2;3\n", "IS"},
      {"1;2;\n", "II"},
      {"a;;;\n", "S"},
      {";;x\n", "SSS"},
      {"1\n\n2\n", "S"},
      {"1;2\n\n3;4\n", "II"},
      {"1;2\n   \n3;4\n", "II"},
      {"\n\n", "S"},
      {"1\r\n2\r\n", "I"},
      {"1;2\r3;4", "II"},
      {"\"a;b\n1;2;3\n", "SSS"},
      {"\"a\"\"b\";1\n", "SI"},
      {"\"a\"x;1\n", "? field type mismatch"},
      {"1;2\n\"a\"x\n", "? field type mismatch"},
  };
  for (const auto& row : rows) EXPECT_EQ(inferred(row.text), row.types) << row.text;
  EXPECT_EQ(inferred(std::string("1;\0;2\n", 7)), "? field type mismatch");
}

TEST(CsvInference, BoundsTheColumns) {
  EXPECT_EQ(inferred("1" + std::string(70000, ';') + "2\n").size(), 70001U);
  EXPECT_EQ(inferred("1" + std::string(loomkit::mostInferredColumns - 1, ';') + "\n"), "I");
  EXPECT_EQ(inferred("1" + std::string(loomkit::mostInferredColumns, ';') + "\n"),
            "? too much data for single table row");
}

TEST(CsvInference, AStreamThatBreaksIsAnIoError) {
  auto broken = std::make_unique<std::istringstream>("1;2\n");
  broken->setstate(std::ios::badbit);
  GDbStructure structure;
  EXPECT_EQ(loomkit::inferCsvStructure(std::move(broken), &structure), GDbIoError);
  EXPECT_EQ(structure.getNumFields(), 0);
}

}  // namespace
