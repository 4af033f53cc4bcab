// SPDX-License-Identifier: MIT
// Opens any bytes as an ar archive and reads every member in both ways, and those of the
// extension, too.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "loomkit/archive/ar_member_reader.h"
#include "loomkit/archive/ar_reader.h"
#include "loomkit/text/output.h"
#include "tests/fuzz/fuzz_file.h"

namespace {

class Silent : public GOutput {
 public:
  using GOutput::output;
  void output(GOutputLevel, const std::string&, const char*) override {}
};

void readBothWays(GArReader& reader, const GArEntry* entry, std::size_t limit) {
  std::ostringstream text;
  const bool written = reader.readEntry(entry, &text);
  char* data = nullptr;
  unsigned int size = 0;
  const bool given = reader.readEntry(entry, &data, &size);
  if (given != written || text.str().size() > limit) std::abort();
  if (given && text.str() != std::string(data, size)) std::abort();
  ::operator delete(data);
}

void readAllMembers(const std::uint8_t* data, std::size_t size) {
  GArMemberReader reader;
  if (!reader.open(loomkit::testing::memoryFile(data, size))) return;
  std::uint64_t total = 0;
  for (const GArMember& member : reader.getMembers()) {
    std::uint64_t count = 0;
    const bool whole = reader.read(member, [&](const char*, std::size_t got) {
      count += got;
      return true;
    });
    total += count;
    if (whole != (count == member.size) || (!whole && reader.isWhole())) std::abort();
    if (reader.find(member.name, member.number) != &member) std::abort();
  }
  if (total > size) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Silent silent;
  gOutput = &silent;
  std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
  GArReader reader(&in, false);
  for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
    readBothWays(reader, i->second, size);
  }
  readAllMembers(data, size);
  return 0;
}
