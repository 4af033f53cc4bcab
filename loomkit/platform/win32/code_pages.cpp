// SPDX-License-Identifier: MIT
#include "loomkit/platform/win32/code_pages.h"

#include <charconv>
#include <cstring>

#include "loomkit/platform/win32/windows_api.h"

namespace loomkit::platform {
namespace {

constexpr unsigned utf8 = CP_UTF8;

struct Name {
  const char* name;
  unsigned page;
};

constexpr Name names[] = {
    {"UTF-8", utf8},   {"UTF8", utf8},    {"US-ASCII", 20127}, {"ASCII", 20127},
    {"LATIN1", 28591}, {"KOI8-R", 20866}, {"KOI8-U", 21866},   {"SHIFT_JIS", 932},
    {"SJIS", 932},     {"EUC-JP", 20932}, {"GBK", 936},        {"GB2312", 936},
    {"BIG5", 950},     {"EUC-KR", 949},   {"UHC", 949},        {"TIS-620", 874},
};

// Names that are a number behind a word: the page is the number and the third column.
struct Family {
  const char* prefix;
  unsigned base;
};

constexpr Family families[] = {{"CP", 0},           {"WINDOWS-", 0},      {"IBM", 0},
                               {"IBM-", 0},         {"ISO-8859-", 28590}, {"ISO8859-", 28590},
                               {"ISO_8859-", 28590}};

bool sameName(const char* a, const char* b) { return ::_stricmp(a, b) == 0; }

unsigned numbered(const char* name) {
  for (const Family& family : families) {
    const std::size_t length = std::strlen(family.prefix);
    if (::_strnicmp(name, family.prefix, length) != 0) continue;
    const char* const end = name + std::strlen(name);
    unsigned number = 0;
    const auto [stop, error] = std::from_chars(name + length, end, number);
    if (error == std::errc() && stop == end) return family.base + number;
  }
  return 0;
}

}  // namespace

unsigned codePageOf(const char* name) {
  unsigned page = numbered(name);
  for (const Name& known : names)
    if (sameName(known.name, name)) page = known.page;
  // UTF-16 and UTF-32 are numbered too, but are no code pages of bytes.
  const bool bytes = page != 1200 && page != 1201 && page != 12000 && page != 12001 && page != 0;
  return bytes && ::IsValidCodePage(page) != 0 ? page : 0;
}

std::string nameOfCodePage(unsigned page) {
  return page == utf8 ? "UTF-8" : "CP" + std::to_string(page);
}

}  // namespace loomkit::platform
