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
    {"$1$?", "$1$ $1"},
    {"LIMIT?", "LIMIT $1"},
    {"LIMIT?3", "LIMIT $3"},
    {"LIMIT:most", "LIMIT $1"},
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
    {"?7 = ?12", "$7 = $12"},
    {"?3 :a ? ?3 :a ?0 ?99999999999999999999 ?", "$3 $4 $5 $3 $4 $0 $99999999999999999999 $6"},
    {":a + :b - :a", "$1 + $2 - $1"},
    {":a @a $a ?", "$1 $2 $3 $4"},
    {"? :a ? :a", "$1 $2 $3 $2"},
    {"a=:a,b=@b,(c)=$c;", "a=$1,b=$2,(c)=$3;"},
    {":a::int", "$1::int"},
    {"b::int::text", "b::int::text"},
    {":a1_\xc3\xa4\xc3\x84 ", "$1 "},
    {": a @ b $ c :1 @1 $1", ": a @ b $ c :1 @1 $1"},
    {"f(a := 1, b => :b)", "f(a := 1, b => $1)"},
    {"a[l:u] = :x", "a[l:u] = $1"},
    {"a[:u] || a[l:][@x:$y]", "a[:u] || a[l:][$1:$2]"},
    {"array[:x, :y][:u]", "array[$1, $2][:u]"},
    {"ARRAY[[:x],[:y, a[l:u]]] :z", "ARRAY[[$1],[$2, a[l:u]]] $3"},
    {"Array /**/ [:x]]]:y", "Array /**/ [$1]]]$2"},
    {"a <@b AND c @@d AND e@>:f", "a <@b AND c @@d AND e@>$1"},
    {"a < @b OR a>@b OR a<=@b OR -@c", "a < $1 OR a>$1 OR a<=$1 OR -@c"},
    {"':a' \"@b\" -- $c\n/* :d */ $q$:e$q$", "':a' \"@b\" -- $c\n/* :d */ $q$:e$q$"},
    {"$q$ :a", "$q$ :a"},
    {"$q :a", "$1 $2"},
    {"a$b :a", "a$b $1"},
    {"u@b", "u $1"},
};

TEST(PostgresqlText, NumbersParametersOutsideOfQuotesAndComments) {
  for (const Numbered& row : numberedTable)
    EXPECT_EQ(numberedParameters(row.statement), row.text) << row.statement;
}

TEST(PostgresqlText, EscapesByBackslashInEveryStringWhereTheServerDoes) {
  EXPECT_EQ(numberedParameters("'a\\'?' || ?", true), "'a\\'?' || $1");
  EXPECT_EQ(numberedParameters("\"a\\\" = ?", true), "\"a\\\" = $1");
}

TEST(PostgresqlText, GivesTheNamesOfParametersByTheirNumbers) {
  std::vector<std::string> names;
  EXPECT_EQ(numberedParameters("? :b @b :b $c", false, &names), "$1 $2 $3 $2 $4");
  EXPECT_EQ(names, (std::vector<std::string>{"", ":b", "@b", "$c"}));
}

// Every text over a small alphabet: nothing but parameters changes, and nothing is
// read beyond the end. There is no digit in it: each one comes from a number.
void checkOnlyMarksChange(const std::string& statement) {
  std::vector<std::string> names;
  const std::string text = numberedParameters(statement, false, &names);
  std::string back;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find_first_not_of("0123456789", at + 1), text.size());
    if (text[at] != '$' || end == at + 1) {
      back += text[at++];
      continue;
    }
    const std::string& name = names.at(std::stoul(text.substr(at + 1, end - at - 1)) - 1);
    if (!back.empty() && back.back() == ' ') back.pop_back();  // put in behind a word
    back += name.empty() ? "?" : name;
    at = end;
  }
  ASSERT_EQ(back, statement);
}

void checkAllTexts(std::string_view alphabet, int left, std::string* statement) {
  if (statement->find("??") == std::string::npos) checkOnlyMarksChange(*statement);
  if (left == 0) return;
  for (const char c : alphabet) {
    statement->push_back(c);
    checkAllTexts(alphabet, left - 1, statement);
    statement->pop_back();
  }
}

TEST(PostgresqlText, ChangesNothingButParameters) {
  std::string statement;
  checkAllTexts("?'\"$-/*\\eq\n", 4, &statement);
  checkAllTexts("?:@$e['-", 5, &statement);
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
