// SPDX-License-Identifier: MIT
#include <algorithm>
#include <memory>
#include <vector>

#include "loomkit/db/key_check.h"
#include "loomkit/db/tessel/tessel_database.h"
#include "loomkit/db/tessel/tessel_errors.h"
#include "loomkit/db/tessel/tessel_record.h"
#include "loomkit/db/tessel/tessel_structure.h"

namespace {

// The keys of a lookup in the store's form. Those of most lookups lie on the
// stack, so that a lookup allocates for its result only.
class KeyArray {
 public:
  explicit KeyArray(int count) {
    if (count > inlineCount)
      many.resize(static_cast<std::size_t>(count));
    else
      std::fill_n(few, count, TslKey{});
  }
  TslKey* data() { return many.empty() ? few : many.data(); }

 private:
  static constexpr int inlineCount = 8;
  TslKey few[inlineCount];
  std::vector<TslKey> many;
};

// False for a key without a type. One of a type that the store does not know
// keeps the type 0, which the store then refuses.
bool convertKey(const GDbKey& key, TslKey* converted) {
  converted->field = key.field;
  switch (static_cast<int>(key.type)) {
    case GDbFieldNone:
      return false;
    case GDbFieldInt:
      converted->type = TslTypeSigned;
      converted->value.signedValue = key.value.intValue;
      return true;
    case GDbFieldUInt:
      converted->type = TslTypeUnsigned;
      converted->value.unsignedValue = key.value.uintValue;
      return true;
    case GDbFieldFloat:
      converted->type = TslTypeFloating;
      converted->value.floatingValue = key.value.floatValue;
      return true;
    case GDbFieldString:
      converted->type = TslTypeText;
      converted->value.textValue = key.value.stringValue;
      return true;
    default:
      return true;
  }
}

}  // namespace

GDbTesselTable::GDbTesselTable(GDbTessel* owner, const std::string& tableName,
                               std::int32_t tableHandle)
    : GDbTable(owner, tableName), handle(tableHandle) {}

GDbTesselTable::~GDbTesselTable() { static_cast<void>(GDbTesselTable::closeTable()); }

GDbStatus GDbTesselTable::closeTable() {
  if (handle != -1) {
    if (tsl_close_table(handle) == -1)
      return loomkit::tesselStatus(loomkit::tesselCloseTableErrors);
    handle = -1;
  }
  return GDbTable::closeTable();
}

GDbStatus GDbTesselTable::getFieldId(const char* fieldName, int* id) {
  if (handle == -1) return GDbTableNotOpen;
  if (fieldName == nullptr || id == nullptr) return GDbInvalidArgument;
  loomkit::TesselDescr descr;
  const GDbStatus status = loomkit::getTesselDescr(handle, &descr);
  if (status != GDbNoError) return status;
  const int found = loomkit::findTesselField(*descr, fieldName);
  if (found == -1) return GDbInvalidFieldName;
  *id = found;
  return GDbNoError;
}

GDbStatus GDbTesselTable::getStructure(GDbStructure** structure) {
  if (handle == -1) return GDbTableNotOpen;
  if (structure == nullptr) return GDbInvalidArgument;
  loomkit::TesselDescr descr;
  const GDbStatus status = loomkit::getTesselDescr(handle, &descr);
  if (status == GDbNoError) *structure = loomkit::makeTesselStructure(*descr).release();
  return status;
}

GDbStatus GDbTesselTable::lookupKeys(const GDbKey* keys, int count, GDbRecordSet* result) {
  if (handle == -1) return GDbTableNotOpen;
  if (result == nullptr || !loomkit::areReadable(keys, count)) return GDbInvalidArgument;
  KeyArray converted(count);
  for (int i = 0; i < count; ++i)
    if (!convertKey(keys[i], converted.data() + i)) return GDbInvalidArgument;
  loomkit::TesselResult found;
  if (tsl_lookup_keys(handle, converted.data(), count, 0, found.forCall()) == -1)
    return loomkit::tesselStatus(loomkit::tesselLookupErrors);
  found.setFilled();
  for (int i = 0; i < found.size(); ++i) result->addRecord(loomkit::makeTesselRecord(found.row(i)));
  return GDbNoError;
}

GDbStatus GDbTesselTable::getFirstRecord(GDbRecordSet* result) {
  if (handle != -1 && result == nullptr) return GDbInvalidArgument;
  nextRecno = 0;
  return GDbTesselTable::getNextRecord(result);
}

GDbStatus GDbTesselTable::getNextRecord(GDbRecordSet* result) {
  if (handle == -1) {
    nextRecno = -1;
    return GDbTableNotOpen;
  }
  if (result == nullptr) return GDbInvalidArgument;
  if (nextRecno == -1) return GDbNoRecordNumber;
  loomkit::TesselResult found;
  if (tsl_lookup_recno(handle, nextRecno, 1, 0, found.forCall()) == -1) {
    nextRecno = -1;
    return loomkit::tesselStatus(loomkit::tesselScanErrors);
  }
  found.setFilled();
  if (found.size() < 1) {
    nextRecno = -1;
    return GDbNoError;
  }
  result->addRecord(loomkit::makeTesselRecord(found.row(0)));
  ++nextRecno;
  return GDbNoError;
}

GDbStatus GDbTesselTable::insertRecords(const GDbRecordSet& /*records*/) {
  return GDbInsertNotSupported;
}

GDbStatus GDbTesselTable::deleteKeys(const GDbKey* /*keys*/, int /*count*/) {
  return GDbDeleteNotSupported;
}
