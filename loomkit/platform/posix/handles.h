// SPDX-License-Identifier: MIT
#ifndef LOOMKIT_PLATFORM_POSIX_HANDLES_H
#define LOOMKIT_PLATFORM_POSIX_HANDLES_H

namespace loomkit::platform {

/// The first descriptor above the three standard ones.
constexpr int firstOwnHandle = 3;

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_POSIX_HANDLES_H
