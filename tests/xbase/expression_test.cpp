// SPDX-License-Identifier: MIT
#include "loomkit/xbase/expression.h"

#include <cmath>

#include "loomkit/xbase/dates.h"
#include "loomkit/xbase/expression_table.h"
#include "tests/xbase/table_fixture.h"

namespace loomkit::xbase {
namespace {

// One record with a value of each kind; deleted.
class XBaseExpression : public TableTest {
 protected:
  XBaseExpression() {
    table = createDataFile(engine, scratch / "parts.dbf",
                           {{"NAME", 'C', 8, 0},
                            {"CODE", 'C', 4, 0},
                            {"AMOUNT", 'N', 10, 2},
                            {"WIDTH", 'F', 6, 1},
                            {"BORN", 'D', 0, 0},
                            {"NEVER", 'D', 0, 0},
                            {"GOOD", 'L', 0, 0},
                            {"BAD", 'L', 0, 0},
                            {"NOTE", 'M', 0, 0}});
    startAppend(*table);
    blank(*table);
    assignText(*table, 0, "  Bolt");
    assignText(*table, 1, "b7");
    assignDouble(*table, 2, 1234.5);
    assignDouble(*table, 3, -2);
    assignText(*table, 4, "19950726");
    assignChar(*table, 6, 'Y');
    assignChar(*table, 7, '?');
    assignMemo(*table, 8, "a memo ");
    finishAppend(*table);
    go(*table, 1);
    markDeleted(*table);
    engine.report.expressions = true;
  }

  std::unique_ptr<Expression> parse(std::string_view source) {
    return parseExpression(engine, source, *table);
  }

  // Type and value, as "C:text", "n:1.5", "d:19950726", "L:T".
  std::string value(std::string_view source) {
    const std::unique_ptr<Expression> expression = parse(source);
    if (expression == nullptr) return "error " + std::to_string(takeError());
    const std::string type(1, expression->type());
    std::string_view text;
    double number = 0;
    bool truth = false;
    int code = ok;
    switch (type[0]) {
      case 'L':
        code = expression->truth(&truth);
        break;
      case 'n':
      case 'd':
        code = expression->number(&number);
        break;
      default:
        code = expression->text(&text);
        EXPECT_EQ(text.size(), expression->length()) << source;
    }
    if (code < 0) return "error " + std::to_string(takeError());
    if (type == "L") return type + (truth ? ":T" : ":F");
    if (type == "d") return type + ":" + textOfJulian(static_cast<long>(number));
    if (type != "n") return type + ":" + std::string(text);
    char out[40];
    std::snprintf(out, sizeof out, "%.10g", number);
    return "n:" + std::string(out);
  }

  // "code@position" of a text that does not parse.
  std::string error(std::string_view source) {
    engine.errorPosition = 12345;
    const std::unique_ptr<Expression> expression = parse(source);
    EXPECT_EQ(expression == nullptr, engine.errorCode < 0);
    if (expression != nullptr) return "none";
    return std::to_string(takeError()) + "@" + std::to_string(engine.errorPosition);
  }

  TableOwner table;
};

TEST_F(XBaseExpression, GivesTheValueThatTheLanguageHasForIt) {
  const struct {
    const char* source;
    const char* value;
  } rows[] = {
      // Fields and constants.
      {"NAME", "C:  Bolt  "},
      {" name ", "C:  Bolt  "},
      {"AMOUNT", "N:   1234.50"},
      {"BORN", "D:19950726"},
      {"GOOD", "L:T"},
      {"BAD", "L:F"},
      {"'it''", "error -480"},
      {"'it'", "C:it"},
      {"\"it's\"", "C:it's"},
      {"[a 'b' \"c\"]", "C:a 'b' \"c\""},
      {"''", "C:"},
      {"12.50", "n:12.5"},
      {"-3", "n:-3"},
      {"+.5", "n:0.5"},
      {"5.", "n:5"},
      {".T.", "L:T"},
      {".true.", "L:T"},
      {".F.", "L:F"},
      {".FALSE.", "L:F"},
      {"parts->NAME", "C:  Bolt  "},
      {"PARTS.NAME", "C:  Bolt  "},
      // Logical operators.
      {".NOT. .T.", "L:F"},
      {".NOT. GOOD .OR. GOOD", "L:T"},
      {"GOOD .AND. BAD", "L:F"},
      {"GOOD .AND. GOOD .AND. BAD", "L:F"},
      {"BAD .OR. BAD .OR. GOOD", "L:T"},
      {"GOOD .OR. GOOD .AND. BAD", "L:T"},
      {"(GOOD .OR. GOOD) .AND. BAD", "L:F"},
      {".NOT. 1 = 2", "L:T"},
      {"1.AND.2", "error -460"},
      {"1=1.AND.2=2", "L:T"},
      // Texts.
      {"NAME+CODE", "C:  Bolt  b7  "},
      {"NAME-CODE", "C:  Boltb7    "},
      {"CODE-'x'-'y'", "C:b7xy  "},
      {"NAME-CODE-NAME", "C:  Boltb7  Bolt      "},
      {"TRIM(NAME)+CODE", "C:  Boltb7    "},
      {"TRIM(NAME)+TRIM(CODE)+'!'", "C:  Boltb7!    "},
      {"LTRIM(NAME)+'|'", "C:Bolt  |  "},
      {"TRIM(LTRIM(NAME))+'|'", "C:Bolt|    "},
      {"UPPER(NAME)", "C:  BOLT  "},
      {"LEFT(NAME,4)", "C:  Bo"},
      {"LEFT(NAME,400)", "C:  Bolt  "},
      {"LEFT(NAME,0)", "C:"},
      {"SUBSTR(NAME,3,3)", "C:Bol"},
      {"SUBSTR(NAME,7,3)", "C:  "},
      {"SUBSTR(NAME,9,3)", "C:"},
      {"SUBSTR(NAME,0,3)", "C:  B"},
      {"SUBSTR(TRIM(NAME),5,4)", "C:lt  "},
      {"CHR(65)", "C:A"},
      {"CHR(-1)", "C: "},
      {"DEL()", "C:*"},
      {"STR(AMOUNT,10,2)", "C:   1234.50"},
      {"STR(AMOUNT,6,0)", "C:  1234"},
      {"STR(AMOUNT,3,0)", "C:***"},
      {"STR(AMOUNT,6,2)", "C:******"},
      {"STR(1/3,8,5)", "C: 0.33333"},
      {"STR(0,0,0)", "C:"},
      {"NAME+STR(AMOUNT,10,2)", "C:  Bolt     1234.50"},
      {"IIF(GOOD,NAME,UPPER(NAME))+'!'", "C:  Bolt  !"},
      {"IIF(BAD,NAME,UPPER(NAME))+'!'", "C:  BOLT  !"},
      {"IIF(BAD,1,AMOUNT)", "n:1234.5"},
      {"IIF(GOOD,BORN,NEVER)", "d:19950726"},
      {"IIF(GOOD,BAD,GOOD)", "L:F"},
      {"LEFT(NOTE,10)", "C:a memo    "},
      {"TRIM(NOTE)+'|'='a memo|'", "L:T"},
      // Comparisons.
      {"CODE='b7'", "L:T"},
      {"CODE='b7     '", "L:T"},
      {"'b7'=CODE", "L:T"},
      {"CODE='b'", "L:F"},
      {"CODE#'b7'", "L:F"},
      {"CODE<>'b'", "L:T"},
      {"'a'<'ab'", "L:T"},
      {"'a'>='ab'", "L:F"},
      {"'b'>'ab'", "L:T"},
      {"'a'<='a '", "L:T"},
      {"''=' '", "L:T"},
      {"'olt'$NAME", "L:T"},
      {"'OLT'$NAME", "L:F"},
      {"''$NAME", "L:T"},
      {"AMOUNT=1234.5", "L:T"},
      {"AMOUNT>WIDTH", "L:T"},
      {"1<>1", "L:F"},
      {"1>=1", "L:T"},
      {"2<=1", "L:F"},
      {"1<2", "L:T"},
      {"GOOD=BAD", "L:F"},
      {"GOOD#BAD", "L:T"},
      {"BORN=BORN", "L:T"},
      {"BORN>NEVER", "L:T"},
      {"BORN<STOD('19950727')", "L:T"},
      {"BORN>=NEVER", "L:T"},
      {"BORN<=NEVER", "L:F"},
      {"BORN#NEVER", "L:T"},
      // Numbers.
      {"AMOUNT+WIDTH", "n:1232.5"},
      {"AMOUNT-WIDTH", "n:1236.5"},
      {"2+3*4", "n:14"},
      {"(2+3)*4", "n:20"},
      {"2*3^2", "n:18"},
      {"2^3^2", "n:64"},
      {"2**3", "n:8"},
      {"2-3-4", "n:-5"},
      {"8/4/2", "n:1"},
      {"5-3", "n:2"},
      {"5 -3", "n:2"},
      {"5--3", "n:8"},
      {"VAL('12.5kg')", "n:12.5"},
      {"VAL('kg')", "n:0"},
      {"RECNO()", "n:1"},
      {"RECCOUNT()", "n:1"},
      {"PAGENO()", "n:1"},
      {"DELETED()", "L:T"},
      // Dates.
      {"BORN+1", "d:19950727"},
      {"1+BORN", "d:19950727"},
      {"BORN-26", "d:19950630"},
      {"BORN-STOD('19950701')", "n:25"},
      {"DTOS(BORN)", "C:19950726"},
      {"DTOS(BORN+6)", "C:19950801"},
      {"DTOS(NEVER)", "C:        "},
      {"DTOC(BORN)", "C:07/26/95"},
      {"DTOC(BORN+6)", "C:08/01/95"},
      {"DTOC(NEVER)", "C:  /  /  "},
      {"CTOD('07/26/95')", "d:19950726"},
      {"CTOD('rubbish!')+0", "d:        "},
      {"STOD('20000229')", "d:20000229"},
      {"DAY(BORN)", "n:26"},
      {"DAY(BORN+6)", "n:1"},
      {"MONTH(BORN)", "n:7"},
      {"MONTH(BORN+6)", "n:8"},
      {"YEAR(BORN)", "n:1995"},
      {"YEAR(BORN+366)", "n:1996"},
      {"DAY(NEVER)", "n:0"},
      {"DATE()-DATE()", "n:0"},
      {"DATE()>BORN", "L:T"},
  };
  for (const auto& row : rows) EXPECT_EQ(value(row.source), row.value) << row.source;
}

TEST_F(XBaseExpression, SaysWhatIsWrongAndWhere) {
  const struct {
    const char* source;
    const char* error;
  } rows[] = {
      {"", "-950@0"},
      {"   ", "-950@3"},
      {"(NAME", "-450@5"},
      {"(NAME,CODE)", "-450@5"},
      {"NAME)", "-410@4"},
      {"NAME,CODE", "-410@4"},
      {"NAME CODE", "-480@5"},
      {"NAME ! CODE", "-480@5"},
      {"1.T.", "-480@1"},
      {"NAME .NOT. CODE", "-480@5"},
      {"\"abc", "-500@0"},
      {"NAME+[abc\"", "-500@5"},
      {"NAME+", "-490@5"},
      {"NAME+)", "-490@5"},
      {"()", "-490@1"},
      {"-", "-490@0"},
      {".", "-490@0"},
      {".X.", "-490@0"},
      {"NOSUCH", "-490@0"},
      {"ABCDEFGHIJK", "-490@0"},
      {"NAME+NOSUCH", "-490@5"},
      {"12AB", "-490@0"},
      {"XX->NAME", "-420@0"},
      {"PARTS->XX", "-490@7"},
      {"PARTS.XX", "-490@6"},
      {"XX.NAME", "-490@0"},
      {"NOFUNC(NAME)", "-470@0"},
      {"ABCDEFGHIJK(NAME)", "-470@0"},
      {"UPPER(NAME", "-400@10"},
      {"SUBSTR(NAME,1", "-400@13"},
      {"UPPER()", "-430@0"},
      {"UPPER(NAME,CODE)", "-430@0"},
      {"1+DATE(1)", "-430@2"},
      {"IIF(GOOD,1)", "-430@0"},
      {"STR(AMOUNT)", "-430@0"},
      {"STR(AMOUNT,5)", "-430@0"},
      {"STR(AMOUNT,5,1,1)", "-430@0"},
      {"LEFT(NAME)", "-430@0"},
      {"STR(AMOUNT,WIDTH,2)", "-425@11"},
      {"STR(AMOUNT,5+1,2)", "-425@11"},
      {"SUBSTR(NAME,'1',2)", "-425@12"},
      {"LEFT(NAME,-1)", "-930@10"},
      {"STR(AMOUNT,70000,2)", "-930@11"},
      {"IIF(GOOD,NAME,CODE)", "-422@0"},
      {"IIF(GOOD,NAME,1)", "-460@0"},
      {"NAME+AMOUNT", "-460@4"},
      {"NAME+1", "-460@4"},
      {"BORN+BORN", "-460@4"},
      {"1-BORN", "-460@1"},
      {"GOOD>BAD", "-460@4"},
      {"NAME.AND.GOOD", "-460@4"},
      {".NOT.NAME", "-460@0"},
      {"UPPER(1)", "-460@0"},
      {"DTOS(NAME)", "-460@0"},
      {"STR(NAME,1,0)", "-460@0"},
      {"1 $ NAME", "-460@2"},
  };
  for (const auto& row : rows) EXPECT_EQ(error(row.source), row.error) << row.source;
}

TEST_F(XBaseExpression, KnowsItsTypeItsLengthAndItsSource) {
  const struct {
    const char* source;
    char type;
    std::size_t length;
    std::size_t keyLength;
  } rows[] = {{"NAME", 'C', 8, 8},        {"NAME+STR(AMOUNT,10,2)", 'C', 18, 18},
              {"NAME-CODE", 'C', 12, 12}, {"AMOUNT", 'N', 10, 8},
              {"AMOUNT+0", 'n', 8, 8},    {"BORN", 'D', 8, 8},
              {"BORN+1", 'd', 8, 8},      {"GOOD", 'L', 1, 1},
              {"NOTE", 'C', 1024, 1024},  {"SUBSTR(NAME,7,10)", 'C', 2, 2},
              {"DTOC(BORN)", 'C', 8, 8},  {"CTOD(NAME)", 'd', 8, 8},
              {"TIME()", 'C', 8, 8}};
  for (const auto& row : rows) {
    const std::unique_ptr<Expression> expression = parse(row.source);
    ASSERT_NE(expression, nullptr) << row.source;
    EXPECT_EQ(expression->type(), row.type) << row.source;
    EXPECT_EQ(expression->length(), row.length) << row.source;
    EXPECT_EQ(expression->keyLength(), row.keyLength) << row.source;
    EXPECT_EQ(expression->source(), row.source);
  }
  engine.dateFormat = "DD.MM.CCYY";
  const std::unique_ptr<Expression> expression = parse("DTOC(BORN)");
  engine.dateFormat = "YY";
  std::string_view text;
  ASSERT_EQ(expression->text(&text), ok);
  EXPECT_EQ(text, "26.07.1995") << "the format is that of the parsing";
}

TEST_F(XBaseExpression, GivesItsKey) {
  const struct {
    const char* source;
    std::string key;
  } rows[] = {{"NAME", "  Bolt  "},
              {"TRIM(NAME)", "  Bolt  "},
              {"GOOD", "T"},
              {"BAD", "F"},
              {"0", std::string("\x80\0\0\0\0\0\0\0", 8)},
              {"0*-1", std::string("\x80\0\0\0\0\0\0\0", 8)},
              {"1.5", std::string("\xbf\xf8\0\0\0\0\0\0", 8)},
              {"-1.5", std::string("\x40\x07\xff\xff\xff\xff\xff\xff", 8)},
              {"WIDTH", std::string("\x3f\xff\xff\xff\xff\xff\xff\xff", 8)},
              {"NEVER", std::string("\x80\0\0\0\0\0\0\0", 8)},
              {"BORN", std::string("\xc1\x42\xb1\x02\x80\0\0\0", 8)}};
  for (const auto& row : rows) {
    const std::unique_ptr<Expression> expression = parse(row.source);
    std::string_view key;
    ASSERT_EQ(expression->key(&key), ok);
    EXPECT_EQ(key, row.key) << row.source;
  }
}

TEST(XBaseKeyNumber, BytesCompareAsTheNumbersDo) {
  const double rows[] = {-HUGE_VAL, -1e300, -1.5, -1, -1e-300, 0, 1e-300, 1, 1.5, 1e300, HUGE_VAL};
  std::string previous;
  for (const double value : rows) {
    unsigned char bytes[8];
    encodeKeyNumber(value, bytes);
    EXPECT_EQ(decodeKeyNumber(bytes), value);
    const std::string text(reinterpret_cast<const char*>(bytes), 8);
    EXPECT_LT(previous, text) << value;
    previous = text;
  }
}

TEST_F(XBaseExpression, ArithmeticThatOverflowsIsAnError) {
  for (const char* source : {"1/0", "10^400", "0-10^308*10", "VAL('1e999')", "0/0", "(0-8)^.5"})
    EXPECT_EQ(value(source), "error -440") << source;
  EXPECT_EQ(error(std::string(400, '9')), "-440@0");
  const std::unique_ptr<Expression> expression = parse("1+2/0");
  double number = 0;
  EXPECT_EQ(expression->number(&number), errorOverflow);
  EXPECT_EQ(engine.errorPosition, 3U) << "at the operator";
}

TEST_F(XBaseExpression, OnlyALogicalOneIsTrueOrFalse) {
  EXPECT_EQ(exprTrue(*parse("GOOD")), 1);
  EXPECT_EQ(exprTrue(*parse("BAD")), 0);
  EXPECT_EQ(exprTrue(*parse("NAME")), errorInformation);
  EXPECT_EQ(takeError(), errorInformation);
  ASSERT_EQ(reports.size(), 1U);
  EXPECT_NE(reports[0].find("Expecting logical result."), std::string::npos);
  EXPECT_NE(reports[0].find("exprTrue()"), std::string::npos);
  double number = 0;
  std::string_view text;
  EXPECT_EQ(parse("GOOD")->number(&number), errorInformation);
  takeError();
  EXPECT_EQ(parse("GOOD")->text(&text), errorInformation);
}

TEST_F(XBaseExpression, ReportsItsErrorsUnlessToldNotTo) {
  EXPECT_EQ(error("NAME+"), "-490@5");
  EXPECT_EQ(reports,
            std::vector<std::string>{"XBASE ERROR|Error #: -490\r\nUnrecognized Value\r\nNAME+"});
  engine.report.expressions = false;
  EXPECT_EQ(error("NAME+"), "-490@5");
  EXPECT_EQ(reports.size(), 1U);
}

TEST_F(XBaseExpression, ReadsTheFieldsOfOtherOpenTablesAsLongAsTheyAreOpen) {
  TableOwner other =
      createDataFile(engine, scratch / "veryLongNameOfATable.dbf", {{"X", 'C', 2, 0}});
  ASSERT_NE(other, nullptr);
  startAppend(*other);
  assignText(*other, 0, "hi");
  finishAppend(*other);
  const std::unique_ptr<Expression> expression = parse("CODE+VERYLONGNAMEOFA->X+VERYLONGNA.X");
  ASSERT_NE(expression, nullptr);
  std::string_view text;
  ASSERT_EQ(expression->text(&text), ok);
  EXPECT_EQ(text, "b7  hihi");
  other = nullptr;
  EXPECT_EQ(expression->text(&text), errorDataFileName);
  EXPECT_EQ(takeError(), errorDataFileName);
  other = createDataFile(engine, scratch / "veryLongNa.dbf", {{"X", 'C', 2, 0}});
  EXPECT_EQ(expression->text(&text), errorDataFileName) << "another table";
}

// Nesting costs memory and no more; what would need too much of it is refused.
TEST_F(XBaseExpression, MayNestAsDeepAsItsTextIsLong) {
  constexpr std::size_t deep = 1000000;
  const auto repeat = [](const std::string& text, std::size_t count) {
    std::string out;
    for (std::size_t i = 0; i < count; ++i) out += text;
    return out;
  };
  EXPECT_EQ(value(repeat("(", deep) + "1" + repeat(")", deep)), "n:1");
  EXPECT_EQ(value(repeat(".NOT.", deep) + "GOOD"), "L:T");
  EXPECT_EQ(value("GOOD" + repeat(".AND.GOOD", deep)), "L:T");
  EXPECT_EQ(value("1" + repeat("+1", deep)), "n:1000001");
  EXPECT_EQ(value(repeat("1+(", deep) + "1" + repeat(")", deep)), "n:1000001");
  EXPECT_EQ(value(repeat("UPPER(", deep) + "CODE" + repeat(")", deep)), "C:B7  ");
  engine.report.expressions = false;
  EXPECT_EQ(error(repeat("(", deep)), "-490@1000000");
  EXPECT_EQ(error(repeat("UPPER(", deep)).substr(0, 5), "-490@");
  EXPECT_EQ(error("CODE" + repeat("+CODE", deep)).substr(0, 5), "-920@");
  EXPECT_EQ(value("''" + repeat("+''", deep)), "C:");
}

TEST_F(XBaseExpression, TheTableNamesEveryFunctionOnceInItsOrder) {
  int previous = 0;
  for (const FunctionRow* row = functionTable; row->code != codeEnd; ++row) {
    EXPECT_GE(row->code, previous) << row->name;
    previous = row->code;
    EXPECT_NE(row->routine, nullptr);
    if (row->operands > 0) {
      EXPECT_EQ(std::string(row->types).size(), static_cast<std::size_t>(row->operands))
          << row->name;
    }
    if (!row->name.empty() && row->code >= firstFunctionCode) {
      EXPECT_EQ(rowOf(row->code)->name, row->name);
    }
  }
}

}  // namespace
}  // namespace loomkit::xbase
