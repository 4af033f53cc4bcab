// SPDX-License-Identifier: MIT
// Zip archives against libzip, minizip and libarchive, and against the limit:
// zlib and its checksum alone, over blocks of 8 KiB in memory.
#include <benchmark/benchmark.h>
#include <zlib.h>

#ifdef LOOMKIT_PEER_LIBZIP
#include <zip.h>
#endif
#ifdef LOOMKIT_PEER_MINIZIP
#include <minizip/unzip.h>
#include <minizip/zip.h>
#endif
#ifdef LOOMKIT_PEER_LIBARCHIVE
#include <archive.h>
#include <archive_entry.h>
#endif

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "loomkit/loomkit.h"

namespace {

namespace fs = std::filesystem;

void require(bool holds) {
  if (!holds) std::abort();
}

// Text of words with a long tail, which deflates to about a third.
std::string makeText(std::size_t size) {
  std::mt19937 random(20261121);
  std::vector<std::string> words;
  for (int i = 0; i < 5000; ++i) {
    std::string word(2 + random() % 9, '\0');
    for (char& c : word) c = static_cast<char>('a' + random() % 26);
    words.push_back(word);
  }
  std::geometric_distribution<std::size_t> pick(0.002);
  std::string text;
  text.reserve(size + 16);
  while (text.size() < size)
    text += words[pick(random) % words.size()] + (random() % 12 ? " " : "\n");
  text.resize(size);
  return text;
}

// One kind of archive: so many members of so many bytes each.
struct Shape {
  const char* name;
  std::size_t members;
  std::size_t size;
  bool compress;
};

constexpr Shape shapes[] = {{"large_deflated", 1, std::size_t{16} << 20, true},
                            {"large_stored", 1, std::size_t{64} << 20, false},
                            {"small_deflated", 10000, 2048, true},
                            {"small_stored", 10000, 2048, false}};

const std::string& text() {
  static const std::string once = makeText(std::size_t{64} << 20);
  return once;
}

const char* dataOf(const Shape& shape, std::size_t member) {
  return text().data() + (shape.members == 1 ? 0 : member * 1000);
}

class Folder {
 public:
  Folder() : path(fs::temp_directory_path() / "loomkit_zip_bench") { fs::create_directories(path); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() { fs::remove_all(path); }
  fs::path path;
};

std::string fileOf(const std::string& name) {
  static const Folder folder;
  return (folder.path / name).string();
}

void countBytes(benchmark::State& state, const Shape& shape) {
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(shape.members * shape.size));
}

// --- ours --------------------------------------------------------------------

void createOurs(const Shape& shape, const std::string& path) {
  GZipWriter writer;
  writer.setCompression(shape.compress);
  require(writer.open(path));
  for (std::size_t i = 0; i < shape.members; ++i) {
    writer.writeEntry(std::to_string(i), dataOf(shape, i), static_cast<unsigned>(shape.size));
  }
  require(writer.close());
}

// An archive of the shape, made once.
const std::string& archiveOf(const Shape& shape) {
  static std::map<std::string, std::string> made;
  std::string& path = made[shape.name];
  if (path.empty()) {
    path = fileOf(std::string(shape.name) + ".zip");
    createOurs(shape, path);
  }
  return path;
}

class Discard : public GZipReader::Output {
 public:
  Discard() : Output(false) {}
  bool write(const char* data, unsigned size) override {
    benchmark::DoNotOptimize(data);
    bytes += size;
    return true;
  }
  bool flush() override { return true; }
  std::size_t bytes = 0;
};

void extractOurs(benchmark::State& state, const Shape& shape) {
  const std::string path = archiveOf(shape);
  for (auto _ : state) {
    GZipReader reader;
    require(reader.open(path));
    Discard out;
    for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
      require(reader.readEntry(i->second, &out));
    }
    require(out.bytes == shape.members * shape.size);
  }
  countBytes(state, shape);
}

// --- the limit ---------------------------------------------------------------

constexpr unsigned step = 8192;

std::vector<std::string> packedOf(const Shape& shape) {
  std::vector<std::string> packed;
  for (std::size_t i = 0; i < shape.members; ++i) {
    if (!shape.compress) {
      packed.emplace_back(dataOf(shape, i), shape.size);
      continue;
    }
    z_stream z{};
    deflateInit2(&z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    std::string out(deflateBound(&z, static_cast<uLong>(shape.size)), '\0');
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(dataOf(shape, i)));
    z.avail_in = static_cast<unsigned>(shape.size);
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<unsigned>(out.size());
    deflate(&z, Z_FINISH);
    out.resize(z.total_out);
    deflateEnd(&z);
    packed.push_back(out);
  }
  return packed;
}

void extractLimit(benchmark::State& state, const Shape& shape) {
  const std::vector<std::string> packed = packedOf(shape);
  static Bytef out[step];
  for (auto _ : state) {
    for (const std::string& data : packed) {
      uLong crc = 0;
      const auto* bytes = reinterpret_cast<const Bytef*>(data.data());
      if (!shape.compress) {
        for (std::size_t at = 0; at < data.size(); at += step) {
          crc = crc32(crc, bytes + at,
                      static_cast<unsigned>(std::min<std::size_t>(step, data.size() - at)));
        }
      } else {
        z_stream z{};
        inflateInit2(&z, -15);
        int status = Z_OK;
        for (std::size_t at = 0; status != Z_STREAM_END;) {
          if (z.avail_in == 0) {
            z.next_in = const_cast<Bytef*>(bytes + at);
            z.avail_in = static_cast<unsigned>(std::min<std::size_t>(step, data.size() - at));
            at += z.avail_in;
          }
          z.next_out = out;
          z.avail_out = step;
          status = inflate(&z, Z_PARTIAL_FLUSH);
          crc = crc32(crc, out, step - z.avail_out);
        }
        inflateEnd(&z);
      }
      benchmark::DoNotOptimize(crc);
    }
  }
  countBytes(state, shape);
}

// --- peers -------------------------------------------------------------------

#ifdef LOOMKIT_PEER_LIBZIP
void extractLibzip(benchmark::State& state, const Shape& shape) {
  const std::string path = archiveOf(shape);
  static char block[step];
  for (auto _ : state) {
    zip_t* archive = zip_open(path.c_str(), ZIP_RDONLY, nullptr);
    require(archive != nullptr);
    for (zip_int64_t i = 0; i < zip_get_num_entries(archive, 0); ++i) {
      zip_file_t* file = zip_fopen_index(archive, static_cast<zip_uint64_t>(i), 0);
      while (zip_fread(file, block, step) > 0) benchmark::DoNotOptimize(block[0]);
      zip_fclose(file);
    }
    zip_discard(archive);
  }
  countBytes(state, shape);
}

void createLibzip(const Shape& shape, const std::string& path) {
  zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
  for (std::size_t i = 0; i < shape.members; ++i) {
    zip_source_t* source = zip_source_buffer(archive, dataOf(shape, i), shape.size, 0);
    const zip_int64_t at = zip_file_add(archive, std::to_string(i).c_str(), source, 0);
    zip_set_file_compression(archive, static_cast<zip_uint64_t>(at),
                             shape.compress ? ZIP_CM_DEFLATE : ZIP_CM_STORE, 0);
  }
  require(zip_close(archive) == 0);
}
#endif

#ifdef LOOMKIT_PEER_MINIZIP
void extractMinizip(benchmark::State& state, const Shape& shape) {
  const std::string path = archiveOf(shape);
  static char block[step];
  for (auto _ : state) {
    unzFile archive = unzOpen64(path.c_str());
    for (int at = unzGoToFirstFile(archive); at == UNZ_OK; at = unzGoToNextFile(archive)) {
      unzOpenCurrentFile(archive);
      while (unzReadCurrentFile(archive, block, step) > 0) benchmark::DoNotOptimize(block[0]);
      unzCloseCurrentFile(archive);
    }
    unzClose(archive);
  }
  countBytes(state, shape);
}

void createMinizip(const Shape& shape, const std::string& path) {
  zipFile archive = zipOpen64(path.c_str(), APPEND_STATUS_CREATE);
  const zip_fileinfo info{};
  for (std::size_t i = 0; i < shape.members; ++i) {
    zipOpenNewFileInZip(archive, std::to_string(i).c_str(), &info, nullptr, 0, nullptr, 0, nullptr,
                        shape.compress ? Z_DEFLATED : 0, Z_DEFAULT_COMPRESSION);
    for (std::size_t done = 0; done < shape.size; done += step) {
      zipWriteInFileInZip(archive, dataOf(shape, i) + done,
                          static_cast<unsigned>(std::min<std::size_t>(step, shape.size - done)));
    }
    zipCloseFileInZip(archive);
  }
  zipClose(archive, nullptr);
}
#endif

#ifdef LOOMKIT_PEER_LIBARCHIVE
void extractLibarchive(benchmark::State& state, const Shape& shape) {
  const std::string path = archiveOf(shape);
  for (auto _ : state) {
    archive* in = archive_read_new();
    archive_read_support_format_zip_seekable(in);
    require(archive_read_open_filename(in, path.c_str(), step) == ARCHIVE_OK);
    archive_entry* entry = nullptr;
    while (archive_read_next_header(in, &entry) == ARCHIVE_OK) {
      const void* block = nullptr;
      std::size_t size = 0;
      la_int64_t offset = 0;
      while (archive_read_data_block(in, &block, &size, &offset) == ARCHIVE_OK) {
        benchmark::DoNotOptimize(block);
      }
    }
    archive_read_free(in);
  }
  countBytes(state, shape);
}

void createLibarchive(const Shape& shape, const std::string& path) {
  archive* out = archive_write_new();
  archive_write_set_format_zip(out);
  archive_write_set_options(out,
                            shape.compress ? "zip:compression=deflate" : "zip:compression=store");
  archive_write_open_filename(out, path.c_str());
  for (std::size_t i = 0; i < shape.members; ++i) {
    archive_entry* entry = archive_entry_new();
    archive_entry_set_pathname(entry, std::to_string(i).c_str());
    archive_entry_set_size(entry, static_cast<la_int64_t>(shape.size));
    archive_entry_set_filetype(entry, AE_IFREG);
    archive_entry_set_perm(entry, 0644);
    archive_write_header(out, entry);
    archive_write_data(out, dataOf(shape, i), shape.size);
    archive_entry_free(entry);
  }
  require(archive_write_close(out) == ARCHIVE_OK);
  archive_write_free(out);
}
#endif

// --- the directory ---------------------------------------------------------------

constexpr Shape manyEntries = {"many", 60000, 0, false};

void openOurs(benchmark::State& state) {
  const std::string path = archiveOf(manyEntries);
  for (auto _ : state) {
    GZipReader reader;
    require(reader.open(path) && reader.getEntryCount() == manyEntries.members);
  }
}

void findOurs(benchmark::State& state) {
  GZipReader reader;
  require(reader.open(archiveOf(manyEntries)));
  std::size_t i = 0;
  for (auto _ : state) {
    i = (i + 7919) % manyEntries.members;
    benchmark::DoNotOptimize(reader.getEntry(std::to_string(i)));
  }
}

#ifdef LOOMKIT_PEER_LIBZIP
void openLibzip(benchmark::State& state) {
  const std::string path = archiveOf(manyEntries);
  for (auto _ : state) {
    zip_t* archive = zip_open(path.c_str(), ZIP_RDONLY, nullptr);
    require(zip_name_locate(archive, "59999", 0) >= 0);
    zip_discard(archive);
  }
}

void findLibzip(benchmark::State& state) {
  zip_t* archive = zip_open(archiveOf(manyEntries).c_str(), ZIP_RDONLY, nullptr);
  std::size_t i = 0;
  for (auto _ : state) {
    i = (i + 7919) % manyEntries.members;
    benchmark::DoNotOptimize(zip_name_locate(archive, std::to_string(i).c_str(), 0));
  }
  zip_discard(archive);
}
#endif

#ifdef LOOMKIT_PEER_MINIZIP
void openMinizip(benchmark::State& state) {
  const std::string path = archiveOf(manyEntries);
  for (auto _ : state) {
    unzFile archive = unzOpen64(path.c_str());
    for (int at = unzGoToFirstFile(archive); at == UNZ_OK; at = unzGoToNextFile(archive)) {
      benchmark::DoNotOptimize(at);
    }
    unzClose(archive);
  }
}
#endif

using Create = void (*)(const Shape&, const std::string&);
using Extract = void (*)(benchmark::State&, const Shape&);

void addCreate(const Shape& shape, const char* who, Create create) {
  const std::string name = std::string("zip_create_") + shape.name + "/" + who;
  benchmark::RegisterBenchmark(name.c_str(), [&shape, create](benchmark::State& state) {
    const std::string path = fileOf("created.zip");
    for (auto _ : state) create(shape, path);
    countBytes(state, shape);
  })->Unit(benchmark::kMillisecond);
}

void addExtract(const Shape& shape, const char* who, Extract extract) {
  const std::string name = std::string("zip_extract_") + shape.name + "/" + who;
  benchmark::RegisterBenchmark(name.c_str(), [&shape, extract](benchmark::State& state) {
    extract(state, shape);
  })->Unit(benchmark::kMillisecond);
}

void createLimit(const Shape& shape, const std::string& path) {
  std::ofstream out(path, std::ios::binary);
  for (const std::string& data : packedOf(shape)) {
    const auto* plain = reinterpret_cast<const Bytef*>(data.data());
    benchmark::DoNotOptimize(crc32(0, plain, static_cast<unsigned>(data.size())));
    out.write(data.data(), static_cast<std::streamsize>(data.size()));
  }
}

const bool registered = [] {
  for (const Shape& shape : shapes) {
    addExtract(shape, "ours", extractOurs);
    addExtract(shape, "limit", extractLimit);
    addCreate(shape, "ours", createOurs);
    addCreate(shape, "limit", createLimit);
#ifdef LOOMKIT_PEER_LIBZIP
    addExtract(shape, "libzip", extractLibzip);
    addCreate(shape, "libzip", createLibzip);
#endif
#ifdef LOOMKIT_PEER_MINIZIP
    addExtract(shape, "minizip", extractMinizip);
    addCreate(shape, "minizip", createMinizip);
#endif
#ifdef LOOMKIT_PEER_LIBARCHIVE
    addExtract(shape, "libarchive", extractLibarchive);
    addCreate(shape, "libarchive", createLibarchive);
#endif
  }
  return true;
}();

BENCHMARK(openOurs)->Name("zip_open_60000/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(findOurs)->Name("zip_find/ours");
#ifdef LOOMKIT_PEER_LIBZIP
BENCHMARK(openLibzip)->Name("zip_open_60000/libzip")->Unit(benchmark::kMillisecond);
BENCHMARK(findLibzip)->Name("zip_find/libzip");
#endif
#ifdef LOOMKIT_PEER_MINIZIP
BENCHMARK(openMinizip)->Name("zip_open_60000/minizip")->Unit(benchmark::kMillisecond);
#endif

}  // namespace
