// SPDX-License-Identifier: MIT
// Queries on a PostgreSQL server: states, parameters and types.
#include <cmath>
#include <cstring>
#include <limits>

#include "loomkit/db/record_access.h"
#include "loomkit/db/sql/sql_description.h"
#include "loomkit/db/typed_row.h"
#include "tests/db/postgresql_fixture.h"

namespace {

using namespace loomkit::testing;

using PostgresqlQuery = PostgresqlFixture;

TEST_F(PostgresqlQuery, GivesRowsOneByOne) {
  GSqlQuery query(sql, "SELECT n, 'row ' || n FROM generate_series(1, 3) AS n ORDER BY n;");
  EXPECT_EQ(query.exec(), GDbNoError) << query.getLastError().getText();
  EXPECT_TRUE(query.isActive());
  EXPECT_TRUE(query.isSelect());
  EXPECT_FALSE(query.isValid());
  for (int i = 1; i <= 3; ++i) {
    ASSERT_EQ(query.next(), GDbNoError);
    int number = 0;
    std::string text;
    EXPECT_EQ(query.getInt(0, &number), GDbNoError);
    EXPECT_EQ(query.getText(1, &text), GDbNoError);
    EXPECT_EQ(number, i);
    EXPECT_EQ(text, "row " + std::to_string(i));
  }
  EXPECT_EQ(query.next(), GDbNoMoreRecords);
  EXPECT_EQ(query.next(), GDbNoMoreRecords);
  EXPECT_EQ(query.exec(), GDbNoError) << "and again";
  EXPECT_EQ(query.first(), GDbNoError);
}

TEST_F(PostgresqlQuery, GoesThroughTheStatesOfEverySqlQuery) {
  GSqlQuery query(sql, "SELECT * FROM generate_series(0, 9);");
  EXPECT_EQ(query.next(), GDbQueryNotActive);
  EXPECT_EQ(query.first(), GDbQueryNotActive);
  EXPECT_EQ(query.seek(0, false), GDbQueryNotActive);
  EXPECT_EQ(query.getSize(), -1);
  EXPECT_EQ(query.exec(), GDbNoError);
  int number = -1;
  EXPECT_EQ(query.getInt(0, &number), GDbNotPositioned);
  EXPECT_EQ(query.seek(0, true), GDbNoRecordNumber);
  EXPECT_EQ(query.seek(0, false), GDbNoError);
  EXPECT_EQ(query.first(), GDbNoError) << "the first row still is the current one";
  EXPECT_EQ(query.seek(3, true), GDbNoError);
  EXPECT_EQ(query.getInt(0, &number), GDbNoError);
  EXPECT_EQ(number, 3);
  EXPECT_EQ(query.first(), GDbScrollBackNotSupported);
  EXPECT_EQ(query.seek(7, false), GDbNoError);
  EXPECT_EQ(query.getInt(0, &number), GDbNoError);
  EXPECT_EQ(number, 7);
  EXPECT_EQ(query.seek(2, false), GDbScrollBackNotSupported);
  EXPECT_FALSE(query.isValid());
  EXPECT_EQ(query.last(), GDbScrollBackNotSupported);
  EXPECT_EQ(query.previous(), GDbScrollBackNotSupported);
  EXPECT_EQ(query.setForwardOnly(false), GDbScrollBackNotSupported);
  EXPECT_EQ(query.setForwardOnly(true), GDbNoError);
  EXPECT_EQ(query.seek(10, false), GDbNoMoreRecords);
  EXPECT_EQ(query.seek(11, false), GDbNoMoreRecords);
  EXPECT_EQ(query.getNumRowsAffected(), -1);
  EXPECT_EQ(query.getLastError().getStatus(), GDbInvalidState);
  EXPECT_EQ(query.getSize(), -1);
  EXPECT_EQ(query.getLastError().getStatus(), GDbSizeNotSupported);
  EXPECT_EQ(query.reset(), GDbNoError);
  EXPECT_FALSE(query.isActive());
}

TEST_F(PostgresqlQuery, AnEmptyResultIsASuccessWithoutRows) {
  GSqlQuery query(sql, "SELECT 1 WHERE false;");
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(query.first(), GDbNoMoreRecords);
  EXPECT_EQ(query.next(), GDbNoMoreRecords);
  GDbRecordSet set;
  EXPECT_EQ(query.getResult(&set), GDbNoError);
  EXPECT_EQ(set.getNumRecords(), 0U);
}

TEST_F(PostgresqlQuery, AStatementWithoutColumnsTellsHowManyRowsItChanged) {
  run("CREATE TABLE t (n int)");
  GSqlQuery query(sql);
  EXPECT_EQ(query.exec("INSERT INTO t SELECT * FROM generate_series(1, 7)"), GDbNoError);
  EXPECT_EQ(query.getNumRowsAffected(), 7);
  EXPECT_FALSE(query.isSelect());
  EXPECT_EQ(query.first(), GDbNoResult);
  EXPECT_EQ(query.next(), GDbNoResult);
  EXPECT_EQ(query.seek(0, false), GDbNoResult);
  EXPECT_EQ(query.getSize(), -1);
  EXPECT_EQ(query.getLastError().getStatus(), GDbNoResult);
  EXPECT_EQ(query.exec("DELETE FROM t WHERE n > 99"), GDbNoError);
  EXPECT_EQ(query.getNumRowsAffected(), 0);
  EXPECT_EQ(query.exec("CREATE TABLE u (n int)"), GDbNoError);
  EXPECT_EQ(query.getNumRowsAffected(), 0);
  EXPECT_EQ(query.exec("  -- nothing"), GDbNoError);
  EXPECT_EQ(query.getNumRowsAffected(), 0);
  EXPECT_EQ(query.exec("INSERT INTO t VALUES (8) RETURNING n * 2"), GDbNoError);
  int doubled = 0;
  EXPECT_EQ(query.next(), GDbNoError);
  EXPECT_EQ(query.getInt(0, &doubled), GDbNoError);
  EXPECT_EQ(doubled, 16);
}

// ---- types ----

struct Typed {
  const char* expression;
  GDbFieldType type;
  const char* text;  // of the record's field
};

const Typed typedTable[] = {
    {"1::int2", GDbFieldInt, "1"},
    {"(-32768)::int2", GDbFieldInt, "-32768"},
    {"(-2147483648)::int4", GDbFieldInt, "-2147483648"},
    {"2147483647::int8", GDbFieldInt, "2147483647"},
    {"(-2147483648)::int8", GDbFieldInt, "-2147483648"},
    {"0.5::float4", GDbFieldFloat, "0.5"},
    {"(-1e300)::float8", GDbFieldFloat, "-1e+300"},
    {"'Infinity'::float8", GDbFieldFloat, "inf"},
    {"'x'::text", GDbFieldString, "x"},
    {"''::text", GDbFieldString, ""},
    {"'x'::varchar(5)", GDbFieldString, "x"},
    {"'x'::char(3)", GDbFieldString, "x  "},
    {"'x'::name", GDbFieldString, "x"},
    {"'x'::\"char\"", GDbFieldString, "x"},
    {"'abc'::bytea", GDbFieldBlob, "<abc>"},
    {"''::bytea", GDbFieldBlob, "<>"},
    {"true", GDbFieldString, "t"},
    {"false", GDbFieldString, "f"},
    {"123456789012345678901234567890.0123456789::numeric", GDbFieldString,
     "123456789012345678901234567890.0123456789"},
    {"1.50::numeric(5,2)", GDbFieldString, "1.50"},
    {"'NaN'::numeric", GDbFieldString, "NaN"},
    {"'2024-02-29'::date", GDbFieldString, "2024-02-29"},
    {"'2024-02-29 12:34:56.789'::timestamp", GDbFieldString, "2024-02-29 12:34:56.789"},
    {"'12:34:56'::time", GDbFieldString, "12:34:56"},
    {"'1 day 2 hours'::interval", GDbFieldString, "1 day 02:00:00"},
    {"'550e8400-e29b-41d4-a716-446655440000'::uuid", GDbFieldString,
     "550e8400-e29b-41d4-a716-446655440000"},
    {"'{\"a\": [1,2]}'::json", GDbFieldString, "{\"a\": [1,2]}"},
    {"'{\"a\":[1,2]}'::jsonb", GDbFieldString, "{\"a\": [1, 2]}"},
    {"array[1,2,3]", GDbFieldString, "{1,2,3}"},
    {"array['a b',NULL]", GDbFieldString, "{\"a b\",NULL}"},
    {"'192.168.0.1/24'::inet", GDbFieldString, "192.168.0.1/24"},
    {"'(1,2)'::point", GDbFieldString, "(1,2)"},
    {"'[1,5)'::int4range", GDbFieldString, "[1,5)"},
    {"row(1,'a')", GDbFieldString, "(1,a)"},
    {"4294967295::oid", GDbFieldString, "4294967295"},
};

// Alone, so that the result comes in binary where it can, and beside a column
// that makes all of it text.
TEST_F(PostgresqlQuery, ReadsEveryTypeInBinaryAndInText) {
  for (const Typed& row : typedTable) {
    for (const std::string beside : {"", ", now()"}) {
      GSqlQuery query(sql);
      ASSERT_EQ(query.exec(std::string("SELECT ") + row.expression + beside), GDbNoError)
          << row.expression;
      GDbRecord* record = nullptr;
      ASSERT_EQ(query.next(&record), GDbNoError) << row.expression;
      EXPECT_EQ(record->getFieldType(0), row.type) << row.expression << beside;
      EXPECT_EQ(textOf(*record).substr(0, std::strlen(row.text)), row.text)
          << row.expression << beside;
      record->deleteRecord();
      bool null = true;
      EXPECT_EQ(query.isNull(0, &null), GDbNoError);
      EXPECT_FALSE(null);
    }
  }
}

TEST_F(PostgresqlQuery, ANullIsAPlaceholderWithTheNullBit) {
  for (const std::string beside : {"", ", now()"}) {
    GSqlQuery query(sql);
    ASSERT_EQ(
        query.exec("SELECT NULL::int, NULL::float8, NULL::text, NULL::bytea, NULL::date" + beside),
        GDbNoError);
    GDbRecord* record = nullptr;
    ASSERT_EQ(query.next(&record), GDbNoError);
    EXPECT_EQ(textOf(*record).substr(0, 8), "0|0||<>|");
    for (int i = 0; i < 5; ++i) {
      EXPECT_TRUE(loomkit::RecordAccess::isNull(*record, i));
      bool null = false;
      EXPECT_EQ(query.isNull(i, &null), GDbNoError);
      EXPECT_TRUE(null);
    }
    record->deleteRecord();
    int number = 1;
    double real = 1;
    std::string text = "x";
    const void* bytes = this;
    unsigned size = 1;
    EXPECT_EQ(query.getInt(0, &number), GDbColumnIsNull);
    EXPECT_EQ(query.getDouble(1, &real), GDbColumnIsNull);
    EXPECT_EQ(query.getText(2, &text), GDbColumnIsNull);
    EXPECT_EQ(query.getBlob(3, &bytes, &size), GDbColumnIsNull);
  }
}

TEST_F(PostgresqlQuery, ReadsNoColumnAsWhatItIsNot) {
  GSqlQuery query(sql);
  ASSERT_EQ(query.exec("SELECT 1, 0.5::float8, 'x'::text, 'x'::bytea"), GDbNoError);
  ASSERT_EQ(query.next(), GDbNoError);
  int number = 0;
  std::int64_t wide = 0;
  double real = 0;
  std::string text;
  const void* bytes = nullptr;
  unsigned size = 0;
  bool null = false;
  EXPECT_EQ(query.getDouble(0, &real), GDbFieldTypeMismatch);
  EXPECT_EQ(query.getInt(1, &number), GDbFieldTypeMismatch);
  EXPECT_EQ(query.getInt64(2, &wide), GDbFieldTypeMismatch);
  EXPECT_EQ(query.getBlob(2, &bytes, &size), GDbFieldTypeMismatch);
  EXPECT_EQ(query.getText(3, &text), GDbFieldTypeMismatch);
  for (const int column : {-1, 4, std::numeric_limits<int>::max()}) {
    EXPECT_EQ(query.getInt(column, &number), GDbInvalidArgument);
    EXPECT_EQ(query.isNull(column, &null), GDbInvalidArgument);
  }
}

TEST_F(PostgresqlQuery, IntegersBeyond32BitsAreReadWhole) {
  for (const std::string beside : {"", ", now()"}) {
    GSqlQuery query(sql);
    ASSERT_EQ(query.exec("SELECT 9223372036854775807, -9223372036854775808" + beside), GDbNoError);
    ASSERT_EQ(query.next(), GDbNoError);
    std::int64_t wide = 0;
    EXPECT_EQ(query.getInt64(0, &wide), GDbNoError);
    EXPECT_EQ(wide, std::numeric_limits<std::int64_t>::max());
    int number = 5;
    EXPECT_EQ(query.getInt(0, &number), GDbFieldTypeMismatch);
    EXPECT_EQ(query.getLastError().getStatus(), GDbFieldTypeMismatch);
    EXPECT_NE(query.getLastError().getText().find("32 bits"), std::string::npos);
    ASSERT_NE(query.getRecord(), nullptr);
    const GDbStructure nameless;
    const GDbTypedRow row(*query.getRecord(), nameless);
    EXPECT_EQ(row.getInt64(0), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(row.getInt64(1), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(row.getInt(0), std::nullopt);
  }
}

TEST_F(PostgresqlQuery, DescribesDomainsViewsAndUnusualTypesByTheServersWords) {
  run("CREATE DOMAIN positive AS numeric(10,2) NOT NULL");
  run("CREATE TABLE t (p positive, n numeric(6,3) NOT NULL, a int[], c char(3), z timestamptz(3))");
  run("CREATE VIEW v AS SELECT n FROM t");
  GSqlQuery query(sql, "SELECT t.*, v.n AS seen, count(*) OVER () FROM t, v");
  GSqlDescription about;
  ASSERT_EQ(query.describe(&about), GDbNoError) << query.getLastError().getText();
  Texts declared;
  std::string nullable;
  for (const GDbCatalog::Column& column : about.columns) {
    declared.push_back(column.declaredType);
    nullable += column.nullable ? '1' : '0';
  }
  EXPECT_EQ(declared, (Texts{"positive", "numeric(6,3)", "integer[]", "character(3)",
                             "timestamp(3) with time zone", "numeric(6,3)", "bigint"}));
  EXPECT_EQ(nullable, "1011111") << "the view and the expression say nothing of NULL";
  EXPECT_EQ(about.structure.getField(5).getName(), "seen");
}

TEST_F(PostgresqlQuery, NamedParametersStandBesideCastsSlicesAndOperators) {
  GSqlQuery query(sql,
                  "SELECT (ARRAY[:a::int, 20, 30])[2:@b] <@ ARRAY[20, $c], "
                  "format('%s', :a::text) = '1', '{\"k\": 1}'::jsonb ?? 'k'");
  ASSERT_EQ(query.bindInt("a", 1), GDbNoError) << query.getLastError().getText();
  ASSERT_EQ(query.bindInt("b", 3), GDbNoError);
  ASSERT_EQ(query.bindInt("c", 30), GDbNoError);
  ASSERT_EQ(query.exec(), GDbNoError) << query.getLastError().getText();
  ASSERT_EQ(query.next(), GDbNoError);
  std::string truth;
  for (int column = 0; column < 3; ++column) {
    EXPECT_EQ(query.getText(column, &truth), GDbNoError);
    EXPECT_EQ(truth, "t") << column;
  }
}

// ---- parameters ----

TEST_F(PostgresqlQuery, GivesEveryValueBackAsItWasBound) {
  run("CREATE TABLE t (i int, l bigint, f float8, s text, b bytea)");
  const std::string allBytes = [] {
    std::string bytes;
    for (int c = 0; c < 256; ++c) bytes += static_cast<char>(c);
    return bytes;
  }();
  const double doubles[] = {0.1,
                            -0.0,
                            5e-324,
                            std::numeric_limits<double>::max(),
                            std::numeric_limits<double>::infinity(),
                            -std::numeric_limits<double>::infinity(),
                            1.0 / 3};
  const std::string texts[] = {"",
                               "'",
                               "''",
                               "\\",
                               "\"; DROP TABLE t; --",
                               "$1",
                               "$$",
                               "?",
                               "\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80",
                               "a\nb\tc",
                               "NULL",
                               "\x7f"};
  GSqlQuery insert(sql, "INSERT INTO t VALUES (?, ?, ?, ?, ?)");
  GSqlQuery read(sql, "SELECT * FROM t");
  for (std::size_t i = 0; i < std::size(texts); ++i) {
    const double real = doubles[i % std::size(doubles)];
    run("DELETE FROM t");
    EXPECT_EQ(insert.bindInt(0, std::numeric_limits<int>::min()), GDbNoError);
    EXPECT_EQ(insert.bindInt64(1, std::numeric_limits<std::int64_t>::min()), GDbNoError);
    EXPECT_EQ(insert.bindDouble(2, real), GDbNoError);
    EXPECT_EQ(insert.bindText(3, texts[i].c_str(), -1, true), GDbNoError);
    EXPECT_EQ(insert.bindBlob(4, const_cast<char*>(allBytes.data()), 256, true), GDbNoError);
    ASSERT_EQ(insert.exec(), GDbNoError) << insert.getLastError().getText();
    EXPECT_EQ(insert.getNumRowsAffected(), 1);
    EXPECT_EQ(insert.bindInt(0, 1), GDbQueryActive);
    EXPECT_EQ(insert.reset(), GDbNoError);

    ASSERT_EQ(read.exec(), GDbNoError);
    ASSERT_EQ(read.next(), GDbNoError);
    int number = 0;
    std::int64_t wide = 0;
    double back = 0;
    std::string text;
    const void* bytes = nullptr;
    unsigned size = 0;
    EXPECT_EQ(read.getInt(0, &number), GDbNoError);
    EXPECT_EQ(read.getInt64(1, &wide), GDbNoError);
    EXPECT_EQ(read.getDouble(2, &back), GDbNoError);
    EXPECT_EQ(read.getText(3, &text), GDbNoError);
    EXPECT_EQ(read.getBlob(4, &bytes, &size), GDbNoError);
    EXPECT_EQ(number, std::numeric_limits<int>::min());
    EXPECT_EQ(wide, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(std::memcmp(&back, &real, sizeof real), 0) << real;
    EXPECT_EQ(text, texts[i]);
    EXPECT_EQ(std::string(static_cast<const char*>(bytes), size), allBytes);
  }
}

TEST_F(PostgresqlQuery, ReadsBytesOutOfATextResultToo) {
  for (const char* output : {"hex", "escape"}) {
    run(std::string("SET bytea_output = ") + output);
    GSqlQuery query(sql);
    ASSERT_EQ(query.exec("SELECT '\\x00ff5c27'::bytea, now(), '\\x01'::bytea"), GDbNoError);
    ASSERT_EQ(query.next(), GDbNoError);
    const void* first = nullptr;
    const void* second = nullptr;
    unsigned size = 0;
    EXPECT_EQ(query.getBlob(2, &second, &size), GDbNoError);
    EXPECT_EQ(query.getBlob(0, &first, &size), GDbNoError);
    EXPECT_EQ(std::string(static_cast<const char*>(first), size), std::string("\0\xff\\'", 4));
    EXPECT_EQ(*static_cast<const char*>(second), 1) << "is still there";
  }
}

TEST_F(PostgresqlQuery, WhatIsNotBoundIsNull) {
  GSqlQuery query(sql, "SELECT ?::int IS NULL, ?::int");
  EXPECT_EQ(query.bindInt(0, 5), GDbNoError);
  EXPECT_EQ(query.bindInt(1, 6), GDbNoError);
  EXPECT_EQ(query.clearBindings(), GDbNoError);
  EXPECT_EQ(query.bindNull(1), GDbNoError);
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(query.next(), GDbNoError);
  EXPECT_EQ(textOf(*query.getRecord()), "t|0");
  EXPECT_EQ(query.reset(), GDbNoError);
  EXPECT_EQ(query.bindInt(2, 1), GDbInternalError);
  EXPECT_EQ(query.bindInt(-1, 1), GDbInternalError);
}

TEST_F(PostgresqlQuery, TakesAPieceOfATextAndRefusesNulsAndBrokenCharacters) {
  GSqlQuery query(sql, "SELECT ?::text");
  EXPECT_EQ(query.bindText(0, std::string("abcdef"), 2, 3), GDbNoError);
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(query.next(), GDbNoError);
  EXPECT_EQ(textOf(*query.getRecord()), "cde");
  EXPECT_EQ(query.reset(), GDbNoError);
  EXPECT_EQ(query.bindText(0, "a\0b", 3, true), GDbInvalidArgument);
  EXPECT_NE(query.getLastError().getText().find("NUL"), std::string::npos);
  EXPECT_EQ(query.bindText(0, "a\xff", -1, true), GDbNoError);
  EXPECT_EQ(query.exec(), GDbInvalidArgument);
  EXPECT_EQ(query.getLastError().getSqlState(), "22021");
}

TEST_F(PostgresqlQuery, BindsToColumnsOfOtherTypesByTheirText) {
  run("CREATE TABLE t (n numeric, d date, u uuid, j jsonb, a int[], s int2, b bool)");
  GSqlQuery insert(sql, "INSERT INTO t VALUES (?, ?, ?, ?, ?, ?, ?)");
  EXPECT_EQ(insert.bindText(0, "1.10", -1, true), GDbNoError);
  EXPECT_EQ(insert.bindText(1, "2024-02-29", -1, true), GDbNoError);
  EXPECT_EQ(insert.bindText(2, "550e8400-e29b-41d4-a716-446655440000", -1, true), GDbNoError);
  EXPECT_EQ(insert.bindText(3, "{\"a\": 1}", -1, true), GDbNoError);
  EXPECT_EQ(insert.bindText(4, "{1,2}", -1, true), GDbNoError);
  EXPECT_EQ(insert.bindInt(5, 7), GDbNoError);
  EXPECT_EQ(insert.bindInt(6, 1), GDbNoError);
  EXPECT_EQ(insert.exec(), GDbNoError) << insert.getLastError().getText();
  EXPECT_EQ(rowsOf("SELECT * FROM t"),
            Texts{"1.10|2024-02-29|550e8400-e29b-41d4-a716-446655440000|{\"a\": 1}|{1,2}|7|t"});
  EXPECT_EQ(insert.reset(), GDbNoError);
  EXPECT_EQ(insert.bindText(1, "yesterday or so", -1, true), GDbNoError);
  EXPECT_EQ(insert.exec(), GDbFieldTypeMismatch);
  EXPECT_EQ(insert.getLastError().getSqlState(), "22007");
}

TEST_F(PostgresqlQuery, AsksForKeysWithTheOperatorsOfQuestionMarks) {
  GSqlQuery query(sql, "SELECT '{\"a\": 1}'::jsonb ?? ?, '{\"a\": 1}'::jsonb ??| array['b', 'a']");
  EXPECT_EQ(query.bindText(0, "a", -1, true), GDbNoError);
  EXPECT_EQ(query.exec(), GDbNoError) << query.getLastError().getText();
  EXPECT_EQ(query.next(), GDbNoError);
  EXPECT_EQ(textOf(*query.getRecord()), "t|t");
}

// ---- several at a time ----

TEST_F(PostgresqlQuery, QueriesInTheMiddleOfTheirRowsDoNotDisturbEachOther) {
  run("CREATE TABLE t (n int)");
  GSqlQuery outer(sql,
                  "SELECT n, NULL::text, repeat('x', n) FROM generate_series(1, 50) n ORDER BY n");
  GSqlQuery inner(sql, "SELECT ?::int + m FROM generate_series(1, 3) m");
  GSqlQuery insert(sql, "INSERT INTO t VALUES (?)");
  ASSERT_EQ(outer.exec(), GDbNoError);
  for (int i = 1; i <= 50; ++i) {
    ASSERT_EQ(outer.next(), GDbNoError) << i;
    EXPECT_EQ(inner.bindInt(0, i), GDbNoError);
    ASSERT_EQ(inner.exec(), GDbNoError);
    ASSERT_EQ(inner.next(), GDbNoError);
    EXPECT_EQ(insert.reset(), GDbNoError);
    EXPECT_EQ(insert.bindInt(0, i), GDbNoError);
    ASSERT_EQ(insert.exec(), GDbNoError);
    int number = 0;
    EXPECT_EQ(outer.getInt(0, &number), GDbNoError) << "the current row is still there";
    EXPECT_EQ(number, i);
    EXPECT_EQ(textOf(*outer.getRecord()),
              std::to_string(i) + "||" + std::string(static_cast<std::size_t>(i), 'x'));
    ASSERT_EQ(inner.next(), GDbNoError);
    EXPECT_EQ(inner.getInt(0, &number), GDbNoError);
    EXPECT_EQ(number, i + 2);
    EXPECT_EQ(inner.reset(), GDbNoError) << "in the middle";
  }
  EXPECT_EQ(outer.next(), GDbNoMoreRecords);
  EXPECT_EQ(rowsOf("SELECT count(*), sum(n) FROM t"), Texts{"50|1275"});
}

TEST_F(PostgresqlQuery, AFailureBehindRowsComesBehindTheRows) {
  const std::string statement = "SELECT 100 / (3 - n) FROM generate_series(1, 5) n";
  for (const bool asideFirst : {false, true}) {
    GSqlQuery query(sql, statement);
    ASSERT_EQ(query.exec(), GDbNoError);
    ASSERT_EQ(query.next(), GDbNoError);
    if (asideFirst) run("SELECT 1");
    ASSERT_EQ(query.next(), GDbNoError);
    EXPECT_EQ(query.next(), GDbSqlError);
    EXPECT_EQ(query.getLastError().getSqlState(), "22012");
    EXPECT_FALSE(query.isActive());
    EXPECT_EQ(rowsOf("SELECT 1"), Texts{"1"});
  }
}

TEST_F(PostgresqlQuery, RowsThatNobodyWantsAreGivenUp) {
  for (const bool inTransaction : {false, true}) {
    if (inTransaction) {
      EXPECT_EQ(sql->begin(), GDbNoError);
    }
    GSqlQuery query(sql, "SELECT n, repeat('x', 100) FROM generate_series(1, 200000) n");
    ASSERT_EQ(query.exec(), GDbNoError);
    ASSERT_EQ(query.next(), GDbNoError);
    EXPECT_EQ(query.reset(), GDbNoError);
    EXPECT_EQ(rowsOf("SELECT 1"), Texts{"1"});
    if (inTransaction) {
      EXPECT_EQ(sql->commit(), GDbNoError);
    }
  }
}

TEST_F(PostgresqlQuery, AStatementIsForgottenByTheServerWithItsQuery) {
  for (int i = 0; i < 50; ++i) EXPECT_EQ(rowsOf("SELECT " + std::to_string(i)).size(), 1U);
  EXPECT_EQ(rowsOf("SELECT count(*) < 5 FROM pg_prepared_statements"), Texts{"t"});
}

TEST_F(PostgresqlQuery, PreparesOnceHoweverOftenItIsExecuted) {
  GSqlQuery query(sql, "SELECT ?::int");
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(query.reset(), GDbNoError);
    EXPECT_EQ(query.bindInt(0, i), GDbNoError);
    EXPECT_EQ(query.exec(), GDbNoError);
  }
  EXPECT_EQ(rowsOf("SELECT count(*), sum(generic_plans + custom_plans) FROM pg_prepared_statements "
                   "WHERE statement = 'SELECT $1::int'"),
            Texts{"1|5"});
}

// ---- errors ----

struct Refused {
  const char* statement;
  GDbStatus status;
  const char* sqlState;
};

const Refused refusals[] = {
    {"SELEKT 1", GDbSqlError, "42601"},
    {"SELECT 1; SELECT 2", GDbSqlError, "42601"},
    {"SELECT * FROM nosuch", GDbInvalidTableName, "42P01"},
    {"SELECT nosuch FROM pg_class", GDbInvalidFieldName, "42703"},
    {"SELECT 1 / 0", GDbSqlError, "22012"},
    {"SELECT 'x'::int", GDbFieldTypeMismatch, "22P02"},
    {"INSERT INTO one VALUES (1)", GDbConstraintViolation, "23505"},
    {"INSERT INTO one VALUES (NULL)", GDbConstraintViolation, "23502"},
    {"CREATE TABLE one (n int)", GDbTableExists, "42P07"},
};

TEST_F(PostgresqlQuery, TellsWhyTheServerRefuses) {
  run("CREATE TABLE one (n int PRIMARY KEY)");
  run("INSERT INTO one VALUES (1)");
  for (const Refused& row : refusals) {
    GSqlQuery query(sql);
    EXPECT_EQ(query.exec(row.statement), row.status) << row.statement;
    EXPECT_EQ(query.getLastError().getStatus(), row.status);
    EXPECT_EQ(query.getLastError().getSqlState(), row.sqlState);
    EXPECT_EQ(sql->getLastError().getSqlState(), row.sqlState);
    EXPECT_NE(query.getLastError().getText().find(std::string("SQLSTATE ") + row.sqlState),
              std::string::npos);
    EXPECT_FALSE(query.getLastError().mayRepeat());
    EXPECT_FALSE(query.isActive());
    EXPECT_EQ(query.next() == GDbNoError, false);
    EXPECT_FALSE(query.isSelect() && row.status == GDbSqlError && row.sqlState[0] == '4');
  }
}

TEST_F(PostgresqlQuery, ACopyIsRefusedAndTheConnectionGoesOn) {
  run("CREATE TABLE t (n int)");
  run("COPY t FROM STDIN", GDbSqlError);
  EXPECT_EQ(rowsOf("SELECT 1"), Texts{"1"});
  run("COPY (SELECT generate_series(1, 1000)) TO STDOUT", GDbSqlError);
  EXPECT_EQ(rowsOf("SELECT count(*) FROM t"), Texts{"0"});
}

TEST_F(PostgresqlQuery, WhatTheServerSaysBesidesGoesToTheLog) {
  CaptureLog log;
  run("DO $$ BEGIN RAISE NOTICE 'by the way'; END $$");
  EXPECT_EQ(log.texts(), Texts{"NOTICE:  by the way"});
}

TEST_F(PostgresqlQuery, AfterTheCloseEverythingIsNotOpen) {
  GSqlQuery query(sql, "SELECT 1");
  EXPECT_EQ(query.exec(), GDbNoError);
  EXPECT_EQ(database->closeDatabase(), GDbNoError);
  EXPECT_EQ(database->closeDatabase(), GDbNoError);
  EXPECT_EQ(query.exec(), GDbNotOpen);
  EXPECT_EQ(query.next(), GDbNotOpen);
  EXPECT_TRUE(query.getStatement().empty());
  GSqlQuery late(sql, "SELECT 1");
  EXPECT_EQ(late.exec(), GDbNotOpen);
  EXPECT_FALSE(late.isSelect());
  EXPECT_EQ(sql->begin(), GDbNotOpen);
  EXPECT_EQ(sql->commit(), GDbNotOpen);
  EXPECT_EQ(sql->rollback(), GDbNotOpen);
  EXPECT_EQ(sql->tableExists("t"), GDbNotOpen);
  EXPECT_EQ(sql->deleteTable("t"), GDbNotOpen);
  EXPECT_EQ(postgresql().getServerVersion(), 0U);
  EXPECT_EQ(postgresql().getTlsVersion(), "");
  GDbTable* none = nullptr;
  EXPECT_EQ(database->openTable("t", nullptr, &none), GDbNotOpen);
}

TEST_F(PostgresqlQuery, SaysWhatItIs) {
  EXPECT_STREQ(sql->getDriverName(), "postgresql");
  EXPECT_GE(sql->getDriverVersion() >> 20, 14U);
  EXPECT_GE(postgresql().getServerVersion() >> 20, 13U);
  EXPECT_EQ(postgresql().getTlsVersion(), "") << "a socket needs none";
  EXPECT_EQ(sql->getFeatureLevel(1), 1);
  EXPECT_EQ(sql->getFeatureLevel(2), -1);
  EXPECT_EQ(sql->getTransactionMode(), sql->getDefaultTransactionMode());
  EXPECT_EQ(database->getName(), locator());
}

}  // namespace
