// SPDX-License-Identifier: MIT
#include "loomkit/system/dyna_lib.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <optional>

namespace {

const std::string module = LOOMKIT_TEST_MODULE;

const std::string suffix = LOOMKIT_TEST_MODULE_SUFFIX;

std::string withoutSuffix() { return module.substr(0, module.size() - suffix.size()); }

std::string inCapitals(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

TEST(DynaLib, TheSuffixIsThePlatforms) { EXPECT_EQ(GDynaLib::getExtension(), suffix); }

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
       {std::string("/nowhere/lib"), withoutSuffix() + inCapitals(suffix), suffix, std::string()}) {
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
