// SPDX-License-Identifier: MIT
// Zip archives for tests: as the writer makes them, and with forged fields.
#ifndef LOOMKIT_TESTS_ARCHIVE_ZIP_BUILDER_H
#define LOOMKIT_TESTS_ARCHIVE_ZIP_BUILDER_H

#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "loomkit/archive/zip_layout.h"
#include "loomkit/archive/zip_reader.h"
#include "loomkit/archive/zip_writer.h"
#include "loomkit/text/binary.h"

namespace loomkit::testing {

/// What goes into an archive, in this order.
struct ZipMember {
  std::string name;
  std::string data;
  bool compress = false;
  std::string password = {};
};

/// The bytes of an archive of these members.
inline std::string zipOf(const std::vector<ZipMember>& members) {
  std::ostringstream out;
  GZipWriter writer(&out, false);
  for (const ZipMember& member : members) {
    writer.setCompression(member.compress);
    writer.setPassword(member.password);
    writer.writeEntry(member.name, member.data.data(),
                      static_cast<unsigned int>(member.data.size()));
  }
  writer.close();
  return out.str();
}

inline unsigned char* at(std::string& bytes, std::size_t offset) {
  return reinterpret_cast<unsigned char*>(&bytes[offset]);
}

/// Where the end record of an archive without a comment begins.
inline std::size_t endRecordOf(const std::string& zip) { return zip.size() - zip::end::size; }

/// Where the central directory begins.
inline std::size_t directoryOf(std::string& zip) {
  return loadLe32(at(zip, endRecordOf(zip) + zip::end::directoryOffsetAt));
}

/// The archive with two or four bytes changed.
inline std::string with16(std::string zip, std::size_t offset, unsigned value) {
  storeLe16(at(zip, offset), static_cast<std::uint16_t>(value));
  return zip;
}
inline std::string with32(std::string zip, std::size_t offset, std::uint32_t value) {
  storeLe32(at(zip, offset), value);
  return zip;
}

/// A member as text, or nothing when reading it fails.
inline std::optional<std::string> textOf(GZipReader& reader, const std::string& name,
                                         bool convertLineEnds = false) {
  std::ostringstream out;
  if (!reader.readEntry(name, &out, convertLineEnds)) return std::nullopt;
  return out.str();
}
inline std::optional<std::string> textOf(GZipReader& reader, const GZipEntry* entry,
                                         bool convertLineEnds = false) {
  std::ostringstream out;
  if (!reader.readEntry(entry, &out, convertLineEnds)) return std::nullopt;
  return out.str();
}

/// The same by way of a block.
inline std::optional<std::string> blockOf(GZipReader& reader, const GZipEntry* entry,
                                          bool convertLineEnds = false) {
  char* data = nullptr;
  unsigned int size = 0;
  if (!reader.readEntry(entry, &data, &size, convertLineEnds)) return std::nullopt;
  const std::string text = data == nullptr ? std::string() : std::string(data, size);
  ::operator delete(data);
  return text;
}

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_ARCHIVE_ZIP_BUILDER_H
