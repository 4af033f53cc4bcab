// SPDX-License-Identifier: MIT
// GFileObject: something with a name that gives out streams, be it a file of
// the file system (GFile) or a member of an archive.
#ifndef LOOMKIT_STREAMS_FILE_OBJECT_H
#define LOOMKIT_STREAMS_FILE_OBJECT_H

#include <iosfwd>
#include <string>

#include "loomkit/platform/export.h"

/// The abstract file. It is named, not held open: each call looks anew. What
/// copy() and the streams' getters return belongs to the caller, who deletes
/// it. Nothing throws and nothing is reported; null or false is the failure.
class LOOMKIT_API GFileObject {
 public:
  GFileObject();
  GFileObject(const GFileObject&);
  GFileObject& operator=(const GFileObject&);
  virtual ~GFileObject();

  /// A new object of the same name and class, the caller's.
  virtual GFileObject* copy() = 0;

  /// The name as it was given.
  [[nodiscard]] virtual const std::string& getName() const = 0;

  /// A new stream from the start of the content, the caller's; null on failure.
  /// Unless `binary`, it reads numbers in the classic locale.
  virtual std::istream* getInStream(bool binary) = 0;

  /// A new stream that replaces the content, the caller's; null on failure.
  virtual std::ostream* getOutStream(bool binary) = 0;

  virtual bool exists() = 0;
  virtual bool isReadable() = 0;
  virtual bool isWritable() = 0;
  virtual bool isExecutable() = 0;
};

#endif  // LOOMKIT_STREAMS_FILE_OBJECT_H
