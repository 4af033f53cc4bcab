// SPDX-License-Identifier: MIT
// What loom gzip and loom gunzip do with one file.
#ifndef LOOM_GZIP_JOB_H
#define LOOM_GZIP_JOB_H

#include <cstdint>
#include <string>

#include "command.h"

namespace loom {

/// How the command line wants it.
struct GzipSettings {
  enum class Work { compress, decompress, test, list };
  Work work = Work::compress;
  int level = 6;
  std::string suffix = ".gz";
  bool toStandardOutput = false;
  bool keep = false;
  bool force = false;
  bool verbose = false;
  bool quiet = false;
  bool strict = false;
  bool json = false;
  bool storeName = true;     ///< compressing: name and time go into the header
  bool restoreName = false;  ///< decompressing: name and time come from the header
};

/// Sizes of the files that were listed.
struct GzipTotals {
  int files = 0;
  std::uint64_t compressed = 0;
  std::uint64_t uncompressed = 0;
  /// Bytes of header and trailer of the last file. gzip, too, takes the ratio of the totals
  /// with these alone, and its users compare.
  std::uint64_t lastFrame = 0;
};

/// One line of the list, or with `json` one object, of a file that has been read.
struct GzipListing {
  std::string name;
  std::uint64_t compressed = 0;
  std::uint64_t uncompressed = 0;
  std::uint32_t crc = 0;
  std::uint32_t time = 0;
  unsigned frame = 0;
};

/// "53.0%": how much smaller a file has become, without headers and trailers.
[[nodiscard]] std::string savedPercent(std::uint64_t compressed, std::uint64_t uncompressed,
                                       std::uint64_t frame);

/// Compresses or decompresses a file into another beside it, or to standard
/// output; "-" is standard input. What goes wrong is reported. A file that is
/// not worked on for good reason, such as one that is compressed already, is
/// `usage`, as if it should not have been named.
[[nodiscard]] ExitCode convertFile(const GzipSettings& settings, const std::string& path);

/// Reads a file to its end to see whether it is right, and gives what a list
/// says of it.
[[nodiscard]] ExitCode examineFile(const GzipSettings& settings, const std::string& path,
                                   GzipListing* listing);

}  // namespace loom

#endif  // LOOM_GZIP_JOB_H
