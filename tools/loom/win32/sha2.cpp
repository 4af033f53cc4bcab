// SPDX-License-Identifier: MIT
#include "../sha2.h"

#include "loomkit/platform/win32/windows_api.h"
// Needs the types of the system's own header.
#include <bcrypt.h>

#include <algorithm>
#include <limits>

#include "../command.h"

namespace loom {

struct Sha2::State {
  BCRYPT_ALG_HANDLE algorithm = nullptr;
  BCRYPT_HASH_HANDLE hash = nullptr;
  std::size_t size = 0;

  State() = default;
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State() {
    if (hash != nullptr) BCryptDestroyHash(hash);
    if (algorithm != nullptr) BCryptCloseAlgorithmProvider(algorithm, 0);
  }
};

namespace {

// The calls fail only where the system's cryptography is broken or memory is short.
void require(NTSTATUS status) {
  if (status < 0) throw Failure(ExitCode::internal, "the system computes no checksums");
}

}  // namespace

Sha2::Sha2(Kind kind) : state(std::make_unique<State>()) {
  const bool is256 = kind == Kind::sha256;
  state->size = is256 ? 32 : 64;
  require(BCryptOpenAlgorithmProvider(
      &state->algorithm, is256 ? BCRYPT_SHA256_ALGORITHM : BCRYPT_SHA512_ALGORITHM, nullptr, 0));
  require(BCryptCreateHash(state->algorithm, &state->hash, nullptr, 0, nullptr, 0, 0));
}

Sha2::~Sha2() = default;

void Sha2::update(const char* data, std::size_t size) {
  while (size > 0) {
    const auto step =
        static_cast<ULONG>(std::min<std::size_t>(size, std::numeric_limits<ULONG>::max()));
    // The call does not write to what it reads.
    auto* const bytes = reinterpret_cast<PUCHAR>(const_cast<char*>(data));
    require(BCryptHashData(state->hash, bytes, step, 0));
    data += step;
    size -= step;
  }
}

std::vector<std::uint8_t> Sha2::digest() {
  std::vector<std::uint8_t> bytes(state->size);
  require(BCryptFinishHash(state->hash, bytes.data(), static_cast<ULONG>(bytes.size()), 0));
  return bytes;
}

}  // namespace loom
