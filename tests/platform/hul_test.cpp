// SPDX-License-Identifier: MIT
#include "loomkit/platform/hul.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "tests/scratch_directory.h"

namespace {

using loomkit::testing::ScratchDirectory;

TEST(Hul, WritesSeeksAndClosesAFile) {
  const ScratchDirectory folder;
  folder.write("f", "what was there before");
  int handle = -1;
  ASSERT_EQ(hulOpenFile((folder.path() + "\\f").c_str(), hulCreateForWriting, &handle), 0);
  int written = 0;
  EXPECT_EQ(hulWrite(handle, "hello", 5, &written), 0);
  EXPECT_EQ(written, 5);
  std::int64_t position = 0;
  EXPECT_EQ(hulSeek(handle, hulFromCurrent, 0, 0, &position), 0);
  EXPECT_EQ(position, 5);
  EXPECT_EQ(hulSeek(handle, hulFromStart, 1, 0, nullptr), 0);
  EXPECT_EQ(hulWrite(handle, "E", 1, nullptr), 0);
  EXPECT_LT(hulSeek(handle, hulFromStart, -1, 0, nullptr), 0);
  EXPECT_LT(hulSeek(handle, 9, 0, 0, nullptr), 0);
  EXPECT_EQ(hulClose(handle), 0);
  EXPECT_EQ(folder.read("f"), "hEllo");
  EXPECT_LT(hulWrite(handle, "x", 1, nullptr), 0);
  EXPECT_LT(hulClose(handle), 0);
}

TEST(Hul, FailuresAreNegativeAndHaveWords) {
  const ScratchDirectory folder;
  int handle = -1;
  const int status = hulOpenFile((folder / "no/f").c_str(), hulCreateForWriting, &handle);
  EXPECT_LT(status, 0);
  EXPECT_STREQ(hulStrError(status), "No such file or directory");
  EXPECT_STREQ(hulStrError(static_cast<int>(0x80004005)), "Unspecified error");
  EXPECT_LT(hulOpenFile((folder / "f").c_str(), 1, &handle), 0);
  ASSERT_EQ(hulOpenFile("/dev/full", hulCreateForWriting, &handle), 0);
  int written = 9;
  EXPECT_STREQ(hulStrError(hulWrite(handle, "x", 1, &written)), "No space left on device");
  EXPECT_EQ(written, 0);
  hulClose(handle);
}

TEST(Hul, LoadsALibraryThatHasOnlyItsVersionedName) {
  void* handle = nullptr;
  const std::string name = std::string(hulGetDSOPrefix()) + "z" + hulGetDSOSuffix();
  ASSERT_EQ(hulOpenDSO(name.c_str(), 0, &handle), 0) << hulStrError(-0x10000);
  void* address = nullptr;
  EXPECT_EQ(hulGetSymbolAddress(handle, "zlibVersion", &address), 0);
  EXPECT_NE(address, nullptr);
  EXPECT_LT(hulGetSymbolAddress(handle, "no_such_function", &address), 0);
  EXPECT_EQ(hulCloseDSO(handle), 0);
  const int status = hulOpenDSO("libno_such_library.so", 0, &handle);
  EXPECT_LT(status, 0);
  EXPECT_NE(std::strstr(hulStrError(status), "libno_such_library.so"), nullptr);
}

void* allocate(void* block, std::size_t size) {
  if (size != 0) return ::operator new(size);
  ::operator delete(block);
  return nullptr;
}

TEST(Hul, ConvertsBetweenCodeSets) {
  HulTextCodec* codec = nullptr;
  ASSERT_EQ(hulOpenTextCodec("ISO-8859-1", "UTF-8", &codec), 0);
  const char* in = "\xe4xyz";
  std::size_t left = 4;
  char buffer[3];
  char* out = buffer;
  std::size_t room = sizeof buffer;
  EXPECT_EQ(hulConvertText(codec, &in, &left, &out, &room), 1);
  EXPECT_EQ(std::string(buffer, out), "\xc3\xa4x");
  EXPECT_EQ(left, 2U);
  out = buffer;
  room = sizeof buffer;
  EXPECT_EQ(hulConvertText(codec, &in, &left, &out, &room), 0);
  EXPECT_EQ(std::string(buffer, out), "yz");
  hulCloseTextCodec(codec);
  EXPECT_LT(hulOpenTextCodec("UTF-8", "no-such-set", &codec), 0);
  ASSERT_EQ(hulOpenTextCodec("UTF-8", "ISO-8859-1", &codec), 0);
  in = "\xff";
  left = 1;
  out = buffer;
  room = sizeof buffer;
  EXPECT_LT(hulConvertText(codec, &in, &left, &out, &room), 0);
  hulCloseTextCodec(codec);
}

TEST(Hul, ConvertsTextOfAnyLengthAndTakesItFromTheAllocator) {
  const std::string text(5000, 'x');
  char* out = nullptr;
  int length = 0;
  ASSERT_EQ(hulLocaleToUTF8(text.c_str(), -1, 0, &length, nullptr, &out), 0);
  EXPECT_EQ(out, text);
  EXPECT_EQ(length, 5000);
  hulFree(out);
  ASSERT_EQ(hulUTF8ToLocale(text.c_str(), 3, 0, nullptr, allocate, &out), 0);
  EXPECT_STREQ(out, "xxx");
  ::operator delete(out);
  EXPECT_LT(hulUTF8ToLocale("\xff", 1, 0, nullptr, nullptr, &out), 0);
  EXPECT_EQ(out, nullptr);
  // A text that ends in the middle of a character spoils no other.
  EXPECT_LT(hulUTF8ToLocale("\xc3", 1, 0, nullptr, nullptr, &out), 0);
  ASSERT_EQ(hulUTF8ToLocale("\xc3\xa4", 2, 0, nullptr, nullptr, &out), 0);
  EXPECT_STREQ(out, "\xc3\xa4");
  hulFree(out);
  char name[64];
  EXPECT_EQ(hulGetLocaleParam(hulLocalCodeSet, 0, name, sizeof name), 0);
  EXPECT_NE(name[0], '\0');
  EXPECT_LT(hulGetLocaleParam(1, 0, name, sizeof name), 0);
  EXPECT_LT(hulGetLocaleParam(hulLocalCodeSet, 0, name, 1), 0);
  char* copy = hulStrDup("abc");
  EXPECT_STREQ(copy, "abc");
  hulFree(copy);
  EXPECT_EQ(hulStrDup(nullptr), nullptr);
}

}  // namespace
