// SPDX-License-Identifier: MIT
// A signal handler may neither allocate nor lock. The paths therefore hang in a
// table of atomic pointers that only grows: whoever takes a pointer out of its
// slot owns the path, so that two threads, or a thread and a handler, never use
// the same one.
#include "loomkit/platform/posix/unfinished_files.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#include "loomkit/platform/posix/error_codes.h"

namespace loomkit::platform {
namespace {

static_assert(std::atomic<char*>::is_always_lock_free);

struct Slots {
  std::array<std::atomic<char*>, 32> paths{};
  // What a handler has taken out and may not free; the place's next user does.
  std::array<std::atomic<char*>, 32> discarded{};
  std::atomic<Slots*> next{nullptr};
};

Slots first;

// Holds all signals of this thread back.
class SignalsHeld {
 public:
  SignalsHeld() noexcept {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
  }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  ~SignalsHeld() { ::pthread_sigmask(SIG_SETMASK, &before, nullptr); }

 private:
  sigset_t before{};
};

// The slots behind `slots`, which are made if need be; null without memory.
Slots* following(Slots* slots) noexcept {
  Slots* next = slots->next.load();
  if (next != nullptr) return next;
  Slots* const made = new (std::nothrow) Slots;
  if (made == nullptr || slots->next.compare_exchange_strong(next, made)) return made;
  delete made;  // another thread was faster
  return next;
}

// Without memory the file is not remembered, which no caller should fail for.
UnfinishedFile remember(const std::string& path) noexcept {
  char* const copy = ::strdup(path.c_str());
  if (copy == nullptr) return {};
  for (Slots* slots = &first; slots != nullptr; slots = following(slots)) {
    for (std::size_t i = 0; i < slots->paths.size(); ++i) {
      char* empty = nullptr;
      if (!slots->paths[i].compare_exchange_strong(empty, copy)) continue;
      std::free(slots->discarded[i].exchange(nullptr));
      return {&slots->paths[i], copy};
    }
  }
  std::free(copy);
  return {};
}

}  // namespace

bool makeUnfinished(const std::string& path, const std::function<bool()>& make,
                    UnfinishedFile* file) {
  const SignalsHeld held;
  const bool made = make();
  const KeepErrno reason;
  if (made) *file = remember(path);
  return made;
}

int openUnfinished(const std::string& path, mode_t mode, UnfinishedFile* file) {
  int handle = -1;
  const auto open = [&] {
    handle = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    return handle >= 0;
  };
  makeUnfinished(path, open, file);
  return handle;
}

void forgetUnfinished(UnfinishedFile* file) noexcept {
  // Where a handler was faster, the path is its own.
  char* path = file->path;
  if (path != nullptr && file->slot->compare_exchange_strong(path, nullptr)) std::free(file->path);
  *file = UnfinishedFile{};
}

void deleteUnfinished() noexcept {
  const KeepErrno unchanged;
  for (Slots* slots = &first; slots != nullptr; slots = slots->next.load()) {
    for (std::size_t i = 0; i < slots->paths.size(); ++i) {
      char* const path = slots->paths[i].exchange(nullptr);
      if (path == nullptr) continue;
      ::unlink(path);
      slots->discarded[i].store(path);
    }
  }
}

}  // namespace loomkit::platform
