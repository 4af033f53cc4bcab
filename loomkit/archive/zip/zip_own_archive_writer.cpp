// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_own_archive_writer.h"

#include "loomkit/archive/zip/zip_password.h"

GZipWriter2::GZipWriter2() = default;
GZipWriter2::GZipWriter2(std::ostream* target, bool ownsTarget) : GZipWriter(target, ownsTarget) {}
GZipWriter2::~GZipWriter2() = default;

void GZipWriter2::setDefaultEncryption(bool on) {
  char text[loomkit::zip::builtInPasswordSize] = "";
  if (on) {
    loomkit::zip::assembleBuiltInPassword(text);
    loomkit::zip::unscramble(text);
  }
  setPassword(text);
}
