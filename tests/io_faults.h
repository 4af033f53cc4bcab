// SPDX-License-Identifier: MIT
// Makes the system calls of this test program fail: io_faults.cpp defines
// open(), write(), read(), flock(), rename(), linkat() and their like itself, in
// front of the C library's.
#ifndef LOOMKIT_TESTS_IO_FAULTS_H
#define LOOMKIT_TESTS_IO_FAULTS_H

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>

namespace loomkit::testing {

/// What becomes of the calls while an object of this kind lives. There is one
/// at a time.
class IoFaults {
 public:
  enum Kind {
    Fail,   ///< the chosen call fails with the error, and every step-th later one
    Short,  ///< every call moves one byte
    Storm,  ///< every other call fails with EINTR
    Kill,   ///< the process is killed at the chosen call
    Signal  ///< the chosen call is met by a SIGTERM, which may be handled
  };

  /// The `chosen`-th call, from 1, is the first that fails. With a step of 0 it
  /// is the only one, with 1 all later ones fail as well.
  IoFaults(Kind kind, int chosen, int error, int step = 1);
  IoFaults(const IoFaults&) = delete;
  IoFaults& operator=(const IoFaults&) = delete;
  ~IoFaults();

  /// Lets no file be made without a name, as on file systems that have none.
  static void refuseNamelessFiles(bool refuse);

  /// Calls so far that could have failed.
  [[nodiscard]] static int calls();
};

/// Does the work with its first, second, third call failing, and so on, until it
/// is done without meeting a failure. `check` sees after each failure that all is
/// well. The number of failures.
inline int failInTurn(int error, int step, const std::function<bool()>& work,
                      const std::function<void()>& check) {
  int failures = 0;
  for (int call = 1; call < 10000; ++call) {
    bool done = false;
    bool met = false;
    {
      const IoFaults faults(IoFaults::Fail, call, error, step);
      done = work();
      met = IoFaults::calls() >= call;
    }
    if (!met) {
      EXPECT_TRUE(done);
      return failures;
    }
    // What cannot spoil the result any more may fail unseen, as the sync of the
    // directory behind it all.
    if (done) continue;
    check();
    ++failures;
  }
  ADD_FAILURE() << "no end";
  return failures;
}

/// The same with each step in turn, for which `prepare` brings back what was
/// there: all later calls fail, or no other. LOOMKIT_FAULT_STEPS=100 is a long
/// run with all steps below.
inline int failInTurn(
    int error, const std::function<bool()>& work, const std::function<void()>& check,
    const std::function<void()>& prepare = [] {}) {
  int failures = 0;
  const char* wanted = std::getenv("LOOMKIT_FAULT_STEPS");
  for (int step = wanted != nullptr ? std::atoi(wanted) : 2; step-- > 0;) {
    prepare();
    failures += failInTurn(error, step, work, check);
  }
  std::printf("%d failing runs\n", failures);
  return failures;
}

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_IO_FAULTS_H
