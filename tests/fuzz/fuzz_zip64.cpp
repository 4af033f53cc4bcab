// SPDX-License-Identifier: MIT
// Opens any bytes as an archive of any size and reads every member. Of every hundredth
// input the verdict is compared with that of an extraction, which costs a hundred times
// as much.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "loomkit/archive/zip/zip64_reader.h"
#include "loomkit/archive/zip/zip_extractor.h"
#include "loomkit/text/output.h"
#include "tests/fuzz/fuzz_file.h"

namespace {

class Silent : public GOutput {
 public:
  using GOutput::output;
  void output(GOutputLevel, const std::string&, const char*) override {}
};

// One directory a process, since several processes fuzz at the same time.
const std::filesystem::path& folder() {
  static const std::filesystem::path path = [] {
    auto made = std::filesystem::temp_directory_path() / ("fuzz_zip64." + std::to_string(getpid()));
    std::filesystem::create_directories(made);
    std::atexit([] {
      std::error_code ignored;
      std::filesystem::remove_all(folder(), ignored);
    });
    return made;
  }();
  return path;
}

GZipExtractor::Limits smallLimits() {
  GZipExtractor::Limits limits;
  limits.totalBytes = 1 << 20;
  return limits;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Silent silent;
  gOutput = &silent;
  GZip64Reader reader;
  if (!reader.open(loomkit::testing::memoryFile(data, size))) return 0;
  reader.setPassword("pw");
  const std::string out = folder() / "out";
  GZipExtractor tested(&reader, out);
  tested.setLimits(smallLimits());
  const auto verdict = tested.testAll();
  static unsigned count = 0;
  if (++count % 100 != 0) return 0;
  GZipExtractor extractor(&reader, out);
  extractor.setLimits(smallLimits());
  const auto result = extractor.extractAll();
  // The file system has limits of its own, for the length of names above all.
  const bool agrees = result == verdict || result == GZipExtractor::CannotWrite;
  const bool leftOutside = std::filesystem::exists(folder() / "up");
  std::error_code ignored;
  std::filesystem::remove_all(out, ignored);
  if (!agrees || leftOutside) std::abort();
  return 0;
}
