// SPDX-License-Identifier: MIT
#include "loomkit/platform/large_pages.h"

#include <sys/mman.h>

namespace loomkit::platform {

void preferLargePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) {
  // Linux has this advice, POSIX does not.
#ifdef MADV_HUGEPAGE
  static_cast<void>(::madvise(memory, size, MADV_HUGEPAGE));
#endif
}

}  // namespace loomkit::platform
