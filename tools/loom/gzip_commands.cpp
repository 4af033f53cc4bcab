// SPDX-License-Identifier: MIT
// loom gzip and loom gunzip: compressed files.
#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>

#include "console.h"
#include "families.h"
#include "file_content.h"
#include "loomkit/streams/atomic_file.h"
#include "loomkit/streams/file.h"
#include "loomkit/streams/gzip_stream.h"
#include "progress_bar.h"
#include "result_stream.h"

namespace loom {

namespace {

constexpr std::string_view suffix = ".gz";

// A file's bytes, counted for the bar.
class CountedBuf : public std::filebuf {
 public:
  explicit CountedBuf(const std::string& path) : bar(path, sizeOf(path)) {
    open(path, std::ios::in | std::ios::binary);
  }

 protected:
  int_type underflow() override {
    const int_type c = std::filebuf::underflow();
    count(c == traits_type::eof() ? 0 : egptr() - gptr());
    return c;
  }
  std::streamsize xsgetn(char* target, std::streamsize size) override {
    const std::streamsize got = std::filebuf::xsgetn(target, size);
    count(got);
    return got;
  }

 private:
  static std::uint64_t sizeOf(const std::string& path) {
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(path, error);
    return error ? 0 : size;
  }
  void count(std::streamsize bytes) {
    done += static_cast<std::uint64_t>(bytes);
    bar.show(done);
  }

  ProgressBar bar;
  std::uint64_t done = 0;
};

// Decompresses one gzip member after the other (RFC 1952) and compares each
// with its trailer, which is what GGZCompress leaves to its caller.
class Gunzip {
 public:
  Gunzip(std::istream& source, std::ostream& target) : in(source), out(target) {}
  Gunzip(const Gunzip&) = delete;
  Gunzip& operator=(const Gunzip&) = delete;
  ~Gunzip() {
    if (started) inflateEnd(&z);
  }

  // Null when all is well, else what is wrong.
  const char* run() {
    constexpr int gzipOnly = 15 + 16;
    if (inflateInit2(&z, gzipOnly) != Z_OK) return "out of memory";
    started = true;
    bool inMember = true;
    bool any = false;
    for (;;) {
      if (z.avail_in == 0 && !fill()) {
        return inMember ? (any ? "unexpected end" : "not a gzip file") : nullptr;
      }
      if (!inMember) {
        // Zeros that fill up a block of a tape are no member.
        if (*z.next_in == 0 && skipZeros()) continue;
        inflateReset(&z);
        inMember = true;
      }
      const int status = step();
      if (status == Z_STREAM_END) {
        any = true;
        inMember = false;
      } else if (status != Z_OK && status != Z_BUF_ERROR) {
        return any || z.total_out > 0 ? "the data are damaged" : "not a gzip file";
      }
      any = any || z.total_out > 0;
    }
  }

 private:
  bool fill() {
    in.read(reinterpret_cast<char*>(input), sizeof input);
    z.next_in = input;
    z.avail_in = static_cast<unsigned>(in.gcount());
    return z.avail_in > 0;
  }
  bool skipZeros() {
    while (z.avail_in > 0 && *z.next_in == 0) {
      ++z.next_in;
      --z.avail_in;
    }
    return z.avail_in == 0;
  }
  int step() {
    z.next_out = output;
    z.avail_out = sizeof output;
    const int status = inflate(&z, Z_NO_FLUSH);
    out.write(reinterpret_cast<const char*>(output),
              static_cast<std::streamsize>(sizeof output - z.avail_out));
    return status;
  }

  std::istream& in;
  std::ostream& out;
  z_stream z{};
  bool started = false;
  unsigned char input[65536];
  unsigned char output[65536];
};

bool compress(std::istream& in, std::ostream& out, const std::string& name) {
  if (GGZCompress(in).compress(out, true)) return true;
  if (out) complain(name + ": cannot be compressed");
  return false;
}

bool decompress(std::istream& in, std::ostream& out, const std::string& name) {
  const char* error = Gunzip(in, out).run();
  if (error != nullptr) complain(name + ": " + error);
  return error == nullptr;
}

using Work = bool (*)(std::istream&, std::ostream&, const std::string&);

// One file, to standard output or to `target` in one step.
ExitCode convert(const Invocation& call, const std::string& path, const std::string& target,
                 Work work) {
  if (!std::unique_ptr<std::istream>(GFile(path).getInStream(true))) {
    complain("cannot open " + path);
    return ExitCode::cannotOpen;
  }
  CountedBuf buffer(path);
  std::istream in(&buffer);
  if (call.has("--stdout")) {
    ResultStream out;
    return work(in, out, path) ? ExitCode::done : ExitCode::damaged;
  }
  if (!call.has("--force") && GFile(target).exists()) {
    complain(target + " is there already (--force replaces it)");
    return ExitCode::cannotWrite;
  }
  GAtomicFile file(target);
  const bool done = file.isOpen() && work(in, file.out(), path);
  if (file.isOpen() && file.out() && !done) return ExitCode::damaged;
  if (!file.commit()) {
    complain(file.getErrMsg());
    return ExitCode::cannotWrite;
  }
  if (call.has("--remove")) GFile(path).remove();
  return ExitCode::done;
}

ExitCode gzip(const Invocation& call) {
  ExitCode code = ExitCode::done;
  for (const std::string& path : call.operands("FILE")) {
    const ExitCode one = convert(call, path, path + std::string(suffix), compress);
    if (one != ExitCode::done) code = one;
  }
  return code;
}

ExitCode gunzip(const Invocation& call) {
  ExitCode code = ExitCode::done;
  for (const std::string& path : call.operands("FILE")) {
    if (!call.has("--stdout") && (path.size() <= suffix.size() || !path.ends_with(suffix))) {
      throw Failure(ExitCode::usage, "not a name that ends in .gz: " + path);
    }
    const ExitCode one = convert(
        call, path, path.substr(0, path.size() - std::min(path.size(), suffix.size())), decompress);
    if (one != ExitCode::done) code = one;
  }
  return code;
}

constexpr Operand fileOperands[] = {
    {.name = "FILE", .help = "A file.", .most = many, .completes = Completes::files}};
constexpr Option options[] = {
    {.names = "-c,--stdout", .help = "Write to standard output."},
    forceOption,
    {.names = "--remove", .help = "Remove each file when its new one is complete."}};
constexpr ExitCodeMeaning gzipExits[] = {{ExitCode::cannotOpen, "a file cannot be opened"}};
constexpr ExitCodeMeaning gunzipExits[] = {{ExitCode::cannotOpen, "a file cannot be opened"},
                                           {ExitCode::damaged, "a file is damaged"}};

constexpr Command commands[] = {
    {.name = "gzip",
     .summary = "compress files",
     .description = "Compresses each FILE into FILE.gz. The file stays, and the new one appears "
                    "when it is complete.",
     .options = options,
     .operands = fileOperands,
     .example = "$ echo abc > a; loom gzip a; gzip -dc a.gz\nabc\n",
     .exits = gzipExits,
     .run = gzip},
    {.name = "gunzip",
     .summary = "decompress files",
     .description = "Decompresses each FILE.gz into FILE and compares it with its checksum. A "
                    "damaged one leaves no file.",
     .options = options,
     .operands = fileOperands,
     .example = "$ echo abc | gzip > a.gz; loom gunzip -c a.gz\nabc\n",
     .exits = gunzipExits,
     .run = gunzip},
};

}  // namespace

const Family gzipFamily = {.commands = commands};

}  // namespace loom
