// SPDX-License-Identifier: MIT
// How this folder forms the statuses of hul.h: the negated errno value, or
// dsoFailure, whose words are the loader's own.
#ifndef LOOMKIT_PLATFORM_POSIX_HUL_STATUS_H
#define LOOMKIT_PLATFORM_POSIX_HUL_STATUS_H

namespace loomkit::platform {

constexpr int dsoFailure = -0x10000;

/// The status of the call that has just failed and left its reason in errno.
int failedStatus();

/// Makes `error`, an errno value, the last error and gives its status.
int failedWith(int error);

/// The loader's words for the thread's latest dsoFailure.
const char* dsoErrorText();

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_POSIX_HUL_STATUS_H
