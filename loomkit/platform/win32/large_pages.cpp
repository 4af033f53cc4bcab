// SPDX-License-Identifier: MIT
#include "loomkit/platform/large_pages.h"

namespace loomkit::platform {

// Large pages are there for processes of a privilege that users do not have.
void preferLargePages(void* /*memory*/, std::size_t /*size*/) {}

}  // namespace loomkit::platform
