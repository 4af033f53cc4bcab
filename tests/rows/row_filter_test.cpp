// SPDX-License-Identifier: MIT
#include "loomkit/rows/row_filter.h"

#include "loomkit/db/open.h"
#include "loomkit/rpn/map_param_set.h"
#include "tests/capture_output.h"
#include "tests/db/db_fixture.h"

namespace {

using namespace loomkit::testing;

struct DbFilteredScan : ::testing::Test {
  DbFilteredScan() {
    scratch.write("parts.csv", "bolt;0.5\nnut;2\nplate;12\n");
    const GDbStructure structure =
        structureOf({{"name", GDbFieldString}, {"price", GDbFieldFloat}});
    table = loomkit::open("csv:" + scratch.path()).openTable("parts", &structure);
    EXPECT_TRUE(table);
  }

  std::string names(GDbFilteredScan* scan) {
    std::string result;
    for (const GDbTypedRow& row : *scan) result += row.getText(0) + " ";
    return result;
  }

  ScratchDirectory scratch;
  CaptureOutput output;
  loomkit::Table table;
};

TEST_F(DbFilteredScan, GivesTheRecordsForWhichTheExpressionIsTrue) {
  const struct {
    const char* expression;
    const char* names;
  } rows[] = {{"$price 1 >", "nut plate "}, {"$name \"bolt\" ==", "bolt "},
              {"$price 100 >", ""},         {"", "bolt nut plate "},
              {"1", "bolt nut plate "},     {"$price 2 !=", "bolt plate "}};
  for (const auto& row : rows) {
    GDbFilteredScan scan(table, row.expression);
    EXPECT_EQ(names(&scan), row.names) << row.expression;
    EXPECT_EQ(names(&scan), row.names) << row.expression << ", a second time";
    EXPECT_EQ(scan.getStatus(), GDbNoError);
    EXPECT_FALSE(scan.hasFailed());
  }
}

TEST_F(DbFilteredScan, EndsWhereTheExpressionFails) {
  GDbFilteredScan scan(table, "$price 1 > $nosuch");
  EXPECT_EQ(names(&scan), "");
  EXPECT_TRUE(scan.hasFailed());
  EXPECT_EQ(scan.getStatus(), GDbNoError);
}

TEST_F(DbFilteredScan, EndsWhereTheTableFails) {
  GDbFilteredScan scan(table, "1");
  EXPECT_EQ(table->closeTable(), GDbNoError);
  EXPECT_EQ(names(&scan), "");
  EXPECT_FALSE(scan.hasFailed());
  EXPECT_NE(scan.getStatus(), GDbNoError);
}

TEST_F(DbFilteredScan, TheHostsParametersStandBesideTheColumns) {
  const auto limits = loomkit::make<GRpnMapParamSet>();
  GDbFilteredScan scan(table, "$price $limit <", limits);
  limits->set("limit", 1);
  EXPECT_EQ(names(&scan), "bolt ");
  limits->set("limit", 3);
  EXPECT_EQ(names(&scan), "bolt nut ");
}

TEST_F(DbFilteredScan, AFilterTellsOfOneRow) {
  GDbRowFilter filter("$price");
  const GDbStructure structure = structureOf({{"price", GDbFieldInt}});
  for (int price = 0; price < 2; ++price) {
    const loomkit::RecordOwner record = loomkit::makeRecord();
    record->addIntField(price);
    EXPECT_EQ(filter.admits(GDbTypedRow(*record, structure)), price != 0);
  }
  const loomkit::RecordOwner text = loomkit::makeRecord();
  text->addStringField("x");
  EXPECT_EQ(filter.admits(GDbTypedRow(*text, structure)), std::nullopt);
  EXPECT_EQ(filter.getExpression(), "$price");
}

}  // namespace
