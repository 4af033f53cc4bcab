// SPDX-License-Identifier: MIT
#include "checksum.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "loomkit/system/crc32_stream.h"
#include "loomkit/system/md5.h"
#include "sha2.h"

namespace loom {

namespace {

std::string hexOf(const std::vector<std::uint8_t>& bytes) {
  constexpr char digits[] = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

class Md5 {
 public:
  void update(const char* data, std::size_t size) {
    md5.update(reinterpret_cast<const unsigned char*>(data), static_cast<unsigned>(size));
  }
  std::string result() {
    md5.final();
    return md5.asString();
  }

 private:
  GMD5Checker md5;
};

class Crc32 {
 public:
  void update(const char* data, std::size_t size) { crc.update(data, size); }
  std::string result() {
    char hex[9];
    std::snprintf(hex, sizeof hex, "%08x", static_cast<unsigned>(crc.get()));
    return hex;
  }

 private:
  GCRC32Stream crc;
};

template <Sha2::Kind kind>
class Sha {
 public:
  void update(const char* data, std::size_t size) { sha.update(data, size); }
  std::string result() { return hexOf(sha.digest()); }

 private:
  Sha2 sha{kind};
};

// The checksum of everything that `in` gives; nothing if it cannot be read to
// its end.
template <typename Digest>
std::optional<std::string> sumOf(std::istream& in) {
  Digest digest;
  std::vector<char> block(std::size_t{128} << 10);
  while (in.good()) {
    in.read(block.data(), static_cast<std::streamsize>(block.size()));
    digest.update(block.data(), static_cast<std::size_t>(in.gcount()));
  }
  if (in.bad() || !in.eof()) return std::nullopt;
  return digest.result();
}

constexpr ChecksumKind kinds[] = {
    {"--md5", "md5", "MD5", 32, sumOf<Md5>},
    {"--crc32", "crc32", "CRC32", 8, sumOf<Crc32>},
    {"--sha256", "sha256", "SHA256", 64, sumOf<Sha<Sha2::Kind::sha256>>},
    {"--sha512", "sha512", "SHA512", 128, sumOf<Sha<Sha2::Kind::sha512>>},
};

template <typename Fits>
const ChecksumKind* firstThat(Fits fits) {
  const auto* const found = std::find_if(std::begin(kinds), std::end(kinds), fits);
  return found == std::end(kinds) ? nullptr : found;
}

}  // namespace

std::span<const ChecksumKind> checksumKinds() { return kinds; }

const ChecksumKind* kindWithDigits(std::size_t digits) {
  return firstThat([digits](const ChecksumKind& kind) { return kind.digits == digits; });
}

const ChecksumKind* kindWithLabel(std::string_view label) {
  return firstThat([label](const ChecksumKind& kind) { return kind.label == label; });
}

}  // namespace loom
