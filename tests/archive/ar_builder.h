// SPDX-License-Identifier: MIT
// Makes ar archives for tests, right and wrong ones.
#ifndef LOOMKIT_TESTS_ARCHIVE_AR_BUILDER_H
#define LOOMKIT_TESTS_ARCHIVE_AR_BUILDER_H

#include <string>

#include "loomkit/archive/ar_layout.h"

namespace loomkit::testing {

/// A header with its two texts as they stand in the archive.
inline std::string arHeader(const std::string& name, const std::string& size) {
  namespace layout = ar::header;
  std::string header(layout::size, ' ');
  RecordWriter record(header.data(), header.size());
  record.put(layout::name, name);
  record.put(layout::date, "1700000000");
  record.put(layout::owner, "1000");
  record.put(layout::group, "1000");
  record.put(layout::mode, "100644");
  record.put(layout::dataSize, size);
  record.put(layout::trailer, layout::trailerText);
  return header;
}

/// A member with its header and pad byte.
inline std::string arMember(const std::string& name, const std::string& data) {
  return arHeader(name, std::to_string(data.size())) + data + (data.size() % 2 != 0 ? "\n" : "");
}

/// A member whose name stands in front of its data.
inline std::string arLongMember(const std::string& name, const std::string& data) {
  return arMember("#1/" + std::to_string(name.size()), name + data);
}

inline std::string arArchive(const std::string& members) {
  return std::string(ar::magic) + members;
}

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_ARCHIVE_AR_BUILDER_H
