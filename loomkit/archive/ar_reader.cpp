// SPDX-License-Identifier: MIT
#include "loomkit/archive/ar_reader.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <memory>
#include <new>
#include <string_view>

#include "loomkit/archive/ar_layout.h"
#include "loomkit/archive/block_buf.h"
#include "loomkit/streams/file.h"
#include "loomkit/text/char_class.h"
#include "loomkit/text/output.h"

namespace {

using namespace loomkit;

// Digits up to the first other character. A number too large wraps around.
std::uint32_t numberIn(std::string_view field) {
  std::uint32_t value = 0;
  for (const char c : field) {
    if (!isAsciiDigit(c)) break;
    value = value * 10 + static_cast<std::uint32_t>(c - '0');
  }
  return value;
}

std::string withoutPadding(std::string_view field) {
  return std::string(field.substr(0, field.find_last_not_of(' ') + 1));
}

}  // namespace

GArEntry::GArEntry(const std::string& entryName, unsigned long dataOffset, unsigned int dataSize)
    : name(entryName), offset(dataOffset), size(dataSize) {}

/// Reads the headers one after the other into the reader's map. Positions are 64
/// bits wide: a forged size of 32 bits can then never lead backwards.
class GArReader::TableReader {
 public:
  explicit TableReader(GArReader& arReader) : reader(arReader) {}

  // Requires: the stream stands at its beginning.
  bool readAll() {
    if (!readMagic()) return false;
    bool atEnd = false;
    while (!atEnd) {
      if (!readMember(&atEnd)) return false;
    }
    return true;
  }

 private:
  bool readMagic() {
    char bytes[ar::magic.size()];
    if (!in.read(bytes, sizeof bytes)) {
      return reader.error("can't read magic string of ar file");
    }
    if (std::string_view(bytes, sizeof bytes) != ar::magic) {
      return reader.error("file is not an ar file (wrong magic string)");
    }
    position = ar::magic.size();
    return true;
  }

  bool readMember(bool* atEnd) {
    namespace layout = ar::header;
    char bytes[layout::size];
    if (!readHeader(bytes, atEnd)) return false;
    if (*atEnd) return true;
    const RecordReader header(bytes, sizeof bytes);
    if (header.get(layout::trailer) != layout::trailerText) {
      return reader.error("invalid trailer in header of ar file entry");
    }
    std::uint64_t offset = position + layout::size;
    std::uint32_t size = numberIn(header.get(layout::dataSize));
    if (header.get(layout::name).starts_with(layout::longNameMark)) {
      const std::uint32_t nameSize = numberIn(header.get(layout::longNameSize));
      if (!readLongName(nameSize)) return false;
      // A name longer than its member leaves a size far beyond any archive;
      // the entry is listed, and reading it fails.
      size -= nameSize;
      offset += nameSize;
    } else {
      name = withoutPadding(header.get(layout::name));
    }
    addEntry(offset, size);
    position = ar::nextHeader(offset, size);
    return true;
  }

  // The archive's regular end is where a header would begin.
  bool readHeader(char* header, bool* atEnd) {
    if (!in.seekg(static_cast<std::streamoff>(position))) {
      return reader.error("error seeking to next entry in ar file");
    }
    if (in.read(header, ar::header::size)) return true;
    // A stream that has broken is not at its end.
    if (in.gcount() > 0 || in.bad()) {
      return reader.error("unexpected end of file reading header of ar file entry");
    }
    in.clear();
    *atEnd = true;
    return true;
  }

  // The name is read in steps, so that one that claims to be long takes memory only
  // as its bytes come.
  bool readLongName(std::uint32_t nameSize) {
    constexpr std::size_t step = 4096;
    name.clear();
    while (name.size() < nameSize) {
      const std::size_t had = name.size();
      const std::size_t count = std::min<std::size_t>(step, nameSize - had);
      name.resize(had + count);
      if (!in.read(&name[had], static_cast<std::streamsize>(count))) {
        return reader.error("unexpected end of file reading ar file entry name");
      }
    }
    return true;
  }

  void addEntry(std::uint64_t offset, std::uint32_t size) {
    auto entry = std::make_unique<GArEntry>(name, static_cast<unsigned long>(offset), size);
    if (reader.entries.try_emplace(name, entry.get()).second) {
      static_cast<void>(entry.release());
      return;
    }
    GOStrStream text;
    text << "duplicate ar file entry: " << name;
    reader.warning(text);
  }

  GArReader& reader;
  DirectoryStream stream{*reader.stream, 0};
  std::istream& in = stream.get();
  std::uint64_t position = 0;
  std::string name;
};

GArReader::GArReader() = default;

// When this throws, the stream is not taken.
GArReader::GArReader(std::istream* archive, bool ownsArchive) : GArReader() {
  stream = archive;
  if (!createTableOfContents()) error("can't create ar file table of contents");
  ownsStream = ownsArchive;
}

GArReader::GArReader(const GArReader&) = default;
GArReader& GArReader::operator=(const GArReader&) = default;
GArReader::~GArReader() { close(); }

bool GArReader::open(const std::string& newPath) {
  clrError();
  path = newPath;
  std::istream* file = GFile(path).getInStream(true);
  if (file == nullptr) return error("can't open file");
  takeStream(file, true);
  if (!createTableOfContents()) return error("can't create ar file table of contents");
  return true;
}

bool GArReader::close() {
  takeStream(nullptr, false);
  deleteEntries();
  return true;
}

const GArEntry* GArReader::getEntry(const std::string& name) const {
  const auto found = entries.find(name);
  return found == entries.end() ? nullptr : found->second;
}

bool GArReader::readEntry(const std::string& name, std::ostream* out) {
  const GArEntry* entry = findEntry(name);
  return entry != nullptr && readEntry(entry, out);
}

bool GArReader::readEntry(const std::string& name, char** data, unsigned int* size) {
  const GArEntry* entry = findEntry(name);
  return entry != nullptr && readEntry(entry, data, size);
}

bool GArReader::readEntry(const GArEntry* entry, std::ostream* out) {
  if (!seekToEntry(entry)) return false;
  char block[4096];
  for (unsigned int left = entry->getSize(); left > 0;) {
    const auto count = static_cast<std::streamsize>(std::min<std::size_t>(left, sizeof block));
    if (!stream->read(block, count) || !out->write(block, count)) return readingFailed(entry);
    left -= static_cast<unsigned int>(count);
  }
  return true;
}

bool GArReader::readEntry(const GArEntry* entry, char** data, unsigned int* size) {
  if (!seekToEntry(entry)) return false;
  if (!isWithinArchive(entry)) return readingFailed(entry);
  const auto release = [](char* block) { ::operator delete(block); };
  std::unique_ptr<char, decltype(release)> block(
      static_cast<char*>(::operator new(entry->getSize())), release);
  if (!stream->read(block.get(), static_cast<std::streamsize>(entry->getSize()))) {
    return readingFailed(entry);
  }
  *data = block.release();
  *size = entry->getSize();
  return true;
}

void GArReader::takeStream(std::istream* newStream, bool ownsNewStream) {
  if (ownsStream) delete stream;
  stream = newStream;
  ownsStream = ownsNewStream;
}

bool GArReader::createTableOfContents() {
  if (!stream->seekg(0)) return error("can't seek to beginning of ar file");
  return TableReader(*this).readAll();
}

void GArReader::deleteEntries() {
  for (const auto& [name, entry] : entries) delete entry;
  entries.clear();
}

const GArEntry* GArReader::findEntry(const std::string& name) {
  if (errorFlag) return nullptr;
  const GArEntry* entry = getEntry(name);
  if (entry == nullptr) {
    GOStrStream text;
    text << "entry not found (" << name << ")";
    warning(text);
  }
  return entry;
}

// An entry that could not be read leaves the stream failed. That is no reason for
// the next one to fail, so the state is cleared first.
bool GArReader::seekToEntry(const GArEntry* entry) {
  assert(stream != nullptr && "the reader is closed");
  stream->clear();
  if (stream->seekg(static_cast<std::streamoff>(entry->getOffs()))) return true;
  GOStrStream text;
  text << "can't seek to beginning of " << entry->getName();
  return error(text);
}

// A block of the stated size is allocated only if the archive holds as many bytes; a
// small one is not worth the question. Leaves the stream at the entry's data.
bool GArReader::isWithinArchive(const GArEntry* entry) {
  constexpr unsigned int small = 65536;
  if (entry->getSize() <= small) return true;
  const std::streamoff begin = stream->tellg();
  const std::streamoff end = stream->seekg(0, std::ios::end).tellg();
  stream->seekg(begin);
  return *stream && end - begin >= static_cast<std::streamoff>(entry->getSize());
}

bool GArReader::readingFailed(const GArEntry* entry) {
  GOStrStream text;
  text << "error reading " << entry->getName();
  return error(text);
}

bool GArReader::error(const char* text) {
  if (!errorFlag) {
    errorFlag = true;
    gOutput->error(gDataSysName, (path + ": " + text).c_str());
  }
  return false;
}

bool GArReader::error(GOStrStream& text) { return error(text.str().c_str()); }

// The warnings of this reader have always gone out without the path, and who
// searches logs relies on it.
void GArReader::warning(const char* text) { gOutput->warning(gDataSysName, text); }

void GArReader::warning(GOStrStream& text) { warning(text.str().c_str()); }
