// SPDX-License-Identifier: MIT
// Turns errno values into the error numbers of platform.h.
#ifndef LOOMKIT_PLATFORM_POSIX_ERROR_CODES_H
#define LOOMKIT_PLATFORM_POSIX_ERROR_CODES_H

#include <cerrno>

namespace loomkit::platform {

/// Makes `error` the thread's errno and thereby its last error, whatever the
/// calls since the failure have left there.
void setLastErrorFromErrno(int error) noexcept;

/// Keeps errno over calls that clean up after a failure.
class KeepErrno {
 public:
  KeepErrno() noexcept : kept(errno) {}
  ~KeepErrno() { errno = kept; }
  KeepErrno(const KeepErrno&) = delete;
  KeepErrno& operator=(const KeepErrno&) = delete;

 private:
  int kept;
};

/// The portable number for the errno value `error`. ENOENT is 2; a caller that
/// knows that a directory was missing sets 3 itself.
unsigned errorFromErrno(int error) noexcept;

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_POSIX_ERROR_CODES_H
