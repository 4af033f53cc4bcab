// SPDX-License-Identifier: MIT
#include "loomkit/system/md5.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/witness.h"

namespace {

using loomkit::testing::runShell;

void add(GMD5Checker& md5, const std::string& text) {
  md5.update(reinterpret_cast<const unsigned char*>(text.data()),
             static_cast<unsigned>(text.size()));
}

std::string md5Of(const std::string& text) {
  GMD5Checker md5;
  add(md5, text);
  md5.final();
  return md5.asString();
}

struct Row {
  const char* text;
  const char* digest;
};

// The test suite of RFC 1321.
constexpr Row rfcSuite[] = {
    {"", "d41d8cd98f00b204e9800998ecf8427e"},
    {"a", "0cc175b9c0f1b6a831c399e269772661"},
    {"abc", "900150983cd24fb0d6963f7d28e17f72"},
    {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
    {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
    {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
     "d174ab98d277d9f5a5611c2c9f419d9f"},
    {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
     "57edf4a22be3c955ac49da2e2107b67a"},
};

TEST(Md5, GivesTheDigestsOfTheRfc) {
  for (const Row& row : rfcSuite) EXPECT_EQ(md5Of(row.text), row.digest) << row.text;
}

TEST(Md5, TheDigestsBytesAreThoseOfItsText) {
  GMD5Checker md5;
  md5.final();
  EXPECT_EQ(md5.getDigest()[0], 0xd4);
  EXPECT_EQ(md5.getDigest()[15], 0x7e);
}

TEST(Md5, PiecesOfAnySizeGiveTheSameDigest) {
  std::mt19937 random(7);
  for (int round = 0; round < 2000; ++round) {
    std::string text(random() % 400, '\0');
    for (char& c : text) c = static_cast<char>(random());
    GMD5Checker md5;
    for (std::size_t pos = 0; pos < text.size();) {
      const std::size_t size = random() % 130;
      add(md5, text.substr(pos, size));
      pos += size;
    }
    md5.final();
    ASSERT_EQ(md5.asString(), md5Of(text)) << "round " << round;
  }
}

// Every size around the block's and the length field's borders, against md5sum.
TEST(Md5, AgreesWithMd5sum) {
  for (const std::size_t size : {1U, 54U, 55U, 56U, 57U, 63U, 64U, 65U, 119U, 120U, 128U, 1000U}) {
    const std::string command = "head -c " + std::to_string(size) + " /dev/zero | md5sum";
    EXPECT_EQ(md5Of(std::string(size, '\0')), runShell(command).output.substr(0, 32)) << size;
  }
}

TEST(Md5, AResetObjectStartsAnew) {
  GMD5Checker md5;
  add(md5, "something");
  md5.reset();
  add(md5, "abc");
  md5.final();
  EXPECT_STREQ(md5.asString(), "900150983cd24fb0d6963f7d28e17f72");
}

TEST(Md5, ASecondFinalGivesAnotherDigest) {
  GMD5Checker md5;
  md5.final();
  const std::string first = md5.asString();
  md5.final();
  EXPECT_NE(md5.asString(), first);
}

TEST(Md5, ACopyKeepsTheFinishedDigest) {
  GMD5Checker copy;
  {
    GMD5Checker md5;
    add(md5, "abc");
    md5.final();
    copy = md5;
  }
  const GMD5Checker second(copy);
  EXPECT_STREQ(second.asString(), "900150983cd24fb0d6963f7d28e17f72");
}

}  // namespace
