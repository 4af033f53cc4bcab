// SPDX-License-Identifier: MIT
#include "loomkit/db/sqlite/declared_type.h"

#include "loomkit/text/char_class.h"

namespace loomkit {
namespace {

// Of all patterns that a declared type contains, the one of the highest rank
// gives the type.
struct Affinity {
  const char* pattern;
  GDbFieldType type;
  int rank;
};

constexpr Affinity affinities[] = {
    {"INT", GDbFieldInt, 4},     {"CHAR", GDbFieldString, 3}, {"CLOB", GDbFieldString, 3},
    {"TEXT", GDbFieldString, 3}, {"BLOB", GDbFieldBlob, 2},   {"REAL", GDbFieldFloat, 1},
    {"FLOA", GDbFieldFloat, 1},  {"DOUB", GDbFieldFloat, 1},
};

// Whether any pattern starts with `c`. Most characters of a declared type start
// none, and need no comparison with the patterns.
constexpr bool startsPattern(char c) {
  return c == 'I' || c == 'C' || c == 'T' || c == 'B' || c == 'R' || c == 'F' || c == 'D';
}

bool startsWith(const char* text, const char* pattern) noexcept {
  for (; *pattern != '\0'; ++text, ++pattern)
    if (asciiToUpper(*text) != *pattern) return false;
  return true;
}

}  // namespace

GDbFieldType sqliteAffinity(const char* declaredType) noexcept {
  GDbFieldType type = GDbFieldNone;
  int rank = -1;
  for (const char* at = declaredType; *at != '\0'; ++at) {
    if (!startsPattern(asciiToUpper(*at))) continue;
    for (const Affinity& affinity : affinities) {
      if (affinity.rank <= rank || !startsWith(at, affinity.pattern)) continue;
      type = affinity.type;
      rank = affinity.rank;
    }
  }
  return type;
}

}  // namespace loomkit
