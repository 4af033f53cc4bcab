// SPDX-License-Identifier: MIT
// CRC-32 against zlib, MD5 against OpenSSL, from cache-sized to large data.
#include <benchmark/benchmark.h>
#include <zlib.h>

#ifdef LOOMKIT_PEER_OPENSSL
#include <openssl/evp.h>
#endif

#include <cstdint>
#include <string>

#include "loomkit/loomkit.h"

namespace {

const std::string& data() {
  static const std::string once = [] {
    std::string bytes(std::size_t{16} << 20, '\0');
    std::uint32_t state = 1;
    for (char& c : bytes) {
      state = state * 1664525 + 1013904223;
      c = static_cast<char>(state >> 24);
    }
    return bytes;
  }();
  return once;
}

void countBytes(benchmark::State& state, std::size_t size) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}

void crcOurs(benchmark::State& state, std::size_t size) {
  const auto* bytes = data().data();
  const GCRC32 crc;
  for (auto _ : state) {
    benchmark::DoNotOptimize(crc.get(bytes, static_cast<int>(size)));
  }
  countBytes(state, size);
}

void crcZlib(benchmark::State& state, std::size_t size) {
  const auto* bytes = reinterpret_cast<const Bytef*>(data().data());
  for (auto _ : state) {
    benchmark::DoNotOptimize(crc32(0, bytes, static_cast<unsigned>(size)));
  }
  countBytes(state, size);
}

void md5Ours(benchmark::State& state, std::size_t size) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(data().data());
  for (auto _ : state) {
    GMD5Checker md5;
    md5.update(bytes, static_cast<unsigned>(size));
    md5.final();
    benchmark::DoNotOptimize(md5);
  }
  countBytes(state, size);
}

#ifdef LOOMKIT_PEER_OPENSSL
void md5OpenSsl(benchmark::State& state, std::size_t size) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  for (auto _ : state) {
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    EVP_DigestInit_ex(context, EVP_md5(), nullptr);
    EVP_DigestUpdate(context, data().data(), size);
    EVP_DigestFinal_ex(context, digest, nullptr);
    EVP_MD_CTX_free(context);
    benchmark::DoNotOptimize(digest[0]);
  }
  countBytes(state, size);
}
#endif

using Work = void (*)(benchmark::State&, std::size_t);

void add(const char* work, const char* who, Work function) {
  for (const std::size_t size : {std::size_t{64}, std::size_t{8192}, std::size_t{16} << 20}) {
    const std::string name = std::string(work) + "_" + std::to_string(size) + "/" + who;
    benchmark::RegisterBenchmark(
        name.c_str(), [function, size](benchmark::State& state) { function(state, size); });
  }
}

const bool registered = [] {
  add("crc32", "ours", crcOurs);
  add("crc32", "zlib", crcZlib);
  add("md5", "ours", md5Ours);
#ifdef LOOMKIT_PEER_OPENSSL
  add("md5", "openssl", md5OpenSsl);
#endif
  return true;
}();

}  // namespace
