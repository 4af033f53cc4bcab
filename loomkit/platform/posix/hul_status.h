// SPDX-License-Identifier: MIT
// How this folder forms the statuses of hul.h: the negated errno value, or
// dsoFailure, whose words are the loader's own.
#ifndef LOOMKIT_PLATFORM_POSIX_HUL_STATUS_H
#define LOOMKIT_PLATFORM_POSIX_HUL_STATUS_H

namespace loomkit::platform {

constexpr int dsoFailure = -0x10000;

/// Sets the last error from errno and gives its status.
int failedStatus();

/// The loader's words for the thread's latest dsoFailure.
const char* dsoErrorText();

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_POSIX_HUL_STATUS_H
