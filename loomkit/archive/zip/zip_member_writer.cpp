// SPDX-License-Identifier: MIT
// GZipWriter: the way of a member's bytes from their source into the archive.
#include <zlib.h>

#include <cassert>
#include <random>

#include "loomkit/archive/zip/zip_errors.h"
#include "loomkit/archive/zip/zip_layout.h"
#include "loomkit/archive/zip/zip_writer.h"
#include "loomkit/text/binary.h"

namespace {

// Bytes of 0x80 and more, eight at a time.
unsigned int countHighBytes(const unsigned char* bytes, unsigned int size) {
  constexpr std::uint64_t ones = 0x0101010101010101;
  unsigned int count = 0;
  for (; size >= 8; bytes += 8, size -= 8) {
    // The product's top byte is the sum of all bytes.
    count += static_cast<unsigned int>((loomkit::loadLe64(bytes) >> 7 & ones) * ones >> 56);
  }
  for (; size > 0; ++bytes, --size) count += *bytes >> 7;
  return count;
}

}  // namespace

/// One member: reads, checks, deflates and encrypts in steps of 8192 bytes.
class GZipWriter::Packing {
 public:
  Packing(GZipWriter& zipWriter, GZipEntry& zipEntry, Input& source)
      : writer(zipWriter), entry(zipEntry), in(source), dataStart(zipWriter.sink->tell()) {}
  Packing(const Packing&) = delete;
  Packing& operator=(const Packing&) = delete;
  ~Packing() {
    if (deflating) deflateEnd(&z);
  }

  bool run() {
    if (!begin()) return false;
    for (bool last = false; !last;) {
      fillInput();
      if (entry.isCompressed()) {
        if (!deflateSome(&last)) return false;
      } else {
        takeStored(&last);
      }
      if (!write(produced, producedSize)) return false;
    }
    return finish();
  }

 private:
  bool begin() {
    if (entry.isCompressed()) {
      constexpr int rawDeflate = -15;
      constexpr int memoryLevel = 8;
      if (deflateInit2(&z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, rawDeflate, memoryLevel,
                       Z_DEFAULT_STRATEGY) != Z_OK) {
        return writer.error("deflateInit2() failed");
      }
      deflating = true;
    }
    return !entry.isEncrypted() || writeEncryptionHeader();
  }

  // Eleven random bytes, so that equal texts do not look alike, and the check
  // byte of members that have a data descriptor.
  bool writeEncryptionHeader() {
    unsigned char header[loomkit::zip::encryptionHeaderSize];
    std::random_device random;
    for (unsigned char& byte : header) byte = static_cast<unsigned char>(random());
    header[sizeof header - 1] = static_cast<unsigned char>(entry.getFileTime() >> 8);
    writer.initKeys();
    return write(header, sizeof header);
  }

  void fillInput() {
    if (flush != Z_NO_FLUSH || z.avail_in != 0) return;
    const unsigned int count = in.read(reinterpret_cast<char*>(input), step);
    uncomprSize += count;
    z.next_in = input;
    z.avail_in = count;
    crc = crc32(crc, input, count);
    textBytes += count - countHighBytes(input, count);
    if (count < step) flush = Z_FINISH;
  }

  // Data of a multiple of the step end with a pass of nothing.
  void takeStored(bool* last) {
    produced = input;
    producedSize = z.avail_in;
    z.avail_in = 0;
    *last = producedSize < step;
  }

  bool deflateSome(bool* last) {
    z.next_out = output;
    z.avail_out = step;
    const int status = deflate(&z, flush);
    if (status != Z_OK && status != Z_STREAM_END) return writer.error("deflate() failed");
    produced = output;
    producedSize = step - z.avail_out;
    *last = status == Z_STREAM_END;
    return true;
  }

  bool write(unsigned char* bytes, unsigned int size) {
    if (size == 0) return true;
    if (entry.isEncrypted()) {
      for (unsigned int i = 0; i < size; ++i) bytes[i] = writer.encrypt(bytes[i]);
    }
    comprSize += size;
    return hasGoneOut(writer.sink->write(bytes, static_cast<int>(size)));
  }

  bool hasGoneOut(int status) {
    if (status == 0) return true;
    // The header may have been held back until now.
    const long reached = writer.sink->tell();
    if (reached >= 0 && reached < dataStart) {
      loomkit::zip::entryError(loomkit::zip::localHeaderFailed, status);
      return writer.error("error writing local file header");
    }
    return writer.error("input/output error writing to zip file",
                        static_cast<unsigned int>(status));
  }

  bool finish() {
    entry.setCRC32(static_cast<unsigned int>(crc));
    entry.setComprSize(comprSize);
    entry.setUncomprSize(uncomprSize);
    // Text: other bytes are less than a quarter of the text bytes.
    if (uncomprSize - textBytes < textBytes >> 2) entry.setAscii();
    if (deflating) {
      deflating = false;
      if (deflateEnd(&z) != Z_OK) return writer.error("deflateEnd() failed");
    }
    return complete();
  }

  // A header that is still held is completed before it goes out.
  bool complete() {
    const bool isHeld = !entry.hasDataDescriptor() &&
                        writer.sink->holds(static_cast<long>(entry.getLocalHeaderOffs()));
    if (!isHeld && !hasGoneOut(writer.sink->release())) return false;
    if (!entry.updateLocalFileHeader(writer.sink)) {
      return writer.error("error patching local file header");
    }
    return hasGoneOut(writer.sink->release());
  }

  static constexpr unsigned int step = 8192;

  GZipWriter& writer;
  GZipEntry& entry;
  Input& in;
  long dataStart;
  z_stream z{};
  bool deflating = false;
  int flush = Z_NO_FLUSH;
  uLong crc = 0;
  unsigned int comprSize = 0;
  unsigned int uncomprSize = 0;
  unsigned int textBytes = 0;
  unsigned char* produced = nullptr;
  unsigned int producedSize = 0;
  unsigned char input[step];
  unsigned char output[step];
};

/// Brings out what a member that failed has held.
class GZipWriter::Held {
 public:
  explicit Held(GZipFileWriter& target) : sink(target) { sink.hold(); }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
  ~Held() { sink.release(); }

 private:
  GZipFileWriter& sink;
};

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
  const Held held(*sink);
  if (!entry->writeLocalFileHeader(sink)) return error("error writing local file header");
  return Packing(*this, *entry, *data).run();
}
