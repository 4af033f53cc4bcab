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

/// Converts one input stream, which it does not own and which must outlive it. The
/// formats are gzip (RFC 1952) and, where `gzipFormat` is false, the zlib format (RFC
/// 1950); docs/formats/gzip.md describes them.
///
/// False is the failure; its reason is a line of log level 0 of gDataSysName that
/// begins with "zlib: ". Nothing throws, apart from an allocation that fails and what
/// a host's own stream throws. One thread at a time uses an object and its streams.
class LOOMKIT_API GGZCompress {
 public:
  /// The two bytes at the start of each gzip stream.
  static const int sMagic[2];

  /// Will read from `input`, from where it stands.
  GGZCompress(std::istream& input);

  /// Compresses up to the input's end; gzip always at the best level. False when
  /// deflating fails, which it also does when one of the streams fails on the way.
  bool compress(std::ostream& output, bool gzipFormat);

  /// Decompresses up to the end of the compressed data. The input is read in blocks,
  /// and may afterwards stand beyond that end. Nothing looks at the gzip trailer: a
  /// wrong checksum still gives true, and so does a stream that fails on the way. Who
  /// wants certainty compares the trailer himself, as the tool `loom gunzip` does.
  bool decompress(std::ostream& output, bool gzipFormat);

  /// True if the next two bytes are sMagic. The input stands at its position 0
  /// afterwards, wherever it stood before; one of less than two bytes stays failed.
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
