// SPDX-License-Identifier: MIT
// Memo files of any bytes: every block can be asked for, and what is written is
// what is read.
#include <cstdint>
#include <cstdlib>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/memo_file.h"
#include "tests/fuzz/fuzz_file.h"

namespace {

using namespace loomkit::xbase;

void require(bool holds) {
  if (!holds) std::abort();
}

void writeAndRead(MemoFile& memo, Engine& engine, std::uint32_t block, const std::string& text) {
  if (memo.write(text, &block) == ok) {
    std::string back;
    require(memo.read(block, &back) == ok && back == text);
  }
  engine.errorCode = 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const loomkit::testing::FuzzDirectory directory;
  Engine engine;
  engine.report = Reporting::none();
  MemoFile memo(engine);
  const int result = memo.open(directory.write("m.fpt", data, size));
  require((result == ok) == (engine.errorCode == 0));
  if (result != ok) return 0;
  std::string text;
  for (std::uint32_t block = 0; block < 40; ++block) {
    if (memo.read(block, &text) == ok) require(text.size() <= size);
    engine.errorCode = 0;
  }
  writeAndRead(memo, engine, 0, "new");
  writeAndRead(memo, engine, 1, "in place");
  writeAndRead(memo, engine, 8, std::string(700, 'x'));
  static_cast<void>(memo.close());
  return 0;
}
