// SPDX-License-Identifier: MIT
// The words of a failure in the zip classes.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_ERRORS_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_ERRORS_H

#include <string>

#include "loomkit/archive/zip/zip_sink.h"
#include "loomkit/platform/hul.h"
#include "loomkit/text/output.h"

namespace loomkit::zip {

/// The text with the system's words for a status, where it has any. A status is
/// an int all the way; only GZipBase::error() has always taken it unsigned.
inline std::string withReason(const char* text, int status) {
  if (status == GZipFileWriter::unspecificFailure) return text;
  return std::string(text) + " (" + hulStrError(status) + ")";
}

// What an entry says of headers that could not be read or written. The writer says
// it, too, of headers that the sink had held back and could not write later.
inline constexpr char localHeaderFailed[] = "local file header: input/output error";
inline constexpr char centralHeaderFailed[] = "central file header: input/output error";

/// Reports a failure of an entry, which has no path. Always false.
inline bool entryError(const char* text, int status) {
  gOutput->error(gDataSysName, withReason(text, status).c_str());
  return false;
}

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_ERRORS_H
