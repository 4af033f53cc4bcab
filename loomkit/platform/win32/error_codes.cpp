// SPDX-License-Identifier: MIT
#include "loomkit/platform/win32/error_codes.h"

#include <cerrno>

#include "loomkit/platform/platform.h"

namespace loomkit::platform {
namespace {

struct Row {
  DWORD system;
  int posix;
};

// The errors for which errno has a value that says the same. It is EINVAL for all
// others, as in the C runtime.
constexpr Row rows[] = {
    {ERROR_FILE_NOT_FOUND, ENOENT},
    {ERROR_PATH_NOT_FOUND, ENOENT},
    {ERROR_INVALID_DRIVE, ENOENT},
    {ERROR_BAD_NETPATH, ENOENT},
    {ERROR_BAD_PATHNAME, ENOENT},
    {ERROR_INVALID_NAME, ENOENT},
    {ERROR_TOO_MANY_OPEN_FILES, EMFILE},
    {ERROR_ACCESS_DENIED, EACCES},
    {ERROR_SHARING_VIOLATION, EACCES},
    {ERROR_LOCK_VIOLATION, EACCES},
    {ERROR_WRITE_PROTECT, EACCES},
    {ERROR_CURRENT_DIRECTORY, EACCES},
    {ERROR_INVALID_HANDLE, EBADF},
    {ERROR_NOT_ENOUGH_MEMORY, ENOMEM},
    {ERROR_OUTOFMEMORY, ENOMEM},
    {ERROR_NOT_SAME_DEVICE, EXDEV},
    {ERROR_FILE_EXISTS, EEXIST},
    {ERROR_ALREADY_EXISTS, EEXIST},
    {ERROR_BROKEN_PIPE, EPIPE},
    {ERROR_NO_DATA, EPIPE},
    {ERROR_DISK_FULL, ENOSPC},
    {ERROR_HANDLE_DISK_FULL, ENOSPC},
    {ERROR_DIR_NOT_EMPTY, ENOTEMPTY},
    {ERROR_DIRECTORY, ENOTDIR},
    {ERROR_FILENAME_EXCED_RANGE, ENOENT},
    {ERROR_CANT_RESOLVE_FILENAME, ELOOP},
    {ERROR_BUFFER_OVERFLOW, ERANGE},
    {ERROR_INSUFFICIENT_BUFFER, ERANGE},
    {ERROR_BAD_EXE_FORMAT, ENOEXEC},
    {ERROR_IO_DEVICE, EIO},
};

int errnoOf(DWORD error) {
  for (const Row& row : rows)
    if (row.system == error) return row.posix;
  return EINVAL;
}

// The flags and the language by which the system words an error for its user.
DWORD format(DWORD error, char** text) {
  constexpr DWORD flags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM;
  constexpr DWORD language = 0x400;
  // With the first flag the buffer is the address of a pointer, whatever its type says.
  return ::FormatMessageA(flags, nullptr, error, language, reinterpret_cast<char*>(text), 0,
                          nullptr);
}

bool formatTo(std::string* words, DWORD error) {
  char* text = nullptr;
  const DWORD length = format(error, &text);
  if (length == 0 || text == nullptr) return false;
  words->assign(text, length);
  ::LocalFree(text);
  return true;
}

}  // namespace

bool failed(DWORD error) noexcept {
  errno = errnoOf(error);
  ::SetLastError(error);
  return false;
}

bool succeeded(bool good) noexcept { return good || failed(::GetLastError()); }

std::string wordsOf(DWORD error) {
  const KeepLastError unchanged;
  std::string words;
  if (!formatTo(&words, error)) return {};
  words.resize(words.find_last_not_of("\r\n ") + 1);
  return words;
}

unsigned lastError() noexcept { return ::GetLastError(); }

void setLastError(unsigned code) noexcept { ::SetLastError(code); }

bool lastErrorText(std::string* text) {
  const KeepLastError unchanged;
  return formatTo(text, ::GetLastError());
}

}  // namespace loomkit::platform
