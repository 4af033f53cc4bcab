// SPDX-License-Identifier: MIT
// InputFile: a file or standard input, read in large blocks.
#ifndef LOOM_INPUT_FILE_H
#define LOOM_INPUT_FILE_H

#include <cstdint>
#include <cstdio>
#include <istream>
#include <memory>
#include <optional>
#include <streambuf>
#include <string>
#include <vector>

#include "progress_bar.h"

namespace loom {

/// Reads a file from its beginning, or standard input for "-", and shows how far
/// it has come. Where the system refuses to open or read it, the stream is bad
/// and getErrMsg() says why.
///
///   InputFile in(path);
///   while (in.read(block, sizeof block) || in.gcount() > 0) ...
///   if (in.bad()) complain(in.getErrMsg());
class InputFile : public std::istream {
 public:
  explicit InputFile(const std::string& path);

  /// "cannot open PATH: REASON" or "cannot read PATH: REASON"; empty when
  /// nothing has failed.
  [[nodiscard]] const std::string& getErrMsg() const { return buffer.message; }
  /// Whether there is no such file.
  [[nodiscard]] bool isMissing() const { return buffer.missing; }

  /// Closes the file, which has been read as far as is wanted: some systems remove or
  /// replace no file that is open.
  void close() { buffer.close(); }

  /// The bytes read from the system so far.
  [[nodiscard]] std::uint64_t getSize() const { return buffer.done; }

 private:
  class Buffer : public std::streambuf {
   public:
    explicit Buffer(const std::string& path);
    void close() { file.reset(); }
    std::string message;
    std::uint64_t done = 0;
    bool missing = false;

   protected:
    int_type underflow() override;

   private:
    struct Close {
      void operator()(std::FILE* file) const;
    };
    std::string name;
    std::unique_ptr<std::FILE, Close> file;
    std::vector<char> block;
    std::optional<ProgressBar> bar;
  };

  Buffer buffer;
};

}  // namespace loom

#endif  // LOOM_INPUT_FILE_H
