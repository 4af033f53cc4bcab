// SPDX-License-Identifier: MIT
// What the tests of processes ask of the machine that they run on, with an answer of each
// system's own: machine.cpp here, and that of tests/windows.
#ifndef LOOMKIT_TESTS_SYSTEM_MACHINE_H
#define LOOMKIT_TESTS_SYSTEM_MACHINE_H

#include <cstddef>

namespace loomkit::testing {

/// What this process holds of the system.
struct HeldResources {
  std::size_t open = 0;   ///< open files, pipes and the like
  bool children = false;  ///< whether there is a child that nobody has waited for
  bool operator==(const HeldResources&) const = default;
};
HeldResources heldResources();

/// A program that ends at once, with exit code 0.
extern const char* const quickProgram;

/// How many children take a few seconds.
extern const int manyChildren;

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_SYSTEM_MACHINE_H
