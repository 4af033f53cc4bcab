// SPDX-License-Identifier: MIT
// Processors whose carry-less multiplication is not used.
#include "loomkit/platform/crc_fold.h"

namespace loomkit::platform {

bool canFoldCrc32() noexcept { return false; }

std::uint32_t foldCrc32(std::uint32_t state, const unsigned char*, std::size_t) noexcept {
  return state;
}

}  // namespace loomkit::platform
