// SPDX-License-Identifier: MIT
#include "file_content.h"

#include <istream>
#include <memory>

#include "console.h"
#include "loomkit/streams/atomic_file.h"
#include "loomkit/streams/file.h"
#include "terminal.h"

namespace loom {

namespace {

constexpr std::size_t blockSize = 65536;

std::string standardInput() {
  std::string text;
  char block[blockSize];
  long count = 0;
  while ((count = readSome(stdin, block, sizeof block)) > 0) {
    text.append(block, static_cast<std::size_t>(count));
  }
  if (count < 0) throw Failure(ExitCode::cannotOpen, "cannot read standard input");
  return text;
}

std::unique_ptr<std::istream> opened(const std::string& path) {
  std::unique_ptr<std::istream> in(GFile(path).getInStream(true));
  if (in == nullptr) throw Failure(ExitCode::cannotOpen, "cannot open " + path);
  return in;
}

}  // namespace

void requireFile(const std::string& path) { opened(path); }

std::string contentOf(const std::string& path) {
  if (path == "-") return standardInput();
  const std::unique_ptr<std::istream> in = opened(path);
  std::string text;
  char block[blockSize];
  while (in->read(block, sizeof block) || in->gcount() > 0) {
    text.append(block, static_cast<std::size_t>(in->gcount()));
  }
  if (in->bad()) throw Failure(ExitCode::cannotOpen, "cannot read " + path);
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
