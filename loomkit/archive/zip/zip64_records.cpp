// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip64_records.h"

#include <algorithm>

#include "loomkit/archive/zip/zip_layout.h"
#include "loomkit/text/binary.h"

namespace loomkit::zip {
namespace {

template <class Field>
void append(std::string* record, Field, typename Field::Value value) {
  record->resize(record->size() + Field::size);
  RecordWriter writer(record->data(), record->size());
  writer.put(Field{record->size() - Field::size}, value);
}

void appendExtraHead(std::string* extras, std::uint16_t id, std::size_t size) {
  append(extras, extra::id, id);
  append(extras, extra::dataSize, static_cast<std::uint16_t>(size));
}

void appendTime(std::string* extras, const WrittenMember& member) {
  if (!member.exactTime) return;
  appendExtraHead(extras, extra::timeId, extra_time::size);
  append(extras, extra_time::flags, extra_time::hasModified);
  append(extras, extra_time::modified, static_cast<std::uint32_t>(*member.exactTime));
}

std::uint32_t narrowed(std::uint64_t number) {
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(number, inZip64));
}

std::uint16_t versionOf(bool wide) { return wide ? version45 : version2; }

}  // namespace

std::string localRecord(const WrittenMember& member) {
  std::string extras;
  if (member.wide) {
    appendExtraHead(&extras, extra::zip64Id, extra_local64::size);
    append(&extras, extra_local64::uncomprSize, member.size);
    append(&extras, extra_local64::comprSize, member.packedSize);
  }
  appendTime(&extras, member);
  std::string record(local::size, '\0');
  RecordWriter header(record.data(), record.size());
  header.put(local::signature, local::signatureValue);
  header.put(local::version, versionOf(member.wide));
  header.put(local::flags, member.flags);
  header.put(local::method, member.method);
  header.put(local::time, member.time.time);
  header.put(local::date, member.time.date);
  header.put(local::crc, member.crc);
  header.put(local::comprSize, member.wide ? inZip64 : narrowed(member.packedSize));
  header.put(local::uncomprSize, member.wide ? inZip64 : narrowed(member.size));
  header.putLow(local::nameSize, member.name.size());
  header.putLow(local::extraSize, extras.size());
  return record + member.name + extras;
}

std::string descriptorRecord(const WrittenMember& member) {
  std::string record(member.wide ? descriptor64::size : descriptor::size, '\0');
  RecordWriter fields(record.data(), record.size());
  fields.put(descriptor::signature, descriptor::signatureValue);
  fields.put(descriptor::crc, member.crc);
  if (member.wide) {
    fields.put(descriptor64::comprSize, member.packedSize);
    fields.put(descriptor64::uncomprSize, member.size);
  } else {
    fields.put(descriptor::comprSize, narrowed(member.packedSize));
    fields.put(descriptor::uncomprSize, narrowed(member.size));
  }
  return record;
}

std::string centralRecord(const WrittenMember& member) {
  std::string wides;
  for (const std::uint64_t number : {member.size, member.packedSize, member.headerOffset}) {
    if (number >= inZip64) append(&wides, Le64{0}, number);
  }
  std::string extras;
  if (!wides.empty()) appendExtraHead(&extras, extra::zip64Id, wides.size());
  extras += wides;
  appendTime(&extras, member);
  const std::string comment = member.comment.substr(0, longestComment);
  std::string record(central::size, '\0');
  RecordWriter header(record.data(), record.size());
  const bool wide = member.wide || !wides.empty();
  const unsigned system = member.mode != 0 ? madeOnUnix : madeOnDos;
  const std::uint32_t attributes = member.directory ? attributeDirectory : 0;
  header.put(central::signature, central::signatureValue);
  header.put(central::madeBy, static_cast<std::uint16_t>(system << 8 | versionOf(wide)));
  header.put(central::version, versionOf(wide));
  header.put(central::flags, member.flags);
  header.put(central::method, member.method);
  header.put(central::time, member.time.time);
  header.put(central::date, member.time.date);
  header.put(central::crc, member.crc);
  header.put(central::comprSize, narrowed(member.packedSize));
  header.put(central::uncomprSize, narrowed(member.size));
  header.putLow(central::nameSize, member.name.size());
  header.putLow(central::extraSize, extras.size());
  header.putLow(central::commentSize, comment.size());
  header.put(central::externalAttributes, std::uint32_t{member.mode} << 16 | attributes);
  header.put(central::localHeaderOffset, narrowed(member.headerOffset));
  return record + member.name + extras + comment;
}

std::string endRecords(std::uint64_t entries, std::uint64_t directoryOffset,
                       std::uint64_t directorySize) {
  std::string records;
  const bool wide =
      entries >= inZip64Short || directoryOffset >= inZip64 || directorySize >= inZip64;
  if (wide) {
    records.resize(end64::size + locator64::size);
    RecordWriter fields(records.data(), records.size());
    fields.put(end64::signature, end64::signatureValue);
    fields.put(end64::sizeBehind, end64::size - end64::sizeBehind.end());
    fields.put(end64::madeBy, static_cast<std::uint16_t>(madeOnUnix << 8 | version45));
    fields.put(end64::version, version45);
    fields.put(end64::entriesHere, entries);
    fields.put(end64::entries, entries);
    fields.put(end64::directorySize, directorySize);
    fields.put(end64::directoryOffset, directoryOffset);
    fields.put(locator64::signature.behind(end64::size), locator64::signatureValue);
    fields.put(locator64::recordOffset.behind(end64::size), directoryOffset + directorySize);
    fields.put(locator64::disks.behind(end64::size), 1);
  }
  const auto count = static_cast<std::uint16_t>(std::min<std::uint64_t>(entries, inZip64Short));
  const std::size_t at = records.size();
  records.resize(at + end::size);
  RecordWriter fields(records.data(), records.size());
  fields.put(end::signature.behind(at), end::signatureValue);
  fields.put(end::entriesHere.behind(at), count);
  fields.put(end::entries.behind(at), count);
  fields.put(end::directorySize.behind(at), narrowed(directorySize));
  fields.put(end::directoryOffset.behind(at), narrowed(directoryOffset));
  return records;
}

// The well-formed sequences of the Unicode Standard, table 3-7.
bool needsUtf8Flag(const std::string& text) {
  bool ascii = true;
  for (std::size_t i = 0; i < text.size();) {
    const auto byte = [&](std::size_t k) {
      return k < text.size() ? static_cast<unsigned char>(text[k]) : 0U;
    };
    const unsigned first = byte(i);
    if (first < 0x80) {
      ++i;
      continue;
    }
    ascii = false;
    const std::size_t size = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4) return false;
    const unsigned second = byte(i + 1);
    const unsigned least = first == 0xe0 ? 0xa0 : first == 0xf0 ? 0x90 : 0x80;
    const unsigned most = first == 0xed ? 0x9f : first == 0xf4 ? 0x8f : 0xbf;
    if (second < least || second > most) return false;
    for (std::size_t k = i + 2; k < i + size; ++k) {
      if ((byte(k) & 0xc0) != 0x80) return false;
    }
    i += size;
  }
  return !ascii;
}

}  // namespace loomkit::zip
