// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip64_member_reader.h"

#include <cstring>

#include "loomkit/archive/zip/zip64_directory.h"
#include "loomkit/archive/zip/zip_layout.h"

namespace loomkit::zip {

Inflater::~Inflater() {
  if (ready) inflateEnd(&z);
}

bool Inflater::begin() {
  constexpr int rawDeflate = -15;
  atEnd = false;
  extra = 0;
  if (output == nullptr) output.reset(new unsigned char[outputSize]);
  if (ready) return inflateReset(&z) == Z_OK;
  ready = inflateInit2(&z, rawDeflate) == Z_OK;
  return ready;
}

bool Inflater::run(const unsigned char* data, std::size_t size, const Take& take) {
  z.next_in = const_cast<unsigned char*>(data);  // zlib's word for what it only reads
  z.avail_in = static_cast<uInt>(size);
  while (!atEnd) {
    z.next_out = output.get();
    z.avail_out = outputSize;
    const int status = inflate(&z, Z_NO_FLUSH);
    if (status != Z_OK && status != Z_STREAM_END && status != Z_BUF_ERROR) return false;
    atEnd = status == Z_STREAM_END;
    const std::size_t produced = outputSize - z.avail_out;
    if (produced != 0 && !take(output.get(), produced)) return false;
    if (z.avail_in == 0 && z.avail_out != 0) break;
  }
  extra += z.avail_in;
  return true;
}

namespace {

// The sizes of a local header that leaves them to its extra field.
void takeLocalWide(Window& window, std::uint64_t offset, std::size_t size, GZipMember* stated) {
  const unsigned char* bytes = window.at(offset, size);
  // The offset is not among a local header's fields; it must not be looked for.
  stated->headerOffset = 0;
  if (bytes != nullptr) static_cast<void>(takeExtraFields(bytes, size, stated));
}

const char* compareSizes(const GZipMember& stated, const GZipMember& member) {
  if (stated.crc != member.crc) return "local file header: crc mismatch";
  if (stated.packedSize != member.packedSize) {
    return "local file header: compressed size mismatch";
  }
  return stated.size == member.size ? nullptr : "local file header: uncompressed size mismatch";
}

}  // namespace

const char* checkLocalHeader(Window& window, const GZipMember& member, std::uint64_t* dataStart) {
  const unsigned char* bytes = window.at(member.headerOffset, local::size);
  if (bytes == nullptr) return "local file header: input/output error";
  const RecordReader header(bytes, local::size);
  if (header.get(local::signature) != local::signatureValue) {
    return "local file header: signature mismatch";
  }
  const unsigned flags = header.get(local::flags);
  if (((flags ^ member.flags) & flagEncrypted) != 0) {
    return "local file header: crypt flag mismatch";
  }
  if (header.get(local::method) != member.method) {
    return "local file header: compression method mismatch";
  }
  GZipMember stated;
  stated.crc = header.get(local::crc);
  stated.packedSize = header.get(local::comprSize);
  stated.size = header.get(local::uncomprSize);
  const std::size_t nameSize = header.get(local::nameSize);
  const std::size_t extraSize = header.get(local::extraSize);
  if (nameSize != member.name.size()) return "local file header: filename length mismatch";
  const std::uint64_t nameStart = member.headerOffset + local::size;
  bytes = window.at(nameStart, nameSize);
  if (bytes == nullptr) return "local file header: input/output error reading file name";
  if (std::memcmp(bytes, member.name.data(), nameSize) != 0) {
    return "local file header: file name mismatch";
  }
  *dataStart = nameStart + nameSize + extraSize;
  if ((flags & flagDataDescriptor) != 0) return nullptr;
  if (stated.size == inZip64 || stated.packedSize == inZip64) {
    takeLocalWide(window, nameStart + nameSize, extraSize, &stated);
  }
  return compareSizes(stated, member);
}

bool findDataEnd(Window& window, const GZipMember& member, std::uint64_t* dataEnd) {
  const unsigned char* bytes = window.at(member.headerOffset, local::size);
  if (bytes == nullptr) return false;
  const RecordReader header(bytes, local::size);
  if (header.get(local::signature) != local::signatureValue) return false;
  const std::uint64_t start = member.headerOffset + local::size + header.get(local::nameSize) +
                              header.get(local::extraSize);
  if (start > window.size() || member.packedSize > window.size() - start) return false;
  *dataEnd = start + member.packedSize;
  return true;
}

}  // namespace loomkit::zip
