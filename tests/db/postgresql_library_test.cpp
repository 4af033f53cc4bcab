// SPDX-License-Identifier: MIT
// A libpq that is missing or incomplete.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "loomkit/db/postgresql/libpq_api.h"

namespace {

using loomkit::DsoCalls;
using loomkit::LibpqLibrary;
using loomkit::platformDsoCalls;

std::vector<std::string> asked;
std::string missing;
int openHandles = 0;

DsoCalls countingCalls() {
  return {[](const char* name, int flags, void** handle) {
            EXPECT_EQ(std::string(name).substr(0, 5), "libpq");
            const int status = platformDsoCalls().open(name, flags, handle);
            if (status >= 0) ++openHandles;
            return status;
          },
          [](void* handle, const char* name, void** address) {
            asked.emplace_back(name);
            return missing == name ? -1 : platformDsoCalls().symbol(handle, name, address);
          },
          [](void* handle) {
            --openHandles;
            platformDsoCalls().close(handle);
          }};
}

TEST(LibpqLibrary, FailsWithoutALibraryAndTriesAgain) {
  LibpqLibrary library;
  DsoCalls none = platformDsoCalls();
  none.open = [](const char*, int, void**) { return -1; };
  EXPECT_FALSE(library.load(none));
  EXPECT_FALSE(library.load(none));
  EXPECT_TRUE(library.load(platformDsoCalls()));
  EXPECT_TRUE(library.load(none)) << "loaded once is loaded";
  EXPECT_GE(library.api.libVersion(), 140000);
}

TEST(LibpqLibrary, NeedsEveryOneOfItsFunctions) {
  asked.clear();
  missing.clear();
  EXPECT_TRUE(LibpqLibrary().load(countingCalls()));
  const std::vector<std::string> names = asked;
  EXPECT_GE(names.size(), 50U);
  openHandles = 0;
  for (const std::string& name : names) {
    EXPECT_EQ(name.substr(0, 2), "PQ");
    missing = name;
    EXPECT_FALSE(LibpqLibrary().load(countingCalls())) << name;
    EXPECT_EQ(openHandles, 0) << "is closed again";
  }
}

TEST(LibpqLibrary, LeavesNoPointerOfItsTableEmpty) {
  LibpqLibrary library;
  ASSERT_TRUE(library.load());
  const auto* pointers = reinterpret_cast<void* const*>(&library.api);
  for (std::size_t i = 0; i < sizeof library.api / sizeof(void*); ++i)
    EXPECT_NE(pointers[i], nullptr) << "entry " << i;
}

}  // namespace
