// SPDX-License-Identifier: MIT
#include "loomkit/platform/random_access.h"

#include <algorithm>

#include "loomkit/platform/win32/error_codes.h"
#include "loomkit/platform/win32/system_path.h"

namespace loomkit::platform {
namespace {

DWORD dispositionOf(OpenMode mode) {
  switch (mode) {
    case OpenMode::createNew:
      return CREATE_NEW;
    case OpenMode::createAlways:
      return CREATE_ALWAYS;
    case OpenMode::readOnly:
    case OpenMode::readWrite:
      break;
  }
  return OPEN_EXISTING;
}

// The place of a read or write, which need not be the handle's own.
OVERLAPPED at(std::uint64_t offset) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(offset);
  place.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return place;
}

// One call moves fewer bytes than the 32 bits of its count can tell.
DWORD stepOf(std::size_t size) {
  constexpr std::size_t largest = 1U << 30;
  return static_cast<DWORD>(std::min(size, largest));
}

}  // namespace

bool openRandomAccess(const std::string& nativePath, OpenMode mode, ShareMode share, int* handle) {
  const DWORD access = GENERIC_READ | (mode == OpenMode::readOnly ? 0 : GENERIC_WRITE);
  const DWORD sharing = share == ShareMode::none ? 0 : FILE_SHARE_READ | FILE_SHARE_WRITE;
  OwnedHandle opened(::CreateFileW(SystemPath(nativePath).c_str(), access, sharing, nullptr,
                                   dispositionOf(mode), FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!opened.isOpen()) return succeeded(false);
  // "nul" and "con" are names of devices in every directory.
  if (::GetFileType(opened.get()) != FILE_TYPE_DISK) return failed(ERROR_INVALID_PARAMETER);
  *handle = handleNumber(opened.release());
  return true;
}

bool readAt(int handle, std::uint64_t offset, void* data, std::size_t size, std::size_t* count) {
  char* next = static_cast<char*>(data);
  *count = 0;
  while (*count < size) {
    OVERLAPPED place = at(offset + *count);
    DWORD got = 0;
    const bool good =
        ::ReadFile(systemHandle(handle), next + *count, stepOf(size - *count), &got, &place) != 0;
    if (!good && ::GetLastError() != ERROR_HANDLE_EOF) return succeeded(false);
    if (got == 0) break;
    *count += got;
  }
  return true;
}

bool writeAt(int handle, std::uint64_t offset, const void* data, std::size_t size) {
  const char* next = static_cast<const char*>(data);
  while (size > 0) {
    OVERLAPPED place = at(offset);
    DWORD count = 0;
    if (::WriteFile(systemHandle(handle), next, stepOf(size), &count, &place) == 0)
      return succeeded(false);
    // A device that takes nothing and calls it success would be asked forever.
    if (count == 0) return failed(ERROR_WRITE_FAULT);
    next += count;
    offset += count;
    size -= count;
  }
  return true;
}

bool fileSize(int handle, std::uint64_t* size) {
  LARGE_INTEGER found;
  if (::GetFileSizeEx(systemHandle(handle), &found) == 0) return succeeded(false);
  *size = static_cast<std::uint64_t>(found.QuadPart);
  return true;
}

// Moves the handle's own position, which nobody reads: readAt() and writeAt() name theirs.
bool setFileSize(int handle, std::uint64_t size) {
  LARGE_INTEGER end;
  end.QuadPart = static_cast<LONGLONG>(size);
  return succeeded(::SetFilePointerEx(systemHandle(handle), end, nullptr, FILE_BEGIN) != 0 &&
                   ::SetEndOfFile(systemHandle(handle)) != 0);
}

bool syncFile(int handle) {
  if (::FlushFileBuffers(systemHandle(handle)) != 0) return true;
  // A file system that cannot sync says so. That is no failure: it offers no more. A
  // handle that may not write has nothing to bring to the disk.
  const DWORD error = ::GetLastError();
  return error == ERROR_INVALID_FUNCTION || error == ERROR_ACCESS_DENIED || failed(error);
}

bool closeFile(int handle) { return succeeded(::CloseHandle(systemHandle(handle)) != 0); }

}  // namespace loomkit::platform
