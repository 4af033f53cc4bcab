// SPDX-License-Identifier: MIT
#include "../text_converter.h"

#include <iconv.h>

#include <cerrno>
#include <vector>

namespace loom {

namespace {

class Converter {
 public:
  explicit Converter(const std::string& encoding) : handle(iconv_open("UTF-8", encoding.c_str())) {}
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() {
    if (isOpen()) iconv_close(handle);
  }

  // iconv_open() tells a failure by a pointer of all ones.
  [[nodiscard]] bool isOpen() const { return handle != reinterpret_cast<iconv_t>(-1); }

  // One step, as iconv() makes it; false at an error, which is in errno.
  bool convert(char** from, std::size_t* left, char** to, std::size_t* room) {
    return iconv(handle, from, left, to, room) != static_cast<std::size_t>(-1);
  }

 private:
  iconv_t handle;
};

}  // namespace

Conversion convertToUtf8(std::string_view bytes, const std::string& encoding, std::string* result,
                         std::size_t* valid) {
  *valid = 0;
  Converter converter(encoding);
  if (!converter.isOpen()) return Conversion::unknownEncoding;
  constexpr std::size_t blockSize = 65536;
  std::vector<char> block(blockSize);
  char* from = const_cast<char*>(bytes.data());  // iconv() does not write to it
  std::size_t left = bytes.size();
  bool more = true;
  while (more) {
    char* to = block.data();
    std::size_t room = blockSize;
    const bool done = converter.convert(&from, &left, &to, &room);
    const int error = errno;
    result->append(block.data(), to);
    *valid = bytes.size() - left;
    if (!done && error != E2BIG) return Conversion::invalid;
    more = !done;
  }
  return Conversion::done;
}

}  // namespace loom
