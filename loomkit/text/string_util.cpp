// SPDX-License-Identifier: MIT
#include "loomkit/text/string_util.h"

#include <algorithm>
#include <cassert>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>

#include "loomkit/text/char_class.h"

int gsnprintf(char* buf, unsigned size, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int result = gvsnprintf(buf, size, format, args);
  va_end(args);
  return result;
}

int gvsnprintf(char* buf, unsigned size, const char* format, va_list args) {
  if (size == 0) return -1;
  const int result = std::vsnprintf(buf, size, format, args);
  // Not every C library terminates a text that it cut off.
  if (result < 0 || static_cast<unsigned>(result) >= size) buf[size - 1] = '\0';
  return result;
}

unsigned gStrCopy(char* dst, const char* src, unsigned size) {
  const std::size_t length = std::strlen(src);
  if (size != 0) {
    const std::size_t copied = std::min<std::size_t>(length, size - 1);
    std::memmove(dst, src, copied);
    dst[copied] = '\0';
  }
  return static_cast<unsigned>(length);
}

char* gStrTok(char* str, const char* delimiters, char** state) {
  char* token = str != nullptr ? str : *state;
  if (token == nullptr) return nullptr;
  token += std::strspn(token, delimiters);
  if (*token == '\0') {
    *state = nullptr;
    return nullptr;
  }
  char* end = std::strpbrk(token, delimiters);
  if (end != nullptr) *end++ = '\0';
  *state = end;
  return token;
}

int gStrCaseCmp(const char* a, const char* b) {
  return gStrCaseCmp(a, b, std::numeric_limits<unsigned>::max());
}

int gStrCaseCmp(const char* a, const char* b, unsigned n) {
  for (; n != 0; --n, ++a, ++b) {
    const int lowerA = std::tolower(static_cast<unsigned char>(*a));
    const int lowerB = std::tolower(static_cast<unsigned char>(*b));
    if (lowerA != lowerB) return lowerA - lowerB;
    if (*a == '\0') return 0;
  }
  return 0;
}

std::vector<std::string>& gSplit(const std::string& s, const char* delimiters,
                                 std::vector<std::string>* out) {
  return gSplit(s, delimiters, out, std::numeric_limits<unsigned>::max(), false);
}

std::vector<std::string>& gSplit(const std::string& s, const char* delimiters,
                                 std::vector<std::string>* out, unsigned maxFields) {
  return gSplit(s, delimiters, out, maxFields, false);
}

std::vector<std::string>& gSplit(const std::string& s, const char* delimiters,
                                 std::vector<std::string>* out, bool skipEmpty) {
  return gSplit(s, delimiters, out, std::numeric_limits<unsigned>::max(), skipEmpty);
}

std::vector<std::string>& gSplit(const std::string& s, const char* delimiters,
                                 std::vector<std::string>* out, unsigned maxFields,
                                 bool skipEmpty) {
  if (delimiters == nullptr || *delimiters == '\0') delimiters = loomkit::whiteSpaceSet;
  std::vector<std::string> fields;  // `s` may be an element of *out
  if (maxFields != 0) {
    fields.reserve(std::min(maxFields, 8U));
    std::size_t pos = 0;
    while (pos < s.size() && fields.size() + 1 < maxFields) {
      const std::size_t end = s.find_first_of(delimiters, pos);
      if (end == std::string::npos) break;
      if (end != pos || !skipEmpty) fields.emplace_back(s, pos, end - pos);
      pos = end + 1;
    }
    fields.emplace_back(s, pos);
  }
  out->swap(fields);
  return *out;
}

std::string gJoin(const char* separator, const std::vector<std::string>& items) {
  return gJoin(separator, items, 0, std::numeric_limits<unsigned>::max());
}

std::string gJoin(const char* separator, const std::vector<std::string>& items, unsigned first,
                  unsigned count) {
  std::string joined;
  if (first >= items.size() || count == 0) return joined;
  const std::size_t end = first + std::min<std::size_t>(count, items.size() - first);
  const std::size_t separatorLength = std::strlen(separator);

  std::size_t length = (end - first - 1) * separatorLength;
  for (std::size_t i = first; i < end; ++i) length += items[i].size();
  joined.reserve(length);

  joined = items[first];
  for (std::size_t i = first + 1; i < end; ++i) {
    joined.append(separator, separatorLength);
    joined.append(items[i]);
  }
  return joined;
}

void gReplace(std::string* s, const char* from, const char* to) {
  assert(*from != '\0');
  const std::size_t fromLength = std::strlen(from);
  std::size_t found = s->find(from, 0, fromLength);
  if (found == std::string::npos || fromLength == 0) return;

  // The new text is built beside the old one, so that each byte moves only once,
  // however many places are replaced.
  const std::size_t toLength = std::strlen(to);
  std::string replaced;
  replaced.reserve(s->size() + (toLength > fromLength ? toLength - fromLength : 0));
  std::size_t pos = 0;
  do {
    replaced.append(*s, pos, found - pos).append(to, toLength);
    pos = found + fromLength;
    found = s->find(from, pos, fromLength);
  } while (found != std::string::npos);
  replaced.append(*s, pos);
  s->swap(replaced);
}

void gExpReserve(std::string* s, unsigned extra) {
  const std::uint64_t needed = std::uint64_t{s->size()} + extra;
  if (needed <= s->capacity()) return;
  std::uint64_t capacity = 16;
  while (needed >= capacity) capacity *= 2;
  s->reserve(static_cast<std::size_t>(capacity - 1));
}
