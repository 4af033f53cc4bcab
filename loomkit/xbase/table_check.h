// SPDX-License-Identifier: MIT
// Extension: checks a table against its memo file and its tags.
#ifndef LOOMKIT_XBASE_TABLE_CHECK_H
#define LOOMKIT_XBASE_TABLE_CHECK_H

#include <cstdint>
#include <functional>
#include <string>

namespace loomkit::xbase {

struct DataFile;

/// Something wrong. Record 0: not in a record.
struct CheckFinding {
  std::uint32_t record = 0;
  std::string where;  ///< a field's or tag's name
  std::string what;
};

/// Takes a finding; false: no more are wanted.
using TakeFinding = std::function<bool(const CheckFinding&)>;
/// Hears of records done, of how many; false stops the check.
using CheckProgress = std::function<bool(unsigned done, unsigned all)>;

/// The check was stopped by its progress.
inline constexpr int checkStopped = 1;

/// Looks at every record: its deletion flag, its memo pointers, and whether each
/// tag has it under its key; then at every entry of each tag: their order, and
/// whether each belongs to a record. A code; checkStopped.
int checkTable(DataFile& data, const TakeFinding& take, const CheckProgress& progress);

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_TABLE_CHECK_H
