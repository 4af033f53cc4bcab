// SPDX-License-Identifier: MIT
#include "loomkit/rpn/value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "tests/rpn/rpn_fixture.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

GRpnValue text(const char* characters, bool isSymbol = false) {
  GRpnString* const string = new GRpnString(characters, isSymbol);
  GRpnValue value(string);
  string->decRef();
  return value;
}

GRpnValue list(const std::vector<GRpnValue>& elements) {
  GRpnVector* const vector = new GRpnVector;
  vector->assign(elements.begin(), elements.end());
  GRpnValue value(vector);
  vector->decRef();
  return value;
}

TEST(RpnValue, TypesHaveFixedValuesAndNames) {
  EXPECT_EQ(GRpnValue::Void, 0);
  EXPECT_EQ(GRpnValue::Number, 1);
  EXPECT_EQ(GRpnValue::String, 2);
  EXPECT_EQ(GRpnValue::Vector, 3);
  EXPECT_STREQ(GRpnValue().getTypeName(), "void");
  EXPECT_STREQ(GRpnValue(1.0).getTypeName(), "number");
  EXPECT_STREQ(text("a").getTypeName(), "string");
  EXPECT_STREQ(list({}).getTypeName(), "vector");
}

TEST(RpnValue, IsATagAndAPayload) {
  EXPECT_LE(sizeof(GRpnValue), 2 * sizeof(double));
  EXPECT_LE(sizeof(GRpnString), sizeof(std::string) + 2 * sizeof(unsigned));
}

TEST(RpnValue, CopiesShareTheObject) {
  const GRpnValue original = text("a");
  GRpnValue copy(original);
  EXPECT_EQ(copy.getString(), original.getString());
  copy.setNumber(2);
  EXPECT_EQ(*original.getString(), "a");
  copy = original;
  EXPECT_EQ(copy.getString(), original.getString());
  const GRpnValue moved(std::move(copy));
  EXPECT_EQ(moved.getString(), original.getString());
}

TEST(RpnValue, SettersReleaseTheOldPayload) {
  GRpnString* const string = new GRpnString("a", false);
  {
    GRpnValue value(string);
    value.setNumber(1);
    value.setString(string);
    value.setVector(list({GRpnValue(1.0)}).getVector()->incRef());
    value.getVector()->decRef();
    EXPECT_EQ(value.getVector()->size(), 1U);
  }
  EXPECT_EQ(*string, "a");  // the creator's reference is left
  string->decRef();
}

TEST(RpnValue, SettingTheHeldObjectKeepsItAlive) {
  GRpnValue value = text("a long enough text to live on the heap, with room to spare");
  value.setString(value.getString());
  EXPECT_EQ(value.getString()->size(), 58U);
  GRpnValue vector = list({GRpnValue(1.0)});
  vector.setVector(vector.getVector());
  EXPECT_EQ(vector.getVector()->size(), 1U);
}

TEST(RpnValue, SymbolsAreMarkedStrings) {
  EXPECT_TRUE(text("a", true).getString()->isSymbol());
  EXPECT_FALSE(text("a").getString()->isSymbol());
  GRpnString* const empty = new GRpnString(true);
  EXPECT_TRUE(empty->isSymbol());
  EXPECT_TRUE(empty->empty());
  empty->decRef();
  GRpnString* const copied = new GRpnString(std::string("a\0b", 3), true);
  EXPECT_EQ(copied->size(), 3U);
  copied->decRef();
  EXPECT_TRUE(text("a", true) == text("a"));
}

struct Pair {
  GRpnValue a;
  GRpnValue b;
  bool equal;
  bool less;  // a < b
};

TEST(RpnValue, EqualityAndOrder) {
  const GRpnValue none;
  const GRpnValue one(1.0);
  const Pair pairs[] = {
      {none, none, true, false},
      {none, GRpnValue(-1e300), false, true},
      {GRpnValue(1e300), text(""), false, true},
      {text("z"), list({}), false, true},
      {list({}), none, false, false},
      {one, one, true, false},
      {one, GRpnValue(2.0), false, true},
      {one, GRpnValue(1.0 + 1e-11), true, true},
      {one, GRpnValue(1.0 + 1e-9), false, true},
      {GRpnValue(0.0), GRpnValue(1e-10), false, true},
      {GRpnValue(nan), one, true, true},
      {one, GRpnValue(nan), true, true},
      {GRpnValue(nan), GRpnValue(nan), true, true},
      {text("a"), text("a"), true, false},
      {text("a"), text("b"), false, true},
      {text("a"), text("ab"), false, true},
      {text("\x80"), text("a"), false, false},
      {list({}), list({}), true, false},
      {list({one}), list({one, GRpnValue(0.0)}), false, true},
      {list({one, GRpnValue(0.0)}), list({one}), false, false},
      {list({one}), list({GRpnValue(2.0)}), false, true},
      {list({GRpnValue(2.0)}), list({one, one}), false, false},
      {list({list({one})}), list({list({GRpnValue(2.0)})}), false, true},
      {list({list({one}), one}), list({list({one}), GRpnValue(2.0)}), false, true},
      {list({GRpnValue(nan)}), list({one}), true, true},
      {list({one}), list({text("a")}), false, true},
      {list({list({})}), list({text("a")}), false, false},
  };
  int row = 0;
  for (const Pair& pair : pairs) {
    EXPECT_EQ(pair.a == pair.b, pair.equal) << "row " << row;
    EXPECT_EQ(pair.a < pair.b, pair.less) << "row " << row;
    ++row;
  }
}

TEST(RpnPool, TheNextObjectHasTheMemoryOfTheLastOneReleased) {
  GRpnString* const string = new GRpnString("a", false);
  const void* const stringMemory = string;
  string->decRef();
  GRpnString* const nextString = new GRpnString("b", true);
  EXPECT_EQ(nextString, stringMemory);
  EXPECT_EQ(*nextString, "b");
  nextString->decRef();

  GRpnVector* const vector = new GRpnVector;
  const void* const vectorMemory = vector;
  EXPECT_EQ(vector->incRef(), vector);
  vector->decRef();
  vector->decRef();
  GRpnVector* const nextVector = new GRpnVector;
  EXPECT_EQ(nextVector, vectorMemory);
  EXPECT_TRUE(nextVector->empty());
  nextVector->decRef();
}

TEST(RpnPool, HandsOutTheLastReleasedFirst) {
  std::vector<GRpnString*> strings;
  for (int i = 0; i < 3; ++i) strings.push_back(new GRpnString(false));
  for (GRpnString* string : strings) string->decRef();
  std::vector<GRpnString*> again;
  for (int i = 0; i < 3; ++i) again.push_back(new GRpnString(false));
  EXPECT_EQ(again, std::vector<GRpnString*>(strings.rbegin(), strings.rend()));
  for (GRpnString* string : again) string->decRef();
}

TEST(RpnValue, DeepVectorsAreComparedAndEndedWithoutRecursion) {
  const auto deep = [](double innermost) {
    GRpnValue value(innermost);
    for (int i = 0; i < 300000; ++i) {
      GRpnVector* const outer = new GRpnVector;
      outer->push_back(std::move(value));
      value = GRpnValue();
      value.setVector(outer);
      outer->decRef();
    }
    return value;
  };
  const GRpnValue a = deep(1);
  const GRpnValue b = deep(2);
  EXPECT_TRUE(a == deep(1));
  EXPECT_FALSE(a == b);
  EXPECT_TRUE(a < b);
  EXPECT_FALSE(b < a);
}

}  // namespace
