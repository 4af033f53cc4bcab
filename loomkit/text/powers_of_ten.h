// SPDX-License-Identifier: MIT
// The powers of ten that the readers of numbers scale by. Stored values depend on
// their exact last bits, so that all readers share them.
#ifndef LOOMKIT_TEXT_POWERS_OF_TEN_H
#define LOOMKIT_TEXT_POWERS_OF_TEN_H

#include <array>
#include <cstddef>
#include <limits>

namespace loomkit {

/// Products of one factor, 10 or 0.1, after the other. Beyond the tables the products
/// are infinite or zero.
inline constexpr auto positivePowers = [] {
  std::array<double, 309> powers{1, 10, 100, 1000, 10000};
  for (std::size_t i = 5; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
  return powers;
}();
inline constexpr auto negativePowers = [] {
  std::array<double, 325> powers{1, 0.1, 0.01, 0.001, 0.0001};
  for (std::size_t i = 5; i < powers.size(); ++i) powers[i] = powers[i - 1] * 0.1;
  return powers;
}();
static_assert(positivePowers.back() > std::numeric_limits<double>::max() / 10);
static_assert(negativePowers.back() == 0 && negativePowers[negativePowers.size() - 2] > 0);

}  // namespace loomkit

#endif  // LOOMKIT_TEXT_POWERS_OF_TEN_H
