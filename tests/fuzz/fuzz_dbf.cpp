// SPDX-License-Identifier: MIT
// Tables of any bytes: whatever opens can be read to its end, takes a record,
// gives it back, and is packed.
#include <cstdint>
#include <cstdlib>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/field.h"
#include "tests/fuzz/fuzz_file.h"

namespace {

using namespace loomkit::xbase;

void require(bool holds) {
  if (!holds) std::abort();
}

void readAll(DataFile& data) {
  std::string memo;
  for (std::uint32_t n = 1; n <= data.recordCount; ++n) {
    require(go(data, n) == ok && data.record.size() == data.recordLength);
    for (std::size_t i = 0; i < data.fields.size(); ++i) {
      require(fieldText(data, i).size() == data.fields[i].width);
      static_cast<void>(fieldNumber(data, i));
      if (data.fields[i].type == 'M') static_cast<void>(memoText(data, i, &memo));
      data.engine->errorCode = 0;
    }
  }
  require(go(data, data.recordCount + 1) == noSuchRecord);
}

void addOne(DataFile& data) {
  const std::uint32_t count = data.recordCount;
  require(startAppend(data) == ok);
  blank(data);
  unmarkDeleted(data);
  for (std::size_t i = 0; i < data.fields.size(); ++i) {
    if (data.fields[i].type != 'M') assignDouble(data, i, -1.5);
  }
  const std::string written = data.record;
  require(finishAppend(data) == ok && data.recordCount == count + 1);
  require(go(data, 0) == noSuchRecord && go(data, count + 1) == ok && data.record == written);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const loomkit::testing::FuzzDirectory directory;
  Engine engine;
  engine.report = Reporting::none();
  engine.laterTypes = size > 0 && (data[0] & 1) == 0;
  const std::unique_ptr<DataFile> table =
      openDataFile(engine, directory.write("t.dbf", data, size));
  require((table == nullptr) == (engine.errorCode != 0));
  if (table == nullptr) return 0;
  readAll(*table);
  addOne(*table);
  require(pack(*table) == ok);
  readAll(*table);
  return 0;
}
