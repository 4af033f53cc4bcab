// SPDX-License-Identifier: MIT
// Makes the system calls of this test program fail: it defines write(), read()
// and their like itself, in front of the C library's.
#ifndef LOOMKIT_TESTS_IO_FAULTS_H
#define LOOMKIT_TESTS_IO_FAULTS_H

namespace loomkit::testing {

/// What becomes of the calls while an object of this kind lives. There is one
/// at a time.
class IoFaults {
 public:
  enum Kind {
    Fail,   ///< the chosen call fails with the error, and all later ones
    Short,  ///< every call moves one byte
    Storm   ///< every other call fails with EINTR
  };

  /// The `chosen`-th call, from 1, is the first that fails.
  IoFaults(Kind kind, int chosen, int error);
  IoFaults(const IoFaults&) = delete;
  IoFaults& operator=(const IoFaults&) = delete;
  ~IoFaults();

  /// Calls so far that could have failed.
  [[nodiscard]] static int calls();
};

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_IO_FAULTS_H
