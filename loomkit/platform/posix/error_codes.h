// SPDX-License-Identifier: MIT
// Turns errno values into the error numbers of platform.h.
#ifndef LOOMKIT_PLATFORM_POSIX_ERROR_CODES_H
#define LOOMKIT_PLATFORM_POSIX_ERROR_CODES_H

namespace loomkit::platform {

/// Sets the thread's last error from the errno value `error`, and remembers
/// the value so that lastErrorText() gives the system's own words for it.
void setLastErrorFromErrno(int error) noexcept;

/// The portable number for the errno value `error`. ENOENT is 2; a caller that
/// knows that a directory was missing sets 3 itself.
unsigned errorFromErrno(int error) noexcept;

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_POSIX_ERROR_CODES_H
