// SPDX-License-Identifier: MIT
// GZipWriter2: a zip writer for a host's own archives.
//
//   GZipWriter2 writer;
//   writer.setDefaultEncryption(true);
//   if (writer.open("scene.zip")) ...            // then as GZipWriter
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_OWN_ARCHIVE_WRITER_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_OWN_ARCHIVE_WRITER_H

#include <ostream>

#include "loomkit/archive/zip/zip_writer.h"

/// Adds to GZipWriter the password that the library itself knows, for archives that
/// a program reads again without asking anybody. It keeps the curious out, and
/// nobody who means it. Failures, ownership and threads are as with GZipWriter.
class LOOMKIT_API GZipWriter2 : public GZipWriter {
 public:
  /// A closed writer.
  GZipWriter2();
  /// Writes to a stream, as GZipWriter does.
  GZipWriter2(std::ostream* stream, bool ownsStream);
  ~GZipWriter2() override;

  /// Encrypts the members that follow with the built-in password, or, if `on` is
  /// not set, none of them. A password that was set before is lost either way.
  void setDefaultEncryption(bool on);
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_OWN_ARCHIVE_WRITER_H
