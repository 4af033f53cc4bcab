// SPDX-License-Identifier: MIT
#include "loomkit/platform/win32/running_children.h"

#include <map>
#include <mutex>

#include "loomkit/platform/win32/error_codes.h"

namespace loomkit::platform {
namespace {

struct Child {
  OwnedHandle process;
  OwnedHandle job;
};

struct Children {
  std::mutex mutex;
  std::map<long, Child> byId;
};

// Never destroyed: an object that is destroyed at the process's end may end its child.
Children& children() {
  static auto* const all = new Children;
  return *all;
}

HANDLE handleOf(long id, OwnedHandle Child::*member) {
  Children& all = children();
  const std::lock_guard<std::mutex> lock(all.mutex);
  const auto found = all.byId.find(id);
  if (found == all.byId.end()) return nullptr;
  const OwnedHandle& handle = found->second.*member;
  return handle.isOpen() ? handle.get() : nullptr;
}

}  // namespace

void rememberChild(long id, OwnedHandle process, OwnedHandle job) {
  Children& all = children();
  const std::lock_guard<std::mutex> lock(all.mutex);
  all.byId.insert_or_assign(id, Child{std::move(process), std::move(job)});
}

HANDLE processOf(long id) { return handleOf(id, &Child::process); }
HANDLE jobOf(long id) { return handleOf(id, &Child::job); }

void forgetChild(long id) {
  const KeepLastError unchanged;
  Children& all = children();
  const std::lock_guard<std::mutex> lock(all.mutex);
  all.byId.erase(id);
}

}  // namespace loomkit::platform
