// SPDX-License-Identifier: MIT
// Work in another process, which is killed in the midst of it.
#ifndef LOOMKIT_TESTS_KILLED_WORK_H
#define LOOMKIT_TESTS_KILLED_WORK_H

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tests/io_faults.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {

/// What the work tells the test, whatever becomes of its process.
using Say = std::function<void(const std::string&)>;

struct KilledWork {
  bool killed = false;  ///< or else it came to its end
  std::string said;
};

/// Does the work in another process, whose `call`-th call of the system meets the fault.
/// Where a process cannot be copied, the other one runs the same test anew up to this
/// function, in the same scratch directory, which is empty then: what a test does before
/// must always lead to the same files.
KilledWork doKilled(const ScratchDirectory& scratch, int call,
                    const std::function<void(const Say&)>& work,
                    IoFaults::Kind fault = IoFaults::Kill);

/// From one call that is met to the next: 1, or more where starting a process takes long.
extern const int killStep;

/// The same with the first call, a later one, and so on, until the work gets to its end.
/// `check` looks after each death. The number of calls of the work.
inline int killInTurn(const ScratchDirectory& scratch, const std::function<void()>& work,
                      const std::function<void()>& check, IoFaults::Kind fault = IoFaults::Kill) {
  for (int call = 1; call < 10000; call += killStep) {
    if (!doKilled(
             scratch, call, [&work](const Say&) { work(); }, fault)
             .killed)
      return call - 1;
    check();
  }
  ADD_FAILURE() << "no end";
  return 0;
}

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_KILLED_WORK_H
