// SPDX-License-Identifier: MIT
// The words of a failure in the zip classes.
#ifndef LOOMKIT_ARCHIVE_ZIP_ERRORS_H
#define LOOMKIT_ARCHIVE_ZIP_ERRORS_H

#include <string>

#include "loomkit/archive/zip_file_writer.h"
#include "loomkit/platform/hul.h"

namespace loomkit::zip {

/// The text with the system's words for a status, where it has any.
inline std::string withReason(const char* text, unsigned int code) {
  const int status = static_cast<int>(code);
  if (status == GZipFileWriter::unspecificFailure) return text;
  return std::string(text) + " (" + hulStrError(status) + ")";
}

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ERRORS_H
