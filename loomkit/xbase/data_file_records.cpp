// SPDX-License-Identifier: MIT
// The current record: going to it, changing it, appending.
#include <algorithm>

#include "loomkit/text/binary.h"
#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/dates.h"
#include "loomkit/xbase/dbf_layout.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/field.h"
#include "loomkit/xbase/memo_file.h"

namespace loomkit::xbase {
namespace {

constexpr char skipFromNowhere[] = "Skip must be made from valid record number";

std::uint64_t recordOffset(const DataFile& data, std::uint32_t number) {
  return data.headerLength + std::uint64_t{number - 1} * data.recordLength;
}

void clearMemos(DataFile& data) {
  for (MemoEntry& entry : data.memos) {
    if (entry.changed) entry = {};
  }
}

// Makes a blank record current, which is none of the file's.
void standNowhere(DataFile& data, std::uint32_t number) {
  std::fill(data.record.begin(), data.record.end(), ' ');
  data.oldRecord = data.record;
  clearMemos(data);
  data.recordNumber = number;
  data.recordChanged = false;
}

// Writes the memos that were assigned, and their blocks into the record.
int writeMemos(DataFile& data) {
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
  int result = writeMemos(data);
  if (result == ok) result = writeRecord(data);
  if (result < 0) return result;
  data.oldRecord = data.record;
  data.recordChanged = false;
  data.headerChanged = true;
  return ok;
}

int readRecord(DataFile& data, std::uint32_t number) {
  const int result =
      data.file.readAll(recordOffset(data, number), data.record.data(), data.recordLength);
  if (result < 0) {
    standNowhere(data, 0);
    return result;
  }
  data.oldRecord = data.record;
  clearMemos(data);
  data.recordNumber = number;
  data.recordChanged = false;
  return ok;
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

}  // namespace

int go(DataFile& data, std::uint32_t number) {
  const int result = writeCurrent(data);
  if (result != ok) return result;
  data.atEnd = false;
  data.atBeginning = false;
  if (number >= 1 && number <= data.recordCount) return readRecord(data, number);
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
  return skipByNumber(data, count);
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
  int result = writeMemos(data);
  data.record += dbf::endMark;
  if (result == ok)
    result = data.file.writeAt(recordOffset(data, data.recordNumber), data.record.data(),
                               data.record.size());
  data.record.pop_back();
  if (result < 0) return result;
  ++data.recordCount;
  data.headerChanged = true;
  data.recordChanged = false;
  data.oldRecord = data.record;
  return ok;
}

int flush(DataFile& data) {
  int result = writeCurrent(data);
  if (result == ok && data.memo != nullptr) result = data.memo->flush();
  if (result == ok) result = data.file.sync();
  if (result != ok || !data.headerChanged) return result;
  // Last, so that the header never counts a record that is not in the file.
  result = writeHeader(data);
  return result == ok ? data.file.sync() : result;
}

}  // namespace loomkit::xbase
