// SPDX-License-Identifier: MIT
#include "tests/system/machine.h"

#include <windows.h>

namespace loomkit::testing {

// Handles are multiples of four, and the lowest free one is given first. The system's own
// count of them is not used, since Wine always says that there are none.
HeldResources heldResources() {
  constexpr std::size_t highest = 16384;
  HeldResources held;
  for (std::size_t number = 4; number < highest; number += 4) {
    DWORD flags = 0;
    if (::GetHandleInformation(reinterpret_cast<HANDLE>(number), &flags) != 0) ++held.open;
  }
  return held;  // a child that has not been waited for is an open handle
}

const char* const quickProgram = LOOMKIT_TEST_CHILD;
const int manyChildren = 200;

}  // namespace loomkit::testing
