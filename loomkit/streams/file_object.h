// SPDX-License-Identifier: MIT
// GFileObject: something with a name that gives out streams, be it a file of
// the file system (GFile) or a member of an archive.
//
//   void load(GFileObject& source) {
//     const std::unique_ptr<std::istream> in(source.getInStream(false));
//     if (in == nullptr) ...
#ifndef LOOMKIT_STREAMS_FILE_OBJECT_H
#define LOOMKIT_STREAMS_FILE_OBJECT_H

#include <iosfwd>
#include <string>

#include "loomkit/platform/export.h"

/// The abstract file, from which hosts derive sources of their own. It has a name
/// and is not held open: each call looks anew.
///
/// What copy() and the two getters of streams return belongs to the caller, who
/// deletes it. Null or false is the failure; nothing is reported and nothing throws,
/// apart from an allocation that fails. One thread at a time uses an object.
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

  /// True if there is something of this name.
  virtual bool exists() = 0;
  /// True if this process may read it.
  virtual bool isReadable() = 0;
  /// True if this process may write it.
  virtual bool isWritable() = 0;
  /// True if this process may run it.
  virtual bool isExecutable() = 0;
};

#endif  // LOOMKIT_STREAMS_FILE_OBJECT_H
