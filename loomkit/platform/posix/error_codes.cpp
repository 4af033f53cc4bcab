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

// A number that was set for the sake of this errno value, which alone would give
// another: 3 and 2 share ENOENT, and the end of a search (18) has no value at all.
// It counts for as long as errno still has that value, so that a system call of
// the host's that fails later is never reported under an older number.
struct Refinement {
  int posix = 0;
  unsigned code = 0;
};
thread_local Refinement refinement;

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
  refinement = {error, errorFromErrno(error)};
  errno = error;
}

unsigned lastError() noexcept {
  return errno == refinement.posix ? refinement.code : errorFromErrno(errno);
}

void setLastError(unsigned code) noexcept {
  errno = errnoFromError(code);
  refinement = {errno, code};
}

bool lastErrorText(std::string* text) {
  const int error = errno;
  if (error == 0 && lastError() != 0) return false;
  *text = std::generic_category().message(error);
  errno = error;
  return true;
}

}  // namespace loomkit::platform
