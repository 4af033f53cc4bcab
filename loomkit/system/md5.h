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

/// Computes an MD5 checksum and holds its digest. Not for secrets: collisions of MD5
/// are easily made. A copy shares the running computation with its source, so copy
/// only an object that has finished. Nothing fails; nothing throws, apart from an
/// allocation that fails. One thread at a time uses an object.
class LOOMKIT_API GMD5Checker {
 public:
  /// An object at the start of a computation.
  GMD5Checker();
  GMD5Checker(const GMD5Checker&);
  GMD5Checker& operator=(const GMD5Checker&);
  ~GMD5Checker();

  /// Adds `size` bytes, which stay the caller's.
  void update(const unsigned char* data, unsigned int size);

  /// Goes back to the start, so that the object can be used again.
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
