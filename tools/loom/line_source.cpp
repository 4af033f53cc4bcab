// SPDX-License-Identifier: MIT
#include "line_source.h"

#include <cerrno>
#include <cstring>

#include "command.h"
#include "console.h"
#include "terminal.h"

namespace loom {

namespace {

constexpr std::size_t blockSize = 64 * 1024;

[[noreturn]] void failToRead(const std::string& name, int error) {
  throw Failure(ExitCode::cannotOpen, name + ": " + std::strerror(error));
}

}  // namespace

void LineSource::Close::operator()(std::FILE* open) const {
  if (open != stdin) std::fclose(open);
}

LineSource::LineSource(const std::string& path)
    : name(path == "-" ? "standard input" : path),
      file(path == "-" ? stdin : std::fopen(path.c_str(), "rb")),
      block(blockSize) {
  if (file == nullptr) failToRead(name, errno);
}

bool LineSource::next(std::string* line) {
  line->clear();
  bool any = false;
  while (position < filled || fill()) {
    any = true;
    const char* const start = block.data() + position;
    const std::size_t available = filled - position;
    const void* const end = std::memchr(start, '\n', available);
    if (end == nullptr) {
      line->append(start, available);
      position = filled;
      continue;
    }
    const std::size_t length = static_cast<std::size_t>(static_cast<const char*>(end) - start);
    line->append(start, length);
    position += length + 1;
    break;
  }
  if (!line->empty() && line->back() == '\r') line->pop_back();
  return any;
}

bool LineSource::fill() {
  flushResults();
  const long got = readSome(file.get(), block.data(), block.size());
  if (got < 0) failToRead(name, errno);
  position = 0;
  filled = static_cast<std::size_t>(got);
  return got > 0;
}

void forEachText(const std::vector<std::string>& texts,
                 const std::function<void(const std::string&)>& use) {
  for (const std::string& text : texts) {
    if (text != "-") {
      use(text);
      continue;
    }
    LineSource lines("-");
    for (std::string line; lines.next(&line);) use(line);
  }
}

}  // namespace loom
