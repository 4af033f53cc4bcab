// SPDX-License-Identifier: MIT
// GMaterialZip: everything about one surface material in one zip archive.
//
//   GMaterialZip material;
//   material.open("oak.matz", true);
//   material.setId("oak-42");
//   material.setLabel("en", "Oak");
//   material.setDescription(text, "oak.mat");
//   material.setTextures({"images/oak.png"});
//   if (!material.flush(true, false)) ...
#ifndef LOOMKIT_ARCHIVE_MATERIAL_MATERIAL_ZIP_H
#define LOOMKIT_ARCHIVE_MATERIAL_MATERIAL_ZIP_H

#include <cstdint>
#include <istream>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "loomkit/archive/material/material_texture.h"
#include "loomkit/archive/zip/zip_own_archive_reader.h"
#include "loomkit/archive/zip/zip_own_archive_writer.h"
#include "loomkit/platform/export.h"

/// Reads the items of an existing archive when they are first asked for, and writes
/// a whole archive anew in flush(). An item that was set counts from then on; the
/// one in the archive is not read any more.
///
/// Id, description and meta information survive a flush() by themselves.
/// Labels, preview and textures do not: they have to be set again. Labels are
/// written for other programs and never read back here; gReadMaterialLabels()
/// reads them.
///
/// Operations answer with a bool, and a `get` into a null pointer is false. The zip
/// classes that it uses report to gOutput; nothing throws, apart from an allocation
/// that fails. One thread at a time uses an object. Format: docs/formats/material.md.
class LOOMKIT_API GMaterialZip {
 public:
  /// A new, empty archive without a path.
  GMaterialZip();
  /// An archive in a seekable stream, which is deleted at the end if
  /// `ownsStream` is set.
  GMaterialZip(std::istream* stream, bool ownsStream);
  GMaterialZip(const GMaterialZip&) = delete;
  GMaterialZip& operator=(const GMaterialZip&) = delete;
  ~GMaterialZip();

  /// Names the file of the archive. Unless `create` is set, the file is opened for
  /// reading. Always true: that a file cannot be opened shows in the `get` calls,
  /// which are false then.
  bool open(const std::string& path, bool create);

  /// Writes the archive to its path, deflated and encrypted with the built-in
  /// password as asked for. The old file is removed first; if that fails, the
  /// result is false and nothing is written. What fails later is only reported.
  /// Afterwards the archive that was open is closed.
  bool flush(bool compress, bool encrypt);
  /// The same to a stream of the caller's. Always true.
  bool flush(std::ostream* stream, bool compress, bool encrypt);

  /// Gives the material's identifier, without white space at its ends. False if the
  /// archive has none.
  bool getId(std::string* id);
  /// Sets the identifier. False for an empty text, which is refused here and below.
  bool setId(const std::string& text);

  /// Gives the label that was set for a language. False if none was.
  bool getLabel(const std::string& language, std::string* label);
  /// Sets the material's name in a language, such as "en". False for an empty text.
  bool setLabel(const std::string& language, const std::string& label);

  /// Gives the description and, unless `fileName` is null, the name of its member.
  /// False if the archive has none.
  bool getDescription(std::string* text, std::string* fileName);
  /// Sets the description and the name of its member, which should end in ".mat", so
  /// that it is found again. False for an empty text.
  bool setDescription(const std::string& text, const std::string& fileName);

  /// Gives the meta information, empty if the archive has none. False for a null
  /// pointer only.
  bool getMetaInfo(std::string* text);
  /// Sets the meta information. False for an empty text.
  bool setMetaInfo(const std::string& text);

  /// Writes the archive's own preview image to a file. False without one.
  bool extractPreviewImage(const std::string& path);
  /// Names the image file to store as preview at the next flush(). Always true.
  bool setPreviewImage(const std::string& path);
  /// Does nothing and is false: a preview can only be set as a file.
  bool setPreviewImageData(char* data, unsigned int size);

  /// Appends the names of the archive's own images, which are the files that end in
  /// .png, .jpg, .tga or .bmp, in either case. False once textures were set.
  bool getTextureNames(std::vector<std::string>* names);
  /// Writes one of the archive's own images to a file. Requires, here and below, of
  /// an encrypted archive: a text, such as the id, was asked for before, since that
  /// is what sets the password.
  bool extractTexture(const std::string& name, const std::string& path);
  /// Gives one as a block of `operator new`, which is the caller's.
  bool extractTexture(const std::string& name, char** data, unsigned int* size);
  /// Gives one as a new file object, which the caller deletes.
  bool extractTexture(const std::string& name, GFileObject** texture);
  /// Names the image files to store at the next flush(), under their base names and
  /// in place of the archive's own images. Always true.
  bool setTextures(const std::vector<std::string>& paths);
  /// Adds one more image, whose stream goes over to this object. Always true; but
  /// unless setTextures() is called as well, an archive that was opened keeps none.
  bool addTexture(const std::string& name, std::istream* stream);

  /// Gives the time of the flush() that wrote the archive, in seconds since 1970; 0
  /// when it is not known. False for a null pointer only.
  bool getTimeStamp(std::int64_t* seconds);

 private:
  bool readIdIfRequired();
  bool readLabelsIfRequired();
  bool readDescriptionIfRequired();
  bool readMetaInfoIfRequired();
  bool readTimeStampIfRequired();
  bool readTextItem(const char* name, std::string* text);
  void readWhatSurvives();
  void writeItems(GZipWriter2& writer, bool compress, bool encrypt);
  bool writeLabels(GZipWriter2& writer);
  bool writePreview(GZipWriter2& writer);
  bool writeTextures(GZipWriter2& writer);
  bool writeTimeStamp(GZipWriter2& writer);
  void setAllReadFlags(bool on);
  void takeReader(GZipReader2* newReader);
  const GZipEntry* findTexture(const std::string& name);

  std::string id;
  std::map<std::string, std::string> labels;
  std::string description;
  std::string descriptionFileName;
  std::string metaInfo;
  std::vector<std::string> texturePaths;
  std::string previewImagePath;
  std::string path;
  std::int64_t timeStamp = 0;
  std::vector<GMatzTexture*> addedTextures;  // owned
  // True: the item lies unread in the archive.
  bool readsId = false;
  bool readsLabels = false;
  bool readsDescription = false;
  bool readsMetaInfo = false;
  bool readsPreview = false;
  bool readsTextures = false;
  bool readsTimeStamp = false;
  GZipReader2* reader = nullptr;  // owned; null for a new archive
};

#endif  // LOOMKIT_ARCHIVE_MATERIAL_MATERIAL_ZIP_H
