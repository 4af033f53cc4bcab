// SPDX-License-Identifier: MIT
// GMatzTexture: an image of a material archive as a file object.
//
//   GFileObject* texture = nullptr;
//   if (material.extractTexture("oak.png", &texture)) ...    // the caller deletes it
#ifndef LOOMKIT_ARCHIVE_MATERIAL_MATERIAL_TEXTURE_H
#define LOOMKIT_ARCHIVE_MATERIAL_MATERIAL_TEXTURE_H

#include <istream>
#include <string>

#include "loomkit/platform/export.h"
#include "loomkit/streams/file_object.h"

/// Holds either bytes or one stream. Of bytes, each getInStream() gives a new stream
/// of its own, which the caller deletes; the one stream is given to all who ask and
/// stays this object's. It can be read and not written.
///
/// Null is the failure; nothing is reported and nothing throws, apart from an
/// allocation that fails. One thread at a time uses an object.
class LOOMKIT_API GMatzTexture : public GFileObject {
 public:
  /// A texture without content.
  GMatzTexture(const std::string& name);
  /// Takes the stream over and deletes it in the end.
  GMatzTexture(const std::string& name, std::istream* stream);
  GMatzTexture(const GMatzTexture&) = delete;
  GMatzTexture& operator=(const GMatzTexture&) = delete;
  ~GMatzTexture() override;

  /// A new texture of the same name and size, which the caller deletes. Requires:
  /// this one holds no bytes. The stream is not copied.
  GFileObject* copy() override;
  /// The name that the texture was made with.
  [[nodiscard]] const std::string& getName() const override;
  /// The one stream, which stays this object's, other than with other file objects;
  /// or a new one over a copy of the bytes, which the caller deletes; or null.
  std::istream* getInStream(bool binary) override;
  /// Null: a texture cannot be written.
  std::ostream* getOutStream(bool binary) override;
  /// True.
  bool exists() override;
  /// True, also without content.
  bool isReadable() override;
  /// False.
  bool isWritable() override;
  /// False.
  bool isExecutable() override;

 private:
  friend class GMaterialZip;

  char* data = nullptr;  // a block of operator new, owned
  unsigned int size = 0;
  std::string name;
  std::istream* stream = nullptr;  // owned
};

#endif  // LOOMKIT_ARCHIVE_MATERIAL_MATERIAL_TEXTURE_H
