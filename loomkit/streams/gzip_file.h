// SPDX-License-Identifier: MIT
// Extension: gzip files with all that the format (RFC 1952) has: name and time in
// the header, several members, checksums that must agree.
//
//   loomkit::GzipReader reader(in);
//   if (reader.extract(&out) != loomkit::GzipReader::complete) report(reader.getErrMsg());
//   loomkit::writeGzip(in, out, 6, {"notes.txt", modificationTime});
#ifndef LOOMKIT_STREAMS_GZIP_FILE_H
#define LOOMKIT_STREAMS_GZIP_FILE_H

#include <cstdint>
#include <istream>
#include <memory>
#include <ostream>
#include <string>

#include "loomkit/platform/export.h"

namespace loomkit {

/// What a gzip file can say of the file that it was made from.
struct GzipHeader {
  std::string name;        ///< without directories; empty: unknown
  std::uint32_t time = 0;  ///< of its last change, in seconds since 1970; 0: unknown
};

/// Compresses everything that `in` gives into one member. The level is 1, fast,
/// to 9, small. A name ends at its first zero byte. False when one of the streams
/// fails, which its state tells.
LOOMKIT_API bool writeGzip(std::istream& in, std::ostream& out, int level,
                           const GzipHeader& header = {});

/// Reads a gzip file from its beginning to its end. Nothing is reported to
/// gOutput. One thread at a time uses an object.
class LOOMKIT_API GzipReader {
 public:
  /// How the reading of a file ended.
  enum Result {
    complete,
    trailingGarbage,  ///< all members are complete and right; other data follow
    notGzip,          ///< it does not begin as a gzip file
    unexpectedEnd,
    damaged,  ///< the data are no compressed data, or a checksum or length differs
    cannotRead,
    cannotWrite,  ///< the target takes no more
    outOfMemory
  };

  /// The stream is not taken over and has to live as long as the object.
  explicit GzipReader(std::istream& in);
  GzipReader(const GzipReader&) = delete;
  GzipReader& operator=(const GzipReader&) = delete;
  ~GzipReader();

  /// Reads as far as the first header goes. May be left out.
  Result readHeader();

  /// Decompresses all members one behind the other; null: only to see whether
  /// they are right. Zero bytes behind the last member, which fill up a block of
  /// a tape, belong to the file. To be called once.
  Result extract(std::ostream* out);

  /// The header of the first member. A name has at most 4,095 bytes, whatever
  /// they are: who makes a file of that name has to look at it first.
  [[nodiscard]] const GzipHeader& getHeader() const;
  /// The bytes decompressed so far.
  [[nodiscard]] std::uint64_t getSize() const;
  /// The checksum of the last member, and the bytes of its header and trailer.
  [[nodiscard]] std::uint32_t getCRC() const;
  [[nodiscard]] unsigned getFrameSize() const;
  /// What the last result was, in words, "the data are damaged"; empty if it was
  /// `complete`.
  [[nodiscard]] std::string getErrMsg() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl;
};

}  // namespace loomkit

#endif  // LOOMKIT_STREAMS_GZIP_FILE_H
