// SPDX-License-Identifier: MIT
#include "loomkit/platform/win32/unfinished_files.h"

#include <array>
#include <cstdlib>
#include <cstring>

#include "loomkit/platform/win32/error_codes.h"
#include "loomkit/platform/win32/system_path.h"

namespace loomkit::platform {
namespace {

SRWLOCK lock = SRWLOCK_INIT;

class Locked {
 public:
  Locked() noexcept { ::AcquireSRWLockExclusive(&lock); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;
  ~Locked() { ::ReleaseSRWLockExclusive(&lock); }
};

// One path each. A file beyond these is not remembered, which no caller should fail for.
std::array<std::atomic<char*>, 256> slots{};

// Requires: the lock is held. Without memory the file is not remembered either.
UnfinishedFile remember(const std::string& path) noexcept {
  for (std::atomic<char*>& slot : slots) {
    if (slot != nullptr) continue;
    char* const copy = ::_strdup(path.c_str());
    slot = copy;
    return {&slot, copy};
  }
  return {};
}

}  // namespace

OwnedHandle openUnfinished(const std::string& path, UnfinishedFile* file) {
  const Locked held;
  // Shared for deletion, so that deleteUnfinished() can have it while it is written, and
  // not for reading: nobody is to see it before it has the rights of its model.
  OwnedHandle made(::CreateFileW(SystemPath(path).c_str(), GENERIC_WRITE, FILE_SHARE_DELETE,
                                 nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
  const KeepLastError reason;
  if (made.isOpen()) *file = remember(path);
  return made;
}

void forgetUnfinished(UnfinishedFile* file) noexcept {
  const KeepLastError unchanged;
  const Locked held;
  if (file->path == nullptr) return;
  // Where a handler was faster, the slot is empty by now, or another file's.
  if (*file->slot == file->path) *file->slot = nullptr;
  std::free(file->path);
  *file = UnfinishedFile{};
}

void deleteUnfinished() noexcept {
  const KeepLastError unchanged;
  const Locked held;
  for (std::atomic<char*>& slot : slots) {
    char* const path = slot.exchange(nullptr);
    if (path != nullptr) ::DeleteFileW(SystemPath(path).c_str());  // whose owner frees the text
  }
}

}  // namespace loomkit::platform
