// SPDX-License-Identifier: MIT
// Memory streams of several block sizes against std::stringstream, in time and
// in the most memory that is held; gzip against zlib's own files and against
// deflate alone.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <sstream>
#include <string>

#include "loomkit/loomkit.h"

// --- the most memory that is held at a time --------------------------------------

namespace {

std::size_t held = 0;
std::size_t most = 0;
constexpr std::size_t prefix = 16;

}  // namespace

void* operator new(std::size_t size) {
  void* block = std::malloc(size + prefix);
  if (block == nullptr) throw std::bad_alloc();
  *static_cast<std::size_t*>(block) = size;
  held += size;
  if (held > most) most = held;
  return static_cast<char*>(block) + prefix;
}
void operator delete(void* pointer) noexcept {
  if (pointer == nullptr) return;
  void* block = static_cast<char*>(pointer) - prefix;
  held -= *static_cast<std::size_t*>(block);
  std::free(block);
}
void operator delete(void* pointer, std::size_t /*size*/) noexcept { operator delete(pointer); }

namespace {

// --- memory streams ----------------------------------------------------------------

constexpr std::size_t total = 100'000'000;
constexpr char piece[] = "sixteen letters.";
constexpr std::size_t pieceSize = sizeof piece - 1;

void countBytes(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void writeAll(std::ostream& out) {
  for (std::size_t i = 0; i < total / pieceSize; ++i) out.write(piece, pieceSize);
}

std::size_t readAll(std::istream& in) {
  char block[pieceSize];
  std::size_t bytes = 0;
  while (in.read(block, pieceSize)) {
    benchmark::DoNotOptimize(block[0]);
    bytes += pieceSize;
  }
  return bytes;
}

template <unsigned blockSize>
void writeOurs(benchmark::State& state) {
  for (auto _ : state) {
    const std::size_t before = held;
    most = held;
    GOMemStream out(blockSize);
    writeAll(out);
    state.counters["peakMB"] = static_cast<double>(most - before) / 1e6;
  }
  countBytes(state, total);
}

void writeStandard(benchmark::State& state) {
  for (auto _ : state) {
    const std::size_t before = held;
    most = held;
    std::stringstream out;
    writeAll(out);
    state.counters["peakMB"] = static_cast<double>(most - before) / 1e6;
  }
  countBytes(state, total);
}

template <unsigned blockSize>
void readOurs(benchmark::State& state) {
  GOMemStream out(blockSize);
  writeAll(out);
  GIStream in(out.rdbuf(nullptr), true);
  for (auto _ : state) {
    in.clear();
    in.seekg(0);
    if (readAll(in) != total) std::abort();
  }
  countBytes(state, total);
}

void readStandard(benchmark::State& state) {
  std::stringstream stream;
  writeAll(stream);
  for (auto _ : state) {
    stream.clear();
    stream.seekg(0);
    if (readAll(stream) != total) std::abort();
  }
  countBytes(state, total);
}

BENCHMARK(writeOurs<1024>)->Name("memory_write_block_1024/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(writeOurs<4096>)->Name("memory_write/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(writeOurs<65536>)->Name("memory_write_block_65536/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(writeStandard)->Name("memory_write/stringstream")->Unit(benchmark::kMillisecond);
BENCHMARK(readOurs<1024>)->Name("memory_read_block_1024/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(readOurs<4096>)->Name("memory_read/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(readOurs<65536>)->Name("memory_read_block_65536/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(readStandard)->Name("memory_read/stringstream")->Unit(benchmark::kMillisecond);

// --- gzip --------------------------------------------------------------------------

constexpr std::size_t gzipSize = std::size_t{8} << 20;

const std::string& text() {
  static const std::string once = [] {
    std::string made;
    std::uint32_t state = 1;
    while (made.size() < gzipSize) {
      state = state * 1664525 + 1013904223;
      made += "word" + std::to_string(state >> 20) + ((state >> 8) % 9 == 0 ? "\n" : " ");
    }
    made.resize(gzipSize);
    return made;
  }();
  return once;
}

std::string pathOf(const char* name) {
  return (std::filesystem::temp_directory_path() / name).string();
}

const std::string& packedFile() {
  static const std::string once = [] {
    const std::string path = pathOf("loomkit_streams_bench.gz");
    std::istringstream in(text());
    std::ofstream out(path, std::ios::binary);
    GGZCompress(in).compress(out, true);
    return path;
  }();
  return once;
}

class Discard : public std::streambuf {
 protected:
  std::streamsize xsputn(const char* data, std::streamsize size) override {
    benchmark::DoNotOptimize(data);
    return size;
  }
  int_type overflow(int_type c) override { return traits_type::not_eof(c); }
};

void gunzipOurs(benchmark::State& state) {
  for (auto _ : state) {
    std::ifstream in(packedFile(), std::ios::binary);
    Discard discard;
    std::ostream out(&discard);
    if (!GGZCompress(in).decompress(out, true)) std::abort();
  }
  countBytes(state, gzipSize);
}

void gunzipZlib(benchmark::State& state) {
  static char block[8192];
  for (auto _ : state) {
    gzFile file = gzopen(packedFile().c_str(), "rb");
    while (gzread(file, block, sizeof block) > 0) benchmark::DoNotOptimize(block[0]);
    gzclose(file);
  }
  countBytes(state, gzipSize);
}

void gzipOurs(benchmark::State& state) {
  for (auto _ : state) {
    std::istringstream in(text());
    std::ofstream out(pathOf("loomkit_streams_bench.tmp"), std::ios::binary);
    if (!GGZCompress(in).compress(out, true)) std::abort();
  }
  countBytes(state, gzipSize);
}

void gzipZlib(benchmark::State& state) {
  for (auto _ : state) {
    gzFile file = gzopen(pathOf("loomkit_streams_bench.tmp").c_str(), "wb9");
    gzwrite(file, text().data(), static_cast<unsigned>(text().size()));
    gzclose(file);
  }
  countBytes(state, gzipSize);
}

BENCHMARK(gunzipOurs)->Name("gunzip/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(gunzipZlib)->Name("gunzip/gzread")->Unit(benchmark::kMillisecond);
BENCHMARK(gzipOurs)->Name("gzip/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(gzipZlib)->Name("gzip/gzwrite")->Unit(benchmark::kMillisecond);

}  // namespace
