// SPDX-License-Identifier: MIT
// Tags: the keys of records, and the way through them.
#include <algorithm>
#include <cstring>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/dates.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/field.h"
#include "loomkit/xbase/index_file.h"

namespace loomkit::xbase {

namespace {

// Behind all entries of a key.
constexpr std::uint64_t behindAll = std::uint64_t{1} << 32;

const unsigned char* bytesOf(std::string_view text) noexcept {
  return reinterpret_cast<const unsigned char*>(text.data());
}

// Calls `work` with each tag of the table's index files, until it fails. `*done`
// is how many tags it did its work with.
template <class Work>
int eachTag(DataFile& data, std::size_t* done, Work work) {
  *done = 0;
  for (const auto& index : data.indexes) {
    for (const auto& tag : index->tags) {
      const int result = work(*tag);
      if (result != ok) return result;
      ++*done;
    }
  }
  return ok;
}

int addKey(Tag& tag, const std::vector<unsigned char>& key, std::uint32_t record) {
  if (tag.unique) {
    bool found = false;
    const int result = tag.tree.contains(key.data(), &found);
    if (result < 0) return result;
    if (found) return notUnique;
  }
  return tag.tree.insert(key.data(), record);
}

// A key that is not there is none of ours: of records with equal keys, a unique
// tag has one.
int removeKey(Tag& tag, const std::vector<unsigned char>& key, std::uint32_t record) {
  const int result = tag.tree.remove(key.data(), record);
  return result == notFound ? ok : result;
}

int changeOf(Tag& tag, KeyChange* change) {
  DataFile& data = *tag.index->data;
  data.record.swap(data.oldRecord);
  int result = recordKey(tag, &change->before, &change->wasIn);
  data.record.swap(data.oldRecord);
  if (result == ok) result = recordKey(tag, &change->after, &change->isIn);
  return result;
}

int applyChange(Tag& tag, std::uint32_t record) {
  const KeyChange& change = tag.change;
  if (change.isNone()) return ok;
  int result = change.isIn ? addKey(tag, change.after, record) : ok;
  if (result != ok || !change.wasIn) return result;
  result = removeKey(tag, change.before, record);
  if (result < 0) tag.index->space.giveUp();
  return result;
}

// Undoes a change for a failure in a later tag. The engine's code is that of the
// failure.
int revertChange(Tag& tag, std::uint32_t record) {
  const KeyChange& change = tag.change;
  if (change.isNone()) return ok;
  int result = change.isIn ? removeKey(tag, change.after, record) : ok;
  if (result == ok && change.wasIn) result = tag.tree.insert(change.before.data(), record);
  return result;
}

// Does something while the engine has a failure to report, which stays.
template <class Work>
void despiteFailure(Engine& engine, Work work) {
  const int code = engine.errorCode;
  engine.errorCode = ok;
  work();
  engine.errorCode = code;
}

// Brings all tags to a changed, new or vanished record, or leaves them as they are.
template <class FindChange>
int changeKeys(DataFile& data, FindChange find) {
  std::size_t done = 0;
  int result = eachTag(data, &done, [&](Tag& tag) {
    tag.change.wasIn = false;
    tag.change.isIn = false;
    return find(tag, &tag.change);
  });
  if (result != ok) return result;
  result = eachTag(data, &done, [&](Tag& tag) { return applyChange(tag, data.recordNumber); });
  if (result == ok) return ok;
  // The one that failed has its old keys already, unless its file was given up.
  despiteFailure(*data.engine, [&] {
    std::size_t reverted = 0;
    eachTag(data, &reverted, [&](Tag& tag) {
      if (reverted == done) return notFound;  // the end of the changed ones
      if (revertChange(tag, data.recordNumber) < 0) tag.index->space.giveUp();
      return ok;
    });
  });
  return result;
}

void giveUpIndexes(DataFile& data) {
  for (const auto& index : data.indexes) index->space.giveUp();
}

void fitKey(std::string_view bytes, Tag& tag, std::vector<unsigned char>* key) {
  const std::size_t length = std::min(bytes.size(), tag.tree.keyLength());
  key->assign(bytesOf(bytes), bytesOf(bytes) + length);
  key->resize(tag.tree.keyLength(), tag.tree.padByte());
}

int seekAscending(Tag& tag, std::string_view stored) {
  const int result = tag.tree.seek(bytesOf(stored), stored.size(), 0, &tag.cursor);
  if (result != ok) return result;
  return std::memcmp(tag.cursor.key.data(), stored.data(), stored.size()) == 0 ? ok : notFound;
}

// In a descending tag the first entry with a key is the last one of the tree.
int seekDescending(Tag& tag, std::string_view stored) {
  int result = tag.tree.seek(bytesOf(stored), stored.size(), behindAll, &tag.cursor);
  result = result == endOfFile ? tag.tree.last(&tag.cursor)
                               : (result == ok ? tag.tree.previous(&tag.cursor) : result);
  if (result == beginningOfFile) {
    tag.cursor.valid = false;
    return endOfFile;
  }
  if (result != ok) return result;
  return std::memcmp(tag.cursor.key.data(), stored.data(), stored.size()) == 0 ? ok : notFound;
}

}  // namespace

int recordKey(Tag& tag, std::vector<unsigned char>* key, bool* inTag) {
  *inTag = true;
  int result = tag.filter != nullptr ? tag.filter->truth(inTag) : ok;
  if (result != ok) return result;
  std::string_view bytes;
  result = tag.expression->key(&bytes);
  if (result == ok) fitKey(bytes, tag, key);
  return result;
}

int addKeys(DataFile& data) {
  return changeKeys(data, [](Tag& tag, KeyChange* change) {
    return recordKey(tag, &change->after, &change->isIn);
  });
}

int removeKeys(DataFile& data) {
  return changeKeys(data, [](Tag& tag, KeyChange* change) {
    return recordKey(tag, &change->before, &change->wasIn);
  });
}

int updateKeys(DataFile& data) {
  if (data.record == data.oldRecord) return ok;
  return changeKeys(data, changeOf);
}

void withdrawKeys(DataFile& data) {
  despiteFailure(*data.engine, [&] {
    if (removeKeys(data) != ok) giveUpIndexes(data);
  });
}

void revertKeys(DataFile& data) {
  despiteFailure(*data.engine, [&] {
    data.record.swap(data.oldRecord);
    if (updateKeys(data) != ok) giveUpIndexes(data);
    data.record.swap(data.oldRecord);
  });
}

int seekStored(Tag& tag, std::string_view stored) {
  if (tag.index->data->engine->errorCode < 0) return tag.index->data->engine->errorCode;
  const std::string_view key = stored.substr(0, tag.tree.keyLength());
  return tag.descending ? seekDescending(tag, key) : seekAscending(tag, key);
}

int seekKey(Tag& tag, std::string_view text) {
  if (text.empty()) {
    const int result = goTop(tag);
    return result == ok ? notFound : result;
  }
  double number = 0;
  switch (tag.expression->type()) {
    case 'C':
      return seekStored(tag, text);
    case 'L':
      return seekStored(
          tag, std::string_view("TtYy").find(text.front()) != std::string_view::npos ? "T" : "F");
    case 'D':
    case 'd':
      number = static_cast<double>(julianOfText(text));
      break;
    default:
      number = parseNumber(text);
  }
  unsigned char bytes[8];
  encodeKeyNumber(number, bytes);
  std::vector<unsigned char> key;
  fitKey({reinterpret_cast<const char*>(bytes), sizeof bytes}, tag, &key);
  return seekStored(tag, {reinterpret_cast<const char*>(key.data()), key.size()});
}

int seekEntry(Tag& tag, const std::vector<unsigned char>& key, std::uint32_t record) {
  int result = tag.tree.seek(key.data(), key.size(), record, &tag.cursor);
  if (result < 0) return result;
  if (result == ok && tag.cursor.record == record && tag.cursor.key == key) return ok;
  if (!tag.descending) return result == ok ? notFound : result;
  // Where an ascending tag stands behind the place, a descending one stands before.
  result = result == endOfFile ? tag.tree.last(&tag.cursor) : tag.tree.previous(&tag.cursor);
  if (result == ok) return notFound;
  tag.cursor.valid = false;
  return result < 0 ? result : endOfFile;
}

int goTop(Tag& tag) {
  return tag.descending ? tag.tree.last(&tag.cursor) : tag.tree.first(&tag.cursor);
}

int goBottom(Tag& tag) {
  return tag.descending ? tag.tree.first(&tag.cursor) : tag.tree.last(&tag.cursor);
}

int skipKeys(Tag& tag, long count) {
  if (!tag.cursor.valid) return count < 0 ? beginningOfFile : endOfFile;
  const bool onward = (count > 0) != tag.descending;
  for (long left = count; left != 0; left += count > 0 ? -1 : 1) {
    const int result = onward ? tag.tree.next(&tag.cursor) : tag.tree.previous(&tag.cursor);
    if (result < 0) return result;
    if (result != ok) return count > 0 ? endOfFile : beginningOfFile;
  }
  return ok;
}

std::string_view currentKey(const Tag& tag) {
  if (!tag.cursor.valid) return {};
  return {reinterpret_cast<const char*>(tag.cursor.key.data()), tag.cursor.key.size()};
}

}  // namespace loomkit::xbase
