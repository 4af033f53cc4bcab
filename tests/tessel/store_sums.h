// SPDX-License-Identifier: MIT
// Making the checksums of a changed store right again.
#ifndef LOOMKIT_TESTS_TESSEL_STORE_SUMS_H
#define LOOMKIT_TESTS_TESSEL_STORE_SUMS_H

#include <algorithm>
#include <cstdint>
#include <string>

#include "loomkit/text/binary.h"
#include "tessel/store/crc32c.h"
#include "tessel/store/layout.h"

namespace loomkit::testing {

/// The checksums of the blocks of data that end at `end`.
inline std::string sumsOfBlocks(const std::string& file, std::uint64_t end) {
  namespace layout = tessel::layout;
  std::string sums;
  for (std::uint64_t at = 0; at < end; at += layout::blockSize) {
    const std::uint64_t begin = at == 0 ? layout::header::size : at;
    const std::uint64_t stop = std::min<std::uint64_t>(at + layout::blockSize, end);
    unsigned char sum[layout::sum::size];
    layout::sum::value.store(
        sum, tessel::crc32c(0, file.data() + begin, static_cast<std::size_t>(stop - begin)));
    sums.append(reinterpret_cast<const char*>(sum), sizeof sum);
  }
  return sums;
}

/// Where the checksums of the groups lie, by the counts of the directory there.
inline std::uint64_t groupsAt(const std::string& file, std::uint64_t directory) {
  namespace layout = tessel::layout;
  namespace d = layout::directory;
  const auto at = static_cast<std::size_t>(directory);
  const RecordReader record(file.data() + at, file.size() - at);
  return directory + d::size + std::uint64_t{record.get(d::tableCount)} * layout::table::size +
         std::uint64_t{record.get(d::fieldCount)} * layout::field::size +
         std::uint64_t{record.get(d::indexCount)} * layout::index::size +
         std::uint64_t{record.get(d::columnCount)} * layout::column::size;
}

/// Makes all checksums of a store of one group right, as far as its header tells
/// where they are.
inline void repairSums(std::string* file) {
  namespace layout = tessel::layout;
  namespace h = layout::header;
  if (file->size() < h::size) return;
  const RecordReader read(file->data(), h::size);
  const std::uint64_t end = read.get(h::sums);
  const std::uint64_t directory = read.get(h::directory);
  const std::uint64_t size = read.get(h::directorySize);
  auto* const bytes = reinterpret_cast<unsigned char*>(file->data());
  if (end >= h::size && end <= file->size()) {
    const std::string sums = sumsOfBlocks(*file, end);
    if (sums.size() <= file->size() - end) {
      file->replace(static_cast<std::size_t>(end), sums.size(), sums);
      const std::uint64_t groups = directory <= file->size() ? groupsAt(*file, directory) : ~0ULL;
      if (groups < file->size() && file->size() - groups >= layout::sum::size)
        layout::sum::value.store(bytes + groups, tessel::crc32c(0, sums.data(), sums.size()));
    }
  }
  RecordWriter header(bytes, h::size);
  if (directory <= file->size() && size <= file->size() - directory)
    header.put(h::directorySum,
               tessel::crc32c(0, bytes + directory, static_cast<std::size_t>(size)));
  header.put(h::headerSum, tessel::crc32c(0, bytes, h::headerSum.offset));
}

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_TESSEL_STORE_SUMS_H
