// SPDX-License-Identifier: MIT
// GGZCompress: compresses or decompresses a whole stream at one call.
//
//   std::ifstream in("log.gz", std::ios::binary);
//   if (!GGZCompress(in).decompress(out, true)) ...   // the reason was logged
#ifndef LOOMKIT_STREAMS_GZIP_STREAM_H
#define LOOMKIT_STREAMS_GZIP_STREAM_H

#include <istream>
#include <ostream>

#include "loomkit/platform/export.h"

/// Reads one stream, which it does not own and which must outlive it. Formats:
/// gzip (RFC 1952), or the zlib format (RFC 1950) when `gzipFormat` is false.
/// Reasons of failure are lines of log level 0 of gDataSysName that begin with
/// "zlib: ". One object belongs to one thread.
class LOOMKIT_API GGZCompress {
 public:
  /// The two bytes at the start of each gzip stream.
  static const int sMagic[2];

  GGZCompress(std::istream& input);

  /// Compresses up to the input's end, gzip at the best level. False when
  /// deflating fails, which it also does when either stream fails on the way.
  bool compress(std::ostream& output, bool gzipFormat);

  /// Decompresses. The input is read in blocks, beyond the data's end too. The
  /// gzip trailer is not looked at: a wrong checksum still gives true, and so
  /// does a stream that fails on the way.
  bool decompress(std::ostream& output, bool gzipFormat);

  /// True if the next two bytes are sMagic. The input then stands at its
  /// position 0, wherever it stood before; a shorter one stays failed.
  bool isCompressed();

 protected:
  /// Reads a gzip header with all its optional parts.
  bool checkHeader();
  /// Writes a header without optional parts, time or name.
  void writeHeader(std::ostream& output);

 private:
  std::istream& input;
};

#endif  // LOOMKIT_STREAMS_GZIP_STREAM_H
