// SPDX-License-Identifier: MIT
// Extension: GZip64Reader, which reads zip archives of any size.
//
//   GZip64Reader reader;
//   if (!reader.open("backup.zip")) return;        // gOutput was told why
//   for (const GZipMember& member : reader.getMembers()) {
//     reader.read(member, [&](const char* data, std::size_t size) { return take(data, size); });
//   }
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP64_READER_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP64_READER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/archive/zip/zip_base.h"
#include "loomkit/archive/zip/zip_member.h"
#include "loomkit/platform/export.h"

/// Reads what GZipReader reads, and beyond it: zip64 (numbers, sizes and offsets of 64
/// bits), every member of several that share a name, Unix modes, exact times, archives
/// with bytes in front of them. It compares the checksum of every member and the check
/// byte of encrypted ones.
///
/// open() reports to gOutput with the system name gDataSysName, as GZipReader does;
/// read() keeps its reason for getErrMsg(), because a host mostly has more to say.
/// Nothing throws, apart from an allocation that fails and what a receiver throws. The
/// memory for the directory grows with the bytes that are there, and a member takes a
/// few hundred KiB, however large it is. One thread at a time uses a reader.
///
/// Format: PKWARE's APPNOTE.TXT 4.5; docs/formats/zip.md has the tables of the fields.
class LOOMKIT_API GZip64Reader : public GZipBase {
 public:
  /// Takes the next bytes of a member; false ends the reading.
  using Receiver = std::function<bool(const char* data, std::size_t size)>;

  /// A closed reader.
  GZip64Reader();
  GZip64Reader(const GZip64Reader&) = delete;
  GZip64Reader& operator=(const GZip64Reader&) = delete;
  ~GZip64Reader() override;

  /// Opens a regular file and reads its directory. False when that fails; gOutput was
  /// told why. What was open before is closed, and its members are gone.
  bool open(const std::string& path);
  /// Closes the file; the members go.
  void close();

  /// All members, in the order of the directory. They stay until open() or close().
  [[nodiscard]] const std::vector<GZipMember>& getMembers() const;
  /// The last member of this name, which is the one that was added last, or null. The
  /// first call makes an index of all names; the others take no time to speak of.
  [[nodiscard]] const GZipMember* find(const std::string& name) const;
  /// The comment of the archive, as bytes.
  [[nodiscard]] const std::string& getZipFileComment() const;
  /// False when the directory has another number of members than the end record
  /// states, or ends elsewhere. open() has warned of that.
  [[nodiscard]] bool isDirectoryExact() const;

  /// Reads a member and compares its size and checksum. False, with getErrMsg(), when
  /// it is not what it must be or the receiver has had enough; what the receiver has
  /// got by then is then not to be trusted. Requires: the member is one of this reader's.
  bool read(const GZipMember& member, const Receiver& receiver);

  /// Why the last read() or checkLayout() failed, without the archive's path.
  [[nodiscard]] const std::string& getErrMsg() const;

  /// False when members share bytes of the archive or reach beyond it: such an archive
  /// can hold far more than its size, and no program makes one by accident. Reads every
  /// local header; the answer is kept.
  bool checkLayout();

 private:
  class Impl;
  std::unique_ptr<Impl> impl;
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP64_READER_H
