// SPDX-License-Identifier: MIT
// The last error is the system's own here, GetLastError(), whose numbers are those of
// platform.h. Some callers read errno as well, which follows from it.
#ifndef LOOMKIT_PLATFORM_WIN32_ERROR_CODES_H
#define LOOMKIT_PLATFORM_WIN32_ERROR_CODES_H

#include <string>

#include "loomkit/platform/win32/windows_api.h"

namespace loomkit::platform {

/// Keeps the last error over calls that clean up after a failure.
class KeepLastError {
 public:
  KeepLastError() noexcept : kept(::GetLastError()) {}
  ~KeepLastError() { ::SetLastError(kept); }
  KeepLastError(const KeepLastError&) = delete;
  KeepLastError& operator=(const KeepLastError&) = delete;

 private:
  DWORD kept;
};

/// Sets the last error. Always false, for the end of a function that has failed.
bool failed(DWORD error) noexcept;

/// The result of a call as it is; after a failure errno says why, too.
bool succeeded(bool good) noexcept;

/// The system's words for an error; empty when it has none.
std::string wordsOf(DWORD error);

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_WIN32_ERROR_CODES_H
