// SPDX-License-Identifier: MIT
// What happens to objects when memory runs out: nothing is lost and nothing
// half done stays. A program of its own, because it replaces operator new.
#include <gtest/gtest.h>

#include "loomkit/object/sequence_objects.h"
#include "loomkit/object/value_objects.h"
#include "tests/allocation_faults.h"

namespace {

using loomkit::testing::AllocationFaults;
using loomkit::testing::failEachAllocation;

const char notation[] =
    "[1, -2.5e3, \"a text that is too long for the small buffer \\x41\", @symbol, NULL, "
    "Symbol(\"a symbol that is too long for the small buffer\"), a.name:that.is.also.quite.long, "
    "@(NULL, [], @[0x1f, [\"x\", @(@(@()))]])]";

TEST(ObjectAllocation, AFailureWhileReadingLeavesNothingBehind) {
  const std::size_t failures = failEachAllocation([] {
    const char* end = nullptr;
    try {
      const GRef2<GObject> object(GObject::parseCb(notation, &end));
      EXPECT_EQ(*end, '\0');
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(end, notation);
      throw;
    }
  });
  EXPECT_GT(failures, 20U);
}

TEST(ObjectAllocation, ABadTextLeavesNothingBehind) {
  const std::string whole = notation;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const std::string part = whole.substr(0, size);
    failEachAllocation([&part] {
      const char* end = nullptr;
      EXPECT_EQ(GObject::parseCb(part.c_str(), &end), nullptr);
      EXPECT_EQ(end, part.c_str());
    });
  }
}

TEST(ObjectAllocation, AFailureWhileWritingOrCopyingLeavesTheObjectAsItWas) {
  const char* end = nullptr;
  const GRef2<GObject> object(GObject::parseCb(notation, &end));
  const std::string text = GObject::formatCb(object);
  failEachAllocation([&] { EXPECT_EQ(GObject::formatCb(object).size(), text.size()); });
  failEachAllocation([&] { const GRef2<GObject> twin(object->clone()); });
  EXPECT_EQ(GObject::formatCb(object), text);
}

// Each change of a list that fails leaves elements and cursor as they were.
TEST(ObjectAllocation, AFailedChangeLeavesAListAsItWas) {
  const GRef2<GObject> item(new GIntegerObj(9));
  for (int operation = 0; operation < 3; ++operation) {
    for (int at = 0; at <= 3; ++at) {
      GListObj list;
      for (int i = 0; i < 3; ++i) list.pushBack(new GIntegerObj(i));
      if (at < 3) {
        EXPECT_NE(list.get(at), nullptr);
      }
      const auto change = [&] {
        const AllocationFaults faults(1);
        if (operation == 0) {
          list.pushBack(item);
        } else if (operation == 1) {
          list.pushFront(item);
        } else {
          list.insert(at, item);
        }
      };
      EXPECT_THROW(change(), std::bad_alloc);
      for (int i = 2; i >= 0; --i) EXPECT_EQ(static_cast<GIntegerObj*>(list.get(i))->getValue(), i);
      EXPECT_EQ(list.toString(), "@(0, 1, 2)");
    }
  }
}

}  // namespace
