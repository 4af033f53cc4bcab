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

/// Reads the items of an existing archive when they are first asked for, and
/// flush() writes a whole archive anew. What was set counts from then on, and
/// the archive's own is not read any more.
///
/// Id, description and meta information survive a flush() by themselves.
/// Labels, preview and textures do not: they have to be set again. Labels are
/// written for other programs and never read back here; gReadMaterialLabels()
/// reads them.
///
/// Operations answer with a bool; a `get` into a null pointer is false. The zip
/// classes below report to gOutput. One thread at a time.
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

  /// Names the file. Unless `create` is set, it is opened for reading. Always
  /// true: a file that cannot be opened shows in the `get` calls.
  bool open(const std::string& path, bool create);

  /// Writes the archive to its path, deflated and encrypted with the built-in
  /// password as asked for. The old file is removed first; if that fails, the
  /// result is false and nothing is written. What fails later is only reported.
  /// Afterwards the archive that was open is closed.
  bool flush(bool compress, bool encrypt);
  /// The same to a stream of the caller's. Always true.
  bool flush(std::ostream* stream, bool compress, bool encrypt);

  /// A `set` refuses an empty text, as do those below.
  bool getId(std::string* id);
  bool setId(const std::string& text);

  /// False if the language has no label.
  bool getLabel(const std::string& language, std::string* label);
  bool setLabel(const std::string& language, const std::string& label);

  /// `fileName`, which may be null in `get`, is the name of the member.
  bool getDescription(std::string* text, std::string* fileName);
  bool setDescription(const std::string& text, const std::string& fileName);

  /// True without meta information, too, for the text is empty then.
  bool getMetaInfo(std::string* text);
  bool setMetaInfo(const std::string& text);

  /// Writes the archive's own preview to a file.
  bool extractPreviewImage(const std::string& path);
  /// The file to store at the next flush(). True.
  bool setPreviewImage(const std::string& path);
  /// False: a preview can only be set as a file.
  bool setPreviewImageData(char* data, unsigned int size);

  /// Appends the names of the archive's own images: .png, .jpg, .tga, .bmp.
  bool getTextureNames(std::vector<std::string>* names);
  /// Give one of them as a file, as a block of `operator new` that is the
  /// caller's, or as a new file object that is the caller's. Requires, of an
  /// encrypted archive: a text, such as the id, was asked for before; that is
  /// what sets the password.
  bool extractTexture(const std::string& name, const std::string& path);
  bool extractTexture(const std::string& name, char** data, unsigned int* size);
  bool extractTexture(const std::string& name, GFileObject** texture);
  /// The files to store at the next flush(), under their base names, in place
  /// of the archive's own images. True.
  bool setTextures(const std::vector<std::string>& paths);
  /// One more, whose stream goes over to this object. True; but unless
  /// setTextures() is called as well, an archive that was opened keeps none.
  bool addTexture(const std::string& name, std::istream* stream);

  /// The time of the flush() that wrote the archive, in seconds since 1970; 0
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
