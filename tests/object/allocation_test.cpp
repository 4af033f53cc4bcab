// SPDX-License-Identifier: MIT
// What happens to objects when memory runs out: nothing is lost and nothing
// half done stays. A program of its own, because it replaces operator new.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "loomkit/object/sequence_objects.h"
#include "loomkit/object/value_objects.h"

namespace {

std::size_t allocations = 0;
std::size_t failAt = 0;  // the allocation that fails, counted from 1; 0: none
long blocks = 0;         // allocated and not freed

void* allocate(std::size_t size) {
  ++allocations;
  if (failAt != 0 && allocations == failAt) throw std::bad_alloc();
  void* const memory = std::malloc(size != 0 ? size : 1);
  if (memory == nullptr) throw std::bad_alloc();
  ++blocks;
  return memory;
}

void giveBack(void* memory) noexcept {
  if (memory != nullptr) --blocks;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size); }
void operator delete(void* memory) noexcept { giveBack(memory); }
void operator delete(void* memory, std::size_t) noexcept { giveBack(memory); }

namespace {

// Does the work again and again, with its first, second, third... allocation
// failing, until it gets through. Each time all blocks must be given back.
template <typename Work>
std::size_t failEachAllocation(Work work) {
  for (std::size_t nth = 1;; ++nth) {
    const long before = blocks;
    allocations = 0;
    failAt = nth;
    bool threw = false;
    try {
      work();
    } catch (const std::bad_alloc&) {
      threw = true;
    }
    failAt = 0;
    EXPECT_EQ(blocks, before) << "allocation " << nth;
    if (!threw) return nth - 1;
  }
}

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
      allocations = 0;
      failAt = 1;
      EXPECT_THROW(operation == 0   ? list.pushBack(item)
                   : operation == 1 ? list.pushFront(item)
                                    : list.insert(at, item),
                   std::bad_alloc);
      failAt = 0;
      for (int i = 2; i >= 0; --i) EXPECT_EQ(static_cast<GIntegerObj*>(list.get(i))->getValue(), i);
      EXPECT_EQ(list.toString(), "@(0, 1, 2)");
    }
  }
}

}  // namespace
