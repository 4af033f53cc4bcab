// SPDX-License-Identifier: MIT
// Names for files that are to have another one later, or none.
#ifndef LOOMKIT_PLATFORM_WIN32_HIDDEN_NAME_H
#define LOOMKIT_PLATFORM_WIN32_HIDDEN_NAME_H

#include <atomic>
#include <string>

#include "loomkit/platform/system.h"

namespace loomkit::platform {

/// How often a name that is taken is given up for another one.
inline constexpr int hiddenNameAttempts = 100;

/// A name that no other program waits for. It need not be secret: whoever uses it sees
/// to it that the file is new. The counter tells two files of one process apart, and the
/// clock two processes of one number.
inline std::string hiddenName() {
  static std::atomic<unsigned> counter{0};
  return ".loomkit-" + std::to_string(processId()) + "-" + std::to_string(counterTicks()) + "-" +
         std::to_string(++counter) + ".tmp";
}

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_WIN32_HIDDEN_NAME_H
