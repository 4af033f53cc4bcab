// SPDX-License-Identifier: MIT
// Opens any bytes as an archive of any size and reads every member. Of every hundredth
// input the verdict is compared with that of an extraction, which costs a hundred times
// as much.
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

GZipExtractor::Limits smallLimits() {
  GZipExtractor::Limits limits;
  limits.totalBytes = 1 << 20;
  return limits;
}

// The extractor has its directory open for as long as it lives.
GZipExtractor::Result extractAll(GZip64Reader* reader, const std::string& directory) {
  GZipExtractor extractor(reader, directory);
  extractor.setLimits(smallLimits());
  return extractor.extractAll();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Silent silent;
  static const loomkit::testing::FuzzDirectory directory;
  gOutput = &silent;
  GZip64Reader reader;
  if (!reader.open(loomkit::testing::memoryFile(data, size))) return 0;
  reader.setPassword("pw");
  const std::string out = directory.path() + "/out";
  GZipExtractor tested(&reader, out);
  tested.setLimits(smallLimits());
  const auto verdict = tested.testAll();
  static unsigned count = 0;
  if (++count % 100 != 0) return 0;
  const auto result = extractAll(&reader, out);
  // The file system has limits of its own, for the length of names above all.
  const bool agrees = result == verdict || result == GZipExtractor::CannotWrite;
  const bool leftOutside = std::filesystem::exists(directory.path() + "/up");
  std::error_code ignored;
  std::filesystem::remove_all(out, ignored);
  if (!agrees || leftOutside) std::abort();
  return 0;
}
