// SPDX-License-Identifier: MIT
#include "tessel/builder/workspace.h"

namespace tessel {

bool Workspace::check(int status) {
  if (firstFailure == 0 && status < 0) firstFailure = status;
  return firstFailure == 0;
}

bool Workspace::spill(const void* data, std::size_t size, std::uint64_t* offset) {
  if (firstFailure != 0) return false;
  if (!scratch.isOpen() && !check(scratch.create(target))) return false;
  *offset = scratchEnd;
  scratchEnd += size;
  return check(scratch.write(*offset, data, size));
}

bool Workspace::fetch(std::uint64_t offset, void* data, std::size_t size) {
  return firstFailure == 0 && check(scratch.read(offset, data, size));
}

}  // namespace tessel
