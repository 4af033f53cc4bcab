// SPDX-License-Identifier: MIT
// A machine without an instruction for it.
#include "loomkit/platform/crc32c.h"

namespace loomkit::platform {

bool canStepCrc32c() noexcept { return false; }

std::uint32_t stepCrc32c(std::uint32_t state, const unsigned char* /*data*/,
                         std::size_t /*size*/) noexcept {
  return state;
}

}  // namespace loomkit::platform
