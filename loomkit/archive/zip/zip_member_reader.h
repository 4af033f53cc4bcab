// SPDX-License-Identifier: MIT
// GZipReader::MemberReader: the way of one member's bytes from the archive to
// their receiver. Private to GZipReader.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_MEMBER_READER_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_MEMBER_READER_H

#include <zlib.h>

#include <cstdint>
#include <istream>

#include "loomkit/archive/zip/zip_reader.h"

/// Reads one member once: reads, decrypts, inflates and checks in steps of 8192
/// bytes, which is all the memory that it takes, however large the member is.
/// What is wrong is reported by the reader, whose stream and cipher it uses.
class LOOMKIT_LOCAL GZipReader::MemberReader {
 public:
  /// All three stay the caller's and have to outlive this object.
  MemberReader(GZipReader& reader, const GZipEntry& entry, Output& receiver);
  MemberReader(const MemberReader&) = delete;
  MemberReader& operator=(const MemberReader&) = delete;
  ~MemberReader();

  /// Does it all. False when anything failed; what has gone to the receiver by
  /// then stays there.
  bool run();

 private:
  bool begin();
  bool readEncryptionHeader();
  bool fillInput();
  bool takeStored(bool* last);
  bool inflateSome(bool* last);
  bool deliver();
  bool finish();

  bool readInput(unsigned int size);
  void decrypt(unsigned int size);
  bool fail(const char* before, const char* after);
  bool failFile(const char* what);
  void warnFile(const char* what);

  static constexpr unsigned int step = 8192;

  GZipReader& reader;
  std::istream& stream;
  const GZipEntry& entry;
  Output& out;
  std::uint32_t remaining;  // bytes of the archive that are still to be read
  std::uint32_t left;       // bytes still to be produced; wraps when there are too many
  z_stream z{};
  bool inflating = false;
  uLong crc = 0;
  // What one pass has produced: part of `input` for a stored member, else of `output`.
  const unsigned char* produced = nullptr;
  unsigned int producedSize = 0;
  unsigned char input[step];
  unsigned char output[step];
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_MEMBER_READER_H
