// SPDX-License-Identifier: MIT
#include "loomkit/db/table.h"

#include "loomkit/db/database.h"
#include "loomkit/db/slot_table.h"

constinit std::vector<GDbTable*> GDbTable::sTables;
constinit std::int32_t GDbTable::sSeqNo = 1;

GDbTable::GDbTable(GDbDatabase* owner, const std::string& tableName)
    : database(owner), name(tableName) {
  tableIdx = loomkit::takeSlot(&sTables, this);
  seqNo = sSeqNo++;
  try {
    database->registerTable(this);
  } catch (...) {
    sTables[static_cast<std::size_t>(tableIdx)] = nullptr;
    throw;
  }
}

// A copy is registered nowhere.
GDbTable::GDbTable(const GDbTable&) = default;
GDbTable& GDbTable::operator=(const GDbTable&) = default;

GDbTable::~GDbTable() {
  database->unregisterTable(this);
  GDbTable*& slot = sTables[static_cast<std::size_t>(tableIdx)];
  if (slot == this) slot = nullptr;
}

GDbStatus GDbTable::closeTable() {
  open = false;
  return GDbNoError;
}

GDbStatus GDbTable::lookupKey(const GDbKey& key, GDbRecordSet* result) {
  return lookupKeys(&key, 1, result);
}

GDbStatus GDbTable::deleteKey(const GDbKey& key) { return deleteKeys(&key, 1); }

GDbTable* GDbTable::getTable(int tableIdx, int seqNo) {
  return loomkit::findSlot(sTables, tableIdx, seqNo);
}
