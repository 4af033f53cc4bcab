// SPDX-License-Identifier: MIT
// The table store: the first byte chooses whether the checksums are made right
// again, so that what lies behind them is reached; the rest are the bytes of the
// file. Asks for all that there is.
#include <cstdint>
#include <string>

#include "tests/tessel/memory_file.h"
#include "tests/tessel/store_exercise.h"
#include "tests/tessel/store_sums.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  static const loomkit::testing::MemoryFile file;
  std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  if (data[0] != 'x') loomkit::testing::repairSums(&bytes);
  loomkit::testing::exerciseStore(file.write(bytes));
  return 0;
}
