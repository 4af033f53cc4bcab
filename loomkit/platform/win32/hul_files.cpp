// SPDX-License-Identifier: MIT
#include <string>

#include "loomkit/platform/hul.h"
#include "loomkit/platform/win32/error_codes.h"
#include "loomkit/platform/win32/hul_status.h"
#include "loomkit/platform/win32/system_path.h"

namespace loomkit::platform {

int failedWith(DWORD error) {
  failed(error);
  return -static_cast<int>(error);
}

int failedStatus() { return failedWith(::GetLastError()); }

}  // namespace loomkit::platform

using loomkit::platform::failedStatus;
using loomkit::platform::failedWith;
using loomkit::platform::systemHandle;

const char* hulStrError(int status) {
  if (status == loomkit::platform::dsoFailure) return loomkit::platform::dsoErrorText();
  thread_local std::string words;
  if (status < loomkit::platform::dsoFailure) {
    words = "Unspecified error";
  } else {
    words = loomkit::platform::wordsOf(static_cast<DWORD>(status < 0 ? -status : 0));
    if (words.empty()) words = "Error " + std::to_string(-status);
  }
  return words.c_str();
}

int hulOpenFile(const char* nativePath, int mode, int* handle) {
  if (mode != hulCreateForWriting) return failedWith(ERROR_INVALID_PARAMETER);
  const loomkit::platform::SystemPath path(nativePath);
  const HANDLE opened =
      ::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  *handle = loomkit::platform::handleNumber(opened);
  return opened != INVALID_HANDLE_VALUE ? 0 : failedStatus();
}

int hulWrite(int handle, const void* data, int size, int* written) {
  const char* next = static_cast<const char*>(data);
  int left = size;
  int status = 0;
  while (left > 0 && status == 0) {
    DWORD count = 0;
    const bool good =
        ::WriteFile(systemHandle(handle), next, static_cast<DWORD>(left), &count, nullptr) != 0;
    // A device that takes no byte and calls that success would be asked forever.
    if (!good) {
      status = failedStatus();
    } else if (count == 0) {
      status = failedWith(ERROR_WRITE_FAULT);
    }
    next += count;
    left -= static_cast<int>(count);
  }
  if (written != nullptr) *written = size - left;
  return status;
}

int hulSeek(int handle, int origin, std::int64_t offset, int /*reserved*/, std::int64_t* position) {
  if (origin != hulFromStart && origin != hulFromCurrent)
    return failedWith(ERROR_INVALID_PARAMETER);
  const DWORD from = origin == hulFromStart ? FILE_BEGIN : FILE_CURRENT;
  LARGE_INTEGER distance, now;
  distance.QuadPart = offset;
  // From the start, the system takes a negative distance for a large one.
  if (from == FILE_BEGIN && offset < 0) return failedWith(ERROR_NEGATIVE_SEEK);
  if (::SetFilePointerEx(systemHandle(handle), distance, &now, from) == 0) return failedStatus();
  if (position != nullptr) *position = now.QuadPart;
  return 0;
}

int hulClose(int handle) { return ::CloseHandle(systemHandle(handle)) != 0 ? 0 : failedStatus(); }
