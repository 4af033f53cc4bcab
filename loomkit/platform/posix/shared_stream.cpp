// SPDX-License-Identifier: MIT
#include "loomkit/platform/shared_stream.h"

#include "loomkit/platform/posix/paths.h"

namespace loomkit::platform {

std::unique_ptr<std::ifstream> openShared(const std::string& nativePath,
                                          std::ios_base::openmode mode, int /*denied*/) {
  return std::make_unique<std::ifstream>(systemPath(nativePath), mode);
}

}  // namespace loomkit::platform
