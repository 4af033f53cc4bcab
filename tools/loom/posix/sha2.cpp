// SPDX-License-Identifier: MIT
#include "../sha2.h"

#include <nettle/sha2.h>

namespace loom {

struct Sha2::State {
  Kind kind;
  union {
    sha256_ctx sha256;
    sha512_ctx sha512;
  };
};

Sha2::Sha2(Kind kind) : state(std::make_unique<State>()) {
  state->kind = kind;
  if (kind == Kind::sha256)
    sha256_init(&state->sha256);
  else
    sha512_init(&state->sha512);
}

Sha2::~Sha2() = default;

void Sha2::update(const char* data, std::size_t size) {
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(data);
  if (state->kind == Kind::sha256)
    sha256_update(&state->sha256, size, bytes);
  else
    sha512_update(&state->sha512, size, bytes);
}

std::vector<std::uint8_t> Sha2::digest() {
  std::vector<std::uint8_t> bytes(state->kind == Kind::sha256 ? SHA256_DIGEST_SIZE
                                                              : SHA512_DIGEST_SIZE);
  if (state->kind == Kind::sha256)
    sha256_digest(&state->sha256, bytes.size(), bytes.data());
  else
    sha512_digest(&state->sha512, bytes.size(), bytes.data());
  return bytes;
}

}  // namespace loom
