// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_own_archive_reader.h"

#include <algorithm>
#include <fstream>
#include <memory>
#include <new>

#include "loomkit/archive/zip/zip_password.h"
#include "loomkit/archive/zip/zip_paths.h"
#include "loomkit/platform/files.h"
#include "loomkit/text/char_class.h"

using namespace loomkit;

GZipReader2::GZipReader2() { initPassword(); }

GZipReader2::GZipReader2(std::istream* archive, bool ownsArchive)
    : GZipReader(archive, ownsArchive) {
  initPassword();
}

GZipReader2::GZipReader2(const GZipReader2&) = default;
GZipReader2& GZipReader2::operator=(const GZipReader2&) = default;
GZipReader2::~GZipReader2() = default;

void GZipReader2::initPassword() {
  static_assert(passwordSize == zip::builtInPasswordSize);
  zip::assembleBuiltInPassword(builtInPassword);
}

bool GZipReader2::readTextEntry(const GZipEntry* entry, std::string& text) {
  if (entry->isEncrypted()) {
    zip::unscramble(builtInPassword);
    setPassword(builtInPassword);
    zip::scramble(builtInPassword);
  } else {
    setPassword("");
  }
  char* data = nullptr;
  unsigned int size = 0;
  if (!readEntry(entry, &data, &size, true)) return false;
  const auto release = [](char* block) { ::operator delete(block); };
  const std::unique_ptr<char, decltype(release)> owner(data, release);
  text.assign(data, size);
  return true;
}

bool GZipReader2::hasFileExtension(const std::string& name, const std::string& extension) const {
  return name.size() >= extension.size() &&
         name.compare(name.size() - extension.size(), extension.size(), extension) == 0;
}

bool GZipReader2::extractEntryToFile(const GZipEntry* entry, const std::string& filePath) {
  if (!entry->isFile()) return false;
  // One that cannot be opened fails at the first write.
  std::ofstream file(platform::streamPath(filePath), std::ios::binary);
  return readEntry(entry, &file, false);
}

bool GZipReader2::extractEntryToDirectory(const GZipEntry* entry, const std::string& directory,
                                          bool keepPath, std::string& filePath) {
  if (!entry->isFile()) return false;
  filePath = zip::withSlashes(directory) + "/" +
             (keepPath ? getEntryPath(entry) : getEntryFileName(entry));
  return extractEntryToFile(entry, filePath);
}

bool GZipReader2::isRasterImageEntry(const GZipEntry* entry) const {
  if (!entry->isFile()) return false;
  const std::string name = zip::lowered(entry->getFName());
  const auto endsName = [&](const char* extension) { return hasFileExtension(name, extension); };
  return endsName(".png") || endsName(".jpg") || endsName(".tga") || endsName(".bmp");
}

const GZipEntry* GZipReader2::findEntryByFileExtension(const std::string& extension,
                                                       bool caseSensitive) const {
  const auto form = [caseSensitive](const std::string& text) {
    return caseSensitive ? text : zip::lowered(text);
  };
  for (auto i = entriesBegin(); i != entriesEnd(); ++i) {
    if (i->second->isFile() && hasFileExtension(form(i->first), form(extension))) {
      return i->second;
    }
  }
  return nullptr;
}

std::string GZipReader2::getEntryPath(const GZipEntry* entry) const {
  return zip::withSlashes(entry->getFName());
}

std::string GZipReader2::getEntryFileName(const GZipEntry* entry) const {
  return entry->isFile() ? zip::baseName(entry->getFName()) : std::string();
}

std::string GZipReader2::getEntryDirectory(const GZipEntry* entry) const {
  return entry->isDirectory() ? entry->getFName() : std::string();
}
