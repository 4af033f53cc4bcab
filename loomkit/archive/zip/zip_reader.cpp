// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_reader.h"

#include <algorithm>

#include "loomkit/archive/zip/zip_layout.h"
#include "loomkit/archive/zip/zip_receivers.h"
#include "loomkit/streams/file.h"
#include "loomkit/text/binary.h"

using namespace loomkit;

GZipReader::GZipReader() = default;

// When this throws, the stream is not taken.
GZipReader::GZipReader(std::istream* archive, bool ownsArchive) : GZipReader() {
  stream = archive;
  if (!readCentralDirectory()) error("can't read central directory");
  ownsStream = ownsArchive;
}

GZipReader::GZipReader(const GZipReader&) = default;
GZipReader& GZipReader::operator=(const GZipReader&) = default;
GZipReader::~GZipReader() { close(); }

bool GZipReader::open(const std::string& newPath) {
  clrError();
  setPath(newPath);
  std::istream* file = GFile(newPath).getInStream(true);
  if (file == nullptr) return error("can't open file");
  takeStream(file, true);
  if (!readCentralDirectory()) return error("can't read central directory");
  return true;
}

bool GZipReader::close() {
  takeStream(nullptr, false);
  deleteEntries();
  return true;
}

void GZipReader::takeStream(std::istream* newStream, bool ownsNewStream) {
  if (ownsStream) delete stream;
  stream = newStream;
  ownsStream = ownsNewStream;
}

void GZipReader::deleteEntries() {
  for (const auto& [name, entry] : entries) delete entry;
  entries.clear();
}

const GZipEntry* GZipReader::getEntry(const std::string& name) const {
  const auto found = entries.find(name);
  return found == entries.end() ? nullptr : found->second;
}

const GZipEntry* GZipReader::findEntry(const std::string& name) {
  if (isError()) return nullptr;
  const GZipEntry* entry = getEntry(name);
  if (entry == nullptr) {
    GOStrStream text;
    text << "entry not found (" << name << ")";
    warning(text);
  }
  return entry;
}

bool GZipReader::readEntry(const std::string& name, std::ostream* out, bool convertLineEnds) {
  const GZipEntry* entry = findEntry(name);
  return entry != nullptr && readEntry(entry, out, convertLineEnds);
}

bool GZipReader::readEntry(const std::string& name, char** data, unsigned int* size,
                           bool convertLineEnds) {
  const GZipEntry* entry = findEntry(name);
  return entry != nullptr && readEntry(entry, data, size, convertLineEnds);
}

bool GZipReader::readEntry(const std::string& name, Output* out) {
  const GZipEntry* entry = findEntry(name);
  return entry != nullptr && readEntry(entry, out);
}

bool GZipReader::readEntry(const GZipEntry* entry, std::ostream* out, bool convertLineEnds) {
  StreamOutput output(out, convertLineEnds);
  return readEntry(entry, &output);
}

bool GZipReader::readEntry(const GZipEntry* entry, char** data, unsigned int* size,
                           bool convertLineEnds) {
  // What the archive can deliver at most, whatever it states: deflate makes no
  // more than 1032 bytes of one.
  const std::uint64_t stored = std::min(entry->getComprSize(), zipFileSize);
  BufferOutput output(convertLineEnds, entry->isCompressed() ? stored * 1032 : stored);
  if (!readEntry(entry, &output)) return false;
  output.release(data, size);
  return true;
}

bool GZipReader::isZipStream(std::istream* stream) {
  if (stream == nullptr) return false;
  unsigned char bytes[4] = {};
  stream->read(reinterpret_cast<char*>(bytes), sizeof bytes);
  if (stream->good()) stream->rdbuf()->pubseekoff(-stream->gcount(), std::ios::cur, std::ios::in);
  return stream->gcount() == sizeof bytes && loadLe32(bytes) == zip::local::signature;
}
