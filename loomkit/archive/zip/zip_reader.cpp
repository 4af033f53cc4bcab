// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_reader.h"

#include <algorithm>
#include <cassert>
#include <memory>
#include <utility>
#include <vector>

#include "loomkit/archive/zip/zip_directory.h"
#include "loomkit/archive/zip/zip_layout.h"
#include "loomkit/archive/zip/zip_member_reader.h"
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

// The reader keeps the numbers of the end record, whose places in the object are
// part of the interface, also when the directory cannot be read.
bool GZipReader::readCentralDirectory() {
  zip::Directory directory(*stream, [this](const char* text) { warning(text); });
  const char* wrong = directory.readEndRecord();
  const zip::EndRecord& end = directory.getEndRecord();
  zipFileSize = end.archiveSize;
  if (wrong != nullptr) return error(wrong);
  zipFileComment = end.comment;
  endRecordOffset = end.offset;
  centralDirectoryOffset = end.directoryOffset;
  centralDirectorySize = end.directorySize;
  centralDirectoryEntryCount = end.entryCount;
  if (!stream->seekg(centralDirectoryOffset)) {
    return error("can't seek to beginning of central directory");
  }
  std::vector<std::unique_ptr<GZipEntry>> read;
  if (!directory.readEntries(&read)) {
    deleteEntries();
    return error("error reading central directory entry");
  }
  directoryExact = directory.isExact();
  zip::addByName(std::move(read), &entries);
  return true;
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
  // The archive can deliver no more than this, whatever it states: deflate makes
  // at most 1032 bytes of one.
  const std::uint64_t stored = std::min(entry->getComprSize(), zipFileSize);
  BufferOutput output(convertLineEnds, entry->isCompressed() ? stored * 1032 : stored);
  if (!readEntry(entry, &output)) return false;
  output.release(data, size);
  return true;
}

bool GZipReader::readEntry(const GZipEntry* entry, Output* out) {
  assert(stream != nullptr && "the reader is closed");
  if (!entry->isFile()) {
    GOStrStream text;
    text << "not a file (" << entry->getFName() << ")";
    warning(text);
    return false;
  }
  // An earlier entry that could not be read is no reason for this one to fail.
  stream->clear();
  return MemberReader(*this, *entry, *out).run();
}

bool GZipReader::isZipStream(std::istream* stream) {
  if (stream == nullptr) return false;
  char bytes[zip::local::signature.size] = {};
  stream->read(bytes, sizeof bytes);
  if (stream->good()) stream->rdbuf()->pubseekoff(-stream->gcount(), std::ios::cur, std::ios::in);
  return stream->gcount() == sizeof bytes &&
         RecordReader(bytes, sizeof bytes).get(zip::local::signature) == zip::local::signatureValue;
}
