// SPDX-License-Identifier: MIT
// Statements, names and error codes on their way to and from the server.
#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include "loomkit/db/postgresql/sql_state.h"
#include "loomkit/db/postgresql/statement_text.h"
#include "loomkit/db/postgresql/table_name.h"
#include "tests/db/db_fixture.h"

namespace {

using loomkit::numberedParameters;
using loomkit::PgTableName;
using loomkit::quotedIdentifier;

struct Numbered {
  const char* statement;
  const char* text;
};

const Numbered numberedTable[] = {
    {"", ""},
    {"SELECT 1", "SELECT 1"},
    {"?", "$1"},
    {"a = ? AND b = ?", "a = $1 AND b = $2"},
    {"(?,?,?)", "($1,$2,$3)"},
    {"?::int", "$1::int"},
    {"'?' = ?", "'?' = $1"},
    {"'it''s ?' || ?", "'it''s ?' || $1"},
    {"'a\\' || ?", "'a\\' || $1"},
    {"E'a\\'?' || ?", "E'a\\'?' || $1"},
    {"e'a\\'?' || ?", "e'a\\'?' || $1"},
    {"E'\\\\' || ?", "E'\\\\' || $1"},
    {"E'a''?' || ?", "E'a''?' || $1"},
    {"name'a\\' || ?", "name'a\\' || $1"},
    {"U&'?' || B'?' || ?", "U&'?' || B'?' || $1"},
    {"\"a?\" = ?", "\"a?\" = $1"},
    {"\"a\"\"?\" = ?", "\"a\"\"?\" = $1"},
    {"\"a\\\" = ?", "\"a\\\" = $1"},
    {"-- why?\n?", "-- why?\n$1"},
    {"-- why?\r?", "-- why?\r$1"},
    {"-- why?", "-- why?"},
    {"a -? b", "a -$1 b"},
    {"/* why? */ ?", "/* why? */ $1"},
    {"/* a /* b? */ c? */ ?", "/* a /* b? */ c? */ $1"},
    {"/* a /* b? */ ?", "/* a /* b? */ ?"},
    {"/*/ ? */ ?", "/*/ ? */ $1"},
    {"a / ?", "a / $1"},
    {"$$?$$ = ?", "$$?$$ = $1"},
    {"$q$?$$?$q$ = ?", "$q$?$$?$q$ = $1"},
    {"$a1_$?$a1_$ = ?", "$a1_$?$a1_$ = $1"},
    {"$1 = ?", "$1 = $1"},
    {"$1$?", "$1$$1"},
    {"a$b$ = ?", "a$b$ = $1"},
    {"$q$ ? $Q$ ?", "$q$ ? $Q$ ?"},
    {"$\xc3\xa4$?$\xc3\xa4$ = ?", "$\xc3\xa4$?$\xc3\xa4$ = $1"},
    {"data ?? 'key'", "data ? 'key'"},
    {"data ??| array[?]", "data ?| array[$1]"},
    {"data ??& ?", "data ?& $1"},
    {"data @?? ?", "data @? $1"},
    {"??\?", "?$1"},
    {"'open ?", "'open ?"},
    {"\"open ?", "\"open ?"},
    {"E'open\\", "E'open\\"},
    {"$q$open ?", "$q$open ?"},
    {"?'?'?", "$1'?'$2"},
};

TEST(PostgresqlText, NumbersParametersOutsideOfQuotesAndComments) {
  for (const Numbered& row : numberedTable)
    EXPECT_EQ(numberedParameters(row.statement), row.text) << row.statement;
}

TEST(PostgresqlText, EscapesByBackslashInEveryStringWhereTheServerDoes) {
  EXPECT_EQ(numberedParameters("'a\\'?' || ?", true), "'a\\'?' || $1");
  EXPECT_EQ(numberedParameters("\"a\\\" = ?", true), "\"a\\\" = $1");
}

// Every text over a small alphabet: nothing but question marks changes, and
// nothing is read beyond the end.
void checkOnlyMarksChange(const std::string& statement) {
  const std::string text = numberedParameters(statement);
  std::size_t at = 0;
  for (const char c : statement) {
    if (at < text.size() && text[at] == c) {
      ++at;
      continue;
    }
    ASSERT_EQ(c, '?') << statement;
    ASSERT_LT(at, text.size()) << statement;
    ASSERT_EQ(text[at], '$') << statement;
    at = std::min(text.find_first_not_of("0123456789", at + 1), text.size());
  }
  ASSERT_EQ(at, text.size()) << statement;
}

void checkAllTexts(std::string* statement, int left) {
  if (statement->find("??") == std::string::npos) checkOnlyMarksChange(*statement);
  if (left == 0) return;
  for (const char c : std::string_view("?'\"$-/*\\eq\n")) {
    statement->push_back(c);
    checkAllTexts(statement, left - 1);
    statement->pop_back();
  }
}

TEST(PostgresqlText, ChangesNothingButQuestionMarks) {
  std::string statement;
  checkAllTexts(&statement, 5);
}

TEST(PostgresqlText, QuotesEveryNameSoThatItStaysOne) {
  EXPECT_EQ(quotedIdentifier("a"), "\"a\"");
  EXPECT_EQ(quotedIdentifier(""), "\"\"");
  EXPECT_EQ(quotedIdentifier("a\"; DROP TABLE b; --"), "\"a\"\"; DROP TABLE b; --\"");
  EXPECT_EQ(quotedIdentifier("\"\""), "\"\"\"\"\"\"");
}

struct Name {
  const char* name;
  const char* schema;
  const char* table;
  const char* quoted;
};

const Name names[] = {
    {"parts", "", "parts", "\"parts\""},
    {"Parts", "", "Parts", "\"Parts\""},
    {"s.parts", "s", "parts", "\"s\".\"parts\""},
    {"s.a.b", "s", "a.b", "\"s\".\"a.b\""},
    {"\"a.b\"", "", "a.b", "\"a.b\""},
    {"s.\"a.b\"", "s", "a.b", "\"s\".\"a.b\""},
    {"\"s.t\".\"a\"\"b\"", "s.t", "a\"b", "\"s.t\".\"a\"\"b\""},
    {"\"s.t\".parts", "s.t", "parts", "\"s.t\".\"parts\""},
    {"a\"b", "", "a\"b", "\"a\"\"b\""},
    {"\"", "", "\"", "\"\"\"\""},
    {"\"a", "", "\"a", "\"\"\"a\""},
    {"\"a\"b", "", "\"a\"b", "\"\"\"a\"\"b\""},
    {"s.\"a", "", "s.\"a", "\"s.\"\"a\""},
    {"a b", "", "a b", "\"a b\""},
    {"a;b--", "", "a;b--", "\"a;b--\""},
    {"", "", "", "\"\""},
};

TEST(PostgresqlText, TakesTableNamesApart) {
  for (const Name& row : names) {
    const PgTableName name = PgTableName::of(row.name);
    EXPECT_EQ(name.schema, row.schema) << row.name;
    EXPECT_EQ(name.table, row.table) << row.name;
    EXPECT_EQ(name.quoted(), row.quoted) << row.name;
    const PgTableName again = PgTableName::of(name.plain());
    EXPECT_EQ(again.schema, row.schema) << name.plain();
    EXPECT_EQ(again.table, row.table) << name.plain();
  }
}

struct State {
  const char* sqlState;
  GDbStatus status;
};

const State states[] = {
    {"08006", GDbIoError},
    {"22003", GDbFieldTypeMismatch},
    {"22007", GDbFieldTypeMismatch},
    {"22008", GDbFieldTypeMismatch},
    {"22012", GDbSqlError},
    {"22021", GDbInvalidArgument},
    {"22P02", GDbFieldTypeMismatch},
    {"22P03", GDbFieldTypeMismatch},
    {"22P05", GDbInvalidArgument},
    {"23502", GDbConstraintViolation},
    {"23503", GDbConstraintViolation},
    {"23505", GDbConstraintViolation},
    {"23514", GDbConstraintViolation},
    {"25006", GDbTableReadOnly},
    {"25P02", GDbSqlError},
    {"25P03", GDbIoError},
    {"28000", GDbCantOpenFile},
    {"28P01", GDbCantOpenFile},
    {"3D000", GDbCantOpenFile},
    {"40001", GDbLockFailed},
    {"40P01", GDbLockFailed},
    {"42501", GDbSqlError},
    {"42601", GDbSqlError},
    {"42701", GDbInvalidFieldName},
    {"42703", GDbInvalidFieldName},
    {"42804", GDbFieldTypeMismatch},
    {"42P01", GDbInvalidTableName},
    {"3F000", GDbInvalidTableName},
    {"42P07", GDbTableExists},
    {"53100", GDbDatabaseFull},
    {"53200", GDbOutOfMemory},
    {"53300", GDbIoError},
    {"54000", GDbRowTooBig},
    {"54011", GDbRowTooBig},
    {"55006", GDbTableInUse},
    {"55P03", GDbLockFailed},
    {"57014", GDbSqlError},
    {"57P01", GDbIoError},
    {"57P03", GDbIoError},
    {"58030", GDbIoError},
    {"XX000", GDbInternalError},
    {"XX001", GDbInternalError},
    {"ZZZZZ", GDbSqlError},
    {"", GDbSqlError},
};

TEST(PostgresqlText, GivesEachSqlStateItsStatus) {
  for (const State& row : states)
    EXPECT_EQ(loomkit::sqlStateStatus(row.sqlState), row.status) << row.sqlState;
}

}  // namespace
