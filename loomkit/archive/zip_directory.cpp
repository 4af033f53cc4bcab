// SPDX-License-Identifier: MIT
// GZipReader: the end record and the central directory.
#include <algorithm>
#include <memory>
#include <streambuf>
#include <vector>

#include "loomkit/archive/zip_layout.h"
#include "loomkit/archive/zip_reader.h"
#include "loomkit/text/binary.h"

using namespace loomkit;

namespace {

const unsigned char* bytesOf(const char* text) {
  return reinterpret_cast<const unsigned char*>(text);
}

// Reads a stream in blocks, so that the many small fields of a directory cost
// no system calls, and knows its position without asking the stream.
class BlockBuf : public std::streambuf {
 public:
  BlockBuf(std::streambuf* source, std::streamoff position)
      : stream(source), block(size), blockEnd(position) {}

  [[nodiscard]] std::streamoff position() const { return blockEnd - (egptr() - gptr()); }

 protected:
  int_type underflow() override {
    const std::streamsize count = stream->sgetn(block.data(), size);
    if (count <= 0) return traits_type::eof();
    blockEnd += count;
    setg(block.data(), block.data(), block.data() + count);
    return traits_type::to_int_type(*gptr());
  }

  // Only forward from the current position.
  pos_type seekoff(off_type offset, std::ios_base::seekdir /*direction*/,
                   std::ios_base::openmode /*which*/) override {
    const off_type beyond = offset - (egptr() - gptr());
    if (beyond <= 0) {
      setg(eback(), gptr() + offset, egptr());
      return position();
    }
    const pos_type target = stream->pubseekoff(beyond, std::ios::cur, std::ios::in);
    if (target == pos_type(off_type(-1))) return target;
    blockEnd += beyond;
    setg(nullptr, nullptr, nullptr);
    return position();
  }

 private:
  static constexpr std::streamsize size = 65536;

  std::streambuf* stream;
  std::vector<char> block;
  std::streamoff blockEnd;  // the stream's position
};

}  // namespace

bool GZipReader::readEndOfCentralDirectoryRecord() {
  std::streamoff fileSize = -1;
  if (stream->seekg(0, std::ios::end)) fileSize = stream->tellg();
  if (fileSize < 0) return error("can't seek to end of file");
  zipFileSize = static_cast<std::uint32_t>(fileSize);
  if (fileSize < static_cast<std::streamoff>(zip::end::size)) return error("not a valid zip file");
  std::string tail(static_cast<std::size_t>(std::min<std::streamoff>(fileSize, zip::searchedTail)),
                   '\0');
  const std::streamoff tailOffset = fileSize - static_cast<std::streamoff>(tail.size());
  if (!stream->seekg(tailOffset)) return error("seek error");
  if (!stream->read(tail.data(), static_cast<std::streamsize>(tail.size()))) {
    return error("read error");
  }
  std::size_t index = 0;
  if (!findEndRecord(tail, &index)) {
    return error("end of central directory record signature not found");
  }
  endRecordOffset = static_cast<std::uint32_t>(tailOffset + static_cast<std::streamoff>(index));
  const unsigned char* record = bytesOf(tail.data() + index);
  checkEndRecord(record);
  centralDirectoryEntryCount = loadLe16(record + zip::end::entriesAt);
  centralDirectorySize = loadLe32(record + zip::end::directorySizeAt);
  centralDirectoryOffset = loadLe32(record + zip::end::directoryOffsetAt);
  takeZipFileComment(tail, index);
  return true;
}

// The one nearest to the end of the file counts.
bool GZipReader::findEndRecord(const std::string& tail, std::size_t* index) {
  for (std::size_t i = tail.size() - zip::end::size + 1; i > 0; --i) {
    if (loadLe32(bytesOf(tail.data() + i - 1)) == zip::end::signature) {
      *index = i - 1;
      return true;
    }
  }
  return false;
}

void GZipReader::checkEndRecord(const unsigned char* record) {
  using namespace zip::end;
  if (loadLe16(record + diskAt) != 0) {
    warning("end of central directory record: invalid number of this disk");
  }
  if (loadLe16(record + directoryDiskAt) != 0) {
    warning(
        "end of central directory record: invalid number for disk with start of central "
        "directory");
  }
  if (loadLe16(record + entriesHereAt) != loadLe16(record + entriesAt)) {
    warning(
        "end of central directory record: number of central directory entries on this disk "
        "doesn't match total number of central directory entries");
  }
}

void GZipReader::takeZipFileComment(const std::string& tail, std::size_t index) {
  const std::size_t begin = index + zip::end::size;
  const std::size_t size = loadLe16(bytesOf(tail.data() + index) + zip::end::commentSizeAt);
  zipFileComment.clear();
  if (begin + size > tail.size()) {
    warning(
        "end of central directory record: invalid length for zip file comment, comment ignored");
    return;
  }
  if (begin + size < tail.size()) {
    warning("end of central directory record: extra bytes at end of zip file (ignored)");
  }
  zipFileComment = tail.substr(begin, size);
}

bool GZipReader::readCentralDirectory() {
  if (!readEndOfCentralDirectoryRecord()) {
    return error("can't read end of central directory record");
  }
  if (!stream->seekg(centralDirectoryOffset)) {
    return error("can't seek to beginning of central directory");
  }
  return readFileHeaders();
}

bool GZipReader::readFileHeaders() {
  BlockBuf buffer(stream->rdbuf(), centralDirectoryOffset);
  std::istream headers(&buffer);
  const std::streamoff end = std::streamoff{centralDirectoryOffset} + centralDirectorySize;
  std::uint16_t count = 0;
  while (buffer.position() < end) {
    auto entry = std::make_unique<GZipEntry>();
    if (!entry->readFileHeader(&headers)) {
      deleteEntries();
      return error("error reading central directory entry");
    }
    addEntry(std::move(entry));
    ++count;
  }
  if (buffer.position() != end) warning("read beyond end of central directory");
  if (count != centralDirectoryEntryCount) warning("central directory entry count mismatch");
  return true;
}

// Of several entries with one name the first stays. Most archives are sorted,
// so that the end is the place to look first.
void GZipReader::addEntry(std::unique_ptr<GZipEntry> entry) {
  const std::size_t before = entries.size();
  entries.emplace_hint(entries.end(), entry->getFName(), entry.get());
  if (entries.size() > before) static_cast<void>(entry.release());
}
