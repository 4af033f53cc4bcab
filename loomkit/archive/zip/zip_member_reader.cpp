// SPDX-License-Identifier: MIT
// GZipReader: the way of a member's bytes from the archive to their receiver.
#include <zlib.h>

#include <algorithm>
#include <cassert>

#include "loomkit/archive/zip/zip_layout.h"
#include "loomkit/archive/zip/zip_reader.h"

/// One extraction: reads, decrypts, inflates and checks in steps of 8192 bytes.
class GZipReader::Extraction {
 public:
  Extraction(GZipReader& zipReader, const GZipEntry& zipEntry, Output& receiver)
      : reader(zipReader),
        entry(zipEntry),
        out(receiver),
        remaining(zipEntry.getComprSize()),
        left(zipEntry.getUncomprSize()) {}
  Extraction(const Extraction&) = delete;
  Extraction& operator=(const Extraction&) = delete;
  ~Extraction() {
    if (inflating) inflateEnd(&z);
  }

  bool run() {
    if (!begin()) return false;
    out.reserve(entry.getUncomprSize());
    for (bool last = false; !last;) {
      if (!fillInput()) return false;
      const bool done = entry.isCompressed() ? inflateSome(&last) : takeStored(&last);
      if (!done || !deliver()) return false;
    }
    return finish();
  }

 private:
  bool begin() {
    if (!reader.stream->seekg(entry.getLocalHeaderOffs())) {
      return fail("can't seek to local header of file ", "");
    }
    if (!entry.verifyLocalFileHeader(reader.stream)) {
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
  bool readEncryptionHeader() {
    constexpr unsigned int size = loomkit::zip::encryptionHeaderSize;
    reader.initKeys();
    if (remaining < size) return failFile("no encryption header");
    if (!reader.stream->read(reinterpret_cast<char*>(input), size)) {
      return failFile("input/output error reading encryption header");
    }
    decrypt(size);
    remaining -= size;
    return true;
  }

  void decrypt(unsigned int size) {
    for (unsigned int i = 0; i < size; ++i) input[i] = reader.decrypt(input[i]);
  }

  bool fillInput() {
    if (remaining == 0 || z.avail_in != 0) return true;
    const unsigned int size = std::min<unsigned int>(remaining, sizeof input);
    if (!reader.stream->read(reinterpret_cast<char*>(input), static_cast<std::streamsize>(size))) {
      return failFile("input/output error");
    }
    remaining -= size;
    if (entry.isEncrypted()) decrypt(size);
    z.next_in = input;
    z.avail_in = size;
    return true;
  }

  // The pass that finds nothing more is the last one.
  bool takeStored(bool* last) {
    produced = input;
    producedSize = z.avail_in;
    z.avail_in = 0;
    left -= producedSize;
    *last = producedSize == 0;
    return true;
  }

  bool inflateSome(bool* last) {
    z.next_out = output;
    z.avail_out = sizeof output;
    const int status = inflate(&z, Z_PARTIAL_FLUSH);
    produced = output;
    producedSize = static_cast<unsigned int>(sizeof output) - z.avail_out;
    left -= producedSize;
    switch (status) {
      case Z_OK:
        return true;
      case Z_STREAM_END:
        *last = true;
        return true;
      case Z_BUF_ERROR:
        *last = true;
        return left == 0 || failFile("unexpected end of compressed data");
      case Z_DATA_ERROR:
        return failFile("compressed data corrupted");
      default:
        return reader.error("inflate() failed");
    }
  }

  bool deliver() {
    if (producedSize == 0) return true;
    crc = crc32(crc, produced, producedSize);
    if (out.write(reinterpret_cast<const char*>(produced), producedSize)) return true;
    return failFile("unable to write decompressed data");
  }

  // An entry with a data descriptor passes whatever its checksum is: hosts have
  // archives whose directories do not hold it.
  bool finish() {
    if (!out.flush()) return reader.error("failed to flush decompressed data");
    if (remaining > 0 || z.avail_in > 0) warnFile("extra bytes after compressed data");
    if (left != 0) warnFile("uncompressed size doesn't match file header entry");
    if (entry.hasDataDescriptor() || crc == entry.getCRC32()) return true;
    return failFile("checksum mismatch");
  }

  bool fail(const char* before, const char* after) {
    GOStrStream text;
    text << before << entry.getFName() << after;
    return reader.error(text);
  }
  bool failFile(const char* what) { return fail((std::string(what) + " (file ").c_str(), ")"); }
  void warnFile(const char* what) {
    GOStrStream text;
    text << what << " (file " << entry.getFName() << ")";
    reader.warning(text);
  }

  static constexpr std::size_t step = 8192;

  GZipReader& reader;
  const GZipEntry& entry;
  Output& out;
  std::uint32_t remaining;  // bytes of the archive that are still to be read
  std::uint32_t left;       // bytes still to be produced; wraps when there are too many
  z_stream z{};
  bool inflating = false;
  uLong crc = 0;
  const unsigned char* produced = nullptr;
  unsigned int producedSize = 0;
  unsigned char input[step];
  unsigned char output[step];
};

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
  return Extraction(*this, *entry, *out).run();
}
