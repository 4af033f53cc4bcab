// SPDX-License-Identifier: MIT
#include "interruption.h"

#include <array>
#include <atomic>

#include "loomkit/streams/atomic_file.h"

namespace loom {

namespace {

using Cleanup = void (*)();
std::array<std::atomic<Cleanup>, 4> cleanups{};

}  // namespace

void addCleanup(void (*cleanup)()) {
  for (std::atomic<Cleanup>& entry : cleanups) {
    Cleanup empty = nullptr;
    if (entry.compare_exchange_strong(empty, cleanup) || empty == cleanup) return;
  }
}

void cleanUp() {
  GAtomicFile::discardAll();
  for (const std::atomic<Cleanup>& entry : cleanups) {
    const Cleanup cleanup = entry.load();
    if (cleanup != nullptr) cleanup();
  }
}

}  // namespace loom
