// SPDX-License-Identifier: MIT
#include "loomkit/text/pattern.h"

#include <cstring>

namespace {

// One attempt to match. Each pattern item but '*' takes exactly one character,
// and only a literal '/' takes a '/' when pathName is set. It is therefore enough
// to remember the last '*' and to move only that one on after a mismatch:
//
// - The text between two '*' has a fixed length. If it matches at two places,
//   what the second '*' can reach from the later place it reaches from the
//   earlier one as well, so the earliest place is as good as any.
// - With pathName a '*' ends at the next '/'. If the items between two '*'
//   contain no '/', both places lie before the same '/' and the above holds. If
//   they do, that '/' is the one at which the first '*' ends, so there was only
//   one place.
// - A '*' in front of a '/' goes on at the next '/' of the text, which is the
//   same from all places that a '*' before it could have chosen.
//
// So when the last '*' fails at all places, moving one before it would not help.
class Matcher {
 public:
  Matcher(const char* patternText, const char* subject, bool noEscapeFlag, bool pathNameFlag,
          bool periodFlag)
      : pattern(patternText),
        text(subject),
        start(subject),
        noEscape(noEscapeFlag),
        pathName(pathNameFlag),
        period(periodFlag) {}

  bool run() {
    for (;;) {
      if (*pattern == '*') {
        const Star star = takeStar();
        if (star != Star::goesOn) return star == Star::matches;
      } else if (*text == '\0') {
        // The text has ended. An item that is left gets no character; moving the
        // last '*' on would leave even more items without one.
        return *pattern == '\0';
      } else if (!takeOne() && !moveLastStar()) {
        return false;
      }
    }
  }

 private:
  enum class Star { matches, fails, goesOn };

  Star takeStar() {
    do ++pattern;
    while (*pattern == '*');
    if (atLeadingPeriod()) return Star::fails;
    if (*pattern == '\0') {
      return pathName && std::strchr(text, '/') != nullptr ? Star::fails : Star::matches;
    }
    if (*pattern == '/' && pathName) {
      text = std::strchr(text, '/');
      starPattern = nullptr;
      return text != nullptr ? Star::goesOn : Star::fails;
    }
    if (*text == '\0') return Star::fails;
    // Behind a '*' that is tried at several places, a leading period is a
    // character like others.
    period = false;
    starPattern = pattern;
    starText = text;
    return skipToLiteral() ? Star::goesOn : Star::fails;
  }

  // Tries the last '*' with one more character.
  bool moveLastStar() {
    if (starPattern == nullptr || (pathName && *starText == '/')) return false;
    ++starText;
    return skipToLiteral();
  }

  // Moves on to the next place where what follows the last '*' could match. If an
  // ordinary character follows the '*', that is where the text has the character.
  // False if there is no such place.
  bool skipToLiteral() {
    const char first = *starPattern;
    if (first != '?' && first != '[' && first != '\\') {
      int nearby = 4;  // characters that are looked at before strchr() pays off
      while (*starText != first) {
        if (*starText == '\0' || (*starText == '/' && pathName)) return false;
        ++starText;
        if (--nearby == 0 && !pathName) {
          starText = std::strchr(starText, first);
          if (starText == nullptr) return false;
        }
      }
    }
    pattern = starPattern;
    text = starText;
    return *text != '\0';
  }

  [[nodiscard]] bool atLeadingPeriod() const {
    return period && *text == '.' && (text == start || (pathName && text[-1] == '/'));
  }

  // Matches one item of the pattern with one character of the text. The end of
  // the pattern is an item that matches none.
  bool takeOne() {
    char literal = *pattern++;
    switch (literal) {
      case '?':
        if ((*text == '/' && pathName) || atLeadingPeriod()) return false;
        ++text;
        return true;
      case '[':
        if (*text == '/' && pathName) return false;
        return takeBracket(static_cast<signed char>(*text++));
      case '\\':
        if (!noEscape && *pattern != '\0') literal = *pattern++;
        break;
      default:
        break;
    }
    return *text++ == literal;
  }

  // Whether the set behind a '[' accepts `c`; the pattern goes on behind its ']'.
  bool takeBracket(signed char c) {
    const bool negated = *pattern == '!' || *pattern == '^';
    if (negated) ++pattern;
    bool found = false;
    while (*pattern != ']') {
      const signed char low = takeSetCharacter();
      if (low == 0) return false;
      signed char high = low;
      if (*pattern == '-' && pattern[1] != '\0' && pattern[1] != ']') {
        ++pattern;
        high = takeSetCharacter();
        if (high == 0) return false;
      }
      if (low <= c && c <= high) found = true;
    }
    ++pattern;
    return found != negated;
  }

  // A character inside a set, escaped or not; 0 at the end of the pattern.
  signed char takeSetCharacter() {
    if (*pattern == '\\' && !noEscape) ++pattern;
    return static_cast<signed char>(*pattern++);
  }

  const char* pattern;
  const char* text;
  const char* start;
  const char* starPattern = nullptr;  // behind the last '*' that is tried out
  const char* starText = nullptr;     // the place that it is tried with
  bool noEscape;
  bool pathName;
  bool period;
};

}  // namespace

bool gPatternMatch(const char* pattern, const char* text, bool noEscape, bool pathName,
                   bool period) {
  return Matcher(pattern, text, noEscape, pathName, period).run();
}
