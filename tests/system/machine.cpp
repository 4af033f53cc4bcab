// SPDX-License-Identifier: MIT
#include "tests/system/machine.h"

#include <sys/wait.h>

#include <filesystem>

namespace loomkit::testing {

HeldResources heldResources() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  const auto count = std::distance(descriptors, std::filesystem::directory_iterator());
  return {static_cast<std::size_t>(count), ::waitpid(-1, nullptr, WNOHANG) != -1};
}

const char* const quickProgram = "true";
const int manyChildren = 10'000;

}  // namespace loomkit::testing
