// SPDX-License-Identifier: MIT
// Never change a value here: every archive that was ever written with the
// built-in password would be lost.
#include "loomkit/archive/zip/zip_password.h"

#include <cstdint>
#include <cstring>

namespace loomkit::zip {
namespace {

// Pieces of the scrambled text, chosen by the bytes of the selectors.
constexpr const char* fragments[] = {"Vk", "3", "oaZ", "0tB", "q",    "9rLe",
                                     "w7", "J", "mUx", "c",   "5hNd", "Gy"};
constexpr std::uint32_t selectors[] = {0x030b0601, 0x0907020c, 0x04080a05};

// How far the scrambled bytes lie below the real ones.
constexpr char distance = 3;

void appendFragments(std::uint32_t selector, char* text) {
  for (; selector != 0; selector >>= 8) {
    const std::uint32_t number = selector & 255;
    if (number >= 1 && number <= 12) std::strcat(text, fragments[number - 1]);
  }
}

void shift(char* text, int by) {
  for (; *text != '\0'; ++text) *text = static_cast<char>(*text + by);
}

}  // namespace

void assembleBuiltInPassword(char (&buffer)[builtInPasswordSize]) {
  buffer[0] = '\0';
  for (const std::uint32_t selector : selectors) appendFragments(selector, buffer);
}

void unscramble(char* password) { shift(password, distance); }
void scramble(char* password) { shift(password, -distance); }

}  // namespace loomkit::zip
