// SPDX-License-Identifier: MIT
#include <iconv.h>
#include <langinfo.h>
#include <locale.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "loomkit/platform/hul.h"
#include "loomkit/platform/posix/hul_status.h"

struct HulTextCodec {
  iconv_t converter;
};

namespace {

struct CloseCodec {
  void operator()(HulTextCodec* codec) const { hulCloseTextCodec(codec); }
};

// The code set of the environment's locale, whether or not the host has called
// setlocale().
std::string findLocalCodeSet() {
  const locale_t locale = ::newlocale(LC_CTYPE_MASK, "", nullptr);
  if (locale == nullptr) return "UTF-8";
  const std::string name = ::nl_langinfo_l(CODESET, locale);
  ::freelocale(locale);
  return name.empty() || name == "ANSI_X3.4-1968" || name == "US-ASCII" ? "UTF-8" : name;
}

const std::string& localCodeSet() {
  static const std::string name = findLocalCodeSet();
  return name;
}

using OwnedCodec = std::unique_ptr<HulTextCodec, CloseCodec>;

// Opening a converter takes longer than converting most texts. Each thread therefore
// keeps those that it has used between the locale's code set and UTF-8.
struct Codecs {
  OwnedCodec toUtf8;
  OwnedCodec fromUtf8;
};

Codecs& codecs() {
  static thread_local Codecs kept;
  return kept;
}

// Opens it, or brings one that is open back to its first state: the text before may have
// ended in the middle of a character.
int begin(const char* from, const char* to, OwnedCodec* codec) {
  if (*codec != nullptr) {
    ::iconv((*codec)->converter, nullptr, nullptr, nullptr, nullptr);
    return 0;
  }
  HulTextCodec* opened = nullptr;
  const int status = hulOpenTextCodec(from, to, &opened);
  codec->reset(opened);
  return status;
}

// Converts all of `text`, in steps into a buffer on the stack.
int convertAll(HulTextCodec* codec, const char* text, std::size_t length, std::string* result) {
  int status = 0;
  do {
    char buffer[1024];
    char* end = buffer;
    std::size_t room = sizeof buffer;
    status = hulConvertText(codec, &text, &length, &end, &room);
    result->append(buffer, end);
  } while (status > 0);
  return status;
}

int convert(const char* from, const char* to, OwnedCodec* codec, const char* text, int length,
            int* outLength, HulAllocator allocator, char** out) {
  *out = nullptr;
  std::string result;
  const std::size_t size = length < 0 ? std::strlen(text) : static_cast<std::size_t>(length);
  int status = begin(from, to, codec);
  if (status >= 0) status = convertAll(codec->get(), text, size, &result);
  if (status < 0) return status;
  if (result.size() >= static_cast<std::size_t>(std::numeric_limits<int>::max()))
    return loomkit::platform::failedWith(EOVERFLOW);
  void* block =
      allocator != nullptr ? allocator(nullptr, result.size() + 1) : std::malloc(result.size() + 1);
  if (block == nullptr) return loomkit::platform::failedWith(ENOMEM);
  *out = static_cast<char*>(block);
  std::memcpy(*out, result.c_str(), result.size() + 1);
  if (outLength != nullptr) *outLength = static_cast<int>(result.size());
  return 0;
}

}  // namespace

int hulLocaleToUTF8(const char* text, int length, int /*flags*/, int* outLength,
                    HulAllocator allocator, char** out) {
  return convert(localCodeSet().c_str(), "UTF-8", &codecs().toUtf8, text, length, outLength,
                 allocator, out);
}

int hulUTF8ToLocale(const char* text, int length, int /*flags*/, int* outLength,
                    HulAllocator allocator, char** out) {
  return convert("UTF-8", localCodeSet().c_str(), &codecs().fromUtf8, text, length, outLength,
                 allocator, out);
}

char* hulStrDup(const char* text) { return text == nullptr ? nullptr : ::strdup(text); }

void hulFree(void* block) { std::free(block); }

int hulGetLocaleParam(int parameter, int /*reserved*/, char* buffer, int size) {
  if (parameter != hulLocalCodeSet) return loomkit::platform::failedWith(EINVAL);
  const std::string& name = localCodeSet();
  if (size < 0 || name.size() >= static_cast<std::size_t>(size))
    return loomkit::platform::failedWith(ERANGE);
  std::memcpy(buffer, name.c_str(), name.size() + 1);
  return 0;
}

int hulOpenTextCodec(const char* from, const char* to, HulTextCodec** codec) {
  *codec = nullptr;
  const iconv_t converter = ::iconv_open(to, from);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): iconv's own value for a failure
  if (converter == reinterpret_cast<iconv_t>(-1)) return loomkit::platform::failedStatus();
  *codec = std::make_unique<HulTextCodec>(HulTextCodec{converter}).release();
  return 0;
}

void hulCloseTextCodec(HulTextCodec* codec) {
  if (codec == nullptr) return;
  ::iconv_close(codec->converter);
  delete codec;
}

int hulConvertText(HulTextCodec* codec, const char** input, std::size_t* inputLength, char** output,
                   std::size_t* outputRoom) {
  char* next = const_cast<char*>(*input);  // iconv does not write to it
  const std::size_t result = ::iconv(codec->converter, &next, inputLength, output, outputRoom);
  *input = next;
  if (result != static_cast<std::size_t>(-1)) return 0;
  return errno == E2BIG ? 1 : loomkit::platform::failedStatus();
}
