// SPDX-License-Identifier: MIT
// Opening and closing of tables.
#include "loomkit/xbase/data_file.h"

#include <algorithm>
#include <cstring>

#include "loomkit/text/binary.h"
#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/dbf_layout.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/file_names.h"
#include "loomkit/xbase/index_file.h"
#include "loomkit/xbase/memo_file.h"

namespace loomkit::xbase {
namespace {

// Of later programs: a field of bits that tell which values are null.
constexpr char nullFlagsType = '0';

// Versions of those programs have the memo's bit in the header's flags.
constexpr unsigned firstLaterVersion = 0x30;
constexpr unsigned lastLaterVersion = 0x32;

int refuse(DataFile& data, int code) {
  return fail(*data.engine, code, data.engine->report.files,
              fileNameLine(data.file.name()).c_str());
}

char capital(unsigned char c) {
  return static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
}

// Up to the first zero byte, without the blanks behind it.
std::string nameOf(std::string_view bytes) {
  const std::string_view name = bytes.substr(0, std::min(bytes.find('\0'), dbf::longestName));
  return std::string(name.substr(0, name.find_last_not_of(' ') + 1));
}

// Sets the type, width and decimals that a descriptor's letter gives; false for
// a letter that the engine does not read.
bool readType(const Engine& engine, const RecordReader& descriptor, Field* field) {
  const unsigned low = descriptor.get(dbf::descriptor::width);
  const unsigned high = descriptor.get(dbf::descriptor::decimals);
  field->type = capital(descriptor.get(dbf::descriptor::type));
  field->width = low;
  switch (field->type) {
    case 'C':
      field->width = low + 256 * high;
      return true;
    case 'N':
    case 'F':
      field->decimals = high;
      return true;
    case 'D':
    case 'L':
    case 'M':
      return true;
    case 'B':
      if (engine.laterTypes && low == 8) {
        field->decimals = high;
        return true;
      }
      [[fallthrough]];
    case 'G':
      field->type = 'M';
      return true;
    case 'I':
    case 'Y':
    case 'T':
    case nullFlagsType:
      return engine.laterTypes;
    default:
      return false;
  }
}

int readDescriptors(DataFile& data, std::string_view area) {
  std::size_t offset = 1;
  for (; area.size() >= dbf::descriptor::size; area.remove_prefix(dbf::descriptor::size)) {
    if (area.front() == dbf::terminator) break;
    const RecordReader descriptor(area.data(), dbf::descriptor::size);
    Field field;
    if (!readType(*data.engine, descriptor, &field)) return refuse(data, errorFieldType);
    field.name = nameOf(descriptor.get(dbf::descriptor::name));
    field.offset = offset;
    offset += field.width;
    data.fields.push_back(std::move(field));
  }
  return offset == data.recordLength ? ok : refuse(data, errorNotATable);
}

// The number in the header, held to the records that the file has whole: behind
// a lost end there is nothing to read, and a number that is too small hides
// nothing but what its writer never finished.
std::uint32_t countRecords(const DataFile& data, std::uint32_t stated) {
  const std::uint64_t records = data.file.length() - data.headerLength;
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(stated, records / data.recordLength));
}

bool memoBelongs(const DataFile& data, unsigned flags) {
  if ((data.version & dbf::memoBit) != 0) return true;
  return data.version >= firstLaterVersion && data.version <= lastLaterVersion &&
         (flags & dbf::flagMemo) != 0;
}

// Versions whose memos are in files of another kind, which are not read.
bool memoIsForeign(unsigned version) {
  return version == 0x83 || version == 0x8B || version == 0xCB;
}

int openMemo(DataFile& data) {
  const std::string path = companionPath(data.file.name(), "FPT");
  auto memo = std::make_unique<MemoFile>(*data.engine);
  const int result = memo->open(path);
  if (result == ok) data.memo = std::move(memo);
  if (result == notOpened && memoIsForeign(data.version)) {
    data.engine->errorCode = 0;
    return ok;
  }
  return result;
}

int readHeader(DataFile& data) {
  unsigned char bytes[dbf::header::size];
  std::size_t got = 0;
  // What cannot be read is no table, whatever the reason.
  if (data.file.readAt(0, bytes, sizeof bytes, &got) < 0) return refuse(data, errorNotATable);
  const RecordReader header(bytes, got);
  data.version = header.get(dbf::header::version);
  data.headerLength = header.get(dbf::header::headerLength);
  data.recordLength = header.get(dbf::header::recordLength);
  data.codePage = header.get(dbf::header::codePage);
  const unsigned flags = header.get(dbf::header::flags);
  data.hasProductionIndex = (flags & dbf::flagProductionIndex) != 0;
  if (!header.ok() || data.headerLength <= dbf::header::size ||
      data.headerLength > data.file.length())
    return refuse(data, errorNotATable);
  std::string area(data.headerLength - dbf::header::size, '\0');
  if (data.file.readAll(dbf::header::size, area.data(), area.size()) < 0)
    return refuse(data, errorNotATable);
  const int result = readDescriptors(data, area);
  if (result < 0) return result;
  data.recordCount = countRecords(data, header.get(dbf::header::recordCount));
  data.record.reserve(data.recordLength + 1);
  data.record.assign(data.recordLength, ' ');
  data.memos.resize(data.fields.size());
  return memoBelongs(data, flags) ? openMemo(data) : ok;
}

}  // namespace

DataFile::DataFile(Engine& owner) : engine(&owner), file(owner) {}

DataFile::~DataFile() { close(*this); }

std::unique_ptr<DataFile> openDataFile(Engine& engine, const std::string& name) {
  if (engine.errorCode < 0) return nullptr;
  auto data = std::make_unique<DataFile>(engine);
  int result = data->file.open(withExtension(name, "DBF"));
  if (result == ok) result = readHeader(*data);
  if (result != ok) return nullptr;
  data->alias = aliasOf(name);
  data->serial = ++engine.tablesOpened;
  engine.dataFiles.push_back(data.get());
  if (data->hasProductionIndex && engine.autoOpen && openIndex(*data, {}) == nullptr)
    return nullptr;
  return data;
}

int close(DataFile& data) {
  if (!data.file.isOpen()) return ok;
  int result = ok;
  if (!data.file.isReadOnly()) result = withoutThrowing(*data.engine, [&] { return flush(data); });
  std::vector<DataFile*>& open = data.engine->dataFiles;
  open.erase(std::remove(open.begin(), open.end(), &data), open.end());
  while (!data.indexes.empty()) {
    const int closed = closeIndex(*data.indexes.back());
    if (result == ok) result = closed;
  }
  if (data.memo != nullptr) {
    const int closed = data.memo->close();
    if (result == ok) result = closed;
    data.memo = nullptr;
  }
  const int closed = data.file.close();
  return result == ok ? closed : result;
}

int fieldNumber(const DataFile& data, std::string_view name) {
  if (name.size() > dbf::longestName) return -1;
  for (std::size_t i = 0; i < data.fields.size(); ++i) {
    const std::string& own = data.fields[i].name;
    if (std::equal(own.begin(), own.end(), name.begin(), name.end(), [](char a, char b) {
          return capital(static_cast<unsigned char>(a)) == capital(static_cast<unsigned char>(b));
        }))
      return static_cast<int>(i);
  }
  return -1;
}

void beginChange(DataFile& data) {
  if (!data.recordChanged) data.oldRecord = data.record;
  data.recordChanged = true;
}

void clearMemos(DataFile& data) {
  if (!data.memosChanged) return;
  for (MemoEntry& entry : data.memos) entry = {};
  data.memosChanged = false;
}

void markDeleted(DataFile& data) {
  beginChange(data);
  data.record.front() = dbf::flagDeleted;
}

void unmarkDeleted(DataFile& data) {
  beginChange(data);
  data.record.front() = dbf::flagLive;
}

void blank(DataFile& data) {
  beginChange(data);
  std::fill(data.record.begin() + 1, data.record.end(), ' ');
  clearMemos(data);
}

}  // namespace loomkit::xbase
