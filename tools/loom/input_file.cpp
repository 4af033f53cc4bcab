// SPDX-License-Identifier: MIT
#include "input_file.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "file_content.h"
#include "terminal.h"

namespace loom {

namespace {

constexpr std::size_t blockSize = std::size_t{128} << 10;

std::uint64_t sizeOf(const std::string& path) {
  std::error_code error;
  const std::uint64_t size = std::filesystem::file_size(path, error);
  return error ? 0 : size;
}

}  // namespace

void InputFile::Buffer::Close::operator()(std::FILE* open) const {
  if (open != stdin) std::fclose(open);
}

InputFile::Buffer::Buffer(const std::string& path)
    : name(path == "-" ? "standard input" : path),
      file(path == "-" ? stdin : std::fopen(path.c_str(), "rbe")),
      block(blockSize) {
  if (file == nullptr) {
    missing = errno == ENOENT;
    message = cannotOpen(name, errno);
  } else if (ProgressBar::watched() && (path != "-" || !isTerminal(StandardStream::input))) {
    bar.emplace(name, path == "-" ? 0 : sizeOf(path));
  }
}

InputFile::Buffer::int_type InputFile::Buffer::underflow() {
  if (!message.empty()) return traits_type::eof();
  const long count = readSome(file.get(), block.data(), block.size());
  if (count < 0) {
    message = "cannot read " + name + ": " + std::strerror(errno);
    // The stream that reads from here turns it into its bad state.
    throw std::ios_base::failure(message);
  }
  done += static_cast<std::uint64_t>(count);
  if (bar) bar->show(done);
  setg(block.data(), block.data(), block.data() + count);
  return count == 0 ? traits_type::eof() : traits_type::to_int_type(block[0]);
}

InputFile::InputFile(const std::string& path) : std::istream(nullptr), buffer(path) {
  rdbuf(&buffer);
  if (!buffer.message.empty()) setstate(std::ios::badbit);
}

}  // namespace loom
