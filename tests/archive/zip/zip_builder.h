// SPDX-License-Identifier: MIT
// Zip archives for tests: as the writer makes them, and with forged fields.
#ifndef LOOMKIT_TESTS_ARCHIVE_ZIP_ZIP_BUILDER_H
#define LOOMKIT_TESTS_ARCHIVE_ZIP_ZIP_BUILDER_H

#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "loomkit/archive/zip/zip_layout.h"
#include "loomkit/archive/zip/zip_reader.h"
#include "loomkit/archive/zip/zip_writer.h"
#include "loomkit/text/binary.h"
#include "tests/capture_output.h"

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
inline const unsigned char* at(const std::string& bytes, std::size_t offset) {
  return reinterpret_cast<const unsigned char*>(&bytes[offset]);
}

/// Where the end record of an archive without a comment begins.
inline std::size_t endRecordOf(const std::string& zip) { return zip.size() - zip::end::size; }

/// Where the central directory begins.
inline std::size_t directoryOf(const std::string& zip) {
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

/// A reader over bytes, with what it said.
struct Opened {
  explicit Opened(const std::string& bytes) : in(bytes), reader(&in, false) {}
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;
  CaptureOutput output;
  std::istringstream in;
  GZipReader reader;
};

inline const std::string deflatedText = "deflated deflated deflated";

/// A stored member "s" and a deflated one "d".
inline std::string twoMembers() { return zipOf({{"s", "stored"}, {"d", deflatedText, true}}); }

/// Where its data and the header of "d" begin.
inline constexpr std::size_t storedData = zip::local::size + 1;  // behind header and name
inline constexpr std::size_t deflatedHeader = storedData + 6;    // behind "stored"

/// That archive with a field of one member forged in both of its headers.
inline std::string forgeBoth(std::string bytes, bool second, std::size_t localAt,
                             std::size_t centralAt, std::uint32_t value) {
  const std::size_t directory = directoryOf(bytes);
  const std::size_t header = directory + (second ? zip::central::size + 1 : 0);
  bytes = with32(std::move(bytes), header + centralAt, value);
  return with32(std::move(bytes), (second ? deflatedHeader : 0) + localAt, value);
}
inline std::string forgeCompr(std::string bytes, bool second, std::uint32_t value) {
  return forgeBoth(std::move(bytes), second, zip::local::comprSizeAt, zip::central::comprSizeAt,
                   value);
}
inline std::string forgeUncompr(std::string bytes, bool second, std::uint32_t value) {
  return forgeBoth(std::move(bytes), second, zip::local::uncomprSizeAt, zip::central::uncomprSizeAt,
                   value);
}

/// An archive with a member of each kind; the password is "pw".
inline std::string smallOfEachKind() {
  return zipOf({{"dir/stored", "stored"},
                {"dir/deflated", deflatedText, true},
                {"encrypted", "secret", false, "pw"},
                {"both", deflatedText, true, "pw"},
                {"empty", ""}});
}

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_ARCHIVE_ZIP_ZIP_BUILDER_H
