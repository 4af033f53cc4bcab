// SPDX-License-Identifier: MIT
// How the commands use GZipExtractor: its limits, and the exit codes for its results.
#ifndef LOOM_EXTRACTOR_OPTIONS_H
#define LOOM_EXTRACTOR_OPTIONS_H

#include <cstdint>

#include "command.h"
#include "loomkit/archive/zip/zip_extractor.h"

namespace loom {

/// The exit code for a result, which the library has reported.
[[nodiscard]] inline ExitCode codeOf(GZipExtractor::Result result) {
  switch (result) {
    case GZipExtractor::Done:
      return ExitCode::done;
    case GZipExtractor::Exists:
    case GZipExtractor::CannotWrite:
      return ExitCode::cannotWrite;
    default:
      return ExitCode::damaged;
  }
}

[[nodiscard]] inline GZipExtractor::Limits noLimits() {
  GZipExtractor::Limits limits;
  limits.totalBytes = UINT64_MAX;
  limits.ratio = 0;
  limits.entries = UINT32_MAX;
  return limits;
}

}  // namespace loom

#endif  // LOOM_EXTRACTOR_OPTIONS_H
