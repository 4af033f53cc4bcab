// SPDX-License-Identifier: MIT
// ResultStream: loom's standard output as a std::ostream.
#ifndef LOOM_RESULT_STREAM_H
#define LOOM_RESULT_STREAM_H

#include <ostream>
#include <streambuf>

#include "console.h"

namespace loom {

/// Takes bytes for standard output wherever the library wants a stream. A
/// failed write throws WriteFailure through it.
class ResultStream : public std::ostream {
 public:
  ResultStream() : std::ostream(nullptr) {
    rdbuf(&buffer);
    exceptions(std::ios::badbit);
  }

 private:
  class Buffer : public std::streambuf {
   protected:
    int_type overflow(int_type c) override {
      if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
      const char byte = traits_type::to_char_type(c);
      print({&byte, 1});
      return c;
    }
    std::streamsize xsputn(const char* text, std::streamsize size) override {
      print({text, static_cast<std::size_t>(size)});
      return size;
    }
  };

  Buffer buffer;
};

}  // namespace loom

#endif  // LOOM_RESULT_STREAM_H
