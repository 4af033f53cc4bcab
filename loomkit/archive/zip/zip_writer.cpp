// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_writer.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <ctime>
#include <memory>
#include <utility>

#include "loomkit/archive/zip/zip_errors.h"
#include "loomkit/archive/zip/zip_layout.h"
#include "loomkit/archive/zip/zip_member_writer.h"
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
class LOOMKIT_LOCAL GZipWriter::StreamInput : public GZipWriter::Input {
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

class LOOMKIT_LOCAL GZipWriter::BufferInput : public GZipWriter::Input {
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

/// Lets the sink gather a member's bytes as long as it lives. What a member that
/// failed has left there goes out at its end.
class GZipWriter::Holding {
 public:
  explicit Holding(GZipFileWriter& target) : sink(target) { sink.hold(); }
  Holding(const Holding&) = delete;
  Holding& operator=(const Holding&) = delete;
  ~Holding() { sink.release(); }

 private:
  GZipFileWriter& sink;
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
    // The first archives held scenes. The word has stayed for all, because who
    // searches logs relies on it.
    std::string text = "Can't create scene file '%1' for writing";
    text << newPath;
    return failed(text.c_str(), status);
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
  if (status != 0) return failed("input/output error on flush", status);
  status = closing->close();
  if (status != 0) return failed("input/output error on close", status);
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

bool GZipWriter::writeEntry(const std::string& rawName, Input* data) {
  if (isError()) return false;
  assert(sink != nullptr && "the writer is closed");
  const std::string name = normalizeName(rawName);
  if (!makeBaseDirectories(name)) return false;
  GZipEntry* entry = addEntry(name);
  if (!getPassword().empty()) {
    entry->setEncrypted();
    entry->setHasDataDescriptor();
  }
  if (compression) entry->setCompressed();
  entry->setFile();
  const Holding holding(*sink);
  if (!entry->writeLocalFileHeader(sink)) return error("error writing local file header");
  return MemberWriter(*this, *entry, *data).run();
}

// Reports a failure of the sink, always false.
bool GZipWriter::failed(const char* text, int status) {
  return error(zip::withReason(text, status).c_str());
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

// Works from the top down, so that a directory stands in front of what it holds.
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
  namespace layout = zip::end;
  char bytes[layout::size] = {};
  RecordWriter record(bytes, sizeof bytes);
  record.put(layout::signature, layout::signatureValue);
  record.putLow(layout::entriesHere, entries.size());
  record.putLow(layout::entries, entries.size());
  record.put(layout::directorySize, size);
  record.put(layout::directoryOffset, start);
  const int status = sink->write(bytes, sizeof bytes);
  if (status == 0) return true;
  return failed("input/output error writing end of central directory record", status);
}
