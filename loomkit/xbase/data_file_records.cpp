// SPDX-License-Identifier: MIT
// The current record: going to it, changing it, appending.
#include <algorithm>
#include <cstring>

#include "loomkit/text/binary.h"
#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/dates.h"
#include "loomkit/xbase/dbf_layout.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/field.h"
#include "loomkit/xbase/index_file.h"
#include "loomkit/xbase/index_guard.h"
#include "loomkit/xbase/memo_file.h"

namespace loomkit::xbase {
namespace {

constexpr char skipFromNowhere[] = "Skip must be made from valid record number";

std::uint64_t recordOffset(const DataFile& data, std::uint32_t number) {
  return data.headerLength + std::uint64_t{number - 1} * data.recordLength;
}

// Makes a blank record current, which is none of the file's.
void standNowhere(DataFile& data, std::uint32_t number) {
  std::fill(data.record.begin(), data.record.end(), ' ');
  clearMemos(data);
  data.recordNumber = number;
  data.recordChanged = false;
}

// Writes the memos that were assigned, and their blocks into the record.
int writeMemos(DataFile& data) {
  if (!data.memosChanged) return ok;
  for (std::size_t i = 0; i < data.memos.size(); ++i) {
    MemoEntry& entry = data.memos[i];
    if (!entry.changed) continue;
    std::uint32_t block = memoBlock(data, i);
    if (entry.text.empty()) {
      block = 0;
    } else if (data.memo == nullptr) {
      return fail(*data.engine, errorWriting, data.engine->report.files,
                  fileNameLine(data.file.name()).c_str());
    } else {
      const int result = data.memo->write(entry.text, &block);
      if (result < 0) return result;
    }
    assignMemoBlock(data, i, block);
    entry = {};
  }
  return ok;
}

int writeRecord(DataFile& data) {
  return data.file.writeAt(recordOffset(data, data.recordNumber), data.record.data(),
                           data.recordLength);
}

// Writes the record behind the others, with the mark of the file's end.
int appendBytes(DataFile& data) {
  // readHeader() has reserved the room.
  data.record.resize(data.recordLength);
  data.record += dbf::endMark;
  const int result = data.file.writeAt(recordOffset(data, data.recordNumber), data.record.data(),
                                       data.record.size());
  data.record.pop_back();
  return result;
}

int writeHeader(DataFile& data) {
  unsigned char bytes[dbf::header::recordCount.end()];
  const std::size_t begin = dbf::header::year.offset;
  RecordWriter header(bytes, sizeof bytes);
  const Day date = today();
  header.put(dbf::header::year, static_cast<std::uint8_t>(date.year - 1900));
  header.put(dbf::header::month, static_cast<std::uint8_t>(date.month));
  header.put(dbf::header::day, static_cast<std::uint8_t>(date.day));
  header.put(dbf::header::recordCount, data.recordCount);
  const int result = data.file.writeAt(begin, bytes + begin, sizeof bytes - begin);
  if (result == ok) data.headerChanged = false;
  return result;
}

// Writes the current record if it has changed, with its memos.
int writeCurrent(DataFile& data) {
  if (data.engine->errorCode < 0) return data.engine->errorCode;
  if (!data.recordChanged) return ok;
  if (data.recordNumber < 1 || data.recordNumber > data.recordCount) {
    // A record that is none, or an append that was given up.
    data.recordChanged = false;
    return ok;
  }
  // First, so that an index file says that it is being changed before the table
  // is ahead of it.
  IndexGuard guard(data);
  int result = updateKeys(data);
  if (result == ok) {
    result = writeMemos(data);
    if (result == ok) result = writeRecord(data);
    if (result < 0) revertKeys(data);
  }
  guard.done();
  if (result != ok) return result;
  data.recordChanged = false;
  data.headerChanged = true;
  return ok;
}

// Brings a record into memory. `*plain` is as go() gives it.
int fetchRecord(DataFile& data, std::uint32_t number, const char** plain) {
  const std::uint64_t offset = recordOffset(data, number);
  *plain = data.file.plainBytes(offset, data.recordLength);
  if (*plain == nullptr) return data.file.readAll(offset, data.record.data(), data.recordLength);
  std::memcpy(data.record.data(), *plain, data.recordLength);
  return ok;
}

inline int readRecord(DataFile& data, std::uint32_t number, const char** plain) {
  const int result = fetchRecord(data, number, plain);
  if (result < 0) {
    standNowhere(data, 0);
    return result;
  }
  clearMemos(data);
  data.recordNumber = number;
  data.recordChanged = false;
  return ok;
}

int readRecord(DataFile& data, std::uint32_t number) {
  const char* plain = nullptr;
  return readRecord(data, number, &plain);
}

int skipByNumber(DataFile& data, long count) {
  constexpr std::int64_t farthest = std::int64_t{1} << 33;  // beyond any record
  const std::int64_t target =
      data.recordNumber + std::clamp<std::int64_t>(count, -farthest, farthest);
  if (target < 1) {
    standNowhere(data, 0);
    data.atBeginning = true;
    return beginningOfFile;
  }
  if (target > data.recordCount) {
    standNowhere(data, data.recordCount + 1);
    data.atEnd = true;
    return endOfFile;
  }
  return readRecord(data, static_cast<std::uint32_t>(target));
}

// Makes the record current at which the selected tag stands.
int readTagged(DataFile& data) {
  const std::uint32_t number = data.selected->cursor.record;
  if (number >= 1 && number <= data.recordCount) return readRecord(data, number);
  standNowhere(data, 0);
  return data.selected->index->space.corrupt();
}

int standBehind(DataFile& data) {
  standNowhere(data, data.recordCount + 1);
  data.atEnd = true;
  return endOfFile;
}

int noTagSelected(DataFile& data) {
  return fail(*data.engine, errorTagName, data.engine->report.tag,
              fileNameLine(data.file.name()).c_str());
}

// Brings the selected tag to the current record, and `*count` to the steps that
// are left from there.
int standAtCurrent(DataFile& data, long* count) {
  Tag& tag = *data.selected;
  if (data.recordNumber > data.recordCount) {
    // Behind all records, the way back begins with the last one.
    if (*count >= 0) return endOfFile;
    ++*count;
    const int result = goBottom(tag);
    return result == endOfFile ? beginningOfFile : result;
  }
  std::vector<unsigned char> key;
  bool inTag = false;
  int result = recordKey(tag, &key, &inTag);
  if (result != ok) return result;
  const TreeCursor& at = tag.cursor;
  if (at.valid && at.record == data.recordNumber && at.key == key) return ok;
  result = seekEntry(tag, key, data.recordNumber);
  if (result == notFound) {
    // A record that the tag leaves out: it stands at the next one.
    if (*count > 0) --*count;
    return ok;
  }
  if (result != endOfFile || *count >= 0) return result;
  ++*count;
  result = goBottom(tag);
  return result == endOfFile ? beginningOfFile : result;
}

int skipByTag(DataFile& data, long count) {
  int result = standAtCurrent(data, &count);
  if (result == ok) result = skipKeys(*data.selected, count);
  if (result == ok) return readTagged(data);
  if (result == endOfFile) return standBehind(data);
  if (result != beginningOfFile) return result;
  standNowhere(data, 0);
  data.atBeginning = true;
  return beginningOfFile;
}

}  // namespace

int go(DataFile& data, std::uint32_t number) {
  const char* plain = nullptr;
  return go(data, number, &plain);
}

int go(DataFile& data, std::uint32_t number, const char** plain) {
  *plain = nullptr;
  const int result = writeCurrent(data);
  if (result != ok) return result;
  data.atEnd = false;
  data.atBeginning = false;
  if (number >= 1 && number <= data.recordCount) return readRecord(data, number, plain);
  standNowhere(data, number < 1 ? 0 : data.recordCount + 1);
  return noSuchRecord;
}

int skip(DataFile& data, long count) {
  const int result = writeCurrent(data);
  if (result != ok) return result;
  if (data.recordNumber < 1) {
    if (!data.engine->report.skip) return -1;
    return fail(*data.engine, errorInformation, true, skipFromNowhere);
  }
  data.atEnd = false;
  data.atBeginning = false;
  return data.selected != nullptr ? skipByTag(data, count) : skipByNumber(data, count);
}

int seek(DataFile& data, std::string_view key) {
  int result = writeCurrent(data);
  if (result != ok) return result;
  if (data.selected == nullptr) return noTagSelected(data);
  data.atEnd = false;
  data.atBeginning = false;
  const int found = seekKey(*data.selected, key);
  if (found == endOfFile) return standBehind(data);
  if (found < 0) return found;
  result = readTagged(data);
  return result == ok ? found : result;
}

int seekNext(DataFile& data) {
  int result = writeCurrent(data);
  if (result != ok) return result;
  if (data.selected == nullptr) return noTagSelected(data);
  const std::string key(currentKey(*data.selected));
  long count = 1;
  result = standAtCurrent(data, &count);
  if (result == ok) result = skipKeys(*data.selected, count);
  if (result == ok && currentKey(*data.selected) == key) return readTagged(data);
  return result < 0 ? result : notFound;
}

int startAppend(DataFile& data) {
  const int result = writeCurrent(data);
  if (result != ok) return result;
  clearMemos(data);
  for (std::size_t i = 0; i < data.fields.size(); ++i) {
    if (data.fields[i].type == 'M') assignMemoBlock(data, i, 0);
  }
  data.recordNumber = 0;
  data.recordChanged = true;
  data.atEnd = false;
  data.atBeginning = false;
  return ok;
}

int finishAppend(DataFile& data) {
  if (data.engine->errorCode < 0) return data.engine->errorCode;
  data.recordNumber = data.recordCount + 1;
  // First, so that an index file says that it is being changed before the table
  // is ahead of it.
  IndexGuard guard(data);
  int result = addKeys(data);
  if (result == ok) {
    result = writeMemos(data);
    if (result == ok) result = appendBytes(data);
    if (result < 0) withdrawKeys(data);
  }
  guard.done();
  if (result != ok) return result;
  ++data.recordCount;
  data.headerChanged = true;
  data.recordChanged = false;
  return ok;
}

int flush(DataFile& data) {
  int result = writeCurrent(data);
  if (result == ok && data.memo != nullptr) result = data.memo->flush();
  if (result == ok) result = data.file.sync();
  // Later, so that the header never counts a record that is not in the file.
  if (result == ok && data.headerChanged) {
    result = writeHeader(data);
    if (result == ok) result = data.file.sync();
  }
  // Last, so that no index is called whole before its table is on the disk.
  for (const auto& index : data.indexes) {
    if (result == ok) result = flush(*index);
  }
  return result;
}

}  // namespace loomkit::xbase
