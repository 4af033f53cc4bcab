// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "loomkit/platform/hul.h"
#include "loomkit/platform/win32/code_pages.h"
#include "loomkit/platform/win32/hul_status.h"
#include "loomkit/platform/win32/windows_api.h"

// Two code pages; one character after the other goes over UTF-16 from one to the other.
struct HulTextCodec {
  unsigned from;
  unsigned to;
};

namespace {

using loomkit::platform::failedWith;

struct CloseCodec {
  void operator()(HulTextCodec* codec) const { hulCloseTextCodec(codec); }
};

// The longest character of any code page is GB 18030's or UTF-8's, of four bytes.
constexpr std::size_t longestCharacter = 4;

// How many bytes the character that begins with this byte has; 0 for a byte that begins
// none.
std::size_t lengthOfCharacter(unsigned page, unsigned char first) {
  if (first < 0x80) return 1;
  if (page != CP_UTF8) return ::IsDBCSLeadByteEx(page, first) != 0 ? 2 : 1;
  if (first < 0xC2 || first > 0xF4) return 0;
  return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

// Decodes one character into UTF-16; 0 when its bytes are not valid.
int decode(unsigned page, const char* bytes, std::size_t size, wchar_t (&wide)[2]) {
  return ::MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, bytes, static_cast<int>(size), wide,
                               static_cast<int>(std::size(wide)));
}

// Encodes one character; 0 when the code page has no such character.
int encode(unsigned page, const wchar_t* wide, int units, char (&bytes)[longestCharacter]) {
  constexpr int room = longestCharacter;
  if (page == CP_UTF8) {
    return ::WideCharToMultiByte(page, WC_ERR_INVALID_CHARS, wide, units, bytes, room, nullptr,
                                 nullptr);
  }
  BOOL missing = FALSE;
  const int size = ::WideCharToMultiByte(page, WC_NO_BEST_FIT_CHARS, wide, units, bytes, room,
                                         nullptr, &missing);
  return missing != FALSE ? 0 : size;
}

// Converts one character. The results are those of hulConvertText(), but that nothing
// has moved on unless it was converted.
int convertCharacter(const HulTextCodec& codec, const char* input, std::size_t left,
                     std::size_t* taken, char (&bytes)[longestCharacter], int* size) {
  const auto first = static_cast<unsigned char>(*input);
  *taken = lengthOfCharacter(codec.from, first);
  // Every code page here begins with ASCII.
  if (first < 0x80) {
    bytes[0] = *input;
    *size = 1;
    return 0;
  }
  if (*taken == 0 || *taken > left) return failedWith(ERROR_NO_UNICODE_TRANSLATION);
  wchar_t wide[2];
  const int units = decode(codec.from, input, *taken, wide);
  if (units > 0) *size = encode(codec.to, wide, units, bytes);
  return units > 0 && *size > 0 ? 0 : failedWith(ERROR_NO_UNICODE_TRANSLATION);
}

std::string localCodeSet() { return loomkit::platform::nameOfCodePage(::GetACP()); }

// Converts all of `text`, in steps into a buffer on the stack.
int convertAll(const char* from, const char* to, const char* text, std::size_t length,
               std::string* result) {
  HulTextCodec* opened = nullptr;
  int status = hulOpenTextCodec(from, to, &opened);
  if (status < 0) return status;
  const std::unique_ptr<HulTextCodec, CloseCodec> codec(opened);
  do {
    char buffer[1024];
    char* end = buffer;
    std::size_t room = sizeof buffer;
    status = hulConvertText(codec.get(), &text, &length, &end, &room);
    result->append(buffer, end);
  } while (status > 0);
  return status;
}

int convert(const char* from, const char* to, const char* text, int length, int* outLength,
            HulAllocator allocator, char** out) {
  *out = nullptr;
  std::string result;
  const std::size_t size = length < 0 ? std::strlen(text) : static_cast<std::size_t>(length);
  const int status = convertAll(from, to, text, size, &result);
  if (status < 0) return status;
  if (result.size() >= static_cast<std::size_t>(std::numeric_limits<int>::max()))
    return failedWith(ERROR_ARITHMETIC_OVERFLOW);
  void* block =
      allocator != nullptr ? allocator(nullptr, result.size() + 1) : std::malloc(result.size() + 1);
  if (block == nullptr) return failedWith(ERROR_NOT_ENOUGH_MEMORY);
  *out = static_cast<char*>(block);
  std::memcpy(*out, result.c_str(), result.size() + 1);
  if (outLength != nullptr) *outLength = static_cast<int>(result.size());
  return 0;
}

}  // namespace

int hulLocaleToUTF8(const char* text, int length, int /*flags*/, int* outLength,
                    HulAllocator allocator, char** out) {
  return convert(localCodeSet().c_str(), "UTF-8", text, length, outLength, allocator, out);
}

int hulUTF8ToLocale(const char* text, int length, int /*flags*/, int* outLength,
                    HulAllocator allocator, char** out) {
  return convert("UTF-8", localCodeSet().c_str(), text, length, outLength, allocator, out);
}

char* hulStrDup(const char* text) { return text == nullptr ? nullptr : ::_strdup(text); }

void hulFree(void* block) { std::free(block); }

int hulGetLocaleParam(int parameter, int /*reserved*/, char* buffer, int size) {
  if (parameter != hulLocalCodeSet) return failedWith(ERROR_INVALID_PARAMETER);
  const std::string name = localCodeSet();
  if (size < 0 || name.size() >= static_cast<std::size_t>(size))
    return failedWith(ERROR_INSUFFICIENT_BUFFER);
  std::memcpy(buffer, name.c_str(), name.size() + 1);
  return 0;
}

int hulOpenTextCodec(const char* from, const char* to, HulTextCodec** codec) {
  *codec = nullptr;
  const HulTextCodec pages{loomkit::platform::codePageOf(from), loomkit::platform::codePageOf(to)};
  if (pages.from == 0 || pages.to == 0) return failedWith(ERROR_INVALID_PARAMETER);
  *codec = std::make_unique<HulTextCodec>(pages).release();
  return 0;
}

void hulCloseTextCodec(HulTextCodec* codec) { delete codec; }

int hulConvertText(HulTextCodec* codec, const char** input, std::size_t* inputLength, char** output,
                   std::size_t* outputRoom) {
  while (*inputLength > 0) {
    std::size_t taken = 0;
    char bytes[longestCharacter];
    int size = 0;
    const int status = convertCharacter(*codec, *input, *inputLength, &taken, bytes, &size);
    if (status != 0) return status;
    const auto length = static_cast<std::size_t>(size);
    if (length > *outputRoom) return 1;
    *output = std::copy_n(bytes, length, *output);
    *outputRoom -= length;
    *input += taken;
    *inputLength -= taken;
  }
  return 0;
}
