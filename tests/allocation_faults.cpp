// SPDX-License-Identifier: MIT
#include "tests/allocation_faults.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>

namespace {

std::size_t allocations = 0;
std::size_t firstToFail = 0;  // counted like `allocations`; 0: none
std::size_t step = 0;
long blocks = 0;
std::size_t bytes = 0;
std::size_t peak = 0;

bool fails() {
  if (firstToFail == 0 || allocations < firstToFail) return false;
  return step == 0 ? allocations == firstToFail : (allocations - firstToFail) % step == 0;
}

void* allocate(std::size_t size) noexcept {
  ++allocations;
  if (fails()) return nullptr;
  void* const memory = std::malloc(size != 0 ? size : 1);
  if (memory == nullptr) return nullptr;
  ++blocks;
  bytes += malloc_usable_size(memory);
  peak = std::max(peak, bytes);
  return memory;
}

void giveBack(void* memory) noexcept {
  if (memory == nullptr) return;
  --blocks;
  bytes -= malloc_usable_size(memory);
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
  void* const memory = allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { giveBack(memory); }
void operator delete(void* memory, std::size_t) noexcept { giveBack(memory); }

namespace loomkit::testing {

AllocationFaults::AllocationFaults(std::size_t first, std::size_t everyStep) {
  firstToFail = first == 0 ? 0 : allocations + first;
  step = everyStep;
}
AllocationFaults::~AllocationFaults() { firstToFail = 0; }

std::size_t allocationCount() { return allocations; }
long blockCount() { return blocks; }
std::size_t byteCount() { return bytes; }
std::size_t peakByteCount() { return peak; }
void resetPeak() { peak = bytes; }

}  // namespace loomkit::testing
