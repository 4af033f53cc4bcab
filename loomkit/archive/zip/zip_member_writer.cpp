// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_member_writer.h"

#include <cstdint>
#include <random>

#include "loomkit/archive/zip/zip_errors.h"
#include "loomkit/archive/zip/zip_layout.h"
#include "loomkit/text/binary.h"

namespace {

// How many bytes are 0x80 or more. Eight at a time: the mask leaves a 1 in each
// byte that is, and the product's top byte is the sum of these ones.
unsigned int countHighBytes(const unsigned char* bytes, unsigned int size) {
  constexpr std::uint64_t ones = 0x0101010101010101;
  unsigned int count = 0;
  for (; size >= 8; bytes += 8, size -= 8) {
    count += static_cast<unsigned int>((loomkit::loadLe64(bytes) >> 7 & ones) * ones >> 56);
  }
  for (; size > 0; ++bytes, --size) count += *bytes >> 7;
  return count;
}

}  // namespace

GZipWriter::MemberWriter::MemberWriter(GZipWriter& zipWriter, GZipEntry& zipEntry, Input& source)
    : writer(zipWriter),
      sink(*zipWriter.sink),
      entry(zipEntry),
      in(source),
      dataStart(sink.tell()) {}

GZipWriter::MemberWriter::~MemberWriter() {
  if (deflating) deflateEnd(&z);
}

bool GZipWriter::MemberWriter::run() {
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

bool GZipWriter::MemberWriter::begin() {
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
bool GZipWriter::MemberWriter::writeEncryptionHeader() {
  unsigned char header[loomkit::zip::encryptionHeaderSize];
  std::random_device random;
  for (unsigned char& byte : header) byte = static_cast<unsigned char>(random());
  header[sizeof header - 1] = static_cast<unsigned char>(entry.getFileTime() >> 8);
  writer.initKeys();
  return write(header, sizeof header);
}

void GZipWriter::MemberWriter::fillInput() {
  if (flush != Z_NO_FLUSH || z.avail_in != 0) return;
  const unsigned int count = in.read(reinterpret_cast<char*>(input), step);
  uncomprSize += count;
  z.next_in = input;
  z.avail_in = count;
  crc = crc32(crc, input, count);
  textBytes += count - countHighBytes(input, count);
  if (count < step) flush = Z_FINISH;
}

// A pass that is not full is the last one. When the data are a multiple of the
// step, the source has to be asked once more, and the last pass has no bytes.
void GZipWriter::MemberWriter::takeStored(bool* last) {
  produced = input;
  producedSize = z.avail_in;
  z.avail_in = 0;
  *last = producedSize < step;
}

bool GZipWriter::MemberWriter::deflateSome(bool* last) {
  z.next_out = output;
  z.avail_out = step;
  const int status = deflate(&z, flush);
  if (status != Z_OK && status != Z_STREAM_END) return writer.error("deflate() failed");
  produced = output;
  producedSize = step - z.avail_out;
  *last = status == Z_STREAM_END;
  return true;
}

bool GZipWriter::MemberWriter::write(unsigned char* bytes, unsigned int size) {
  if (size == 0) return true;
  if (entry.isEncrypted()) {
    for (unsigned int i = 0; i < size; ++i) bytes[i] = writer.encrypt(bytes[i]);
  }
  comprSize += size;
  return hasGoneOut(sink.write(bytes, static_cast<int>(size)));
}

// The sink may have held the member's header back until now. When the failure
// has struck before the header's end, it is the header that could not be written.
bool GZipWriter::MemberWriter::hasGoneOut(int status) {
  if (status == 0) return true;
  const long reached = sink.tell();
  if (reached >= 0 && reached < dataStart) {
    loomkit::zip::entryError(loomkit::zip::localHeaderFailed, status);
    return writer.error("error writing local file header");
  }
  return writer.failed("input/output error writing to zip file", status);
}

bool GZipWriter::MemberWriter::finish() {
  entry.setCRC32(static_cast<unsigned int>(crc));
  entry.setComprSize(comprSize);
  entry.setUncomprSize(uncomprSize);
  // A member is text when its other bytes are less than a quarter of the text bytes.
  if (uncomprSize - textBytes < textBytes >> 2) entry.setAscii();
  if (deflating) {
    deflating = false;
    if (deflateEnd(&z) != Z_OK) return writer.error("deflateEnd() failed");
  }
  return completeHeader();
}

// A header that the sink still holds is completed in memory, before it goes out.
bool GZipWriter::MemberWriter::completeHeader() {
  const bool isHeld =
      !entry.hasDataDescriptor() && sink.holds(static_cast<long>(entry.getLocalHeaderOffs()));
  if (!isHeld && !hasGoneOut(sink.release())) return false;
  if (!entry.updateLocalFileHeader(&sink)) {
    return writer.error("error patching local file header");
  }
  return hasGoneOut(sink.release());
}
