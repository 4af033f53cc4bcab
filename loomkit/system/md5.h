// SPDX-License-Identifier: MIT
// GMD5Checker: the MD5 checksum of RFC 1321, computed piece by piece.
//
//   GMD5Checker md5;
//   md5.update(data, size);     // as often as there is data
//   md5.final();
//   md5.asString();             // 32 hexadecimal characters
#ifndef LOOMKIT_SYSTEM_MD5_H
#define LOOMKIT_SYSTEM_MD5_H

#include <memory>

#include "loomkit/platform/export.h"

/// An MD5 computation and its digest. A copy shares the running computation
/// with its source; copying is for a finished digest. An object belongs to one
/// thread at a time.
class LOOMKIT_API GMD5Checker {
 public:
  GMD5Checker();
  GMD5Checker(const GMD5Checker&);
  GMD5Checker& operator=(const GMD5Checker&);
  ~GMD5Checker();

  /// Adds `size` bytes.
  void update(const unsigned char* data, unsigned int size);

  /// Back to the start, so that the object can be used again.
  void reset();

  /// Ends the computation and fills the digest. Call reset() before the next
  /// use: a second final() gives another digest.
  void final();

  /// The 16 bytes; they belong to this object. Requires: final() was called.
  [[nodiscard]] const unsigned char* getDigest() const;

  /// 32 lower-case hexadecimal characters; they belong to this object.
  /// Requires: final() was called.
  [[nodiscard]] const char* asString() const;

 private:
  struct Context;
  std::shared_ptr<Context> context;
  unsigned char digest[16];
  char hexDigest[33];
};

#endif  // LOOMKIT_SYSTEM_MD5_H
