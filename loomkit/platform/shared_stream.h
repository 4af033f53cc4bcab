// SPDX-License-Identifier: MIT
// A standard stream on a file that other programs may not use as they like meanwhile.
#ifndef LOOMKIT_PLATFORM_SHARED_STREAM_H
#define LOOMKIT_PLATFORM_SHARED_STREAM_H

#include <fstream>
#include <memory>
#include <string>

namespace loomkit::platform {

/// What others may not do, bit by bit.
enum Denial { denyReading = 1, denyWriting = 2, denyDeletion = 4 };

/// Opens the file at a native path for reading. The result is never null; a stream that
/// could not be opened has its fail bit. Where the system has no share modes, `denied`
/// counts for nothing. denyDeletion alone is what an ordinary stream does.
std::unique_ptr<std::ifstream> openShared(const std::string& nativePath,
                                          std::ios_base::openmode mode, int denied);

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_SHARED_STREAM_H
