// SPDX-License-Identifier: MIT
// The checksums of the SHA-2 family (FIPS 180-4), which a library of the system computes.
#ifndef LOOM_SHA2_H
#define LOOM_SHA2_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace loom {

/// One computation of SHA-256 or SHA-512.
class Sha2 {
 public:
  enum class Kind { sha256, sha512 };

  explicit Sha2(Kind kind);
  Sha2(const Sha2&) = delete;
  Sha2& operator=(const Sha2&) = delete;
  ~Sha2();

  void update(const char* data, std::size_t size);
  /// The checksum of all that was given: 32 or 64 bytes. To be called once.
  [[nodiscard]] std::vector<std::uint8_t> digest();

 private:
  struct State;
  std::unique_ptr<State> state;
};

}  // namespace loom

#endif  // LOOM_SHA2_H
