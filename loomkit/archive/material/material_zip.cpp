// SPDX-License-Identifier: MIT
#include "loomkit/archive/material/material_zip.h"

#include <ctime>
#include <fstream>
#include <memory>

#include "loomkit/archive/material/material_layout.h"
#include "loomkit/archive/zip/zip_paths.h"
#include "loomkit/platform/files.h"
#include "loomkit/streams/file.h"
#include "loomkit/text/gi_string.h"
#include "loomkit/text/number32.h"

using namespace loomkit;

namespace {

bool writeText(GZipWriter2& writer, const std::string& name, const std::string& text) {
  return writer.writeEntry(name, text.data(), static_cast<unsigned int>(text.size()));
}

// A file that cannot be opened becomes an empty member.
bool writeFile(GZipWriter2& writer, const std::string& name, const std::string& path) {
  std::ifstream stream(platform::streamPath(path), std::ios::binary);
  return !stream.bad() && writer.writeEntry(name, &stream);
}

}  // namespace

GMaterialZip::GMaterialZip() = default;

GMaterialZip::GMaterialZip(std::istream* stream, bool ownsStream)
    : reader(new GZipReader2(stream, ownsStream)) {
  setAllReadFlags(true);
}

GMaterialZip::~GMaterialZip() {
  for (const GMatzTexture* texture : addedTextures) delete texture;
  delete reader;
}

bool GMaterialZip::open(const std::string& newPath, bool create) {
  path = newPath;
  takeReader(create ? nullptr : new GZipReader2);
  if (!create) reader->open(path);
  setAllReadFlags(!create);
  return true;
}

void GMaterialZip::takeReader(GZipReader2* newReader) {
  delete reader;
  reader = newReader;
}

void GMaterialZip::setAllReadFlags(bool on) {
  readsId = readsLabels = readsDescription = readsMetaInfo = on;
  readsPreview = readsTextures = readsTimeStamp = on;
}

// --- Reading -------------------------------------------------------------

bool GMaterialZip::readTextItem(const char* name, std::string* text) {
  const GZipEntry* entry = reader == nullptr ? nullptr : reader->getEntry(name);
  return entry != nullptr && reader->readTextEntry(entry, *text);
}

bool GMaterialZip::readIdIfRequired() {
  if (!readsId) return true;
  GiString text;
  if (!readTextItem(material::idName, &text)) return false;
  id = text.trim(nullptr);
  readsId = false;
  return true;
}

// Labels are for other programs: an archive that was just opened knows no
// language.
bool GMaterialZip::readLabelsIfRequired() {
  readsLabels = false;
  return true;
}

bool GMaterialZip::readDescriptionIfRequired() {
  if (!readsDescription) return true;
  const GZipEntry* entry = nullptr;
  for (const char* extension : material::descriptionExtensions) {
    if (entry != nullptr || reader == nullptr) break;
    entry = reader->findEntryByFileExtension(extension, false);
  }
  if (entry == nullptr || !reader->readTextEntry(entry, description)) return false;
  descriptionFileName = entry->getFName();
  readsDescription = false;
  return true;
}

bool GMaterialZip::readMetaInfoIfRequired() {
  if (readsMetaInfo && readTextItem(material::metaInfoName, &metaInfo)) readsMetaInfo = false;
  return true;
}

bool GMaterialZip::readTimeStampIfRequired() {
  if (!readsTimeStamp) return true;
  std::string text;
  timeStamp =
      readTextItem(material::timeStampName, &text) ? parseLong32(text.c_str(), nullptr, 10) : 0;
  readsTimeStamp = false;
  return true;
}

bool GMaterialZip::getId(std::string* text) {
  if (text == nullptr || !readIdIfRequired()) return false;
  *text = id;
  return true;
}

bool GMaterialZip::getLabel(const std::string& language, std::string* label) {
  if (label == nullptr || !readLabelsIfRequired()) return false;
  const auto found = labels.find(language);
  if (found == labels.end()) return false;
  *label = found->second;
  return true;
}

bool GMaterialZip::getDescription(std::string* text, std::string* fileName) {
  if (text == nullptr || !readDescriptionIfRequired()) return false;
  *text = description;
  if (fileName != nullptr) *fileName = descriptionFileName;
  return true;
}

bool GMaterialZip::getMetaInfo(std::string* text) {
  if (text == nullptr || !readMetaInfoIfRequired()) return false;
  *text = metaInfo;
  return true;
}

bool GMaterialZip::getTimeStamp(std::int64_t* seconds) {
  if (seconds == nullptr || !readTimeStampIfRequired()) return false;
  *seconds = timeStamp;
  return true;
}

bool GMaterialZip::extractPreviewImage(const std::string& filePath) {
  if (filePath.empty() || reader == nullptr || !readsPreview) return false;
  const GZipEntry* entry = reader->getEntry(material::previewName);
  return entry != nullptr && reader->extractEntryToFile(entry, filePath);
}

bool GMaterialZip::getTextureNames(std::vector<std::string>* names) {
  if (names == nullptr || reader == nullptr || !readsTextures) return false;
  for (auto i = reader->entriesBegin(); i != reader->entriesEnd(); ++i) {
    if (reader->isRasterImageEntry(i->second)) names->push_back(i->first);
  }
  return true;
}

const GZipEntry* GMaterialZip::findTexture(const std::string& name) {
  if (name.empty() || reader == nullptr || !readsTextures) return nullptr;
  return reader->getEntry(name);
}

bool GMaterialZip::extractTexture(const std::string& name, const std::string& filePath) {
  const GZipEntry* entry = findTexture(name);
  return entry != nullptr && !filePath.empty() && reader->extractEntryToFile(entry, filePath);
}

bool GMaterialZip::extractTexture(const std::string& name, char** data, unsigned int* size) {
  const GZipEntry* entry = findTexture(name);
  return entry != nullptr && reader->readEntry(entry, data, size, false);
}

bool GMaterialZip::extractTexture(const std::string& name, GFileObject** texture) {
  auto made = std::make_unique<GMatzTexture>(name);
  if (!extractTexture(name, &made->data, &made->size)) return false;
  *texture = made.release();
  return true;
}

// --- Setting -------------------------------------------------------------

bool GMaterialZip::setId(const std::string& text) {
  if (text.empty()) return false;
  id = text;
  readsId = false;
  return true;
}

bool GMaterialZip::setLabel(const std::string& language, const std::string& label) {
  if (language.empty() || label.empty()) return false;
  labels[language] = label;
  readsLabels = false;
  return true;
}

bool GMaterialZip::setDescription(const std::string& text, const std::string& fileName) {
  if (text.empty() || fileName.empty()) return false;
  description = text;
  descriptionFileName = fileName;
  readsDescription = false;
  return true;
}

bool GMaterialZip::setMetaInfo(const std::string& text) {
  if (text.empty()) return false;
  metaInfo = text;
  readsMetaInfo = false;
  return true;
}

bool GMaterialZip::setPreviewImage(const std::string& filePath) {
  previewImagePath = filePath;
  readsPreview = false;
  return true;
}

bool GMaterialZip::setPreviewImageData(char* /*data*/, unsigned int /*size*/) { return false; }

bool GMaterialZip::setTextures(const std::vector<std::string>& paths) {
  texturePaths = paths;
  readsTextures = false;
  return true;
}

bool GMaterialZip::addTexture(const std::string& name, std::istream* stream) {
  std::unique_ptr<std::istream> owner(stream);
  auto texture = std::make_unique<GMatzTexture>(name, stream);
  static_cast<void>(owner.release());
  addedTextures.push_back(texture.get());
  static_cast<void>(texture.release());
  return true;
}

// --- Writing -------------------------------------------------------------

bool GMaterialZip::flush(bool compress, bool encrypt) {
  readWhatSurvives();
  if (!GFile(path).remove()) return false;
  GZipWriter2 writer;
  writer.open(path);
  writeItems(writer, compress, encrypt);
  return true;
}

bool GMaterialZip::flush(std::ostream* stream, bool compress, bool encrypt) {
  readWhatSurvives();
  GZipWriter2 writer(stream, false);
  writeItems(writer, compress, encrypt);
  return true;
}

// The reader object stays, closed.
void GMaterialZip::readWhatSurvives() {
  if (reader == nullptr) return;
  readIdIfRequired();
  readLabelsIfRequired();
  readDescriptionIfRequired();
  readMetaInfoIfRequired();
  reader->close();
}

void GMaterialZip::writeItems(GZipWriter2& writer, bool compress, bool encrypt) {
  writer.setCompression(compress);
  writer.setDefaultEncryption(encrypt);
  writeText(writer, material::idName, id);
  writeLabels(writer);
  writeText(writer, descriptionFileName, description);
  writeText(writer, material::metaInfoName, metaInfo);
  writePreview(writer);
  writeTextures(writer);
  writeTimeStamp(writer);
  writer.close();
}

bool GMaterialZip::writeLabels(GZipWriter2& writer) {
  if (labels.empty()) return true;
  std::string text;
  for (const auto& [language, label] : labels) {
    text.append(language) += material::labelSeparator;
    text.append(label) += material::labelLineEnd;
  }
  text.pop_back();
  return writeText(writer, material::labelsName, text);
}

bool GMaterialZip::writePreview(GZipWriter2& writer) {
  if (readsPreview || previewImagePath.empty()) return false;
  return writeFile(writer, material::previewName, previewImagePath);
}

// Without setTextures() nothing is written, neither the archive's own textures
// nor added ones.
bool GMaterialZip::writeTextures(GZipWriter2& writer) {
  if (readsTextures) return false;
  for (const std::string& texturePath : texturePaths) {
    writeFile(writer, zip::baseName(texturePath), texturePath);
  }
  for (GMatzTexture* texture : addedTextures) {
    std::istream* stream = texture->getInStream(false);
    if (stream != nullptr) writer.writeEntry(texture->getName(), stream);
  }
  return true;
}

bool GMaterialZip::writeTimeStamp(GZipWriter2& writer) {
  timeStamp = static_cast<std::int64_t>(std::time(nullptr));
  readsTimeStamp = false;
  return writeText(writer, material::timeStampName,
                   std::to_string(static_cast<std::int32_t>(timeStamp)));
}
