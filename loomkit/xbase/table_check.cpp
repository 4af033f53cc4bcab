// SPDX-License-Identifier: MIT
#include "loomkit/xbase/table_check.h"

#include <vector>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/dbf_layout.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/error_texts.h"
#include "loomkit/xbase/field.h"
#include "loomkit/xbase/index_file.h"

namespace loomkit::xbase {
namespace {

// How often the progress hears of a check, in records.
constexpr std::uint32_t progressStep = 4096;

class TableCheck {
 public:
  TableCheck(DataFile& table, const TakeFinding& taker, const CheckProgress& listener)
      : data(table), take(taker), progress(listener) {}

  int run();

 private:
  void find(std::uint32_t record, const std::string& where, const std::string& what) {
    if (wanted) wanted = take({record, where, what});
  }
  // A failure that is a finding; the check goes on.
  void findError(std::uint32_t record, const std::string& where, int code);
  void checkRecord(std::uint32_t number);
  void checkTagHas(Tag& tag, std::uint32_t number);
  void checkTag(Tag& tag);
  void checkEntry(Tag& tag, const TreeCursor& previous, bool isFirst);

  DataFile& data;
  const TakeFinding& take;
  const CheckProgress& progress;
  bool wanted = true;
};

void TableCheck::findError(std::uint32_t record, const std::string& where, int code) {
  data.engine->errorCode = 0;
  const char* text = errorText(code);
  find(record, where, text != nullptr ? text : "error " + std::to_string(code));
}

void TableCheck::checkTagHas(Tag& tag, std::uint32_t number) {
  std::vector<unsigned char> key;
  bool inTag = false;
  int result = recordKey(tag, &key, &inTag);
  if (result < 0) return findError(number, tag.name, result);
  if (!inTag) return;
  bool found = false;
  result = tag.unique ? tag.tree.contains(key.data(), &found) : seekEntry(tag, key, number);
  if (result < 0) return findError(number, tag.name, result);
  if (!tag.unique) found = result == ok;
  if (!found) find(number, tag.name, "the tag does not have the record's key");
}

void TableCheck::checkRecord(std::uint32_t number) {
  const char flag = data.record.front();
  if (flag != dbf::flagLive && flag != dbf::flagDeleted)
    find(number, "", "the deletion flag is neither blank nor '*'");
  for (std::size_t i = 0; i < data.fields.size(); ++i) {
    if (data.fields[i].type != 'M') continue;
    std::uint64_t length = 0;
    if (memoLength(data, i, &length) < 0) {
      data.engine->errorCode = 0;
      find(number, data.fields[i].name, "the memo pointer leads to no memo");
    }
  }
  for (const auto& index : data.indexes) {
    for (const auto& tag : index->tags) checkTagHas(*tag, number);
  }
}

// The entry at which the tag stands, against the one before and its record.
void TableCheck::checkEntry(Tag& tag, const TreeCursor& previous, bool isFirst) {
  const TreeCursor at = tag.cursor;
  if (!isFirst) {
    const bool rises =
        previous.key < at.key || (previous.key == at.key && previous.record < at.record);
    if (rises == tag.descending) find(at.record, tag.name, "the tag's entries are out of order");
  }
  if (at.record < 1 || at.record > data.recordCount)
    return find(at.record, tag.name, "the tag has a record that the table has not");
  int result = go(data, at.record);
  std::vector<unsigned char> key;
  bool inTag = false;
  if (result == ok) result = recordKey(tag, &key, &inTag);
  if (result < 0) return findError(at.record, tag.name, result);
  if (!inTag || key != at.key)
    find(at.record, tag.name, "the tag has the record under another key than its own");
}

void TableCheck::checkTag(Tag& tag) {
  TreeCursor previous;
  int result = goTop(tag);
  std::uint64_t count = 0;
  for (; result == ok && wanted; ++count) {
    // No tag has more entries than its table has records; a damaged one may seem
    // to have any number.
    if (count > data.recordCount) {
      find(0, tag.name, "the tag has more entries than the table has records");
      return;
    }
    checkEntry(tag, previous, count == 0);
    previous = tag.cursor;
    result = skipKeys(tag, 1);
  }
  if (result < 0) findError(0, tag.name, result);
}

int TableCheck::run() {
  for (std::uint32_t number = 1; number <= data.recordCount && wanted; ++number) {
    if (number % progressStep == 0 && progress != nullptr && !progress(number, data.recordCount))
      return checkStopped;
    const int result = go(data, number);
    if (result < 0) return result;
    checkRecord(number);
  }
  for (const auto& index : data.indexes) {
    for (const auto& tag : index->tags) checkTag(*tag);
  }
  return ok;
}

}  // namespace

int checkTable(DataFile& data, const TakeFinding& take, const CheckProgress& progress) {
  return TableCheck(data, take, progress).run();
}

}  // namespace loomkit::xbase
