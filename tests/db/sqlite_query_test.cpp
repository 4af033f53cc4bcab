// SPDX-License-Identifier: MIT
// The states of a SQLite query, its getters and its records.
#include "loomkit/db/sqlite/sqlite3_database.h"

#include <cstring>
#include <random>

#include "loomkit/db/record_access.h"
#include "loomkit/db/sqlite/declared_type.h"
#include "loomkit/db/sqlite/result_code.h"
#include "tests/db/db_fixture.h"

namespace {

using namespace loomkit::testing;

class SqliteQuery : public ::testing::Test {
 protected:
  // An executed query.
  GSqlQuery exec(const std::string& statement) {
    GSqlQuery query(sql, statement);
    EXPECT_EQ(query.exec(), GDbNoError) << query.getLastError().getText();
    return query;
  }

  ScratchDirectory dir;
  DatabaseOwner database = openDb("sqlite3:" + dir.path() + "/q.db");
  GSqlDatabaseImpl* sql = sqlOf(database);
  const std::string three = "SELECT 10 UNION SELECT 20 UNION SELECT 30;";
};

TEST_F(SqliteQuery, IsInactiveUntilItIsExecuted) {
  GSqlQuery query(sql, three);
  int value = 0;
  EXPECT_EQ(query.first(), GDbQueryNotActive);
  EXPECT_EQ(query.next(), GDbQueryNotActive);
  EXPECT_EQ(query.seek(0, false), GDbQueryNotActive);
  EXPECT_EQ(query.getInt(0, &value), GDbNotPositioned);
  EXPECT_EQ(query.getNumRowsAffected(), -1);
  EXPECT_EQ(query.getLastError().getStatus(), GDbQueryNotActive);
  EXPECT_EQ(query.getSize(), -1);
  EXPECT_EQ(query.reset(), GDbNoError);
  EXPECT_TRUE(query.isSelect());
}

TEST_F(SqliteQuery, TheRowOfExecBecomesCurrentByFirstOrNext) {
  GSqlQuery query = exec(three);
  EXPECT_FALSE(query.isValid());
  EXPECT_EQ(query.next(), GDbNoError);
  int value = 0;
  EXPECT_EQ(query.getInt(0, &value), GDbNoError);
  EXPECT_EQ(value, 10);
  EXPECT_EQ(query.first(), GDbNoError) << "stays on it";
  EXPECT_EQ(query.next(), GDbNoError);
  EXPECT_EQ(query.first(), GDbScrollBackNotSupported);
  EXPECT_EQ(query.next(), GDbNoError);
  EXPECT_EQ(query.next(), GDbNoMoreRecords);
  EXPECT_EQ(query.next(), GDbNoMoreRecords);
  EXPECT_EQ(query.first(), GDbScrollBackNotSupported);
  EXPECT_FALSE(query.isValid());
  EXPECT_TRUE(query.isActive());
  EXPECT_EQ(query.getInt(0, &value), GDbNotPositioned);
  EXPECT_EQ(query.exec(), GDbNoError) << "starts anew";
  EXPECT_EQ(query.first(), GDbNoError);
  EXPECT_EQ(query.reset(), GDbNoError);
  EXPECT_FALSE(query.isActive());
  EXPECT_FALSE(query.isValid());
}

TEST_F(SqliteQuery, AnEmptyResultHasNoMoreRecords) {
  GSqlQuery query = exec("SELECT 1 WHERE 0;");
  EXPECT_EQ(query.first(), GDbNoMoreRecords);
  EXPECT_EQ(query.next(), GDbNoMoreRecords);
  EXPECT_EQ(query.seek(0, false), GDbNoMoreRecords);
  EXPECT_EQ(query.seek(0, true), GDbNoMoreRecords);
  EXPECT_EQ(query.seek(-1, false), GDbScrollBackNotSupported);
  EXPECT_EQ(query.getRecord(), nullptr);
}

TEST_F(SqliteQuery, AStatementWithoutColumnsHasNoResult) {
  exec("CREATE TABLE t (a INTEGER);");
  GSqlQuery query = exec("INSERT INTO t VALUES (1), (2), (3);");
  EXPECT_FALSE(query.isSelect());
  EXPECT_EQ(query.getNumRowsAffected(), 3);
  EXPECT_EQ(query.first(), GDbNoResult);
  EXPECT_EQ(query.next(), GDbNoResult);
  EXPECT_EQ(query.seek(0, false), GDbNoResult);
  EXPECT_EQ(query.getSize(), -1);
  EXPECT_EQ(query.getLastError().getStatus(), GDbNoResult);
  EXPECT_EQ(query.getRecord(), nullptr);
  EXPECT_EQ(query.getLastError().getStatus(), GDbNoResult);
  EXPECT_EQ(exec("DELETE FROM t WHERE a > 99;").getNumRowsAffected(), 0);
  EXPECT_EQ(exec("DELETE FROM t WHERE a > 1;").getNumRowsAffected(), 2);
  GSqlQuery select = exec("SELECT * FROM t;");
  EXPECT_EQ(select.getNumRowsAffected(), -1);
  EXPECT_EQ(select.getLastError().getStatus(), GDbInvalidState);
  EXPECT_EQ(select.getSize(), -1);
  EXPECT_EQ(select.getLastError().getStatus(), GDbSizeNotSupported);
}

TEST_F(SqliteQuery, SeeksForwardOnly) {
  GSqlQuery query = exec(three);
  EXPECT_EQ(query.seek(0, true), GDbNoRecordNumber);
  EXPECT_EQ(query.seek(0, false), GDbNoError);
  int value = 0;
  EXPECT_EQ(query.getInt(0, &value), GDbNoError);
  EXPECT_EQ(value, 10);
  EXPECT_EQ(query.seek(0, true), GDbNoError);
  EXPECT_EQ(query.seek(2, true), GDbNoError);
  EXPECT_EQ(query.getInt(0, &value), GDbNoError);
  EXPECT_EQ(value, 30);
  EXPECT_EQ(query.seek(1, false), GDbScrollBackNotSupported);
  EXPECT_FALSE(query.isValid()) << "a refused seek leaves no current row";
  EXPECT_EQ(query.seek(2, false), GDbUnknownError);
  EXPECT_EQ(query.seek(3, false), GDbNoMoreRecords);
  EXPECT_EQ(query.seek(2147483647, true), GDbNoMoreRecords);
  GSqlQuery direct = exec(three);
  EXPECT_EQ(direct.seek(1, false), GDbNoError);
  EXPECT_EQ(direct.getInt(0, &value), GDbNoError);
  EXPECT_EQ(value, 20);
  EXPECT_EQ(direct.seek(-2147483647, true), GDbScrollBackNotSupported);
}

TEST_F(SqliteQuery, HasTheFixedAnswersOfItsDriver) {
  GSqlQuery query = exec(three);
  EXPECT_EQ(query.last(), GDbScrollBackNotSupported);
  EXPECT_EQ(query.previous(), GDbScrollBackNotSupported);
  EXPECT_EQ(query.setForwardOnly(true), GDbNoError);
  EXPECT_EQ(query.setForwardOnly(false), GDbScrollBackNotSupported);
  EXPECT_TRUE(query.isForwardOnly());
  sql->setTransactionMode(1);
  EXPECT_EQ(sql->getTransactionMode(), 3);
  EXPECT_EQ(sql->getDefaultTransactionMode(), 3);
  EXPECT_STREQ(sql->getDriverName(), "sqlite3");
  EXPECT_EQ(sql->getFeatureLevel(1), 1);
  EXPECT_EQ(sql->getFeatureLevel(0), -1);
  EXPECT_EQ(sql->getFeatureLevel(2), -1);
  EXPECT_EQ(sql->getDriverVersion() >> 20, 3U);
}

TEST_F(SqliteQuery, TellsTheNamesOfItsColumns) {
  GSqlQuery query(sql, "SELECT 1 AS \"the one\", 'x' AS x;");
  int count = -1;
  std::string name;
  EXPECT_EQ(query.getNumColumns(&count), GDbNoError);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(query.getColumnName(0, &name), GDbNoError);
  EXPECT_EQ(name, "the one");
  EXPECT_EQ(query.getColumnName(1, &name), GDbNoError);
  EXPECT_EQ(name, "x");
  EXPECT_EQ(query.getColumnName(2, &name), GDbInvalidArgument);
  EXPECT_EQ(name, "");
  EXPECT_EQ(query.getColumnName(-1, &name), GDbInvalidArgument);
  EXPECT_EQ(query.getColumnName(0, nullptr), GDbInvalidArgument);
  EXPECT_EQ(query.getNumColumns(nullptr), GDbInvalidArgument);
  GSqlQuery change(sql, "CREATE TABLE named (a);");
  EXPECT_EQ(change.getNumColumns(&count), GDbNoError);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(GSqlQuery().getNumColumns(&count), GDbNotOpen);
}

TEST_F(SqliteQuery, TellsAllBytesOfAText) {
  GSqlQuery query = exec("SELECT 'a' || char(0) || 'b' || char(0), '', 5, NULL;");
  ASSERT_EQ(query.next(), GDbNoError);
  std::string text;
  EXPECT_EQ(query.getText(0, &text), GDbNoError);
  EXPECT_EQ(text, "a");
  EXPECT_EQ(query.getWholeText(0, &text), GDbNoError);
  EXPECT_EQ(text, std::string("a\0b\0", 4));
  EXPECT_EQ(query.getWholeText(1, &text), GDbNoError);
  EXPECT_EQ(text, "");
  EXPECT_EQ(query.getWholeText(2, &text), GDbFieldTypeMismatch);
  EXPECT_EQ(query.getWholeText(3, &text), GDbColumnIsNull);
  EXPECT_EQ(query.getWholeText(0, nullptr), GDbInvalidArgument);
}

TEST_F(SqliteQuery, GettersDoNotConvert) {
  GSqlQuery query = exec("SELECT 7, 2.5, 'text', x'0102', NULL, 5000000000;");
  ASSERT_EQ(query.next(), GDbNoError);
  int number = 0;
  std::int64_t wide = 0;
  double real = 0;
  std::string text;
  const void* data = nullptr;
  unsigned size = 0;
  bool null = false;
  const auto mismatches = [&](int column, int own) {
    for (int type = 0; type < 5; ++type) {
      GDbStatus status = GDbNoError;
      switch (type) {
        case 0:
          status = query.getInt(column, &number);
          break;
        case 1:
          status = query.getDouble(column, &real);
          break;
        case 2:
          status = query.getText(column, &text);
          break;
        case 3:
          status = query.getBlob(column, &data, &size);
          break;
        default:
          status = query.getInt64(column, &wide);
      }
      const bool fits = type == own || (own == 0 && type == 4);
      const GDbStatus expected =
          own == 5 ? GDbColumnIsNull : (fits ? GDbNoError : GDbFieldTypeMismatch);
      EXPECT_EQ(status, expected) << column << " as " << type;
    }
  };
  for (int column = 0; column < 4; ++column) mismatches(column, column);
  mismatches(4, 5);
  EXPECT_EQ(query.getInt(0, &number), GDbNoError);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(query.getDouble(1, &real), GDbNoError);
  EXPECT_EQ(real, 2.5);
  EXPECT_EQ(query.getText(2, &text), GDbNoError);
  EXPECT_EQ(text, "text");
  EXPECT_EQ(query.getBlob(3, &data, &size), GDbNoError);
  ASSERT_EQ(size, 2U);
  EXPECT_EQ(std::memcmp(data, "\x01\x02", 2), 0);
  EXPECT_EQ(query.getInt64(5, &wide), GDbNoError);
  EXPECT_EQ(wide, 5000000000);
  EXPECT_EQ(query.isNull(4, &null), GDbNoError);
  EXPECT_TRUE(null);
  EXPECT_EQ(query.isNull(3, &null), GDbNoError);
  EXPECT_FALSE(null);
  EXPECT_EQ(query.isNull(6, &null), GDbInvalidArgument);
  EXPECT_EQ(query.getInt(-1, &number), GDbInvalidArgument);
  EXPECT_EQ(number, 0);
}

TEST_F(SqliteQuery, BindsEveryType) {
  GSqlQuery query(sql, "SELECT ?, ?, ?, ?, ?, ?;");
  char blob[] = "\x01\x02";
  EXPECT_EQ(query.bindInt(0, -7), GDbNoError);
  EXPECT_EQ(query.bindInt64(1, -5000000000), GDbNoError);
  EXPECT_EQ(query.bindDouble(2, 0.5), GDbNoError);
  EXPECT_EQ(query.bindText(3, "abcdef", 3, false), GDbNoError);
  EXPECT_EQ(query.bindBlob(4, blob, 2, true), GDbNoError);
  EXPECT_EQ(query.bindNull(5), GDbNoError);
  blob[0] = 'x';
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(query.next(), GDbNoError);
  const GDbRecord& record = *query.getRecord();
  EXPECT_EQ(textOf(record), std::string("-7|-705032704|0.5|abc|<\x01\x02>|"));
  EXPECT_TRUE(loomkit::RecordAccess::isNull(record, 5));
  EXPECT_EQ(query.reset(), GDbNoError);
  EXPECT_EQ(query.bindInt(6, 1), GDbInternalError);
  EXPECT_EQ(query.bindText(-1, "x", -1, true), GDbInternalError);
  EXPECT_EQ(query.getLastError().getDatabaseText(), "column index out of range");
  EXPECT_EQ(query.clearBindings(), GDbNoError);
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(query.next(), GDbNoError);
  EXPECT_EQ(textOf(*query.getRecord()), "|||||");
}

TEST_F(SqliteQuery, TheDeclaredTypeDecidesHowARecordReads) {
  exec("CREATE TABLE t (i INTEGER, s TEXT, f REAL, b BLOB, n);");
  exec("INSERT INTO t VALUES ('12ab', 5, 'x', 'text', 'free'), (NULL, NULL, NULL, NULL, NULL);");
  GSqlQuery query = exec("SELECT * FROM t;");
  ASSERT_EQ(query.next(), GDbNoError);
  int number = 0;
  EXPECT_EQ(query.getInt(0, &number), GDbFieldTypeMismatch);
  EXPECT_EQ(textOf(*query.getRecord()), "12|5|0|<text>|free");
  ASSERT_EQ(query.next(), GDbNoError);
  const GDbRecord& nulls = *query.getRecord();
  EXPECT_EQ(textOf(nulls), "0||0|<>|");
  const GDbFieldType types[] = {GDbFieldInt, GDbFieldString, GDbFieldFloat, GDbFieldBlob,
                                GDbFieldString};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(nulls.getFieldType(i), types[i]);
    EXPECT_TRUE(loomkit::RecordAccess::isNull(nulls, i));
  }
}

TEST_F(SqliteQuery, PassesUtf8Through) {
  GSqlQuery query(sql, "SELECT 'd\xc3\xa9j\xc3\xa0' || ?;");
  EXPECT_EQ(query.bindText(0, " vu \xe2\x82\xac", -1, true), GDbNoError);
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(query.next(), GDbNoError);
  std::string text;
  EXPECT_EQ(query.getText(0, &text), GDbNoError);
  EXPECT_EQ(text, "d\xc3\xa9j\xc3\xa0 vu \xe2\x82\xac");
  EXPECT_EQ(textOf(*query.getRecord()), text);
}

TEST_F(SqliteQuery, LogsATextThatCannotBeConvertedAndBindsItAsItIs) {
  GSqlQuery query(sql, "SELECT ?, hex(?);");
  const std::string broken("\xff\xfe\0z", 4);
  CaptureLog log;
  EXPECT_EQ(query.bindText(0, broken.c_str(), 4, true), GDbNoError);
  EXPECT_EQ(query.bindText(1, broken.c_str(), -1, true), GDbNoError);
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(query.next(), GDbNoError);
  EXPECT_EQ(textOf(*query.getRecord()), "\xff\xfe|FFFE");
  for (const std::string& line : log.texts())
    EXPECT_EQ(line.rfind("Failed to convert field of Sqlite3 query to UTF-8: ", 0), 0U) << line;
}

TEST_F(SqliteQuery, ChangingTheTextStartsOver) {
  GSqlQuery query = exec("SELECT 1;");
  EXPECT_EQ(query.next(), GDbNoError);
  EXPECT_EQ(query.prepare("SELECT 2;"), GDbNoError);
  EXPECT_FALSE(query.isActive());
  EXPECT_EQ(query.getStatement(), "SELECT 2;");
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(query.next(), GDbNoError);
  EXPECT_EQ(textOf(*query.getRecord()), "2");
}

TEST_F(SqliteQuery, AnUnpreparableStatementIsNoSelect) {
  const GSqlQuery query(sql, "NONSENSE;");
  EXPECT_FALSE(query.isSelect());
  GSqlQuery empty(sql, "");
  EXPECT_NE(empty.exec(), GDbNoError);
}

TEST(SqliteAffinity, TakesTheHighestRankOfAllMatches) {
  const struct {
    const char* declared;
    GDbFieldType type;
  } rows[] = {
      {"INTEGER", GDbFieldInt}, {"BIGINT", GDbFieldInt},    {"POINT", GDbFieldInt},
      {"CHARINT", GDbFieldInt}, {"int", GDbFieldInt},       {"VARCHAR(20)", GDbFieldString},
      {"clob", GDbFieldString}, {"TEXT", GDbFieldString},   {"BLOBTEXT", GDbFieldString},
      {"BLOB", GDbFieldBlob},   {"REALBLOB", GDbFieldBlob}, {"REAL", GDbFieldFloat},
      {"FLOAT", GDbFieldFloat}, {"DOUBLE", GDbFieldFloat},  {"FLOATTEXT", GDbFieldString},
      {"DATE", GDbFieldNone},   {"", GDbFieldNone},         {"NUMERIC", GDbFieldNone},
      {"IN", GDbFieldNone},     {"FLO", GDbFieldNone},      {"DoUbLe PrEcIsIoN", GDbFieldFloat},
  };
  for (const auto& row : rows)
    EXPECT_EQ(loomkit::sqliteAffinity(row.declared), row.type) << row.declared;
}

TEST(SqliteStatus, MapsEveryResultCode) {
  const struct {
    int code;
    GDbStatus status;
  } rows[] = {{0, GDbNoError},
              {100, GDbNoError},
              {101, GDbNoError},
              {1, GDbSqlError},
              {5, GDbLockFailed},
              {6, GDbTableInUse},
              {7, GDbOutOfMemory},
              {8, GDbTableReadOnly},
              {10, GDbIoError},
              {13, GDbDatabaseFull},
              {14, GDbCantOpenFile},
              {18, GDbRowTooBig},
              {19, GDbConstraintViolation},
              {20, GDbFieldTypeMismatch},
              {24, GDbInvalidLocator},
              {26, GDbInvalidLocator},
              {27, GDbUnknownError},
              {99, GDbUnknownError},
              {102, GDbUnknownError},
              {-1, GDbUnknownError},
              {266, GDbUnknownError}};
  for (const auto& row : rows) EXPECT_EQ(loomkit::sqliteStatus(row.code), row.status) << row.code;
  for (const int code : {2, 3, 4, 9, 11, 12, 15, 16, 17, 21, 22, 23, 25})
    EXPECT_EQ(loomkit::sqliteStatus(code), GDbInternalError) << code;
}

// What a NULL is read as is also a value of its own.
TEST_F(SqliteQuery, TellsAZeroFromANull) {
  exec("CREATE TABLE z (i INTEGER, f REAL, s TEXT, b BLOB, u);");
  exec("INSERT INTO z VALUES (0, 0.0, '', x'', 0), (NULL, NULL, NULL, NULL, NULL);");
  GSqlQuery query = exec("SELECT * FROM z;");
  for (const bool null : {false, true}) {
    ASSERT_EQ(query.next(), GDbNoError);
    const GDbRecord& record = *query.getRecord();
    for (int i = 0; i < 5; ++i) EXPECT_EQ(loomkit::RecordAccess::isNull(record, i), null) << i;
    EXPECT_EQ(record.getIntField(0), 0);
    EXPECT_EQ(record.getFloatField(1), 0.0);
    EXPECT_STREQ(record.getStringField(2), "");
    EXPECT_EQ(record.getFieldType(4), null ? GDbFieldString : GDbFieldInt);
  }
}

// SQLite prepares a statement anew when the table is another one. The types of
// its columns are not those of before, however often that happens unseen.
TEST_F(SqliteQuery, TheTypesOfAPreparedStatementFollowTheTable) {
  GSqlQuery query(sql, "SELECT a, b FROM t;");
  const auto make = [&](const char* a, const char* b, bool filled) {
    exec("DROP TABLE IF EXISTS t;");
    exec(std::string("CREATE TABLE t (a ") + a + ", b " + b + ");");
    if (filled) exec("INSERT INTO t VALUES (1, 2);");
  };
  const auto types = [&](int rows) {
    std::vector<int> found;
    EXPECT_EQ(query.exec(), GDbNoError);
    for (; rows > 0; --rows) {
      EXPECT_EQ(query.next(), GDbNoError);
      found = {query.getRecord()->getFieldType(0), query.getRecord()->getFieldType(1)};
    }
    EXPECT_EQ(query.reset(), GDbNoError);
    return found;
  };
  const char* const declared[] = {"INTEGER", "TEXT", "REAL", "", "BLOB"};
  const int read[] = {GDbFieldInt, GDbFieldString, GDbFieldFloat, GDbFieldInt, GDbFieldBlob};
  std::mt19937 random(7);
  for (int round = 0; round < 300; ++round) {
    const std::size_t a = random() % 5;
    const std::size_t b = random() % 5;
    // Executions that look at no row lie between those that do.
    for (auto unseen = random() % 3; unseen > 0; --unseen) {
      make(declared[a], declared[random() % 5], false);
      types(0);
    }
    make(declared[a], declared[b], true);
    // Without a type in the declaration the value's own counts; a column of
    // texts has made the number one.
    EXPECT_EQ(types(1), (std::vector<int>{read[a], read[b]})) << round;
    EXPECT_EQ(types(1), (std::vector<int>{read[a], read[b]})) << round;
  }
}

}  // namespace
