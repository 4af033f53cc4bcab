// SPDX-License-Identifier: MIT
// The system has no such limit, so that the library's own calls of WriteFile() are met, in
// the way that io_faults.cpp describes.
#include "tests/file_size_limit.h"

#include <windows.h>

#include <algorithm>
#include <limits>

#include "loomkit/platform/hul.h"
#include "tests/windows/imported_calls.h"

namespace {

constexpr std::uint64_t unlimited = std::numeric_limits<std::uint64_t>::max();
std::uint64_t limit = unlimited;

std::uint64_t positionOf(HANDLE file) {
  LARGE_INTEGER here;
  ::SetFilePointerEx(file, {}, &here, FILE_CURRENT);
  return static_cast<std::uint64_t>(here.QuadPart);
}

// Writes what fits, and fails when that is nothing.
BOOL WINAPI writeFile(HANDLE file, LPCVOID data, DWORD size, LPDWORD got, LPOVERLAPPED place) {
  static const auto real = LOOMKIT_REAL("kernel32", WriteFile);
  if (limit == unlimited || ::GetFileType(file) != FILE_TYPE_DISK || size == 0)
    return real(file, data, size, got, place);
  const std::uint64_t position = positionOf(file);
  const std::uint64_t room = limit - std::min(limit, position);
  if (room > 0)
    return real(file, data, static_cast<DWORD>(std::min<std::uint64_t>(room, size)), got, place);
  ::SetLastError(ERROR_DISK_FULL);
  return FALSE;
}

}  // namespace

extern "C" {
decltype(&::WriteFile) importedWriteFile LOOMKIT_IMPORT(WriteFile, 20) = writeFile;
}

namespace loomkit::testing {

FileSizeLimit::FileSizeLimit(std::uint64_t bytes) { limit = bytes; }
FileSizeLimit::~FileSizeLimit() { limit = unlimited; }
std::string FileSizeLimit::words() { return hulStrError(-static_cast<int>(ERROR_DISK_FULL)); }

}  // namespace loomkit::testing
