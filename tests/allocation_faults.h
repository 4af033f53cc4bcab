// SPDX-License-Identifier: MIT
// Makes allocations of this test program fail: allocation_faults.cpp replaces
// operator new, so that a test of this kind is a program of its own.
#ifndef LOOMKIT_TESTS_ALLOCATION_FAULTS_H
#define LOOMKIT_TESTS_ALLOCATION_FAULTS_H

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <new>
#include <string>

#include "loomkit/text/output.h"

namespace loomkit::testing {

/// Lets allocations fail while an object of this kind lives. There is one at a
/// time.
class AllocationFaults {
 public:
  /// The `first`-th allocation from now fails, counted from 1, and then every
  /// `step`-th: with 1 all later ones, with 0 none.
  explicit AllocationFaults(std::size_t first, std::size_t step = 0);
  AllocationFaults(const AllocationFaults&) = delete;
  AllocationFaults& operator=(const AllocationFaults&) = delete;
  ~AllocationFaults();
};

/// Allocations since the program began.
std::size_t allocationCount();
/// Blocks that are allocated and not freed.
long blockCount();
/// Bytes in them, and the most there have been since resetPeak().
std::size_t byteCount();
std::size_t peakByteCount();
void resetPeak();

/// Drops what the library says while it lives: keeping it would need memory.
class Silence : public GOutput {
 public:
  Silence() : previous(gOutput) { gOutput = this; }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;
  ~Silence() override { gOutput = previous; }
  using GOutput::output;
  void output(GOutputLevel, const std::string&, const char*) override {}

 private:
  GOutput* previous;
};

/// Does the work again and again, with its first, second, third... allocation
/// failing, until it gets through. Each time all blocks must be given back, and
/// `check` may look at what else there is. The number of failures.
template <typename Work>
std::size_t failEachAllocation(
    Work work, std::size_t step = 0, const std::function<void()>& check = [] {}) {
  for (std::size_t nth = 1;; ++nth) {
    const long before = blockCount();
    const std::size_t countBefore = allocationCount();
    bool met = false;
    try {
      const AllocationFaults faults(nth, step);
      work();
      met = allocationCount() - countBefore >= nth;
    } catch (const std::bad_alloc&) {
      met = true;
    }
    EXPECT_EQ(blockCount(), before) << "allocation " << nth << ", step " << step;
    check();
    if (!met) return nth - 1;
  }
}

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_ALLOCATION_FAULTS_H
