// SPDX-License-Identifier: MIT
// GZipWriter on a file that ends too early: every byte of an archive is once
// the first that does not fit.
#include <gtest/gtest.h>

#include <filesystem>

#include "loomkit/archive/zip/zip_writer.h"
#include "tests/archive/zip/zip_builder.h"
#include "tests/capture_output.h"
#include "tests/file_size_limit.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

using Texts = std::vector<std::string>;

struct Kind {
  const char* name;
  std::size_t size;
  bool compress;
  const char* password;
};

constexpr Kind kinds[] = {{"stored", 100, false, ""},
                          {"deflated", 100, true, ""},
                          {"encrypted", 100, false, "secret"},
                          {"empty", 0, false, ""},
                          {"larger than what is held back", 140000, false, ""}};

class ZipWriterOnAFullDisk : public ::testing::TestWithParam<Kind> {
 protected:
  struct Result {
    bool written;
    bool closed;
    Texts texts;
  };

  Result create() const {
    CaptureOutput output;
    GZipWriter writer;
    writer.setCompression(GetParam().compress);
    writer.setPassword(GetParam().password);
    Result result{};
    EXPECT_TRUE(writer.open(path));
    result.written = writer.writeEntry("name", data.data(), static_cast<unsigned>(data.size()));
    result.closed = writer.close();
    result.texts = output.texts();
    return result;
  }

  // Where the parts of the archive end.
  struct Ends {
    std::size_t header, data, descriptor, directory, archive;
  };
  Ends endsOf(const std::string& zip) const {
    const std::size_t header = zip::local::size + 4;
    const std::size_t directory = directoryOf(zip);
    const bool described = *GetParam().password != '\0';
    return {header, directory - (described ? zip::descriptor::size : 0), directory,
            endRecordOf(zip), zip.size()};
  }

  // What is heard when the file ends at `limit`.
  Result expected(const Ends& ends, std::size_t limit) const {
    const std::string tooLarge = " (" + FileSizeLimit::words() + ")";
    const std::string central = "central file header: input/output error" + tooLarge;
    if (limit < ends.header) {
      return {false,
              false,
              {"local file header: input/output error" + tooLarge,
               path + ": error writing local file header", central}};
    }
    if (limit < ends.data) {
      return {
          false, false, {path + ": input/output error writing to zip file" + tooLarge, central}};
    }
    if (limit < ends.descriptor) {
      return {false,
              false,
              {"data descriptor: input/output error" + tooLarge,
               path + ": error patching local file header", central}};
    }
    if (limit < ends.directory)
      return {true, false, {central, path + ": error writing file header"}};
    if (limit < ends.archive) {
      return {true,
              false,
              {path + ": input/output error writing end of central directory record" + tooLarge}};
    }
    return {true, true, {}};
  }

  const ScratchDirectory scratch;
  const std::string path = scratch / "a.zip";
  const std::string data = std::string(GetParam().size, 'x');
};

TEST_P(ZipWriterOnAFullDisk, TellsWhatDidNotFit) {
  ASSERT_TRUE(create().closed);
  const std::string whole = scratch.read("a.zip");
  const Ends ends = endsOf(whole);
  const bool large = data.size() > 1000;
  for (std::size_t limit = 0; limit <= whole.size(); limit += 1) {
    // Of a large member, the places around the pieces in which it goes out.
    if (large && limit > 300 && limit < ends.data - 300 && limit % 4096 > 2 && limit % 997 != 0) {
      continue;
    }
    Result result{};
    {
      const FileSizeLimit full(limit);
      result = create();
    }
    const Result right = expected(ends, limit);
    ASSERT_EQ(result.texts, right.texts) << limit;
    ASSERT_EQ(result.written, right.written) << limit;
    ASSERT_EQ(result.closed, right.closed) << limit;
    ASSERT_EQ(std::filesystem::file_size(path), limit);
  }
}

INSTANTIATE_TEST_SUITE_P(All, ZipWriterOnAFullDisk, ::testing::ValuesIn(kinds),
                         [](const auto& test) {
                           std::string name = test.param.name;
                           std::replace(name.begin(), name.end(), ' ', '_');
                           return name;
                         });

}  // namespace
}  // namespace loomkit::testing
