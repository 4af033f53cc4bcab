// SPDX-License-Identifier: MIT
#include "loomkit/db/sql/local_text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "loomkit/text/output.h"
#include "loomkit/text/template.h"

namespace loomkit {
namespace {

// Provides the memory of hulUTF8ToLocale(), so that its result is released by
// operator delete. Null and a size give a new block; a block and the size 0 release
// the block; a block and a size give a new block with the text of the old one.
void* textAllocator(void* old, std::size_t size) {
  if (size == 0) {
    ::operator delete(old);
    return nullptr;
  }
  void* block = ::operator new(size);
  if (old != nullptr) {
    const char* text = static_cast<const char*>(old);
    std::memcpy(block, text, std::min(size, std::strlen(text) + 1));
    ::operator delete(old);
  }
  return block;
}

struct TextDelete {
  void operator()(char* text) const { ::operator delete(text); }
};

}  // namespace

bool isAscii(const char* text, std::size_t length) {
  std::uint64_t seen = 0;
  for (std::uint64_t word = 0; length >= sizeof word; text += sizeof word, length -= sizeof word) {
    std::memcpy(&word, text, sizeof word);
    seen |= word;
  }
  for (; length > 0; ++text, --length) seen |= static_cast<unsigned char>(*text);
  return (seen & 0x8080808080808080) == 0;
}

HulText toUtf8(const char* text, int length, int* utf8Length, const char* logText) {
  const std::size_t size =
      length < 0 ? std::strlen(text) : strnlen(text, static_cast<std::size_t>(length));
  // A text that runs to its NUL and is ASCII needs a copy and no conversion.
  if (length < 0 && isAscii(text, size)) {
    if (utf8Length != nullptr) *utf8Length = static_cast<int>(size);
    return HulText(hulStrDup(text));
  }
  char* converted = nullptr;
  const int status = hulLocaleToUTF8(text, length, 0, utf8Length, nullptr, &converted);
  if (status >= 0) return HulText(converted);
  std::string line = logText;
  line << hulStrError(status);
  gOutput->log(0, gDataSysName, line.c_str());
  // The copy ends at the first NUL, whatever length was given.
  if (utf8Length != nullptr) *utf8Length = length < 0 ? -1 : static_cast<int>(size);
  return HulText(hulStrDup(text));
}

void fromUtf8(const char* utf8, int length, std::string* text) {
  const std::size_t size = strnlen(utf8, static_cast<std::size_t>(length));
  if (isAscii(utf8, size)) {
    text->assign(utf8, size);
    return;
  }
  char* converted = nullptr;
  if (hulUTF8ToLocale(utf8, length, 0, nullptr, textAllocator, &converted) < 0) {
    text->assign(utf8, size);
    return;
  }
  const std::unique_ptr<char, TextDelete> owner(converted);
  text->assign(converted);
}

}  // namespace loomkit
