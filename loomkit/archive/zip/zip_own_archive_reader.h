// SPDX-License-Identifier: MIT
// GZipReader2: a zip reader for a host's own archives.
//
//   GZipReader2 reader;
//   std::string text;
//   if (reader.open("scene.zip") && reader.readTextEntry(reader.getEntry("a.txt"), text)) ...
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_OWN_ARCHIVE_READER_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_OWN_ARCHIVE_READER_H

#include <istream>
#include <string>

#include "loomkit/archive/zip/zip_reader.h"

/// Adds to GZipReader what hosts need again and again for archives that they wrote
/// themselves: text members, extraction to files, tests of names, and a password
/// that the library knows (see GZipWriter2). It trusts the names in the archive; for
/// archives from elsewhere there is GZipExtractor.
///
/// It reports nothing of its own: failures are those of GZipReader. Ownership and
/// threads are as there.
class LOOMKIT_API GZipReader2 : public GZipReader {
 public:
  /// A closed reader.
  GZipReader2();
  /// Reads the directory of a stream, as GZipReader does.
  GZipReader2(std::istream* stream, bool ownsStream);
  /// Copies share stream and entries, as those of GZipReader do.
  GZipReader2(const GZipReader2&);
  GZipReader2& operator=(const GZipReader2&);
  ~GZipReader2() override;

  /// Reads a member whole, with a line feed for each carriage return and line feed.
  /// On failure the text stays as it was. An encrypted member is read with the
  /// built-in password. The reader's password is another one afterwards: the
  /// built-in one after an encrypted member, else none.
  bool readTextEntry(const GZipEntry* entry, std::string& text);

  /// True if the name ends in the extension, which can be any text and whose
  /// letter case counts.
  [[nodiscard]] bool hasFileExtension(const std::string& name, const std::string& extension) const;

  /// Writes a file member to a file of the file system, which is emptied before.
  /// No directory is made. What is not a file fails without a word.
  bool extractEntryToFile(const GZipEntry* entry, const std::string& path);

  /// Writes a file member into a directory, under its whole name with `keepPath`,
  /// else under the last part of it. `path` receives the file's path. The name is
  /// used as it is, and may lead out of the directory: see the class.
  bool extractEntryToDirectory(const GZipEntry* entry, const std::string& directory, bool keepPath,
                               std::string& path);

  /// True for a file whose name ends in .png, .jpg, .tga or .bmp, in either
  /// case.
  [[nodiscard]] bool isRasterImageEntry(const GZipEntry* entry) const;

  /// The first file, in the order of names, whose name ends in the extension,
  /// or null.
  [[nodiscard]] const GZipEntry* findEntryByFileExtension(const std::string& extension,
                                                          bool caseSensitive) const;

  /// A member's name with slashes only, and without one at its end.
  [[nodiscard]] std::string getEntryPath(const GZipEntry* entry) const;
  /// The last part of a file's name; empty for anything else.
  [[nodiscard]] std::string getEntryFileName(const GZipEntry* entry) const;
  /// A directory's name as it is stored; empty for anything else, a file too.
  [[nodiscard]] std::string getEntryDirectory(const GZipEntry* entry) const;

 private:
  void initPassword();

  static constexpr unsigned passwordSize = 128;

  std::string spareText;               // unused; hosts count on the place of what follows
  char builtInPassword[passwordSize];  // scrambled
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_OWN_ARCHIVE_READER_H
