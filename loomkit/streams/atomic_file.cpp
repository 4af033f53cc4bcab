// SPDX-License-Identifier: MIT
#include "loomkit/streams/atomic_file.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <streambuf>
#include <vector>

#include "loomkit/platform/hul.h"
#include "loomkit/platform/replacement.h"

namespace {

// Writes to a hul handle and remembers the first status that was a failure.
class HandleBuf : public std::streambuf {
 public:
  HandleBuf() : block(65536) {}

  void attach(int newHandle) {
    handle = newHandle;
    setp(block.data(), block.data() + block.size());
  }
  void detach() {
    handle = -1;
    setp(nullptr, nullptr);
  }
  [[nodiscard]] int status() const { return firstFailure; }

 protected:
  int_type overflow(int_type c) override {
    if (!drain()) return traits_type::eof();
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    return sputc(traits_type::to_char_type(c));
  }

  int sync() override { return drain() ? 0 : -1; }

  // The content can seek because archives complete their headers after the data.
  pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                   std::ios_base::openmode /*which*/) override {
    if (direction == std::ios_base::end) return off_type(-1);
    return seek(direction == std::ios_base::beg ? hulFromStart : hulFromCurrent, offset);
  }
  pos_type seekpos(pos_type position, std::ios_base::openmode /*which*/) override {
    return seek(hulFromStart, position);
  }

  std::streamsize xsputn(const char* text, std::streamsize size) override {
    // Data larger than the block go straight to the file: a copy would cost more.
    if (size < static_cast<std::streamsize>(block.size())) {
      return std::streambuf::xsputn(text, size);
    }
    return drain() && write(text, size) ? size : 0;
  }

 private:
  bool drain() {
    if (!write(pbase(), pptr() - pbase())) return false;
    setp(block.data(), block.data() + block.size());
    return true;
  }

  pos_type seek(int origin, off_type offset) {
    std::int64_t position = -1;
    if (!drain() || hulSeek(handle, origin, offset, 0, &position) < 0) return off_type(-1);
    return position;
  }

  bool write(const char* text, std::streamsize size) {
    if (handle < 0 || firstFailure != 0) return false;
    while (size > 0 && firstFailure == 0) {
      const int count = static_cast<int>(std::min<std::streamsize>(size, INT_MAX));
      firstFailure = hulWrite(handle, text, count, nullptr);
      text += count;
      size -= count;
    }
    return firstFailure == 0;
  }

  std::vector<char> block;
  int handle = -1;
  int firstFailure = 0;
};

}  // namespace

class GAtomicFile::Impl {
 public:
  Impl(const std::string& filePath, const Options& options) : path(filePath), stream(&buffer) {
    const int status = loomkit::platform::createReplacement(
        path, {options.likeFile, options.followLinks, options.sync}, &file);
    if (status == 0) {
      buffer.attach(file.handle);
    } else {
      fail(status);
    }
  }
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;
  ~Impl() { discard(); }

  bool commit() {
    if (file.handle < 0) {
      if (message.empty()) message = path + ": nothing to commit";
      return false;
    }
    stream.flush();
    if (!stream) {
      // A stream that its user has set to failed has no status to give words for.
      const int status = buffer.status();
      if (status != 0) {
        fail(status);
      } else {
        message = path + ": the content could not be written";
      }
      discard();
      return false;
    }
    buffer.detach();
    const int status = loomkit::platform::commitReplacement(&file);
    if (status != 0) fail(status);
    return status == 0;
  }

  void discard() {
    buffer.detach();
    loomkit::platform::discardReplacement(&file);
  }

  void fail(int status) {
    message = path + ": " + hulStrError(status);
    stream.setstate(std::ios::badbit);
  }

  std::string path;
  std::string message;
  loomkit::platform::Replacement file;
  HandleBuf buffer;
  std::ostream stream;
};

GAtomicFile::GAtomicFile(const std::string& path) : GAtomicFile(path, Options()) {}
GAtomicFile::GAtomicFile(const std::string& path, const Options& options)
    : impl(std::make_unique<Impl>(path, options)) {}
GAtomicFile::~GAtomicFile() = default;

bool GAtomicFile::isOpen() const { return impl->file.handle >= 0; }
std::ostream& GAtomicFile::out() { return impl->stream; }
bool GAtomicFile::commit() { return impl->commit(); }
void GAtomicFile::discard() { impl->discard(); }
void GAtomicFile::discardAll() noexcept { loomkit::platform::deleteAllReplacements(); }
const std::string& GAtomicFile::getErrMsg() const { return impl->message; }
