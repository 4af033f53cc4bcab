// SPDX-License-Identifier: MIT
// What every SQL driver has in common beyond its tables, run over each of
// `TestedSqlBackends`, which the includer defines in namespace loomkit::testing: the
// description of statements, parameters by name, and values that a record's getters
// cannot give. One source of a test program includes this.
#ifndef LOOMKIT_TESTS_DB_SQL_SUITE_H
#define LOOMKIT_TESTS_DB_SQL_SUITE_H

#include <limits>

#include "loomkit/db/sql/sql_description.h"
#include "loomkit/db/sql/sql_query.h"
#include "loomkit/db/table_scan.h"
#include "tests/db/conformance_backends.h"

namespace {

using namespace loomkit::testing;

template <typename Backend>
class SqlDriver : public ::testing::Test {
 protected:
  void SetUp() override {
    database = Backend::open(dir);
    sql = sqlOf(database);
    ASSERT_NE(sql, nullptr);
  }

  void run(const std::string& statement) {
    GSqlQuery query(sql);
    EXPECT_EQ(query.exec(statement), GDbNoError) << query.getLastError().getText();
  }

  // A number that a statement gives for one parameter.
  static std::int64_t onlyNumber(GSqlQuery& query) {
    std::int64_t value = -1;
    EXPECT_EQ(query.exec(), GDbNoError) << query.getLastError().getText();
    EXPECT_EQ(query.next(), GDbNoError) << query.getLastError().getText();
    EXPECT_EQ(query.getInt64(0, &value), GDbNoError) << query.getLastError().getText();
    EXPECT_EQ(query.reset(), GDbNoError);
    return value;
  }

  ScratchDirectory dir;
  DatabaseOwner database;
  GSqlDatabaseImpl* sql = nullptr;
};

struct SqlDriverNames {
  template <typename Backend>
  static std::string GetName(int) {
    return Backend::traits.name;
  }
};

TYPED_TEST_SUITE(SqlDriver, TestedSqlBackends, SqlDriverNames);

TYPED_TEST(SqlDriver, DescribesTheColumnsAndParametersOfAStatement) {
  this->run("CREATE TABLE things (id INTEGER NOT NULL, big BIGINT, name VARCHAR(20) NOT NULL)");
  GSqlQuery query(this->sql,
                  "SELECT id AS number, big, name, id + 1 AS next FROM things "
                  "WHERE id > :low AND name <> @name AND big < $high AND id <> :low AND big > ?");
  GSqlDescription about;
  ASSERT_EQ(query.describe(&about), GDbNoError) << query.getLastError().getText();
  ASSERT_EQ(about.structure.getNumFields(), 4);
  ASSERT_EQ(about.columns.size(), 4U);
  const char* const names[] = {"number", "big", "name", "next"};
  const bool nullable[] = {false, true, false, true};
  for (int i = 0; i < 4; ++i) {
    SCOPED_TRACE(names[i]);
    EXPECT_EQ(about.structure.getField(i).getName(), names[i]);
    EXPECT_EQ(about.structure.getField(i).getType(), TypeParam::columnTypes[i]);
    EXPECT_EQ(about.columns[static_cast<std::size_t>(i)].declaredType, TypeParam::declaredTypes[i]);
    EXPECT_EQ(about.columns[static_cast<std::size_t>(i)].nullable, nullable[i]);
  }
  EXPECT_EQ(about.parameters, (std::vector<std::string>{":low", "@name", "$high", ""}));
  EXPECT_FALSE(query.isActive()) << "asking does not execute it";
}

TYPED_TEST(SqlDriver, DescribesAStatementWithoutAResult) {
  this->run("CREATE TABLE things (id INTEGER)");
  GSqlQuery query(this->sql, "INSERT INTO things VALUES (:id)");
  GSqlDescription about;
  ASSERT_EQ(query.describe(&about), GDbNoError) << query.getLastError().getText();
  EXPECT_EQ(about.structure.getNumFields(), 0);
  EXPECT_TRUE(about.columns.empty());
  EXPECT_EQ(about.parameters, std::vector<std::string>{":id"});
}

TYPED_TEST(SqlDriver, DescribingAnActiveQueryLeavesItWhereItIs) {
  GSqlQuery query(this->sql, "SELECT id FROM parts ORDER BY id");
  ASSERT_EQ(query.exec(), GDbNoError);
  ASSERT_EQ(query.next(), GDbNoError);
  ASSERT_EQ(query.next(), GDbNoError);
  GSqlDescription about;
  ASSERT_EQ(query.describe(&about), GDbNoError) << query.getLastError().getText();
  EXPECT_EQ(about.structure.getNumFields(), 1);
  int id = 0;
  EXPECT_EQ(query.getInt(0, &id), GDbNoError);
  EXPECT_EQ(id, 1);
  EXPECT_EQ(query.next(), GDbNoError);
  EXPECT_EQ(query.getInt(0, &id), GDbNoError);
  EXPECT_EQ(id, 2);
}

TYPED_TEST(SqlDriver, AFailedDescriptionIsEmptyAndTellsTheDatabasesWords) {
  GSqlDescription about;
  about.parameters = {"left over"};
  GSqlQuery query(this->sql, "SELECT * FROM nowhere");
  EXPECT_NE(query.describe(&about), GDbNoError);
  EXPECT_TRUE(about.parameters.empty());
  EXPECT_NE(query.getDatabaseMessage().find("nowhere"), std::string::npos)
      << query.getDatabaseMessage();
  EXPECT_EQ(query.describe(nullptr), GDbInvalidArgument);
  EXPECT_EQ(query.getDatabaseMessage(), "") << "the database has not spoken";
  this->database->closeDatabase();
  about.parameters = {"left over"};
  EXPECT_EQ(query.describe(&about), GDbNotOpen);
  EXPECT_TRUE(about.parameters.empty());
}

TYPED_TEST(SqlDriver, BindsParametersByTheirNames) {
  this->run("CREATE TABLE things (i INTEGER, l BIGINT, f DOUBLE PRECISION, s TEXT, b " +
            std::string(TypeParam::blobType) + ", n INTEGER)");
  GSqlQuery insert(this->sql, "INSERT INTO things VALUES (:i, @l, $f, :s, :b, :n)");
  const std::string bytes("\0\xff?", 3);
  EXPECT_EQ(insert.bindInt(":i", -7), GDbNoError);
  EXPECT_EQ(insert.bindInt64("l", std::numeric_limits<std::int64_t>::min()), GDbNoError);
  EXPECT_EQ(insert.bindDouble("$f", 0.1), GDbNoError);
  EXPECT_EQ(insert.bindText("s", "o'clock"), GDbNoError);
  EXPECT_EQ(insert.bindBlob(":b", bytes), GDbNoError);
  EXPECT_EQ(insert.bindInt("n", 1), GDbNoError);
  EXPECT_EQ(insert.bindNull("n"), GDbNoError);
  ASSERT_EQ(insert.exec(), GDbNoError) << insert.getLastError().getText();
  EXPECT_EQ(insert.bindInt("i", 1), GDbQueryActive) << "as by number";
  EXPECT_EQ(insert.reset(), GDbNoError);
  EXPECT_EQ(insert.bindBlob("b", {}), GDbNoError);
  ASSERT_EQ(insert.exec(), GDbNoError) << insert.getLastError().getText();

  GSqlQuery read(this->sql, "SELECT * FROM things");
  GSqlDescription about;
  ASSERT_EQ(read.describe(&about), GDbNoError);
  ASSERT_EQ(read.exec(), GDbNoError);
  ASSERT_EQ(read.next(), GDbNoError);
  const GDbTypedRow row(*read.getRecord(), about.structure);
  EXPECT_EQ(row.getInt("i"), -7);
  EXPECT_EQ(row.getInt64("L"), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(row.getFloat("f"), 0.1);
  EXPECT_EQ(row.getString("s"), "o'clock");
  EXPECT_EQ(row.getBlob("b"), bytes);
  EXPECT_TRUE(row.isNull("n"));
  ASSERT_EQ(read.next(), GDbNoError);
  EXPECT_FALSE(GDbTypedRow(*read.getRecord(), about.structure).isNull("b")) << "empty is not NULL";
}

TYPED_TEST(SqlDriver, ANameIsOneParameterWhereverItStands) {
  GSqlQuery query(this->sql,
                  "SELECT COUNT(*) FROM parts WHERE id >= :id AND id <= :id AND id<>@other");
  int index = 9;
  EXPECT_EQ(query.getParameterIndex("other", &index), GDbNoError);
  EXPECT_EQ(index, 1);
  EXPECT_EQ(query.bindInt("id", 2), GDbNoError);
  EXPECT_EQ(query.bindInt("other", 1), GDbNoError);
  EXPECT_EQ(this->onlyNumber(query), 1);
  EXPECT_EQ(query.bindInt("other", 2), GDbNoError);
  EXPECT_EQ(this->onlyNumber(query), 0);
}

TYPED_TEST(SqlDriver, ParametersBehindANumberedOneAreCountedOn) {
  GSqlQuery query(this->sql, "SELECT COUNT(*) FROM parts WHERE id = ?2 OR id = ?1 OR id = :a");
  GSqlDescription about;
  ASSERT_EQ(query.describe(&about), GDbNoError) << query.getLastError().getText();
  EXPECT_EQ(about.parameters, (std::vector<std::string>{"?1", "?2", ":a"}));
  EXPECT_EQ(query.bindInt(1, 1), GDbNoError);
  EXPECT_EQ(query.bindInt("?1", 2), GDbNoError);
  EXPECT_EQ(query.bindInt("a", 4), GDbNoError);
  EXPECT_EQ(this->onlyNumber(query), 3);
}

TYPED_TEST(SqlDriver, MarksInQuotesAndCommentsAreNoParameters) {
  GSqlQuery query(this->sql,
                  "SELECT COUNT(*) FROM parts WHERE name <> ':a' /* :b */ AND \"id\"=:c -- :d\n"
                  "AND name <> '@e $f'");
  GSqlDescription about;
  ASSERT_EQ(query.describe(&about), GDbNoError) << query.getLastError().getText();
  EXPECT_EQ(about.parameters, std::vector<std::string>{":c"});
  EXPECT_EQ(query.bindInt("c", 4), GDbNoError);
  EXPECT_EQ(this->onlyNumber(query), 1);
}

TYPED_TEST(SqlDriver, RefusesANameThatIsNoneOrNotTheOnlyOne) {
  GSqlQuery query(this->sql, "SELECT COUNT(*) FROM parts WHERE id = :a OR id = @a OR id = ?");
  for (const char* name : {"", "b", ":", "@", ":b", "$a", "a", "?", "A"}) {
    int index = 9;
    EXPECT_EQ(query.getParameterIndex(name, &index), GDbInvalidArgument) << name;
    EXPECT_EQ(index, -1);
    EXPECT_EQ(query.bindInt(name, 1), GDbInvalidArgument) << name;
    EXPECT_EQ(query.getLastError().getStatus(), GDbInvalidArgument);
  }
  EXPECT_EQ(query.bindInt("a", 1), GDbInvalidArgument);
  EXPECT_EQ(query.getLastError().getText(),
            "invalid argument (more than one parameter is called a)");
  EXPECT_EQ(query.bindInt("b", 1), GDbInvalidArgument);
  EXPECT_EQ(query.getLastError().getText(), "invalid argument (no parameter is called b)");
  EXPECT_EQ(query.bindInt(":a", 1), GDbNoError);
  EXPECT_EQ(query.bindInt("@a", 2), GDbNoError);
  EXPECT_EQ(query.bindInt(2, 4), GDbNoError);
  EXPECT_EQ(this->onlyNumber(query), 3);
  EXPECT_EQ(query.getParameterIndex("a", nullptr), GDbInvalidArgument);
  this->database->closeDatabase();
  EXPECT_EQ(query.bindInt(":a", 1), GDbNotOpen);
  EXPECT_EQ(GSqlQuery().bindNull("a"), GDbNotOpen);
}

TYPED_TEST(SqlDriver, TypedRowsHaveIntegersOf64BitsAndNulls) {
  this->run("CREATE TABLE wide (big BIGINT, small INTEGER, txt TEXT)");
  const std::int64_t values[] = {std::numeric_limits<std::int64_t>::min(),
                                 std::numeric_limits<std::int64_t>::max(),
                                 std::int64_t{std::numeric_limits<int>::max()} + 1,
                                 std::int64_t{std::numeric_limits<int>::min()} - 1,
                                 std::numeric_limits<int>::max(),
                                 std::numeric_limits<int>::min(),
                                 0,
                                 -1,
                                 (std::int64_t{1} << 53) + 1};
  GSqlQuery insert(this->sql, "INSERT INTO wide VALUES (:big, NULL, NULL)");
  for (const std::int64_t value : values) {
    insert.reset();
    ASSERT_EQ(insert.bindInt64("big", value), GDbNoError);
    ASSERT_EQ(insert.exec(), GDbNoError);
  }
  insert.reset();
  ASSERT_EQ(insert.bindNull("big"), GDbNoError);
  ASSERT_EQ(insert.exec(), GDbNoError);

  const TableOwner table = openTable(this->database, "wide");
  GDbTableScan scan(table.get());
  std::size_t rows = 0;
  for (const GDbTypedRow& row : scan) {
    EXPECT_TRUE(row.isNull("small"));
    EXPECT_TRUE(row.isNull("txt"));
    EXPECT_EQ(row.getFieldType(0), GDbFieldInt);
    if (rows++ == std::size(values)) {
      EXPECT_TRUE(row.isNull("big"));
      EXPECT_EQ(row.getInt64("big"), std::nullopt);
      continue;
    }
    const std::int64_t value = values[rows - 1];
    EXPECT_EQ(row.getInt64("big"), value);
    EXPECT_EQ(row.getText(0), std::to_string(value));
    EXPECT_EQ(row.getNumber("big"), static_cast<double>(value));
    const bool narrow = value == static_cast<int>(value);
    EXPECT_EQ(row.getInt("big").has_value(), narrow) << value;
  }
  EXPECT_EQ(scan.getStatus(), GDbNoError);
  EXPECT_EQ(rows, std::size(values) + 1);
}

TYPED_TEST(SqlDriver, ARecordsOwnGetterGivesTheLower32Bits) {
  GSqlQuery query(this->sql);
  ASSERT_EQ(query.exec("SELECT -4294967291, 5"), GDbNoError);
  GDbRecordSet set;
  ASSERT_EQ(query.getResult(&set), GDbNoError);
  EXPECT_EQ(set.getRecord(0)->getFieldType(0), GDbFieldInt);
  EXPECT_EQ(set.getRecord(0)->getIntField(0), 5);
  EXPECT_EQ(set.getRecord(0)->getIntField(1), 5);
}

TYPED_TEST(SqlDriver, TheDatabasesWordsAreThoseOfTheLastFailure) {
  GSqlQuery query(this->sql);
  EXPECT_EQ(query.getDatabaseMessage(), "");
  EXPECT_EQ(query.exec("SELEC 1"), GDbSqlError);
  EXPECT_NE(query.getDatabaseMessage().find("syntax error"), std::string::npos);
  EXPECT_EQ(query.getLastError().getText(), "SQL error (" + query.getDatabaseMessage() + ")");
  EXPECT_EQ(GSqlQuery().getDatabaseMessage(), "");
}

}  // namespace

#endif  // LOOMKIT_TESTS_DB_SQL_SUITE_H
