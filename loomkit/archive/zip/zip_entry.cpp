// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_entry.h"

#include <cstring>

#include "loomkit/archive/zip/zip_dos_time.h"
#include "loomkit/archive/zip/zip_errors.h"
#include "loomkit/archive/zip/zip_layout.h"
#include "loomkit/text/binary.h"
#include "loomkit/text/output.h"

using namespace loomkit;

namespace {

// A record's bytes, read field by field.
template <std::size_t size>
struct Record {
  unsigned char bytes[size] = {};

  bool read(std::istream& stream) {
    return static_cast<bool>(
        stream.read(reinterpret_cast<char*>(bytes), static_cast<std::streamsize>(size)));
  }
  [[nodiscard]] unsigned int u16(std::size_t at) const { return loadLe16(bytes + at); }
  [[nodiscard]] std::uint32_t u32(std::size_t at) const { return loadLe32(bytes + at); }
};

bool readText(std::istream& stream, std::size_t size, std::string& text) {
  text.resize(size);
  return static_cast<bool>(stream.read(text.data(), static_cast<std::streamsize>(size)));
}

bool skip(std::istream& stream, unsigned int count) {
  if (count == 0) return true;
  const std::streamoff position = stream.rdbuf()->pubseekoff(count, std::ios::cur, std::ios::in);
  return position != -1;
}

unsigned char* bytesOf(char* buffer) { return reinterpret_cast<unsigned char*>(buffer); }

}  // namespace

GZipEntry::GZipEntry() = default;
GZipEntry::GZipEntry(const GZipEntry&) = default;
GZipEntry& GZipEntry::operator=(const GZipEntry&) = default;
GZipEntry::~GZipEntry() = default;

long GZipEntry::getModTime() const {
  if (!knowsModTime) modTime = zip::fromDosTime({fileTime, fileDate});
  knowsModTime = true;
  return modTime;
}

void GZipEntry::setModTime(long seconds) {
  modTime = seconds;
  knowsModTime = true;
  knowsFileTime = false;
}

void GZipEntry::convertToFileTime() const {
  if (knowsFileTime) return;
  const zip::DosTime dos = zip::toDosTime(getModTime());
  fileTime = dos.time;
  fileDate = dos.date;
  knowsFileTime = true;
}

unsigned short GZipEntry::getFileTime() const {
  convertToFileTime();
  return fileTime;
}

unsigned short GZipEntry::getFileDate() const {
  convertToFileTime();
  return fileDate;
}

bool GZipEntry::readFileHeader(std::istream* stream) {
  using namespace zip::central;
  Record<size> header;
  if (!header.read(*stream)) return error(zip::centralHeaderFailed);
  if (header.u32(signatureAt) != signature) return error("central file header: invalid signature");
  if ((header.u16(flagsAt) & zip::flagEncrypted) != 0) setEncrypted();
  if ((header.u16(flagsAt) & zip::flagDataDescriptor) != 0) setHasDataDescriptor();
  takeMethod(header.u16(methodAt));
  fileTime = loadLe16(header.bytes + timeAt);
  fileDate = loadLe16(header.bytes + dateAt);
  knowsModTime = false;
  knowsFileTime = false;
  crc = header.u32(crcAt);
  comprSize = header.u32(comprSizeAt);
  uncomprSize = header.u32(uncomprSizeAt);
  if (header.u16(nameSizeAt) > zip::longestName) {
    return error("central file header: file names longer than 1024 not supported");
  }
  if (header.u16(diskAt) != 0) warning("central file header: bogus disk number start field");
  takeAttributes(header.bytes[externalAttributesAt]);
  localHeaderOffs = header.u32(localHeaderOffsetAt);
  if (!readText(*stream, header.u16(nameSizeAt), name)) {
    return error("central file header: input/output error reading file name");
  }
  if (!skip(*stream, header.u16(extraSizeAt))) {
    return error("central file header: input/output error skipping extra field");
  }
  if (header.u16(commentSizeAt) != 0 && !readText(*stream, header.u16(commentSizeAt), comment)) {
    return error("central file header: input/output error reading comment");
  }
  return true;
}

// An entry of another method stays in the archive's list; reading it fails when
// its local header is compared.
void GZipEntry::takeMethod(unsigned int method) {
  if (method == zip::methodDeflated) {
    setCompressed();
  } else if (method != zip::methodStored) {
    GOStrStream text;
    text << "central file header: compression method " << method << " not supported";
    warning(text);
    notSupported = true;
  }
}

void GZipEntry::takeAttributes(unsigned int attributes) {
  if ((attributes & zip::attributeDirectory) != 0) {
    setDirectory();
  } else if ((attributes & zip::attributeVolumeLabel) != 0) {
    warning("central file header: volume label ignored");
    notSupported = true;
  } else {
    setFile();
  }
}

bool GZipEntry::verifyLocalFileHeader(std::istream* stream) const {
  using namespace zip::local;
  Record<size> header;
  if (!header.read(*stream)) return error(zip::localHeaderFailed);
  if (header.u32(signatureAt) != signature) {
    return error("local file header: signature mismatch");
  }
  const unsigned int flags = header.u16(flagsAt);
  if (((flags & zip::flagEncrypted) != 0) != encrypted) {
    return error("local file header: crypt flag mismatch");
  }
  if (((flags & zip::flagDataDescriptor) != 0) != dataDescriptor) {
    return error("local file header: data descriptor bit mismatch");
  }
  if (header.u16(methodAt) != (compressed ? zip::methodDeflated : zip::methodStored)) {
    return error("local file header: compression method mismatch");
  }
  if (!dataDescriptor) {
    if (header.u32(crcAt) != crc) return error("local file header: crc mismatch");
    if (header.u32(comprSizeAt) != comprSize) {
      return error("local file header: compressed size mismatch");
    }
    if (header.u32(uncomprSizeAt) != uncomprSize) {
      return error("local file header: uncompressed size mismatch");
    }
  }
  if (header.u16(nameSizeAt) != name.size()) {
    return error("local file header: filename length mismatch");
  }
  std::string stored;
  if (!readText(*stream, name.size(), stored)) {
    return error("local file header: input/output error reading file name");
  }
  if (stored != name) return error("local file header: file name mismatch");
  if (!skip(*stream, header.u16(extraSizeAt))) {
    return error("local file header: input/output error skipping extra field");
  }
  return true;
}

void GZipEntry::fillLocalFileHeader(char* buffer, bool update) const {
  using namespace zip::local;
  unsigned char* header = bytesOf(buffer);
  std::memset(header, 0, size);
  unsigned int flags = encrypted ? zip::flagEncrypted : 0;
  if (!directory && !update) flags |= zip::flagDataDescriptor;
  storeLe32(header + signatureAt, signature);
  storeLe16(header + versionAt, zip::version);
  storeLe16(header + flagsAt, static_cast<std::uint16_t>(flags));
  storeLe16(header + methodAt, compressed ? zip::methodDeflated : zip::methodStored);
  storeLe16(header + timeAt, getFileTime());
  storeLe16(header + dateAt, getFileDate());
  storeLe16(header + nameSizeAt, static_cast<std::uint16_t>(name.size()));
  if (!update) return;
  storeLe32(header + crcAt, crc);
  storeLe32(header + comprSizeAt, comprSize);
  storeLe32(header + uncomprSizeAt, uncomprSize);
}

bool GZipEntry::writeLocalFileHeader(GZipFileWriter* sink) {
  std::string record(zip::local::size, '\0');
  fillLocalFileHeader(record.data(), false);
  record += name;
  const int status = sink->write(record.data(), static_cast<int>(record.size()));
  if (status == 0) return true;
  return zip::entryError(zip::localHeaderFailed, status);
}

bool GZipEntry::updateLocalFileHeader(GZipFileWriter* sink) {
  const long position = sink->tell();
  if (dataDescriptor) return writeDataDescriptor(sink);
  char header[zip::local::size];
  fillLocalFileHeader(header, true);
  // As 32 bits with a sign, so that the offset of a sink that has no position
  // leads nowhere.
  const long header32 = static_cast<std::int32_t>(localHeaderOffs);
  if (sink->amend(header32, header, sizeof header)) return true;
  if (sink->seek(header32) != 0) return writeDataDescriptor(sink);
  int status = sink->write(header, sizeof header);
  if (status != 0) {
    return error("local file header (update): input/output error",
                 static_cast<unsigned int>(status));
  }
  status = sink->seek(position);
  if (status == 0) return true;
  return error("local file header (update): seek error", static_cast<unsigned int>(status));
}

bool GZipEntry::writeDataDescriptor(GZipFileWriter* sink) {
  using namespace zip::descriptor;
  unsigned char record[size];
  storeLe32(record + signatureAt, signature);
  storeLe32(record + crcAt, crc);
  storeLe32(record + comprSizeAt, comprSize);
  storeLe32(record + uncomprSizeAt, uncomprSize);
  const int status = sink->write(record, sizeof record);
  if (status != 0) {
    return error("data descriptor: input/output error", static_cast<unsigned int>(status));
  }
  setHasDataDescriptor();
  return true;
}

bool GZipEntry::writeFileHeader(GZipFileWriter* sink) {
  using namespace zip::central;
  std::string record(size, '\0');
  unsigned char* header = bytesOf(record.data());
  const unsigned int flags =
      (dataDescriptor ? zip::flagDataDescriptor : 0) | (encrypted ? zip::flagEncrypted : 0);
  storeLe32(header + signatureAt, signature);
  storeLe16(header + madeByAt, zip::version);
  storeLe16(header + versionAt, zip::version);
  storeLe16(header + flagsAt, static_cast<std::uint16_t>(flags));
  storeLe16(header + methodAt, compressed ? zip::methodDeflated : zip::methodStored);
  storeLe16(header + timeAt, getFileTime());
  storeLe16(header + dateAt, getFileDate());
  storeLe32(header + crcAt, crc);
  storeLe32(header + comprSizeAt, comprSize);
  storeLe32(header + uncomprSizeAt, uncomprSize);
  storeLe16(header + nameSizeAt, static_cast<std::uint16_t>(name.size()));
  storeLe16(header + commentSizeAt, static_cast<std::uint16_t>(comment.size()));
  storeLe16(header + internalAttributesAt, ascii ? zip::internalAscii : 0);
  storeLe32(header + externalAttributesAt, directory ? zip::attributeDirectory : 0);
  storeLe32(header + localHeaderOffsetAt, localHeaderOffs);
  record += name;
  record += comment;
  const int status = sink->write(record.data(), static_cast<int>(record.size()));
  if (status == 0) return true;
  return zip::entryError(zip::centralHeaderFailed, status);
}

bool GZipEntry::writeLocalFileHeader(std::ostream* stream) {
  GZipFileWriter sink(stream, false);
  return writeLocalFileHeader(&sink);
}

bool GZipEntry::updateLocalFileHeader(std::ostream* stream) {
  GZipFileWriter sink(stream, false);
  return updateLocalFileHeader(&sink);
}

bool GZipEntry::writeFileHeader(std::ostream* stream) {
  GZipFileWriter sink(stream, false);
  return writeFileHeader(&sink);
}

// NOLINTBEGIN(readability-convert-member-functions-to-static)
bool GZipEntry::error(const char* text) const {
  gOutput->error(gDataSysName, text);
  return false;
}

bool GZipEntry::error(const char* text, unsigned int code) const {
  return zip::entryError(text, static_cast<int>(code));
}

void GZipEntry::warning(const char* text) const { gOutput->warning(gDataSysName, text); }

void GZipEntry::warning(GOStrStream& text) const { gOutput->warning(gDataSysName, text); }
// NOLINTEND(readability-convert-member-functions-to-static)
