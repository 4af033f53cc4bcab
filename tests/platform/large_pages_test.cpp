// SPDX-License-Identifier: MIT
#include "loomkit/platform/large_pages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>

namespace {

using loomkit::platform::largePageSize;
using loomkit::platform::preferLargePages;

// Whether the wish is granted cannot be seen; the memory must be as good as before.
TEST(LargePages, LeaveMemoryWhatItIs) {
  constexpr std::align_val_t alignment{largePageSize};
  auto* const memory = static_cast<unsigned char*>(::operator new(2 * largePageSize, alignment));
  preferLargePages(memory, 2 * largePageSize);
  std::fill_n(memory, 2 * largePageSize, 'x');
  EXPECT_EQ(std::count(memory, memory + 2 * largePageSize, 'x'),
            static_cast<std::ptrdiff_t>(2 * largePageSize));
  ::operator delete(memory, alignment);
}

}  // namespace
