// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_member_reader.h"

#include <algorithm>

#include "loomkit/archive/zip/zip_layout.h"
#include "loomkit/text/str_stream.h"

GZipReader::MemberReader::MemberReader(GZipReader& zipReader, const GZipEntry& zipEntry,
                                       Output& receiver)
    : reader(zipReader),
      stream(*zipReader.stream),
      entry(zipEntry),
      out(receiver),
      remaining(zipEntry.getComprSize()),
      left(zipEntry.getUncomprSize()) {}

GZipReader::MemberReader::~MemberReader() {
  if (inflating) inflateEnd(&z);
}

bool GZipReader::MemberReader::run() {
  if (!begin()) return false;
  out.reserve(entry.getUncomprSize());
  for (bool last = false; !last;) {
    if (!fillInput()) return false;
    const bool done = entry.isCompressed() ? inflateSome(&last) : takeStored(&last);
    if (!done || !deliver()) return false;
  }
  return finish();
}

bool GZipReader::MemberReader::begin() {
  if (!stream.seekg(entry.getLocalHeaderOffs())) {
    return fail("can't seek to local header of file ", "");
  }
  if (!entry.verifyLocalFileHeader(&stream)) {
    return fail("verification of local header of file ", " failed");
  }
  if (entry.isCompressed()) {
    constexpr int rawDeflate = -15;
    if (inflateInit2(&z, rawDeflate) != Z_OK) return reader.error("inflateInit2() failed");
    inflating = true;
  }
  return !entry.isEncrypted() || readEncryptionHeader();
}

// The header's check byte is not looked at: a wrong password is found out by
// inflate or by the checksum, or not at all.
bool GZipReader::MemberReader::readEncryptionHeader() {
  constexpr unsigned int size = loomkit::zip::encryptionHeaderSize;
  reader.initKeys();
  if (remaining < size) return failFile("no encryption header");
  if (!readInput(size)) return failFile("input/output error reading encryption header");
  return true;
}

// Fetches bytes of the archive into `input`, decrypted.
bool GZipReader::MemberReader::readInput(unsigned int size) {
  if (!stream.read(reinterpret_cast<char*>(input), static_cast<std::streamsize>(size))) {
    return false;
  }
  remaining -= size;
  if (entry.isEncrypted()) decrypt(size);
  return true;
}

void GZipReader::MemberReader::decrypt(unsigned int size) {
  for (unsigned int i = 0; i < size; ++i) input[i] = reader.decrypt(input[i]);
}

bool GZipReader::MemberReader::fillInput() {
  if (remaining == 0 || z.avail_in != 0) return true;
  const unsigned int size = std::min(remaining, step);
  if (!readInput(size)) return failFile("input/output error");
  z.next_in = input;
  z.avail_in = size;
  return true;
}

// A stored member ends with a pass that finds no more bytes in the archive.
bool GZipReader::MemberReader::takeStored(bool* last) {
  produced = input;
  producedSize = z.avail_in;
  z.avail_in = 0;
  left -= producedSize;
  *last = producedSize == 0;
  return true;
}

bool GZipReader::MemberReader::inflateSome(bool* last) {
  z.next_out = output;
  z.avail_out = step;
  const int status = inflate(&z, Z_PARTIAL_FLUSH);
  produced = output;
  producedSize = step - z.avail_out;
  left -= producedSize;
  switch (status) {
    case Z_OK:
      return true;
    case Z_STREAM_END:
      *last = true;
      return true;
    case Z_BUF_ERROR:
      // Where all bytes are there, deflate's missing end mark does no harm.
      *last = true;
      return left == 0 || failFile("unexpected end of compressed data");
    case Z_DATA_ERROR:
      return failFile("compressed data corrupted");
    default:
      return reader.error("inflate() failed");
  }
}

bool GZipReader::MemberReader::deliver() {
  if (producedSize == 0) return true;
  crc = crc32(crc, produced, producedSize);
  if (out.write(reinterpret_cast<const char*>(produced), producedSize)) return true;
  return failFile("unable to write decompressed data");
}

// A member with a data descriptor passes whatever its checksum is: hosts have
// archives whose directories do not hold it.
bool GZipReader::MemberReader::finish() {
  if (!out.flush()) return reader.error("failed to flush decompressed data");
  if (remaining > 0 || z.avail_in > 0) warnFile("extra bytes after compressed data");
  if (left != 0) warnFile("uncompressed size doesn't match file header entry");
  if (entry.hasDataDescriptor() || crc == entry.getCRC32()) return true;
  return failFile("checksum mismatch");
}

bool GZipReader::MemberReader::fail(const char* before, const char* after) {
  GOStrStream text;
  text << before << entry.getFName() << after;
  return reader.error(text);
}

bool GZipReader::MemberReader::failFile(const char* what) {
  return fail((std::string(what) + " (file ").c_str(), ")");
}

void GZipReader::MemberReader::warnFile(const char* what) {
  GOStrStream text;
  text << what << " (file " << entry.getFName() << ")";
  reader.warning(text);
}
