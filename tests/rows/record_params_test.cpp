// SPDX-License-Identifier: MIT
#include "loomkit/rows/record_params.h"

#include "loomkit/db/open.h"
#include "loomkit/db/record_access.h"
#include "loomkit/rpn/map_param_set.h"
#include "tests/db/db_fixture.h"
#include "tests/rpn/rpn_fixture.h"

namespace {

using loomkit::testing::Evaluator;
using loomkit::testing::structureOf;

struct RpnRecordParams : ::testing::Test {
  RpnRecordParams() {
    record->addIntField(-3);
    record->addUIntField(4000000000U);
    record->addFloatField(0.5);
    record->addStringField("text");
    record->addBlobField("\x01\xff", 2);
    record->addIntField(0);
    loomkit::RecordAccess::markLastNull(record.get());
    host.eval.setParamSet(params);
  }

  loomkit::RecordOwner record = loomkit::makeRecord();
  GDbStructure structure = structureOf({{"i", GDbFieldInt},
                                        {"u", GDbFieldUInt},
                                        {"f", GDbFieldFloat},
                                        {"s", GDbFieldString},
                                        {"b", GDbFieldBlob},
                                        {"n", GDbFieldInt}});
  loomkit::Ref<GRpnRecordParams> params = loomkit::make<GRpnRecordParams>();
  Evaluator host;
};

TEST_F(RpnRecordParams, ColumnsAreParametersByName) {
  params->setRecord(*record, structure);
  EXPECT_EQ(host.run("$i $u $f $s"), "-3 4000000000 0.5 \"text\"");
}

TEST_F(RpnRecordParams, ANullIsVoidAndABlobIsHexadecimal) {
  params->setRow(GDbTypedRow(*record, structure));
  EXPECT_EQ(host.run("$n $b"), "void \"01ff\"");
  EXPECT_EQ(host.run("${n:-7}"), "void");  // a column that is there needs no default
}

TEST_F(RpnRecordParams, WhatIsNoColumnIsUnknown) {
  EXPECT_EQ(host.run("$i"), "rpn error: unknown parameter:\n >!< $i");
  params->setRecord(*record, structure);
  EXPECT_EQ(host.run("$x"), "rpn error: unknown parameter:\n >!< $x");
  EXPECT_EQ(host.run("${x:-1}"), "1");
  params->clear();
  EXPECT_EQ(host.run("$i"), "rpn error: unknown parameter:\n >!< $i");
}

TEST_F(RpnRecordParams, ARecordThatIsShorterThanItsStructureHasNoFurtherColumns) {
  const loomkit::RecordOwner shorter = loomkit::makeRecord();
  shorter->addIntField(1);
  params->setRecord(*shorter, structure);
  EXPECT_EQ(host.run("$i"), "1");
  EXPECT_EQ(host.run("$u"), "rpn error: unknown parameter:\n >!< $u");
}

TEST_F(RpnRecordParams, NamesFollowTheStructuresRuleForLetterCase) {
  params->setRecord(*record, structure);
  EXPECT_EQ(host.run("$I"), "rpn error: unknown parameter:\n >!< $I");
  GDbStructure anyCase(true);
  anyCase.appendField(structure.getFields()[0]);
  params->setRecord(*record, anyCase);
  EXPECT_EQ(host.run("$I"), "-3");
}

TEST_F(RpnRecordParams, OtherNamesAreLookedUpInAnotherSet) {
  auto limits = loomkit::make<GRpnMapParamSet>();
  limits->set("limit", 9);
  limits->set("i", 1);
  auto both = loomkit::make<GRpnRecordParams>(limits);
  limits = {};  // the set keeps it
  host.eval.setParamSet(both);
  EXPECT_EQ(host.run("$limit $i"), "9 1");
  both->setRecord(*record, structure);
  EXPECT_EQ(host.run("$limit $i"), "9 -3");
  EXPECT_EQ(host.run("$x"), "rpn error: unknown parameter:\n >!< $x");
}

}  // namespace
