// SPDX-License-Identifier: MIT
// GMatzTexture: an image of a material archive as a file object.
#ifndef LOOMKIT_ARCHIVE_MATERIAL_MATERIAL_TEXTURE_H
#define LOOMKIT_ARCHIVE_MATERIAL_MATERIAL_TEXTURE_H

#include <istream>
#include <string>

#include "loomkit/platform/export.h"
#include "loomkit/streams/file_object.h"

/// Either holds bytes, which each reader gets a stream of its own over, or one
/// stream, which all share. It can be read and not written. One thread at a
/// time.
class LOOMKIT_API GMatzTexture : public GFileObject {
 public:
  /// Without content.
  GMatzTexture(const std::string& name);
  /// Takes the stream over.
  GMatzTexture(const std::string& name, std::istream* stream);
  GMatzTexture(const GMatzTexture&) = delete;
  GMatzTexture& operator=(const GMatzTexture&) = delete;
  ~GMatzTexture() override;

  /// A texture of the same name and size. Requires: this one holds no bytes.
  /// The stream is not copied.
  GFileObject* copy() override;
  [[nodiscard]] const std::string& getName() const override;
  /// The stream, which stays this object's, other than with other file objects;
  /// or a new one over a copy of the bytes, the caller's; or null.
  std::istream* getInStream(bool binary) override;
  /// Null.
  std::ostream* getOutStream(bool binary) override;
  /// True, true, false, false.
  bool exists() override;
  bool isReadable() override;
  bool isWritable() override;
  bool isExecutable() override;

 private:
  friend class GMaterialZip;

  char* data = nullptr;  // a block of operator new, owned
  unsigned int size = 0;
  std::string name;
  std::istream* stream = nullptr;  // owned
};

#endif  // LOOMKIT_ARCHIVE_MATERIAL_MATERIAL_TEXTURE_H
