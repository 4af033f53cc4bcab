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

/// A field of the record that begins at the archive's beginning; `behind()` leads
/// to other records.
template <class Field>
typename Field::Value fieldOf(const std::string& zip, Field field) {
  return RecordReader(zip.data(), zip.size()).get(field);
}

/// The archive with that field changed.
template <class Field>
std::string with(std::string zip, Field field, std::uint64_t value) {
  RecordWriter(zip.data(), zip.size()).putLow(field, value);
  return zip;
}

/// Where the end record of an archive without a comment begins.
inline std::size_t endRecordOf(const std::string& zip) { return zip.size() - zip::end::size; }

/// Where the central directory begins.
inline std::size_t directoryOf(const std::string& zip) {
  return fieldOf(zip, zip::end::directoryOffset.behind(endRecordOf(zip)));
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
inline std::string forgeBoth(std::string bytes, bool second, Le32 localField, Le32 centralField,
                             std::uint32_t value) {
  const std::size_t header = directoryOf(bytes) + (second ? zip::central::size + 1 : 0);
  bytes = with(std::move(bytes), centralField.behind(header), value);
  return with(std::move(bytes), localField.behind(second ? deflatedHeader : 0), value);
}
inline std::string forgeCompr(std::string bytes, bool second, std::uint32_t value) {
  return forgeBoth(std::move(bytes), second, zip::local::comprSize, zip::central::comprSize, value);
}
inline std::string forgeUncompr(std::string bytes, bool second, std::uint32_t value) {
  return forgeBoth(std::move(bytes), second, zip::local::uncomprSize, zip::central::uncomprSize,
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
