// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip64_writer.h"

#include <zlib.h>

#include <algorithm>
#include <random>
#include <vector>

#include "loomkit/archive/zip/zip64_records.h"
#include "loomkit/archive/zip/zip_layout.h"
#include "loomkit/archive/zip/zip_name.h"
#include "loomkit/text/output.h"

using namespace loomkit;

namespace {

// A member of at most this size is packed before its header is written.
constexpr std::size_t blockSize = 1U << 18;

// Below this, neither the data nor what deflate and encryption may add pass 4 GiB.
constexpr std::uint64_t surelyNarrow = 0xf0000000;

// 1980-01-01 00:00, the first moment that the format can express.
constexpr zip::DosTime firstDosTime{0, 1 << 5 | 1};

}  // namespace

class LOOMKIT_LOCAL GZip64Writer::Impl {
 public:
  Impl(GZip64Writer& zipWriter, std::ostream& stream) : writer(zipWriter), out(stream) {}
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;
  ~Impl() {
    if (deflaterReady) deflateEnd(&z);
  }

  Result write(zip::WrittenMember member, const Attributes& attributes, const Source& source);
  bool close();

  bool compression = true;
  bool reproducible = false;

 private:
  bool fill(const Source& source, std::size_t* count, bool* ended);
  Result writeSmall(zip::WrittenMember& member, std::size_t count);
  Result writeLarge(zip::WrittenMember& member, const Source& source, std::size_t count);
  bool beginDeflate();
  bool deflateBlock(zip::WrittenMember& member, std::size_t count, bool last);
  bool putData(zip::WrittenMember& member, unsigned char* bytes, std::size_t size);
  bool beginEncryption(zip::WrittenMember& member);
  bool finish(zip::WrittenMember& member);
  Result giveUp(const zip::WrittenMember& member);
  bool put(const void* bytes, std::size_t size);
  bool put(const std::string& bytes) { return put(bytes.data(), bytes.size()); }
  Result failed() {
    fail();
    return Failed;
  }
  bool fail() {
    writer.error("input/output error writing to zip file");
    return false;
  }

  GZip64Writer& writer;
  std::ostream& out;
  std::uint64_t position = 0;
  std::uint64_t highest = 0;  // how far the stream was written, members that failed included
  std::uint64_t entries = 0;
  std::string directory;  // the central headers so far
  z_stream z{};
  bool deflaterReady = false;
  std::vector<unsigned char> input;
  std::vector<unsigned char> output;
};

GZip64Writer::GZip64Writer(std::ostream* stream) : impl(std::make_unique<Impl>(*this, *stream)) {}
GZip64Writer::~GZip64Writer() = default;

void GZip64Writer::setCompression(bool on) { impl->compression = on; }
void GZip64Writer::setReproducible(bool on) { impl->reproducible = on; }

GZip64Writer::Result GZip64Writer::writeFile(const std::string& name, const Attributes& attributes,
                                             const Source& source) {
  zip::WrittenMember member;
  member.name = zip::normalizedName(name);
  return impl->write(std::move(member), attributes, source);
}

GZip64Writer::Result GZip64Writer::writeDirectory(const std::string& name,
                                                  const Attributes& attributes) {
  zip::WrittenMember member;
  member.name = zip::normalizedName(name + "/");
  member.directory = true;
  return impl->write(std::move(member), attributes, nullptr);
}

GZip64Writer::Result GZip64Writer::writeLink(const std::string& name, const std::string& target,
                                             const Attributes& attributes) {
  zip::WrittenMember member;
  member.name = zip::normalizedName(name);
  std::size_t given = 0;
  Attributes ofLink = attributes;
  ofLink.mode = static_cast<std::uint16_t>(zip::unixLink | 0777);
  ofLink.expectedSize = target.size();
  return impl->write(std::move(member), ofLink, [&](char* buffer, std::size_t size) {
    const std::size_t count = target.copy(buffer, size, given);
    given += count;
    return static_cast<std::int64_t>(count);
  });
}

bool GZip64Writer::close() { return impl->close(); }

GZip64Writer::Result GZip64Writer::Impl::write(zip::WrittenMember member,
                                               const Attributes& attributes, const Source& source) {
  if (writer.isError()) return Failed;
  if (member.name.empty() || member.name.size() > UINT16_MAX) return SourceFailed;
  member.comment = attributes.comment;
  member.mode = attributes.mode;
  member.headerOffset = position;
  member.time = firstDosTime;
  if (!reproducible) {
    member.time = zip::toDosTime(static_cast<long>(attributes.modTime));
    const bool fits = attributes.modTime >= INT32_MIN && attributes.modTime <= INT32_MAX;
    if (fits) member.exactTime = static_cast<std::int32_t>(attributes.modTime);
  }
  if (zip::needsUtf8Flag(member.name)) member.flags |= zip::flagUtf8;
  if (member.directory) return writeSmall(member, 0);
  const std::uint64_t expected = attributes.expectedSize;
  if (!writer.getPassword().empty()) member.flags |= zip::flagEncrypted | zip::flagDataDescriptor;
  std::size_t count = 0;
  bool ended = false;
  input.resize(blockSize);
  output.resize(blockSize);
  if (!fill(source, &count, &ended)) return SourceFailed;
  if (ended) return writeSmall(member, count);
  member.wide = expected >= surelyNarrow;
  return writeLarge(member, source, count);
}

// Fills the input as far as the source goes. False when it cannot be read.
bool GZip64Writer::Impl::fill(const Source& source, std::size_t* count, bool* ended) {
  *count = 0;
  while (*count < input.size()) {
    char* next = reinterpret_cast<char*>(input.data()) + *count;
    const std::int64_t got = source(next, input.size() - *count);
    if (got < 0) return false;
    *ended = got == 0;
    if (*ended) break;
    *count += static_cast<std::size_t>(got);
  }
  return true;
}

bool GZip64Writer::Impl::beginDeflate() {
  constexpr int rawDeflate = -15;
  constexpr int memoryLevel = 8;
  if (deflaterReady) return deflateReset(&z) == Z_OK;
  deflaterReady = deflateInit2(&z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, rawDeflate, memoryLevel,
                               Z_DEFAULT_STRATEGY) == Z_OK;
  return deflaterReady;
}

// All of the data are in the input. What deflate makes of them counts only if it is less.
GZip64Writer::Result GZip64Writer::Impl::writeSmall(zip::WrittenMember& member, std::size_t count) {
  member.size = count;
  member.crc = static_cast<std::uint32_t>(crc32_z(0, input.data(), count));
  unsigned char* bytes = input.data();
  std::size_t size = count;
  if (compression && count != 0) {
    if (!beginDeflate()) return failed();
    z.next_in = input.data();
    z.avail_in = static_cast<uInt>(count);
    z.next_out = output.data();
    z.avail_out = static_cast<uInt>(std::min(output.size(), count - 1));
    if (deflate(&z, Z_FINISH) == Z_STREAM_END) {
      bytes = output.data();
      size = z.total_out;
      member.method = zip::methodDeflated;
    }
  }
  const bool encrypted = (member.flags & zip::flagEncrypted) != 0;
  member.packedSize = size;
  if (encrypted) member.packedSize += zip::encryptionHeaderSize;
  if (!put(zip::localRecord(member))) return Failed;
  member.packedSize = 0;
  if (encrypted && !beginEncryption(member)) return Failed;
  if (!putData(member, bytes, size)) return Failed;
  if (encrypted && !put(zip::descriptorRecord(member))) return Failed;
  directory += zip::centralRecord(member);
  ++entries;
  return Done;
}

GZip64Writer::Result GZip64Writer::Impl::writeLarge(zip::WrittenMember& member,
                                                    const Source& source, std::size_t count) {
  if (compression) member.method = zip::methodDeflated;
  if (compression && !beginDeflate()) return failed();
  if (!put(zip::localRecord(member))) return Failed;
  const bool encrypted = (member.flags & zip::flagEncrypted) != 0;
  if (encrypted && !beginEncryption(member)) return Failed;
  for (bool ended = false;;) {
    member.size += count;
    member.crc = static_cast<std::uint32_t>(crc32_z(member.crc, input.data(), count));
    const bool written =
        compression ? deflateBlock(member, count, ended) : putData(member, input.data(), count);
    if (!written) return Failed;
    if (ended) break;
    if (!fill(source, &count, &ended)) return giveUp(member);
  }
  const bool tooLarge = member.size >= zip::inZip64 || member.packedSize >= zip::inZip64;
  if (!member.wide && tooLarge) return giveUp(member);
  return finish(member) ? Done : Failed;
}

bool GZip64Writer::Impl::deflateBlock(zip::WrittenMember& member, std::size_t count, bool last) {
  z.next_in = input.data();
  z.avail_in = static_cast<uInt>(count);
  do {
    z.next_out = output.data();
    z.avail_out = static_cast<uInt>(output.size());
    deflate(&z, last ? Z_FINISH : Z_NO_FLUSH);
    if (!putData(member, output.data(), output.size() - z.avail_out)) return false;
  } while (z.avail_out == 0);
  return true;
}

// Eleven random bytes, so that equal texts do not look alike, and the check byte of
// members that have a data descriptor.
bool GZip64Writer::Impl::beginEncryption(zip::WrittenMember& member) {
  unsigned char header[zip::encryptionHeaderSize];
  std::random_device random;
  for (unsigned char& byte : header) byte = static_cast<unsigned char>(random());
  header[sizeof header - 1] = static_cast<unsigned char>(member.time.time >> 8);
  writer.initKeys();
  return putData(member, header, sizeof header);
}

// Encrypts in place where the member is encrypted.
bool GZip64Writer::Impl::putData(zip::WrittenMember& member, unsigned char* bytes,
                                 std::size_t size) {
  if ((member.flags & zip::flagEncrypted) != 0) {
    for (std::size_t i = 0; i < size; ++i) bytes[i] = writer.encrypt(bytes[i]);
  }
  member.packedSize += size;
  return put(bytes, size);
}

// Writes the local header once more, with what is known now.
bool GZip64Writer::Impl::finish(zip::WrittenMember& member) {
  const bool encrypted = (member.flags & zip::flagEncrypted) != 0;
  if (encrypted && !put(zip::descriptorRecord(member))) return false;
  const std::string header = zip::localRecord(member);
  out.seekp(static_cast<std::streamoff>(member.headerOffset));
  out.write(header.data(), static_cast<std::streamsize>(header.size()));
  out.seekp(static_cast<std::streamoff>(position));
  if (!out) return fail();
  directory += zip::centralRecord(member);
  ++entries;
  return true;
}

// The next member is written over this one.
GZip64Writer::Result GZip64Writer::Impl::giveUp(const zip::WrittenMember& member) {
  highest = std::max(highest, position);
  position = member.headerOffset;
  out.seekp(static_cast<std::streamoff>(position));
  if (!out) return failed();
  return SourceFailed;
}

bool GZip64Writer::Impl::put(const void* bytes, std::size_t size) {
  out.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(size));
  if (!out) return fail();
  position += size;
  return true;
}

// What a failed member has left behind the last good one is overwritten with zeros: a
// stream cannot be cut.
bool GZip64Writer::Impl::close() {
  if (writer.isError()) return false;
  const std::string zeros(blockSize, '\0');
  while (position < highest) {
    const std::uint64_t count = std::min<std::uint64_t>(highest - position, zeros.size());
    if (!put(zeros.data(), static_cast<std::size_t>(count))) return false;
  }
  const std::uint64_t start = position;
  if (!put(directory)) return false;
  return put(zip::endRecords(entries, start, directory.size())) && (out.flush() || fail());
}
