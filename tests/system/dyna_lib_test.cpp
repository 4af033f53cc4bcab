// SPDX-License-Identifier: MIT
#include "loomkit/system/dyna_lib.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

namespace {

const std::string module = LOOMKIT_TEST_MODULE;

std::string withoutSuffix() { return module.substr(0, module.size() - 3); }

TEST(DynaLib, TheSuffixIsThePlatforms) { EXPECT_STREQ(GDynaLib::getExtension(), ".so"); }

TEST(DynaLib, LoadsALibraryWithAndWithoutItsSuffix) {
  for (const std::string& name : {module, withoutSuffix()}) {
    const GDynaLib library(name);
    ASSERT_TRUE(library.isOpen()) << name;
    const GDynaLib::GetProc answer = library.getFunction("answer");
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    EXPECT_EQ(library.getFunction("question"), nullptr);
  }
}

TEST(DynaLib, BackslashesSeparateInTheName) {
  std::string native = module;
  std::replace(native.begin(), native.end(), '/', '\\');
  EXPECT_TRUE(GDynaLib(native).isOpen());
}

TEST(DynaLib, ALibraryThatIsNotThereStaysClosed) {
  // Other letter case, the bare suffix, and a second suffix are other names.
  for (const std::string& name :
       {std::string("/nowhere/lib"), withoutSuffix() + ".SO", std::string(".so"), std::string()}) {
    GDynaLib library(name);
    EXPECT_FALSE(library.isOpen()) << name;
    EXPECT_EQ(library.getFunction("answer"), nullptr);
    library.close();
  }
}

TEST(DynaLib, ClosingTwiceIsHarmless) {
  GDynaLib library(module);
  library.close();
  EXPECT_FALSE(library.isOpen());
  EXPECT_EQ(library.getFunction("answer"), nullptr);
  library.close();
  EXPECT_FALSE(library.isOpen());
}

TEST(DynaLib, ACopySharesTheLibrary) {
  std::optional<GDynaLib> original(module);
  const GDynaLib copy(*original);
  EXPECT_TRUE(copy.isOpen());
  original.reset();
  EXPECT_FALSE(copy.isOpen());
  EXPECT_EQ(copy.getFunction("answer"), nullptr);
}

}  // namespace
