// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_writer.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <memory>
#include <utility>

#include "loomkit/archive/zip/zip_errors.h"
#include "loomkit/archive/zip/zip_layout.h"
#include "loomkit/archive/zip/zip_name.h"
#include "loomkit/platform/hul.h"
#include "loomkit/streams/directory.h"
#include "loomkit/streams/file.h"
#include "loomkit/text/binary.h"
#include "loomkit/text/template.h"

using namespace loomkit;

GZipWriter::Input::Input() = default;
GZipWriter::Input::~Input() = default;

/// Reads from a stream's buffer, so that its state stays as it is.
class GZipWriter::StreamInput : public GZipWriter::Input {
 public:
  explicit StreamInput(std::istream* stream) : source(stream) {}
  unsigned int read(char* buffer, unsigned int size) override {
    // Some buffers of files throw what the stream would make its bad bit.
    try {
      const std::streamsize count =
          source->rdbuf()->sgetn(buffer, static_cast<std::streamsize>(size));
      return count > 0 ? static_cast<unsigned int>(count) : 0;
    } catch (...) {
      failed = true;
      return 0;
    }
  }
  [[nodiscard]] bool hasFailed() const { return failed; }

 private:
  bool failed = false;
  std::istream* source;
};

class GZipWriter::BufferInput : public GZipWriter::Input {
 public:
  BufferInput(const char* data, unsigned int size) : next(data), left(size) {}
  unsigned int read(char* buffer, unsigned int size) override {
    const unsigned int count = std::min(size, left);
    if (count != 0) std::memcpy(buffer, next, count);
    next += count;
    left -= count;
    return count;
  }

 private:
  const char* next;
  unsigned int left;
};

GZipWriter::GZipWriter() : time(static_cast<long>(std::time(nullptr))) {}

GZipWriter::GZipWriter(std::ostream* stream, bool ownsStream) : GZipWriter() {
  sink = new GZipFileWriter(stream, ownsStream);
}

GZipWriter::~GZipWriter() {
  try {
    close();
  } catch (...) {  // memory has run out; the archive has no end then
    delete sink;
  }
  for (const GZipEntry* entry : entries) delete entry;
}

void GZipWriter::setReproducible(bool on) {
  reproducible = on;
  std::tm start{};
  start.tm_year = 80;
  start.tm_mday = 1;
  start.tm_isdst = -1;
  time = static_cast<long>(on ? std::mktime(&start) : std::time(nullptr));
}

bool GZipWriter::open(const std::string& newPath) {
  clrError();
  setPath(newPath);
  int handle = -1;
  const std::string native = GDirectory::unix2nativePath(newPath, false);
  const int status = hulOpenFile(native.c_str(), hulCreateForWriting, &handle);
  if (status < 0) {
    // The archives of scenes were the first; the word has stayed for all.
    std::string text = "Can't create scene file '%1' for writing";
    text << newPath;
    return error(text.c_str(), static_cast<unsigned int>(status));
  }
  delete sink;
  sink = new GZipFileWriter(handle);
  return true;
}

bool GZipWriter::close() {
  if (sink == nullptr) return true;
  const bool complete = writeCentralDirectory();
  const std::unique_ptr<GZipFileWriter> closing(std::exchange(sink, nullptr));
  if (!complete) return false;
  int status = closing->flush();
  if (status != 0) return error("input/output error on flush", static_cast<unsigned int>(status));
  status = closing->close();
  if (status != 0) return error("input/output error on close", static_cast<unsigned int>(status));
  return !isError();
}

bool GZipWriter::writeEntry(const std::string& filePath) {
  const std::unique_ptr<std::istream> stream(GFile(filePath).getInStream(true));
  if (stream != nullptr) return writeEntry(filePath, stream.get());
  GOStrStream text;
  text << "can't open file \"" << filePath << "\"";
  return error(text);
}

bool GZipWriter::writeEntry(const std::string& name, std::istream* data) {
  StreamInput input(data);
  const bool written = writeEntry(name, &input);
  if (!written || !input.hasFailed()) return written;
  GOStrStream text;
  text << "input/output error reading the data of " << name;
  return error(text);
}

bool GZipWriter::writeEntry(const std::string& name, const char* data, unsigned int size) {
  BufferInput input(data, size);
  return writeEntry(name, &input);
}

std::string GZipWriter::normalizeName(const std::string& name) { return zip::normalizedName(name); }

GZipEntry* GZipWriter::addEntry(const std::string& name) {
  auto entry = std::make_unique<GZipEntry>();
  entry->setModTime(time);
  entry->setLocalHeaderOffs(static_cast<unsigned int>(sink->tell()));
  entry->setFName(name);
  entries.push_back(entry.get());
  return entry.release();
}

// From the top down: a directory stands in front of what it holds.
bool GZipWriter::makeBaseDirectories(const std::string& name) {
  std::vector<std::string> missing;
  for (std::string parent = zip::parentOf(name);
       !parent.empty() && directories.insert(parent).second; parent = zip::parentOf(parent)) {
    missing.push_back(parent);
  }
  for (auto parent = missing.rbegin(); parent != missing.rend(); ++parent) {
    GZipEntry* entry = addEntry(*parent);
    entry->setDirectory();
    if (!entry->writeLocalFileHeader(sink)) return false;
  }
  return true;
}

bool GZipWriter::writeCentralDirectory() {
  if (reproducible) {
    std::stable_sort(entries.begin(), entries.end(), [](const GZipEntry* a, const GZipEntry* b) {
      return a->getFName() < b->getFName();
    });
  }
  const long start = sink->tell();
  sink->hold();
  for (GZipEntry* entry : entries) {
    if (!entry->writeFileHeader(sink)) return error("error writing file header");
  }
  if (const int status = sink->release(); status != 0) {
    zip::entryError(zip::centralHeaderFailed, status);
    return error("error writing file header");
  }
  const long size = sink->tell() - start;
  return writeEndRecord(static_cast<unsigned int>(start), static_cast<unsigned int>(size));
}

bool GZipWriter::writeEndRecord(unsigned int start, unsigned int size) {
  unsigned char record[zip::end::size] = {};
  const auto count = static_cast<std::uint16_t>(entries.size());
  storeLe32(record + zip::end::signatureAt, zip::end::signature);
  storeLe16(record + zip::end::entriesHereAt, count);
  storeLe16(record + zip::end::entriesAt, count);
  storeLe32(record + zip::end::directorySizeAt, size);
  storeLe32(record + zip::end::directoryOffsetAt, start);
  const int status = sink->write(record, sizeof record);
  if (status == 0) return true;
  return error("input/output error writing end of central directory record",
               static_cast<unsigned int>(status));
}
