// SPDX-License-Identifier: MIT
// GZipWriter::MemberWriter: the way of one member's bytes from their source into
// the archive. Private to GZipWriter.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_MEMBER_WRITER_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_MEMBER_WRITER_H

#include <zlib.h>

#include "loomkit/archive/zip/zip_writer.h"

/// Writes the data of one member, whose local header has just been written, and
/// completes that header. Reads, sums up, deflates and encrypts in steps of 8192
/// bytes, which is all the memory that it takes, however large the member is.
/// What is wrong is reported by the writer, whose sink and cipher it uses.
class LOOMKIT_LOCAL GZipWriter::MemberWriter {
 public:
  /// All three stay the caller's and have to outlive this object.
  MemberWriter(GZipWriter& writer, GZipEntry& entry, Input& source);
  MemberWriter(const MemberWriter&) = delete;
  MemberWriter& operator=(const MemberWriter&) = delete;
  ~MemberWriter();

  /// Does it all, and puts checksum and sizes into the entry. False when anything
  /// failed; what the archive has got by then stays there.
  bool run();

 private:
  bool begin();
  bool writeEncryptionHeader();
  void fillInput();
  void takeStored(bool* last);
  bool deflateSome(bool* last);
  bool write(unsigned char* bytes, unsigned int size);
  bool finish();
  bool completeHeader();
  bool hasGoneOut(int status);

  static constexpr unsigned int step = 8192;

  GZipWriter& writer;
  GZipFileWriter& sink;
  GZipEntry& entry;
  Input& in;
  long dataStart;
  z_stream z{};
  bool deflating = false;
  int flush = Z_NO_FLUSH;  // Z_FINISH once the source has ended
  uLong crc = 0;
  unsigned int comprSize = 0;
  unsigned int uncomprSize = 0;
  unsigned int textBytes = 0;  // those below 0x80
  // What one pass has produced: `input` for a stored member, else `output`.
  unsigned char* produced = nullptr;
  unsigned int producedSize = 0;
  unsigned char input[step];
  unsigned char output[step];
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_MEMBER_WRITER_H
