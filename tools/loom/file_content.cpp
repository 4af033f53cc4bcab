// SPDX-License-Identifier: MIT
#include "file_content.h"

#include <cstring>

#include "console.h"
#include "input_file.h"
#include "loomkit/streams/atomic_file.h"
#include "loomkit/streams/file.h"

namespace loom {

namespace {

constexpr std::size_t blockSize = 65536;

}  // namespace

std::string cannotOpen(const std::string& path, int error) {
  return "cannot open " + path + ": " + std::strerror(error);
}

void requireFile(const std::string& path) {
  const InputFile file(path);
  if (file.bad()) throw Failure(ExitCode::cannotOpen, file.getErrMsg());
}

std::string contentOf(const std::string& path) {
  InputFile in(path);
  std::string text;
  char block[blockSize];
  while (in.read(block, sizeof block) || in.gcount() > 0) {
    text.append(block, static_cast<std::size_t>(in.gcount()));
  }
  if (in.bad()) throw Failure(ExitCode::cannotOpen, in.getErrMsg());
  return text;
}

ExitCode writeFile(const std::string& path, bool force,
                   const std::function<bool(std::ostream&)>& fill) {
  if (!force && GFile(path).exists()) {
    complain(path + " is there already (--force replaces it)");
    return ExitCode::cannotWrite;
  }
  GAtomicFile file(path);
  if (file.isOpen() && !fill(file.out()) && file.out()) return ExitCode::damaged;
  if (file.commit()) return ExitCode::done;
  complain(file.getErrMsg());
  return ExitCode::cannotWrite;
}

}  // namespace loom
