// SPDX-License-Identifier: MIT
// GListObj: every operation at every place of the cursor, beside a vector.
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

#include "loomkit/object/sequence_objects.h"
#include "loomkit/object/value_objects.h"

namespace loomkit::testing {
namespace {

int valueAt(const GListObj& list, int index) {
  return static_cast<GIntegerObj*>(list.get(index))->getValue();
}

std::vector<int> valuesOf(const GListObj& list) {
  std::vector<int> values;
  for (int i = 0; i < list.size(); ++i) values.push_back(valueAt(list, i));
  return values;
}

std::unique_ptr<GListObj> listOf(int size) {
  auto list = std::make_unique<GListObj>();
  for (int i = 0; i < size; ++i) list->pushBack(new GIntegerObj(i));
  return list;
}

TEST(GListObj, HoldsElementsInOrder) {
  GListObj list;
  EXPECT_TRUE(list.empty());
  list.pushBack(new GIntegerObj(2));
  list.pushFront(new GIntegerObj(1));
  list.insert(2, new GIntegerObj(4));
  list.insert(2, new GIntegerObj(3));
  list.insert(0, new GIntegerObj(0));
  EXPECT_EQ(valuesOf(list), (std::vector<int>{0, 1, 2, 3, 4}));
  list.set(2, new GIntegerObj(7));
  list.popFront();
  list.popBack();
  EXPECT_EQ(valuesOf(list), (std::vector<int>{1, 7, 3}));
  EXPECT_EQ(list.size(), 3);
  EXPECT_FALSE(list.empty());
}

// Each operation, behind each position of the cursor, in lists of each size:
// the elements are right whatever the cursor has become.
TEST(GListObj, KeepsItsCursorThroughEveryChange) {
  for (int size = 0; size <= 6; ++size) {
    for (int cursor = -1; cursor < size; ++cursor) {
      for (int operation = 0; operation < 6 + size; ++operation) {
        const auto list = listOf(size);
        std::vector<int> model;
        for (int i = 0; i < size; ++i) model.push_back(i);
        if (cursor >= 0) {
          EXPECT_EQ(valueAt(*list, cursor), cursor);
        }
        switch (operation) {
          case 0:
            list->pushFront(new GIntegerObj(100));
            model.insert(model.begin(), 100);
            break;
          case 1:
            list->pushBack(new GIntegerObj(100));
            model.push_back(100);
            break;
          case 2:
            if (size == 0) continue;
            list->popFront();
            model.erase(model.begin());
            break;
          case 3:
            if (size == 0) continue;
            list->popBack();
            model.pop_back();
            break;
          case 4:
            if (size == 0) continue;
            list->popBack();
            list->pushBack(new GIntegerObj(100));
            model.back() = 100;
            break;
          default:
            list->insert(operation - 5, new GIntegerObj(100));
            model.insert(model.begin() + operation - 5, 100);
        }
        for (int i = list->size() - 1; i >= 0; --i) {
          ASSERT_EQ(valueAt(*list, i), model[static_cast<std::size_t>(i)])
              << "size " << size << ", cursor " << cursor << ", operation " << operation;
        }
        ASSERT_EQ(valuesOf(*list), model);
      }
    }
  }
}

TEST(GListObj, AgreesWithAVectorOverRandomOperations) {
  std::mt19937 random(20261121);
  GListObj list;
  std::vector<int> model;
  for (int step = 0; step < 200000; ++step) {
    const int size = static_cast<int>(model.size());
    const int at = size == 0 ? 0 : static_cast<int>(random() % static_cast<unsigned>(size));
    switch (size == 0 ? random() % 3 : random() % (size > 60 ? 9 : 7)) {
      case 0:
        list.pushBack(new GIntegerObj(step));
        model.push_back(step);
        break;
      case 1:
        list.pushFront(new GIntegerObj(step));
        model.insert(model.begin(), step);
        break;
      case 2:
        list.insert(at, new GIntegerObj(step));
        model.insert(model.begin() + at, step);
        break;
      case 3:
      case 4:
        ASSERT_EQ(valueAt(list, at), model[static_cast<std::size_t>(at)]);
        break;
      case 5:
        list.set(at, new GIntegerObj(step));
        model[static_cast<std::size_t>(at)] = step;
        break;
      case 6:
      case 7:
        list.popFront();
        model.erase(model.begin());
        break;
      default:
        list.popBack();
        model.pop_back();
    }
    ASSERT_EQ(list.size(), static_cast<int>(model.size()));
    if (step % 1000 == 0) {
      ASSERT_EQ(valuesOf(list), model);
    }
  }
}

TEST(GListObj, ACloneHasACursorOfItsOwn) {
  const auto list = listOf(5);
  EXPECT_EQ(valueAt(*list, 3), 3);
  const GRef2<GObject> twin(list->clone());
  auto& other = static_cast<GListObj&>(*twin);
  EXPECT_EQ(other.get(0), list->get(0)) << "the same elements";
  other.popFront();
  EXPECT_EQ(valuesOf(other), (std::vector<int>{1, 2, 3, 4}));
  EXPECT_EQ(valuesOf(*list), (std::vector<int>{0, 1, 2, 3, 4}));
}

// Hours if each access began at an end of the list.
TEST(GListObj, IsReadInOrderAtOneStepAnElement) {
  constexpr int size = 300000;
  const auto list = listOf(size);
  for (int i = 0; i < size; ++i) ASSERT_EQ(valueAt(*list, i), i);
  for (int i = size - 1; i >= 0; --i) ASSERT_EQ(valueAt(*list, i), i);
  EXPECT_EQ(valueAt(*list, size / 2), size / 2);
  for (int i = size / 2; i < size / 2 + 100000; ++i) {
    list->insert(i, new GIntegerObj(-1));
    ASSERT_EQ(valueAt(*list, i), -1);
  }
}

TEST(GListObj, MayHoldNull) {
  GListObj list;
  list.pushBack(nullptr);
  EXPECT_EQ(list.get(0), nullptr);
  EXPECT_EQ(list.toString(), "@(NULL)");
}

}  // namespace
}  // namespace loomkit::testing
