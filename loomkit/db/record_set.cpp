// SPDX-License-Identifier: MIT
#include "loomkit/db/record_set.h"

#include <cassert>

#include "loomkit/db/record_access.h"

GDbRecordSet::GDbRecordSet() = default;

GDbRecordSet::GDbRecordSet(const GDbRecordSet& other) : GDbRecordSet() {
  records.reserve(other.records.size());
  // When a copy fails, the destructor deletes those before it: the delegated
  // constructor has already made this an object.
  for (const GDbRecord* record : other.records)
    records.push_back(loomkit::RecordAccess::copy(*record));
}

GDbRecordSet& GDbRecordSet::operator=(const GDbRecordSet& other) {
  if (this == &other) return *this;
  GDbRecordSet copy(other);
  records.swap(copy.records);
  return *this;
}

GDbRecordSet::~GDbRecordSet() { clear(); }

void GDbRecordSet::clear() {
  for (GDbRecord* record : records) record->deleteRecord();
  records.clear();
}

void GDbRecordSet::addRecord(GDbRecord* record) {
  assert(record != nullptr);
  try {
    records.push_back(record);
  } catch (...) {
    record->deleteRecord();  // the set owns it, although it has no room for it
    throw;
  }
}

GDbRecord* GDbRecordSet::releaseRecord(unsigned i) {
  assert(i < records.size());
  GDbRecord* record = records[i];
  records.erase(records.begin() + static_cast<std::ptrdiff_t>(i));
  return record;
}
