// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip64_directory.h"

#include <algorithm>

#include "loomkit/archive/zip/zip_dos_time.h"
#include "loomkit/archive/zip/zip_layout.h"

namespace loomkit::zip {

const char* Directory64::readEndRecords() {
  if (window.size() < end::size) return "not a valid zip file";
  std::uint64_t offset = 0;
  if (!findEndRecord(&offset)) return "end of central directory record signature not found";
  takeEndRecord(offset);
  if (const char* wrong = takeEndRecord64(offset); wrong != nullptr) return wrong;
  if (layout.directorySize > offset || layout.directoryOffset > offset - layout.directorySize) {
    return "the central directory reaches beyond the archive";
  }
  return nullptr;
}

// The record nearest to the end counts, as it does for GZipReader.
bool Directory64::findEndRecord(std::uint64_t* offset) {
  const std::uint64_t last = window.size() - end::size;
  const std::uint64_t first = last - std::min<std::uint64_t>(last, longestComment);
  const auto count = static_cast<std::size_t>(window.size() - first);
  const unsigned char* tail = window.at(first, count);
  if (tail == nullptr) return false;
  const RecordReader bytes(tail, count);
  for (auto i = static_cast<std::size_t>(last - first + 1); i > 0; --i) {
    if (bytes.get(end::signature.behind(i - 1)) != end::signatureValue) continue;
    *offset = first + i - 1;
    return true;
  }
  return false;
}

void Directory64::takeEndRecord(std::uint64_t offset) {
  const RecordReader record(window.at(offset, end::size), end::size);
  const auto isZero = [&](Le16 field) {
    return record.get(field) == 0 || record.get(field) == inZip64Short;
  };
  if (!isZero(end::disk)) {
    warnings.emplace_back("end of central directory record: invalid number of this disk");
  }
  if (!isZero(end::directoryDisk)) {
    warnings.emplace_back(
        "end of central directory record: invalid number for disk with start of central directory");
  }
  layout.entryCount = record.get(end::entries);
  layout.directorySize = record.get(end::directorySize);
  layout.directoryOffset = record.get(end::directoryOffset);
  const std::size_t size = record.get(end::commentSize);
  const std::uint64_t behind = window.size() - offset - end::size;
  if (size > behind) {
    warnings.emplace_back(
        "end of central directory record: invalid length for zip file comment, comment ignored");
    return;
  }
  if (size < behind) {
    warnings.emplace_back(
        "end of central directory record: extra bytes at end of zip file (ignored)");
  }
  takeText(offset + end::size, size, &layout.comment);
}

// An archive that needs no number of 64 bits may have these records all the same.
const char* Directory64::takeEndRecord64(std::uint64_t endOffset) {
  std::uint64_t directoryEnd = endOffset;
  const auto finish = [&] {
    findBytesInFront(directoryEnd);
    return nullptr;
  };
  if (endOffset < locator64::size + end64::size) return finish();
  const std::uint64_t locatorOffset = endOffset - locator64::size;
  const RecordReader locator(window.at(locatorOffset, locator64::size), locator64::size);
  if (locator.get(locator64::signature) != locator64::signatureValue) return finish();
  const std::uint64_t stated = locator.get(locator64::recordOffset);
  // With bytes in front of the archive, the record stands right in front of its locator.
  for (const std::uint64_t offset : {stated, locatorOffset - end64::size}) {
    if (offset > locatorOffset - end64::size) continue;
    const unsigned char* bytes = window.at(offset, end64::size);
    if (bytes == nullptr) continue;
    const RecordReader record(bytes, end64::size);
    if (record.get(end64::signature) != end64::signatureValue) continue;
    layout.wide = true;
    layout.entryCount = record.get(end64::entries);
    layout.directorySize = record.get(end64::directorySize);
    layout.directoryOffset = record.get(end64::directoryOffset);
    directoryEnd = offset;
    return finish();
  }
  return "zip64 end of central directory record not found";
}

// A program that extracts itself has the archive behind it, and none of the offsets
// counts its bytes. The directory then ends where its record begins, and not where
// the record says.
void Directory64::findBytesInFront(std::uint64_t directoryEnd) {
  if (layout.directorySize > directoryEnd) return;
  const std::uint64_t actual = directoryEnd - layout.directorySize;
  if (actual <= layout.directoryOffset || layout.directorySize < central::size) return;
  const auto isDirectory = [&](std::uint64_t offset) {
    const unsigned char* bytes = window.at(offset, central::signature.size);
    return bytes != nullptr &&
           RecordReader(bytes, central::signature.size).get(central::signature) ==
               central::signatureValue;
  };
  if (isDirectory(layout.directoryOffset) || !isDirectory(actual)) return;
  layout.bytesInFront = actual - layout.directoryOffset;
  layout.directoryOffset = actual;
  warnings.push_back(std::to_string(layout.bytesInFront) + " bytes in front of the archive");
}

void Directory64::takeText(std::uint64_t offset, std::size_t size, std::string* text) {
  text->clear();
  if (size == 0) return;
  const unsigned char* bytes = window.at(offset, size);
  if (bytes != nullptr) text->assign(reinterpret_cast<const char*>(bytes), size);
}

namespace {

constexpr std::int64_t unknownTime = INT64_MIN;

// The mode of Unix, or what MS-DOS's attributes say of the rights.
std::uint16_t modeOf(unsigned madeBy, std::uint32_t attributes) {
  const unsigned system = madeBy >> 8;
  if (system == madeOnUnix || system == madeOnMac) {
    return static_cast<std::uint16_t>(attributes >> 16);
  }
  constexpr std::uint16_t readOnly = unixFile | 0444;
  const bool isFile = (attributes & (attributeDirectory | attributeVolumeLabel)) == 0;
  return isFile && (attributes & attributeReadOnly) != 0 ? readOnly : 0;
}

void takeHeader(const RecordReader& header, GZipMember* member) {
  member->flags = header.get(central::flags);
  member->method = header.get(central::method);
  member->crc = header.get(central::crc);
  member->packedSize = header.get(central::comprSize);
  member->size = header.get(central::uncomprSize);
  member->headerOffset = header.get(central::localHeaderOffset);
  member->encrypted = (member->flags & flagEncrypted) != 0;
  const std::uint16_t time = header.get(central::time);
  const bool crcComesLater = (member->flags & flagDataDescriptor) != 0;
  member->checkByte = static_cast<unsigned char>(crcComesLater ? time >> 8 : member->crc >> 24);
  const std::uint32_t attributes = header.get(central::externalAttributes);
  member->mode = modeOf(header.get(central::madeBy), attributes);
  const unsigned type = member->mode & unixTypeMask;
  member->directory =
      type == unixDirectory || (type == 0 && (attributes & attributeDirectory) != 0);
  member->volumeLabel = !member->directory && (attributes & attributeVolumeLabel) != 0;
}

void takeTimes(std::uint16_t id, const RecordReader& field, GZipMember* member) {
  if (id == extra::timeId && field.size() >= extra_time::size &&
      (field.get(extra_time::flags) & extra_time::hasModified) != 0) {
    member->modTime = static_cast<std::int32_t>(field.get(extra_time::modified));
  }
  if (id == extra::ntfsId && field.size() >= extra_ntfs::modified.end() &&
      field.get(extra_ntfs::tag) == extra_ntfs::tagTimes) {
    constexpr std::uint64_t stepsASecond = 10'000'000;
    constexpr std::int64_t secondsFrom1601To1970 = 11'644'473'600;
    member->modTime = static_cast<std::int64_t>(field.get(extra_ntfs::modified) / stepsASecond) -
                      secondsFrom1601To1970;
  }
}

// The numbers that did not fit the header follow each other, in this order.
bool takeWideNumbers(const RecordReader& field, GZipMember* member) {
  std::size_t next = 0;
  for (std::uint64_t* number : {&member->size, &member->packedSize, &member->headerOffset}) {
    if (*number != inZip64) continue;
    *number = field.get(Le64{next});
    next += Le64::size;
  }
  return field.ok();
}

}  // namespace

bool takeExtraFields(const unsigned char* bytes, std::size_t size, GZipMember* member) {
  const bool needsWide =
      member->size == inZip64 || member->packedSize == inZip64 || member->headerOffset == inZip64;
  bool hasWide = false;
  for (std::size_t i = 0; size - i >= extra::headSize;) {
    const RecordReader head(bytes + i, extra::headSize);
    const std::size_t fieldSize = head.get(extra::dataSize);
    i += extra::headSize;
    if (fieldSize > size - i) break;
    const RecordReader field(bytes + i, fieldSize);
    const std::uint16_t id = head.get(extra::id);
    if (id == extra::zip64Id && needsWide && !hasWide) {
      if (!takeWideNumbers(field, member)) return false;
      hasWide = true;
    } else {
      takeTimes(id, field, member);
    }
    i += fieldSize;
  }
  // Without the field, a number of all ones is that number: an archive of old may
  // have a member of 4 GiB less one byte.
  return true;
}

const char* Directory64::readMembers(std::vector<GZipMember>* members) {
  std::uint64_t at = layout.directoryOffset;
  const std::uint64_t behind = at + layout.directorySize;
  while (at < behind) {
    const unsigned char* bytes = window.at(at, central::size);
    if (bytes == nullptr) return "central file header: input/output error";
    const RecordReader header(bytes, central::size);
    if (header.get(central::signature) != central::signatureValue) {
      return "central file header: invalid signature";
    }
    GZipMember member;
    member.modTime = unknownTime;
    takeHeader(header, &member);
    const DosTime dosTime{header.get(central::time), header.get(central::date)};
    const std::size_t nameSize = header.get(central::nameSize);
    const std::size_t extraSize = header.get(central::extraSize);
    const std::size_t commentSize = header.get(central::commentSize);
    at += central::size;
    const std::size_t textSize = nameSize + extraSize + commentSize;
    bytes = window.at(at, textSize);
    if (bytes == nullptr) return "central file header: input/output error reading file name";
    member.name.assign(reinterpret_cast<const char*>(bytes), nameSize);
    if (!takeExtraFields(bytes + nameSize, extraSize, &member)) {
      return "central file header: the zip64 extra field is cut short";
    }
    // The conversion of local time is the dearest step; most headers have a better time.
    if (member.modTime == unknownTime) member.modTime = localDosTime(dosTime);
    member.comment.assign(reinterpret_cast<const char*>(bytes + nameSize + extraSize), commentSize);
    member.headerOffset += layout.bytesInFront;
    const bool endsInSlash = !member.name.empty() && member.name.back() == '/';
    member.directory = member.directory || (endsInSlash && !member.volumeLabel);
    members->push_back(std::move(member));
    at += textSize;
  }
  const bool endsRight = at == behind;
  if (!endsRight) warnings.emplace_back("read beyond end of central directory");
  const std::uint64_t countable = layout.wide ? UINT64_MAX : inZip64Short;
  const bool countsRight = (members->size() & countable) == layout.entryCount;
  if (!countsRight) warnings.emplace_back("central directory entry count mismatch");
  exact = endsRight && countsRight;
  return nullptr;
}

}  // namespace loomkit::zip
