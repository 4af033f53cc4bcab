// SPDX-License-Identifier: MIT
// How this folder forms the statuses of hul.h: the negated number of the system's error,
// or dsoFailure, whose words name the library as well.
#ifndef LOOMKIT_PLATFORM_WIN32_HUL_STATUS_H
#define LOOMKIT_PLATFORM_WIN32_HUL_STATUS_H

#include "loomkit/platform/win32/windows_api.h"

namespace loomkit::platform {

constexpr int dsoFailure = -0x10000;

/// The status of the call that has just failed.
int failedStatus();

/// Makes `error` the last error and gives its status.
int failedWith(DWORD error);

/// The words for the thread's latest dsoFailure.
const char* dsoErrorText();

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_WIN32_HUL_STATUS_H
