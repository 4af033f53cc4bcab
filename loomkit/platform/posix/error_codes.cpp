// SPDX-License-Identifier: MIT
#include "loomkit/platform/posix/error_codes.h"

#include <cerrno>
#include <system_error>

#include "loomkit/platform/platform.h"

namespace loomkit::platform {
namespace {

struct Row {
  int posix;
  unsigned portable;
};

// When two errno values share a number, the first row is the one whose text
// lastErrorText() gives after setLastError(number).
constexpr Row rows[] = {
    {ENOENT, 2},   {ENOTDIR, 3},   {EMFILE, 4},      {ENFILE, 4},  {EACCES, 5},
    {EPERM, 5},    {EBADF, 6},     {ENOMEM, 8},      {EXDEV, 17},  {EROFS, 19},
    {EBUSY, 32},   {EEXIST, 183},  {EEXIST, 80},     {EINVAL, 87}, {EPIPE, 109},
    {ENOSPC, 112}, {EDQUOT, 112},  {ENOTEMPTY, 145}, {EISDIR, 5},  {ENAMETOOLONG, 206},
    {EIO, 1117},   {ENOEXEC, 193}, {ELOOP, 1921},    {EFBIG, 223}, {ECHILD, 128},
};

constexpr unsigned generalFailure = 31;

struct LastError {
  unsigned code = 0;
  int posix = 0;  // 0: the code was set by number, not from errno
};
thread_local LastError last;

int errnoFromError(unsigned code) noexcept {
  if (code == 3) return ENOENT;  // the words for a missing directory
  for (const Row& row : rows)
    if (row.portable == code) return row.posix;
  return 0;
}

}  // namespace

unsigned errorFromErrno(int error) noexcept {
  if (error == 0) return 0;
  for (const Row& row : rows)
    if (row.posix == error) return row.portable;
  return generalFailure;
}

void setLastErrorFromErrno(int error) noexcept {
  last.code = errorFromErrno(error);
  last.posix = error;
}

unsigned lastError() noexcept { return last.code; }

void setLastError(unsigned code) noexcept {
  last.code = code;
  last.posix = 0;
}

bool lastErrorText(std::string* text) {
  const int posix = last.posix != 0 ? last.posix : errnoFromError(last.code);
  if (posix == 0 && last.code != 0) return false;
  *text = std::generic_category().message(posix);
  return true;
}

}  // namespace loomkit::platform
