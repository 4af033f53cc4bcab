// SPDX-License-Identifier: MIT
// Extension: GZip64Writer, which writes zip archives of any size that keep the times
// and rights of their files.
//
//   GAtomicFile file("backup.zip");
//   GZip64Writer writer(&file.out());
//   GZip64Writer::Attributes attributes;
//   attributes.mode = 0100600;
//   attributes.modTime = std::time(nullptr);
//   writer.writeFile("notes.txt", attributes, [&](char* buffer, std::size_t size) { ... });
//   if (writer.close() && file.commit()) ...
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP64_WRITER_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP64_WRITER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "loomkit/archive/zip/zip_base.h"
#include "loomkit/platform/export.h"

/// Writes members that have a time, a Unix mode and a comment of their own, empty
/// directories and links, names in UTF-8 that are marked as such, and zip64 records
/// where a number needs them and nowhere else. A member that fails leaves no trace, and
/// the archive goes on without it. A member that deflate does not make smaller is
/// stored, as long as it is small enough to be seen whole.
///
/// After the first failure of the stream, which gOutput was told (see GZipBase), the
/// writer refuses members, and close() is false. setPassword() encrypts the files and
/// links that follow. One thread at a time uses a writer, for one archive. Nothing
/// throws, apart from an allocation that fails and what a source throws.
///
/// Format: PKWARE's APPNOTE.TXT 4.5; docs/formats/zip.md has the tables of the fields.
class LOOMKIT_API GZip64Writer : public GZipBase {
 public:
  static constexpr std::uint64_t unknownSize = UINT64_MAX;

  /// What is known of a member besides its name and data.
  struct Attributes {
    std::int64_t modTime = 0;  ///< seconds since 1970
    std::uint16_t mode = 0;    ///< type and rights as on Unix; 0 for none
    std::string comment;       ///< at most 65,535 bytes are written
    /// The bytes that are expected. A file that is larger than 4 GiB, and not expected to
    /// be, fails; one of unknown size takes 20 bytes more.
    std::uint64_t expectedSize = unknownSize;
  };

  /// Stores up to `size` bytes in the buffer and gives their number: 0 at the end of the
  /// data, a negative number when they cannot be read.
  using Source = std::function<std::int64_t(char* buffer, std::size_t size)>;

  /// How the writing of a member ended.
  enum Result {
    Done,
    SourceFailed,  ///< the member is not in the archive, which is good all the same
    Failed         ///< the archive cannot be written
  };

  /// Writes to a stream that can seek, from its present position on, which has to be 0.
  /// It stays the caller's.
  explicit GZip64Writer(std::ostream* stream);
  GZip64Writer(const GZip64Writer&) = delete;
  GZip64Writer& operator=(const GZip64Writer&) = delete;
  /// Does not close: an archive without close() has no directory.
  ~GZip64Writer() override;

  /// Says whether the members that follow are deflated. At first they are.
  void setCompression(bool on);
  /// Makes the same members give the same bytes at any time and place: all that follow
  /// carry 1980-01-01 00:00. Encrypted members differ all the same.
  void setReproducible(bool on);

  /// Writes a file. The name is cleaned up as GZipWriter does it; one of which nothing
  /// is left is SourceFailed.
  Result writeFile(const std::string& name, const Attributes& attributes, const Source& source);
  /// Writes a directory; a slash at the name's end is added. Those above it are not made.
  Result writeDirectory(const std::string& name, const Attributes& attributes);
  /// Writes a link that leads to a path.
  Result writeLink(const std::string& name, const std::string& target,
                   const Attributes& attributes);

  /// Writes the directory of the archive. False if anything has failed.
  bool close();

 private:
  class Impl;
  std::unique_ptr<Impl> impl;
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP64_WRITER_H
