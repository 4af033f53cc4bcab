// SPDX-License-Identifier: MIT
// Counts, values, vectors, and the end of deep trees.
#include "loomkit/object/object.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <climits>
#include <cmath>
#include <limits>
#include <memory>
#include <typeinfo>

#include "loomkit/object/sequence_objects.h"
#include "loomkit/object/value_objects.h"

namespace loomkit::testing {
namespace {

int alive = 0;

// A host's own class; it knows how many there are.
class Counted : public GObject {
 public:
  Counted() { ++alive; }
  ~Counted() override { --alive; }
  [[nodiscard]] GObject* clone() const override { return new Counted; }
  [[nodiscard]] std::string toString() const override { return "counted"; }
};

TEST(GObject, CountsItsReferences) {
  alive = 0;
  auto* object = new Counted;
  EXPECT_EQ(object->addRef(), 1);
  EXPECT_EQ(object->addRef(), 2);
  EXPECT_EQ(object->release(), 1);
  EXPECT_EQ(alive, 1);
  EXPECT_EQ(object->release(), 0);
  EXPECT_EQ(alive, 0);
}

TEST(GObject, BelongsToItsMakerWithoutReferences) {
  alive = 0;
  { const std::unique_ptr<GObject> owner(new Counted); }
  EXPECT_EQ(alive, 0);
}

TEST(GObjectDeathTest, OneReleaseTooManyEndsTheProcess) {
  EXPECT_DEATH(
      {
        const std::unique_ptr<GObject> object(new GIntegerObj(1));
        object->release();
      },
      "");
}

TEST(GRef2, AddsAndReleases) {
  alive = 0;
  GRef2<GObject> empty;
  EXPECT_EQ(empty.get(), nullptr);
  {
    GRef2<GObject> one(new Counted);
    const GRef2<GObject> two = one;
    EXPECT_EQ(one.get(), two.get());
    EXPECT_EQ(one->toString(), "counted");
    EXPECT_EQ((*one).toString(), "counted");
    GRef2<GObject> three = std::move(one);
    EXPECT_EQ(one.get(), nullptr);
    three = three.get();
    EXPECT_EQ(alive, 1);
    empty = three;
    three = nullptr;
    EXPECT_EQ(three.get(), nullptr);
  }
  EXPECT_EQ(alive, 1);
  empty = GRef2<GObject>();
  EXPECT_EQ(alive, 0);
}

struct RoundCase {
  double value;
  int rounded;
};

TEST(GNumberObj, RoundsToInts) {
  const double inf = std::numeric_limits<double>::infinity();
  for (const RoundCase& c :
       {RoundCase{2.5, 3}, RoundCase{-2.5, -2}, RoundCase{2.4999, 2}, RoundCase{-2.5001, -3},
        RoundCase{0, 0}, RoundCase{-0.5, 0}, RoundCase{0.5, 1}, RoundCase{2147483647, INT_MAX},
        RoundCase{2147483647.4, INT_MAX}, RoundCase{2147483647.5, INT_MAX},
        RoundCase{-2147483648.0, INT_MIN}, RoundCase{-2147483648.5, INT_MIN},
        RoundCase{-2147483649.0, INT_MIN}, RoundCase{1e300, INT_MAX}, RoundCase{-1e300, INT_MIN},
        RoundCase{inf, INT_MAX}, RoundCase{-inf, INT_MIN}, RoundCase{std::nan(""), INT_MIN}}) {
    EXPECT_EQ(GFloatObj(c.value).getIntValue(), c.rounded) << c.value;
  }
  EXPECT_EQ(GFloatObj(2.5).getFloatValue(), 2.5);
  EXPECT_EQ(GIntegerObj(7).getIntValue(), 7);
  EXPECT_EQ(GIntegerObj(7).getFloatValue(), 7.0);
}

TEST(GObject, ValuesAreSetAndCloned) {
  GIntegerObj integer;
  EXPECT_EQ(integer.getValue(), 0);
  integer.setValue(5);
  GFloatObj real;
  EXPECT_EQ(real.getValue(), 0.0);
  real.setValue(1.5);
  GStringObj text;
  EXPECT_EQ(text.getValue(), "");
  text.setValue("a b");
  GSymbolObj symbol("abc", 2);
  EXPECT_EQ(symbol.getValue(), "ab");
  symbol.setValue("sym");
  GNameObj name("n");
  name.setValue("m");
  for (const GObject* object :
       std::initializer_list<const GObject*>{&integer, &real, &text, &symbol, &name}) {
    const GRef2<GObject> twin(object->clone());
    const GObject& copy = *twin;
    EXPECT_EQ(typeid(copy), typeid(*object));
    EXPECT_EQ(twin->toString(), object->toString());
    EXPECT_NE(twin.get(), object);
  }
  EXPECT_EQ(GStringObj("abc", 2).getValue(), "ab");
  EXPECT_EQ(GStringObj("abc").getValue(), "abc");
  EXPECT_EQ(GStringObj(std::string("a\0b", 3)).getValue().size(), 3U);
  EXPECT_EQ(GSymbolObj(std::string("s")).getValue(), "s");
}

TEST(GVectorObj, HoldsReferences) {
  alive = 0;
  {
    GVectorObj vector;
    EXPECT_TRUE(vector.empty());
    auto* item = new Counted;
    vector.pushBack(item);
    vector.pushBack(item);
    vector.pushBack(nullptr);
    EXPECT_EQ(vector.size(), 3);
    EXPECT_EQ(vector.get(0), item);
    EXPECT_EQ(vector.get(2), nullptr);
    vector.set(0, item);
    EXPECT_EQ(alive, 1);
    vector.set(0, nullptr);
    vector.set(1, new Counted);
    EXPECT_EQ(alive, 1);
    vector.popBack();
    EXPECT_EQ(vector.size(), 2);
  }
  EXPECT_EQ(alive, 0);
}

TEST(GVectorObj, ASetElementMayBeTheOldOne) {
  alive = 0;
  GVectorObj vector;
  vector.pushBack(new Counted);
  vector.set(0, vector.get(0));
  EXPECT_EQ(alive, 1) << "the new reference is added first";
}

TEST(GVectorObj, ACloneHoldsTheSameElements) {
  const GRef2<GObject> inner(new GVectorObj);
  GVectorObj vector;
  vector.pushBack(inner);
  const GRef2<GObject> twin(vector.clone());
  auto& other = static_cast<GVectorObj&>(*twin);
  EXPECT_EQ(other.get(0), inner.get());
  other.pushBack(nullptr);
  EXPECT_EQ(vector.size(), 1);
  EXPECT_EQ(inner->addRef(), 4);
  inner->release();
}

TEST(GObject, HostsAddClassesOfTheirOwn) {
  GVectorObj vector;
  vector.pushBack(new Counted);
  EXPECT_EQ(vector.toString(), "[counted]");
}

// Runs something on a stack of 256 KiB.
template <typename Work>
void onSmallStack(Work work) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, 256 * 1024);
  pthread_t thread;
  ASSERT_EQ(pthread_create(
                &thread, &attributes,
                [](void* argument) -> void* {
                  (*static_cast<Work*>(argument))();
                  return nullptr;
                },
                &work),
            0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

TEST(DeepTrees, AreWrittenAndEndedWithoutRecursion) {
  onSmallStack([] {
    constexpr int depth = 1000000;
    GRef2<GObject> tree(new Counted);
    for (int i = 0; i < depth; ++i) {
      GSequenceObj* outer = nullptr;
      if (i % 2 == 0) {
        outer = new GVectorObj;
      } else {
        outer = new GListObj;
      }
      const GRef2<GObject> next(outer);
      outer->pushBack(tree);
      outer->pushBack(nullptr);
      tree = next;
    }
    EXPECT_EQ(tree->toString().size(),
              std::size_t{depth} / 2 * (2 + 3) + 7 + 6 * std::size_t{depth});
    tree = nullptr;
    EXPECT_EQ(alive, 0);
  });
}

TEST(DeepTrees, ASharedPartSurvives) {
  alive = 0;
  GRef2<GObject> kept;
  {
    GRef2<GObject> tree(new Counted);
    for (int i = 0; i < 1000; ++i) {
      auto* outer = new GVectorObj;
      const GRef2<GObject> next(outer);
      outer->pushBack(tree);
      tree = next;
      if (i == 100) kept = tree;
    }
  }
  EXPECT_EQ(alive, 1);
  kept = nullptr;
  EXPECT_EQ(alive, 0);
}

}  // namespace
}  // namespace loomkit::testing
