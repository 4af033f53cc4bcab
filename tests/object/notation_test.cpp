// SPDX-License-Identifier: MIT
// The notation: reading, writing, and refusing.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <typeinfo>

#include "loomkit/object/object_reader.h"
#include "loomkit/object/sequence_objects.h"
#include "loomkit/object/value_objects.h"

namespace loomkit::testing {
namespace {

// The kind of an object, its notation, and how many characters were read.
std::string readBack(const char* text) {
  const char* end = nullptr;
  const GRef2<GObject> object(GObject::parseCb(text, &end));
  if (end == text) return object == nullptr ? "failure" : "failure with an object";
  std::string kind = "null";
  if (object != nullptr) {
    const GObject& value = *object;
    const std::type_info& type = typeid(value);
    kind = type == typeid(GIntegerObj)  ? "int"
           : type == typeid(GFloatObj)  ? "float"
           : type == typeid(GStringObj) ? "string"
           : type == typeid(GSymbolObj) ? "symbol"
           : type == typeid(GNameObj)   ? "name"
           : type == typeid(GVectorObj) ? "vector"
           : type == typeid(GListObj)   ? "list"
                                        : "?";
  }
  return kind + " " + GObject::formatCb(object) + " +" + std::to_string(end - text);
}

struct ReadCase {
  const char* text;
  const char* result;
};

class Notation : public ::testing::TestWithParam<ReadCase> {};

TEST_P(Notation, IsRead) { EXPECT_EQ(readBack(GetParam().text), GetParam().result); }

INSTANTIATE_TEST_SUITE_P(
    Numbers, Notation,
    ::testing::Values(
        ReadCase{"42", "int 42 +2"}, ReadCase{"0x10", "int 16 +4"}, ReadCase{"010", "int 8 +3"},
        ReadCase{"-5", "int -5 +2"}, ReadCase{"+1", "int 1 +2"}, ReadCase{"  7 ", "int 7 +3"},
        ReadCase{"\v\f\r\n\t7", "int 7 +6"}, ReadCase{"1.5", "float 1.5 +3"},
        ReadCase{"1e3", "float 1000 +3"}, ReadCase{"1E3", "float 1000 +3"},
        ReadCase{".5", "float 0.5 +2"}, ReadCase{"-.5", "float -0.5 +3"},
        ReadCase{"1.", "float 1 +2"}, ReadCase{"2147483647", "int 2147483647 +10"},
        ReadCase{"2147483648", "int 2147483647 +10"},
        ReadCase{"-9999999999", "int -2147483648 +11"},
        ReadCase{"0xFFFFFFFFF", "int 2147483647 +11"}, ReadCase{"1x", "int 1 +1"},
        ReadCase{"08", "int 0 +1"}, ReadCase{"0x", "int 0 +1"}, ReadCase{"1,5", "int 1 +1"},
        ReadCase{"9999999999.0", "float 9999999999 +12"}, ReadCase{"-", "failure"},
        ReadCase{"+", "failure"}, ReadCase{".", "failure"}, ReadCase{"e5", "name e5 +2"},
        // Around the nine digits that are read without a look at the range.
        ReadCase{"0", "int 0 +1"}, ReadCase{"00", "int 0 +2"},
        ReadCase{"123456789", "int 123456789 +9"}, ReadCase{"1234567890", "int 1234567890 +10"},
        ReadCase{"-123456789", "int -123456789 +10"},
        ReadCase{"123456789.5", "float 123456789.5 +11"},
        ReadCase{"123456789e1", "float 1234567890 +11"}, ReadCase{"1e", "float 1 +1"},
        ReadCase{"1e999", "float inf +5"}, ReadCase{"-1e999", "float -inf +6"},
        ReadCase{"-inf", "failure"}, ReadCase{"inf", "name inf +3"},
        ReadCase{"99999999999", "int 2147483647 +11"}));

INSTANTIATE_TEST_SUITE_P(
    Words, Notation,
    ::testing::Values(
        ReadCase{"abc", "name abc +3"}, ReadCase{"a.b:c", "name a.b:c +5"},
        ReadCase{"_x", "name _x +2"}, ReadCase{":", "name : +1"}, ReadCase{"a-b", "name a +1"},
        ReadCase{"a1 b", "name a1 +2"}, ReadCase{"a\xc3", "name a +1"}, ReadCase{"\xc3", "failure"},
        ReadCase{"Symbolic", "name Symbolic +8"}, ReadCase{"Symbol", "name Symbol +6"},
        ReadCase{"Symbol(\"x y\")", "symbol Symbol(\"x y\") +13"},
        ReadCase{"Symbol(\"xy\")", "symbol @xy +12"},
        ReadCase{"Symbol(\"\")", "symbol Symbol(\"\") +10"},
        ReadCase{"Symbol(1)", "name Symbol +6"}, ReadCase{"Symbol(\"x", "name Symbol +6"},
        ReadCase{"@abc", "symbol @abc +4"}, ReadCase{"@_1", "symbol @_1 +3"},
        ReadCase{"@a.b", "symbol @a +2"}, ReadCase{"@", "failure"}, ReadCase{"@1", "failure"},
        ReadCase{"@ a", "failure"}, ReadCase{"@\"a\"", "failure"}, ReadCase{"NULL", "null NULL +4"},
        ReadCase{"  NULL", "null NULL +6"}, ReadCase{"NULLABLE", "null NULL +4"},
        ReadCase{"NUL", "name NUL +3"}, ReadCase{"null", "name null +4"}, ReadCase{"", "failure"},
        ReadCase{"   ", "failure"}, ReadCase{"#", "failure"}));

INSTANTIATE_TEST_SUITE_P(Strings, Notation,
                         ::testing::Values(ReadCase{"\"a\"", "string \"a\" +3"},
                                           ReadCase{"\"\"", "string \"\" +2"},
                                           ReadCase{"\"a\\tb\\\"\"", "string \"a\\tb\\\"\" +8"},
                                           ReadCase{"\"a\"b\"", "string \"a\" +3"},
                                           ReadCase{"\"a\\\\\"b", "string \"a\\\\\" +5"},
                                           ReadCase{"\"a\\\"", "failure"},
                                           ReadCase{"\"a", "failure"}, ReadCase{"\"", "failure"}));

INSTANTIATE_TEST_SUITE_P(
    Sequences, Notation,
    ::testing::Values(
        ReadCase{"[1, 2, 3]", "vector [1, 2, 3] +9"}, ReadCase{"@[1]", "vector [1] +4"},
        ReadCase{"@(1, \"a\")", "list @(1, \"a\") +9"}, ReadCase{"[ ]", "vector [] +3"},
        ReadCase{"[]", "vector [] +2"}, ReadCase{"@()", "list @() +3"},
        ReadCase{"@( )", "list @() +4"}, ReadCase{"[NULL, 1]", "vector [NULL, 1] +9"},
        ReadCase{"[NULLABLE]", "failure"}, ReadCase{" [ 1 ,2 ] x", "vector [1, 2] +9"},
        ReadCase{"[[1], @(2, [3]), []]", "vector [[1], @(2, [3]), []] +20"},
        ReadCase{"[1,]", "failure"}, ReadCase{"[,1]", "failure"}, ReadCase{"[1 2]", "failure"},
        ReadCase{"[1", "failure"}, ReadCase{"[1,", "failure"}, ReadCase{"[", "failure"},
        ReadCase{"]", "failure"}, ReadCase{"(1)", "failure"}, ReadCase{"[1)", "failure"},
        ReadCase{"@(1]", "failure"}, ReadCase{"@(1,)", "failure"}, ReadCase{"[[1]", "failure"},
        ReadCase{"[1, [2, @(3, \"x]", "failure"}, ReadCase{"@ (1)", "failure"}));

TEST(Notation, HasAFormForWritableTexts) {
  char text[] = "[1] rest";
  char* end = nullptr;
  const GRef2<GObject> object(GObject::parseCb(text, &end));
  EXPECT_EQ(end, text + 3);
  char bad[] = "[1";
  EXPECT_EQ(GObject::parseCb(bad, &end), nullptr);
  EXPECT_EQ(end, bad);
}

struct WriteCase {
  double value;
  const char* text;
};

TEST(Notation, WritesNumbersWithFifteenDigits) {
  for (const WriteCase& c :
       {WriteCase{2.0, "2"}, WriteCase{-0.5, "-0.5"}, WriteCase{0.1, "0.1"},
        WriteCase{1.0 / 3, "0.333333333333333"}, WriteCase{1e15, "1e+15"},
        WriteCase{123456789012345, "123456789012345"}, WriteCase{1e-5, "1e-05"},
        WriteCase{0.0001, "0.0001"}, WriteCase{-0.0, "-0"}, WriteCase{1e300, "1e+300"},
        WriteCase{std::numeric_limits<double>::infinity(), "inf"},
        WriteCase{std::nan(""), "nan"}}) {
    EXPECT_EQ(GFloatObj(c.value).toString(), c.text);
  }
  EXPECT_EQ(GIntegerObj(-2147483647 - 1).toString(), "-2147483648");
}

TEST(Notation, WritesSymbolsAsWordsOrInQuotes) {
  EXPECT_EQ(GSymbolObj("abc").toString(), "@abc");
  EXPECT_EQ(GSymbolObj("_a1").toString(), "@_a1");
  EXPECT_EQ(GSymbolObj("a b").toString(), "Symbol(\"a b\")");
  EXPECT_EQ(GSymbolObj("1a").toString(), "Symbol(\"1a\")");
  EXPECT_EQ(GSymbolObj("").toString(), "Symbol(\"\")");
  EXPECT_EQ(GSymbolObj("a\xc3").toString().substr(0, 7), "Symbol(");
  EXPECT_EQ(GNameObj("any thing").toString(), "any thing");
  EXPECT_EQ(GObject::formatCb(nullptr), "NULL");
}

// --- Trees -------------------------------------------------------------------

std::string randomText(std::mt19937& random) {
  std::string text(random() % 8, '\0');
  for (char& c : text) c = static_cast<char>(1 + random() % 255);
  return text;
}

GObject* randomTree(std::mt19937& random, int depth) {
  switch (random() % (depth > 0 ? 9 : 7)) {
    case 0:
      return nullptr;
    case 1:
      return new GIntegerObj(static_cast<int>(random()));
    case 2:
      // Not whole, or it would be read back as an integer.
      return new GFloatObj((static_cast<double>(random() % 2000001) - 1000000) / 1000 + 0.0005);
    case 3:
      return new GStringObj(randomText(random));
    case 4:
      return new GSymbolObj(randomText(random));
    case 5:
      return new GNameObj("n" + std::to_string(random() % 100) + (random() % 2 == 0 ? ":" : "."));
    case 6:
      return new GSymbolObj("s" + std::to_string(random() % 100));
    default:
      break;
  }
  const GRef2<GObject> sequence(random() % 2 == 0 ? static_cast<GObject*>(new GVectorObj)
                                                  : new GListObj);
  const int count = static_cast<int>(random() % 5);
  for (int i = 0; i < count; ++i) {
    static_cast<GSequenceObj&>(*sequence).pushBack(randomTree(random, depth - 1));
  }
  return sequence->clone();
}

void expectSame(const GObject* a, const GObject* b) {
  ASSERT_EQ(a == nullptr, b == nullptr);
  if (a == nullptr) return;
  ASSERT_EQ(typeid(*a), typeid(*b));
  const auto* sequence = dynamic_cast<const GSequenceObj*>(a);
  if (sequence == nullptr) {
    ASSERT_EQ(a->toString(), b->toString());
    return;
  }
  const auto* other = static_cast<const GSequenceObj*>(b);
  ASSERT_EQ(sequence->size(), other->size());
  for (int i = 0; i < sequence->size(); ++i) expectSame(sequence->get(i), other->get(i));
}

TEST(Notation, WhatIsWrittenIsReadBack) {
  std::mt19937 random(20261121);
  for (int round = 0; round < 100000; ++round) {
    const GRef2<GObject> tree(randomTree(random, 4));
    const std::string text = GObject::formatCb(tree);
    GObjectError error;
    const GRef2<GObject> again(gParseObject(text, &error));
    ASSERT_EQ(error.reason, "") << text;
    ASSERT_EQ(GObject::formatCb(again), text);
    expectSame(tree, again);
  }
}

TEST(Notation, SurvivesEveryTruncationAndMutation) {
  const std::string whole =
      "[1, -2.5e3, \"a\\x41\", @s, Symbol(\"x y\"), n.a:m, @(NULL, []), @[0x1f]]";
  GObjectError error;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const GRef2<GObject> object(gParseObject(whole.substr(0, size), &error));
    EXPECT_EQ(object.get(), nullptr) << size;
    EXPECT_NE(error.reason, "") << size;
    EXPECT_LE(error.offset, size);
  }
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (int value = 0; value < 256; ++value) {
      std::string text = whole;
      text[i] = static_cast<char>(value);
      const GRef2<GObject> object(gParseObject(text, &error));
      if (!error.reason.empty()) continue;
      const std::string written = GObject::formatCb(object);
      const GRef2<GObject> again(gParseObject(written, &error));
      ASSERT_EQ(error.reason, "") << text;
    }
  }
}

// --- Where and why -----------------------------------------------------------

struct ErrorCase {
  const char* text;
  std::size_t offset;
  const char* reason;
};

TEST(GParseObject, SaysWhereAndWhy) {
  for (const ErrorCase& c :
       {ErrorCase{"", 0, "unexpected end"}, ErrorCase{"  ", 2, "unexpected end"},
        ErrorCase{"[1, #]", 4, "not a value"}, ErrorCase{"[1,]", 3, "not a value"},
        ErrorCase{"[1 2]", 3, "',' or ']' expected"}, ErrorCase{"@(1]", 3, "',' or ')' expected"},
        ErrorCase{"[1", 2, "',' or ']' expected"}, ErrorCase{"[1,", 3, "unexpected end"},
        ErrorCase{"[\"a]", 1, "unterminated string"},
        ErrorCase{"[@ a]", 1, "a name, '[' or '(' expected behind '@'"},
        ErrorCase{"1 2", 2, "garbage behind the object"},
        ErrorCase{"NULLABLE", 4, "garbage behind the object"}}) {
    GObjectError error;
    EXPECT_EQ(gParseObject(c.text, &error), nullptr);
    EXPECT_EQ(error.offset, c.offset) << c.text;
    EXPECT_EQ(error.reason, c.reason) << c.text;
  }
  GObjectError error;
  EXPECT_EQ(gParseObject(std::string("1\0", 2), &error), nullptr);
  EXPECT_EQ(error.offset, 1U);
  const GRef2<GObject> good(gParseObject(" [1] \n", &error));
  EXPECT_NE(good.get(), nullptr);
  EXPECT_EQ(error.reason, "");
  EXPECT_EQ(gParseObject("NULL", &error), nullptr);
  EXPECT_EQ(error.reason, "") << "null is NULL";
}

TEST(GParseObject, KeepsWholeNumbersBeyond32BitsOrRefusesThem) {
  const auto read = [](const char* text) {
    GObjectError error;
    const GRef2<GObject> object(gParseObject(text, &error));
    return error.reason.empty() ? GObject::formatCb(object) : error.reason;
  };
  EXPECT_EQ(read("[2147483647, -2147483648]"), "[2147483647, -2147483648]");
  EXPECT_EQ(read("[2147483648, -2147483649]"), "[2147483648, -2147483649]");
  EXPECT_EQ(read("0x80000000"), "2147483648");
  EXPECT_EQ(read("999999999999999"), "999999999999999");
  EXPECT_EQ(read("1000000000000000"), "number out of range: 1000000000000000")
      << "the notation has 15 digits";
  EXPECT_EQ(read("-99999999999999999999"), "number out of range: -99999999999999999999");
  const char* end = nullptr;
  const GRef2<GObject> clamped(GObject::parseCb("5000000000", &end));
  EXPECT_EQ(GObject::formatCb(clamped), "2147483647");
}

TEST(GParseObject, RefusesWhatIsNestedTooDeep) {
  const auto nested = [](int depth) {
    return std::string(static_cast<std::size_t>(depth), '[') +
           std::string(static_cast<std::size_t>(depth), ']');
  };
  GObjectError error;
  const GRef2<GObject> deep(gParseObject(nested(gObjectMaxDepth), &error));
  EXPECT_EQ(error.reason, "");
  EXPECT_EQ(GObject::formatCb(deep), nested(gObjectMaxDepth));
  EXPECT_EQ(gParseObject(nested(gObjectMaxDepth + 1), &error), nullptr);
  EXPECT_EQ(error.reason, "nested too deep");
  EXPECT_EQ(error.offset, static_cast<std::size_t>(gObjectMaxDepth) + 1);
  for (const char* open : {"[", "@(", "@[", "[1,", "[@(", "[NULL,[],"}) {
    std::string text;
    while (text.size() < (1 << 20)) text += open;
    const char* end = nullptr;
    EXPECT_EQ(GObject::parseCb(text.c_str(), &end), nullptr);
    EXPECT_EQ(end, text.c_str());
  }
}

}  // namespace
}  // namespace loomkit::testing
