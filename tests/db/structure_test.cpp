// SPDX-License-Identifier: MIT
#include "loomkit/db/structure.h"

#include <gtest/gtest.h>

namespace {

TEST(DbField, KeepsWhatItWasMadeWith) {
  const GDbField empty;
  EXPECT_EQ(empty.getName(), "");
  EXPECT_EQ(empty.getType(), GDbFieldNone);
  EXPECT_EQ(empty.getWidth(), 0);
  EXPECT_EQ(empty.getDecDigits(), 0);
  EXPECT_FALSE(empty.isPrimKey());
  EXPECT_FALSE(empty.isKey());
  const GDbField field("price", GDbFieldFloat, 12, -1, true, true);
  const GDbField copy(field);
  EXPECT_EQ(copy.getName(), "price");
  EXPECT_EQ(copy.getType(), GDbFieldFloat);
  EXPECT_EQ(copy.getWidth(), 12);
  EXPECT_EQ(copy.getDecDigits(), -1);
  EXPECT_TRUE(copy.isPrimKey());
  EXPECT_TRUE(copy.isKey());
}

TEST(DbIndex, KeepsWhatItWasMadeWith) {
  const GDbIndex empty;
  EXPECT_EQ(empty.getName(), "");
  EXPECT_EQ(empty.getColumns(), "");
  EXPECT_FALSE(empty.isUnique());
  EXPECT_FALSE(empty.isDescending());
  const GDbIndex index("i", "a,b", true, true);
  EXPECT_EQ(index.getName(), "i");
  EXPECT_EQ(index.getColumns(), "a,b");
  EXPECT_TRUE(index.isUnique());
  EXPECT_TRUE(index.isDescending());
}

GDbStructure with(const GDbStructure& settings, const std::vector<const char*>& names) {
  GDbStructure structure(settings);
  for (const char* name : names)
    structure.appendField(GDbField(name, GDbFieldInt, 0, 0, false, false));
  return structure;
}

TEST(DbStructure, CutsTheSearchedNameAndNotTheStoredOne) {
  const GDbStructure structure = with(GDbStructure(true, 10), {"ARTICLE_NO", "LONGER_THAN_TEN"});
  EXPECT_EQ(structure.getFieldId("article_no_long"), 0);
  EXPECT_EQ(structure.getFieldId("article_no"), 0);
  EXPECT_EQ(structure.getFieldId("article_n"), -1);
  EXPECT_EQ(structure.getFieldId("LONGER_THAN_TEN"), -1);
}

TEST(DbStructure, ComparesExactlyUnlessCaseIsIgnored) {
  EXPECT_EQ(with(GDbStructure(), {"abc"}).getFieldId("ABC"), -1);
  EXPECT_EQ(with(GDbStructure(), {"abc", "ABC"}).getFieldId("ABC"), 1);
  EXPECT_EQ(with(GDbStructure(true), {"abc", "ABC"}).getFieldId("ABC"), 0);
  EXPECT_EQ(with(GDbStructure(), {}).getFieldId(""), -1);
  EXPECT_EQ(with(GDbStructure(false, 0), {"a", ""}).getFieldId("anything"), 1);
}

TEST(DbStructure, CopiesDeeply) {
  GDbStructure structure = with(GDbStructure(), {"a"});
  structure.addIndex(GDbIndex("i", "a", true, false));
  const GDbStructure copy(structure);
  structure.appendField(GDbField("b", GDbFieldInt, 0, 0, false, false));
  EXPECT_EQ(structure.getNumFields(), 2);
  EXPECT_EQ(copy.getNumFields(), 1);
  EXPECT_EQ(copy.getField(0).getName(), "a");
  EXPECT_EQ(copy.getFields().size(), 1U);
  ASSERT_EQ(copy.getIndices().size(), 1U);
  EXPECT_EQ(copy.getIndices()[0].getName(), "i");
}

}  // namespace
