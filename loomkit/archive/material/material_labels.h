// SPDX-License-Identifier: MIT
// Extension: gReadMaterialLabels, for hosts that want the labels back.
//
//   GZipReader2 reader;
//   std::map<std::string, std::string> labels;
//   if (reader.open("oak.matz") && gReadMaterialLabels(reader, &labels)) ...
#ifndef LOOMKIT_ARCHIVE_MATERIAL_MATERIAL_LABELS_H
#define LOOMKIT_ARCHIVE_MATERIAL_MATERIAL_LABELS_H

#include <map>
#include <string>

#include "loomkit/archive/zip/zip_own_archive_reader.h"
#include "loomkit/platform/export.h"

/// Replaces `labels` by those of a material archive, by language, which
/// GMaterialZip writes and does not read. An archive without labels has none. A
/// line without a language goes on with the label above it. False, with `labels`
/// as they were, when they cannot be read; gOutput was told why. The reader is
/// open; its password is another one afterwards (see
/// GZipReader2::readTextEntry).
LOOMKIT_API bool gReadMaterialLabels(GZipReader2& reader,
                                     std::map<std::string, std::string>* labels);

#endif  // LOOMKIT_ARCHIVE_MATERIAL_MATERIAL_LABELS_H
