// SPDX-License-Identifier: MIT
// GZipWriter2: a zip writer for a host's own archives.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_OWN_ARCHIVE_WRITER_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_OWN_ARCHIVE_WRITER_H

#include <ostream>

#include "loomkit/archive/zip/zip_writer.h"

/// Adds to GZipWriter the password that GZipReader2 knows.
class LOOMKIT_API GZipWriter2 : public GZipWriter {
 public:
  GZipWriter2();
  GZipWriter2(std::ostream* stream, bool ownsStream);
  ~GZipWriter2() override;

  /// Encrypts the members from then on with the built-in password, or no
  /// longer.
  void setDefaultEncryption(bool on);
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_OWN_ARCHIVE_WRITER_H
