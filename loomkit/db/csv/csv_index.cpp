// SPDX-License-Identifier: MIT
#include "loomkit/db/csv/csv_index.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace loomkit {
namespace {

bool isInteger(int type) { return type == GDbFieldInt || type == GDbFieldUInt; }

std::uint32_t floatHash(double value) {
  int exponent = 0;
  const double scaled = std::frexp(value, &exponent) * -4294967295.0;
  // An infinity and a NaN have no mantissa that a 64-bit integer could hold.
  const std::int64_t whole = std::isfinite(scaled) ? static_cast<std::int64_t>(scaled) : 0;
  return static_cast<std::uint32_t>(whole);
}

// The hash `h` of the values so far with one more value taken in. This is the
// one rule for the values of keys and for those of records.
std::uint32_t addToHash(std::uint32_t h, int type, GDbKey::Value value) {
  if (isInteger(type)) return h * 31 + value.uintValue;
  if (type == GDbFieldFloat) return (h * 31 - floatHash(value.floatValue)) >> 4;
  if (type != GDbFieldString) return h;
  for (const char* at = value.stringValue; *at != '\0'; ++at)
    h = h * 31 + static_cast<unsigned char>(*at);
  return h;
}

// The field's value as a key would hold it.
GDbKey::Value valueOf(const GDbRecord& record, int field, int type) {
  GDbKey::Value value{};
  if (isInteger(type))
    value.uintValue = record.getUIntField(field);
  else if (type == GDbFieldFloat)
    value.floatValue = record.getFloatField(field);
  else if (type == GDbFieldString)
    value.stringValue = record.getStringField(field);
  return value;
}

bool keyMatches(const GDbRecord& record, const GDbKey& key) {
  if (key.field < 0 || key.field >= record.getNumFields()) return false;
  const GDbFieldType type = record.getFieldType(key.field);
  if (isInteger(key.type))
    return isInteger(type) && record.getUIntField(key.field) == key.value.uintValue;
  if (key.type != type) return false;
  if (type == GDbFieldFloat) return record.getFloatField(key.field) == key.value.floatValue;
  return type == GDbFieldString &&
         std::strcmp(record.getStringField(key.field), key.value.stringValue) == 0;
}

}  // namespace

std::uint32_t csvKeyHash(const GDbKey* keys, int count) {
  std::uint32_t h = 0;
  for (int i = 0; i < count; ++i) h = addToHash(h, keys[i].type, keys[i].value);
  return h;
}

bool csvKeysMatch(const GDbRecord& record, const GDbKey* keys, int count) {
  return std::all_of(keys, keys + std::max(count, 0),
                     [&](const GDbKey& key) { return keyMatches(record, key); });
}

void CsvIndex::add(const GDbRecord& record, std::int64_t position) {
  std::uint32_t h = 0;
  for (const int field : fields) {
    const GDbFieldType type = record.getFieldType(field);
    h = addToHash(h, type, valueOf(record, field, type));
  }
  entries.push_back({h, position});
}

void CsvIndex::sort() {
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    return a.hash != b.hash ? a.hash < b.hash : a.position < b.position;
  });
  entries.shrink_to_fit();
}

// Finds the first entry that is not below `hash`. The search begins where the hash
// would lie if all hashes were spread evenly, and widens from there in steps that
// double. On a large index this reads a few cache lines, where halving the whole
// index would read twenty.
CsvIndex::Iterator CsvIndex::lowerBound(std::uint32_t hash) const {
  if (entries.empty() || hash <= entries.front().hash) return entries.begin();
  if (hash > entries.back().hash) return entries.end();
  const std::uint64_t lowest = entries.front().hash;
  const std::uint64_t range = entries.back().hash - lowest;  // not 0: hash lies within
  const std::size_t last = entries.size() - 1;
  // The result is in [low, high]: the entry before low is below the hash, the
  // one at high is not.
  auto low = static_cast<std::size_t>(static_cast<double>(hash - lowest) /
                                      static_cast<double>(range) * static_cast<double>(last));
  std::size_t high = low;
  std::size_t step = 4;
  if (entries[low].hash < hash) {
    while (entries[high].hash < hash) {
      low = high + 1;
      high = std::min(last, high + step);
      step *= 2;
    }
  } else {
    while (low > 0 && entries[low - 1].hash >= hash) {
      high = low - 1;
      low -= std::min(low, step);
      step *= 2;
    }
  }
  const auto begin = entries.begin();
  return std::lower_bound(begin + static_cast<std::ptrdiff_t>(low),
                          begin + static_cast<std::ptrdiff_t>(high), hash,
                          [](const Entry& entry, std::uint32_t h) { return entry.hash < h; });
}

std::pair<CsvIndex::Iterator, CsvIndex::Iterator> CsvIndex::find(std::uint32_t hash) const {
  const auto first = lowerBound(hash);
  const auto last =
      std::find_if(first, entries.end(), [&](const Entry& entry) { return entry.hash != hash; });
  return {first, last};
}

}  // namespace loomkit
