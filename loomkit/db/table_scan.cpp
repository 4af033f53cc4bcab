// SPDX-License-Identifier: MIT
#include "loomkit/db/table_scan.h"

GDbTableScan::GDbTableScan(GDbTable* scanned) : table(scanned), status(GDbNoError) {
  GDbStructure* found = nullptr;
  status = table->getStructure(&found);
  if (status == GDbNoError) structure.reset(found);
}

GDbTableScan::~GDbTableScan() = default;

// Moves to the first or the next record; false at the end and on failure.
bool GDbTableScan::advance(bool restart) {
  row.reset();
  current.clear();  // so that appending and replacing tables look the same
  if (structure == nullptr) return false;
  status = restart ? table->getFirstRecord(&current) : table->getNextRecord(&current);
  if (status != GDbNoError || current.getNumRecords() == 0) return false;
  row.emplace(*current.getRecord(0), *structure);
  return true;
}
