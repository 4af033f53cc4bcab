// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_entry.h"

#include <cstdint>
#include <cstring>
#include <optional>

#include "loomkit/archive/zip/zip_dos_time.h"
#include "loomkit/archive/zip/zip_errors.h"
#include "loomkit/archive/zip/zip_layout.h"
#include "loomkit/text/binary.h"
#include "loomkit/text/output.h"

using namespace loomkit;

namespace {

bool readText(std::istream& stream, std::size_t size, std::string& text) {
  text.resize(size);
  return static_cast<bool>(stream.read(text.data(), static_cast<std::streamsize>(size)));
}

bool skip(std::istream& stream, unsigned int count) {
  if (count == 0) return true;
  const std::streamoff position = stream.rdbuf()->pubseekoff(count, std::ios::cur, std::ios::in);
  return position != -1;
}

// A header is one write with its name behind it, so that a full disk leaves both
// or neither in the sink.
bool writeRecord(GZipFileWriter& sink, const std::string& record, const char* failure) {
  const int status = sink.write(record.data(), static_cast<int>(record.size()));
  return status == 0 || zip::entryError(failure, status);
}

std::uint16_t methodOf(const GZipEntry& entry) {
  return entry.isCompressed() ? zip::methodDeflated : zip::methodStored;
}

// The first difference between a local header and the central one, or null. The
// order of the comparisons decides which of several differences is reported, and
// hosts search their logs for the texts. `method` is what the local header must
// say; without one, nothing is right.
const char* findMismatch(const RecordReader& header, const GZipEntry& entry,
                         std::optional<unsigned int> method) {
  namespace local = zip::local;
  if (header.get(local::signature) != local::signatureValue) return "signature mismatch";
  const unsigned int flags = header.get(local::flags);
  if (((flags & zip::flagEncrypted) != 0) != entry.isEncrypted()) return "crypt flag mismatch";
  if (((flags & zip::flagDataDescriptor) != 0) != entry.hasDataDescriptor()) {
    return "data descriptor bit mismatch";
  }
  if (header.get(local::method) != method) return "compression method mismatch";
  if (!entry.hasDataDescriptor()) {
    if (header.get(local::crc) != entry.getCRC32()) return "crc mismatch";
    if (header.get(local::comprSize) != entry.getComprSize()) return "compressed size mismatch";
    if (header.get(local::uncomprSize) != entry.getUncomprSize()) {
      return "uncompressed size mismatch";
    }
  }
  const bool sameSize = header.get(local::nameSize) == entry.getFName().size();
  return sameSize ? nullptr : "filename length mismatch";
}

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
  namespace central = zip::central;
  char bytes[central::size];
  if (!stream->read(bytes, sizeof bytes)) return error(zip::centralHeaderFailed);
  const RecordReader header(bytes, sizeof bytes);
  if (header.get(central::signature) != central::signatureValue) {
    return error("central file header: invalid signature");
  }
  if ((header.get(central::flags) & zip::flagEncrypted) != 0) setEncrypted();
  if ((header.get(central::flags) & zip::flagDataDescriptor) != 0) setHasDataDescriptor();
  takeMethod(header.get(central::method));
  fileTime = header.get(central::time);
  fileDate = header.get(central::date);
  knowsModTime = false;
  knowsFileTime = false;
  crc = header.get(central::crc);
  comprSize = header.get(central::comprSize);
  uncomprSize = header.get(central::uncomprSize);
  if (header.get(central::nameSize) > zip::longestName) {
    return error("central file header: file names longer than 1024 not supported");
  }
  if (header.get(central::disk) != 0) {
    warning("central file header: bogus disk number start field");
  }
  takeAttributes(header.get(central::externalAttributes) & 0xff);
  localHeaderOffs = header.get(central::localHeaderOffset);
  if (!readText(*stream, header.get(central::nameSize), name)) {
    return error("central file header: input/output error reading file name");
  }
  if (!skip(*stream, header.get(central::extraSize))) {
    return error("central file header: input/output error skipping extra field");
  }
  const std::size_t commentSize = header.get(central::commentSize);
  if (commentSize != 0 && !readText(*stream, commentSize, comment)) {
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
    unknownMethod = true;
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
  char bytes[zip::local::size];
  if (!stream->read(bytes, sizeof bytes)) return error(zip::localHeaderFailed);
  const RecordReader header(bytes, sizeof bytes);
  std::optional<unsigned int> method;
  if (!unknownMethod) method = methodOf(*this);
  if (const char* mismatch = findMismatch(header, *this, method); mismatch != nullptr) {
    return error((std::string("local file header: ") + mismatch).c_str());
  }
  std::string stored;
  if (!readText(*stream, name.size(), stored)) {
    return error("local file header: input/output error reading file name");
  }
  if (stored != name) return error("local file header: file name mismatch");
  if (!skip(*stream, header.get(zip::local::extraSize))) {
    return error("local file header: input/output error skipping extra field");
  }
  return true;
}

void GZipEntry::fillLocalFileHeader(char* buffer, bool update) const {
  namespace local = zip::local;
  std::memset(buffer, 0, local::size);
  RecordWriter header(buffer, local::size);
  unsigned int flags = encrypted ? zip::flagEncrypted : 0;
  if (!directory && !update) flags |= zip::flagDataDescriptor;
  header.put(local::signature, local::signatureValue);
  header.put(local::version, zip::version2);
  header.putLow(local::flags, flags);
  header.put(local::method, methodOf(*this));
  header.put(local::time, getFileTime());
  header.put(local::date, getFileDate());
  header.putLow(local::nameSize, name.size());
  if (!update) return;
  header.put(local::crc, crc);
  header.put(local::comprSize, comprSize);
  header.put(local::uncomprSize, uncomprSize);
}

bool GZipEntry::writeLocalFileHeader(GZipFileWriter* sink) {
  std::string record(zip::local::size, '\0');
  fillLocalFileHeader(record.data(), false);
  record += name;
  return writeRecord(*sink, record, zip::localHeaderFailed);
}

bool GZipEntry::updateLocalFileHeader(GZipFileWriter* sink) {
  const long position = sink->tell();
  if (dataDescriptor) return writeDataDescriptor(sink);
  char header[zip::local::size];
  fillLocalFileHeader(header, true);
  // As 32 bits with a sign: a sink that has no position gave -1 as the offset,
  // which then leads nowhere instead of to 4 GiB.
  const long header32 = static_cast<std::int32_t>(localHeaderOffs);
  if (sink->amend(header32, header, sizeof header)) return true;
  if (sink->seek(header32) != 0) return writeDataDescriptor(sink);
  int status = sink->write(header, sizeof header);
  if (status != 0) {
    return zip::entryError("local file header (update): input/output error", status);
  }
  status = sink->seek(position);
  return status == 0 || zip::entryError("local file header (update): seek error", status);
}

bool GZipEntry::writeDataDescriptor(GZipFileWriter* sink) {
  namespace descriptor = zip::descriptor;
  char bytes[descriptor::size];
  RecordWriter record(bytes, sizeof bytes);
  record.put(descriptor::signature, descriptor::signatureValue);
  record.put(descriptor::crc, crc);
  record.put(descriptor::comprSize, comprSize);
  record.put(descriptor::uncomprSize, uncomprSize);
  const int status = sink->write(bytes, sizeof bytes);
  if (status != 0) return zip::entryError("data descriptor: input/output error", status);
  setHasDataDescriptor();
  return true;
}

bool GZipEntry::writeFileHeader(GZipFileWriter* sink) {
  namespace central = zip::central;
  std::string record(central::size, '\0');
  RecordWriter header(record.data(), record.size());
  const unsigned int flags =
      (dataDescriptor ? zip::flagDataDescriptor : 0) | (encrypted ? zip::flagEncrypted : 0);
  header.put(central::signature, central::signatureValue);
  header.put(central::madeBy, zip::version2);
  header.put(central::version, zip::version2);
  header.putLow(central::flags, flags);
  header.put(central::method, methodOf(*this));
  header.put(central::time, getFileTime());
  header.put(central::date, getFileDate());
  header.put(central::crc, crc);
  header.put(central::comprSize, comprSize);
  header.put(central::uncomprSize, uncomprSize);
  header.putLow(central::nameSize, name.size());
  header.putLow(central::commentSize, comment.size());
  header.put(central::internalAttributes, ascii ? zip::internalAscii : 0);
  header.put(central::externalAttributes, directory ? zip::attributeDirectory : 0);
  header.put(central::localHeaderOffset, localHeaderOffs);
  record += name;
  record += comment;
  return writeRecord(*sink, record, zip::centralHeaderFailed);
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

void GZipEntry::warning(const char* text) const { gOutput->warning(gDataSysName, text); }

void GZipEntry::warning(GOStrStream& text) const { gOutput->warning(gDataSysName, text); }
// NOLINTEND(readability-convert-member-functions-to-static)
