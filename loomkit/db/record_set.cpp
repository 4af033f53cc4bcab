// SPDX-License-Identifier: MIT
#include "loomkit/db/record_set.h"

GDbRecordSet::GDbRecordSet() = default;

GDbRecordSet::~GDbRecordSet() { clear(); }

void GDbRecordSet::clear() {
  for (GDbRecord* record : records) record->deleteRecord();
  records.clear();
}

void GDbRecordSet::addRecord(GDbRecord* record) {
  try {
    records.push_back(record);
  } catch (...) {
    record->deleteRecord();  // it is ours already
    throw;
  }
}

GDbRecord* GDbRecordSet::releaseRecord(unsigned i) {
  GDbRecord* record = records[i];
  records.erase(records.begin() + static_cast<std::ptrdiff_t>(i));
  return record;
}
