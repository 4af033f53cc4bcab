// SPDX-License-Identifier: MIT
// Zip archives against libzip, minizip and libarchive, and against the limit:
// zlib and its checksum alone, over blocks of 8 KiB of the file.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>
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

constexpr Shape shapes[] = {{"large_deflated", 1, std::size_t{64} << 20, true},
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
//
// The least code that does the job: the members' places are known, nothing is
// compared or reported, and only the calls to the system and to zlib are left,
// in steps of 8 KiB.

constexpr unsigned step = 8192;

class LimitFile {
 public:
  LimitFile(const std::string& path, int flags) : handle(::open(path.c_str(), flags, 0644)) {
    require(handle >= 0);
  }
  LimitFile(const LimitFile&) = delete;
  LimitFile& operator=(const LimitFile&) = delete;
  ~LimitFile() { ::close(handle); }

  void read(void* block, std::size_t size, std::uint64_t at) const {
    require(::pread(handle, block, size, static_cast<off_t>(at)) == static_cast<ssize_t>(size));
  }
  void write(const void* block, std::size_t size) const {
    require(::write(handle, block, size) == static_cast<ssize_t>(size));
  }

 private:
  int handle;
};

struct Place {
  std::uint64_t header;
  std::size_t headerSize;
  std::size_t size;
};

std::vector<Place> placesOf(const Shape& shape) {
  constexpr std::size_t fixedPart = 30;
  GZipReader reader;
  require(reader.open(archiveOf(shape)));
  std::vector<Place> places;
  for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
    const GZipEntry& entry = *(*i).second;
    places.push_back(
        {entry.getLocalHeaderOffs(), fixedPart + entry.getFName().size(), entry.getComprSize()});
  }
  return places;
}

uLong limitInflate(const LimitFile& file, const Place& place) {
  static Bytef in[step];
  static Bytef out[step];
  z_stream z{};
  inflateInit2(&z, -15);
  uLong crc = 0;
  int status = Z_OK;
  for (std::size_t done = 0; status != Z_STREAM_END;) {
    if (z.avail_in == 0) {
      z.next_in = in;
      z.avail_in = static_cast<unsigned>(std::min<std::size_t>(step, place.size - done));
      file.read(in, z.avail_in, place.header + place.headerSize + done);
      done += z.avail_in;
    }
    z.next_out = out;
    z.avail_out = step;
    status = inflate(&z, Z_PARTIAL_FLUSH);
    crc = crc32(crc, out, step - z.avail_out);
  }
  inflateEnd(&z);
  return crc;
}

uLong limitChecksum(const LimitFile& file, const Place& place) {
  static Bytef in[step];
  uLong crc = 0;
  for (std::size_t done = 0; done < place.size; done += step) {
    const auto size = static_cast<unsigned>(std::min<std::size_t>(step, place.size - done));
    file.read(in, size, place.header + place.headerSize + done);
    crc = crc32(crc, in, size);
  }
  return crc;
}

void extractLimit(benchmark::State& state, const Shape& shape) {
  const std::vector<Place> places = placesOf(shape);
  static Bytef header[step];
  for (auto _ : state) {
    const LimitFile file(archiveOf(shape), O_RDONLY);
    for (const Place& place : places) {
      file.read(header, place.headerSize, place.header);
      benchmark::DoNotOptimize(shape.compress ? limitInflate(file, place)
                                              : limitChecksum(file, place));
    }
  }
  countBytes(state, shape);
}

void limitDeflate(const LimitFile& file, const Bytef* data, std::size_t size) {
  static Bytef out[step];
  z_stream z{};
  deflateInit2(&z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
  int status = Z_OK;
  for (std::size_t done = 0; status != Z_STREAM_END;) {
    if (z.avail_in == 0) {
      z.next_in = const_cast<Bytef*>(data + done);
      z.avail_in = static_cast<unsigned>(std::min<std::size_t>(step, size - done));
      benchmark::DoNotOptimize(crc32(0, z.next_in, z.avail_in));
      done += z.avail_in;
    }
    z.next_out = out;
    z.avail_out = step;
    status = deflate(&z, done == size ? Z_FINISH : Z_NO_FLUSH);
    file.write(out, step - z.avail_out);
  }
  deflateEnd(&z);
}

void createLimit(const Shape& shape, const std::string& path) {
  const LimitFile file(path, O_WRONLY | O_CREAT | O_TRUNC);
  for (std::size_t i = 0; i < shape.members; ++i) {
    const auto* data = reinterpret_cast<const Bytef*>(dataOf(shape, i));
    if (shape.compress) {
      limitDeflate(file, data, shape.size);
      continue;
    }
    for (std::size_t done = 0; done < shape.size; done += step) {
      const auto size = static_cast<unsigned>(std::min<std::size_t>(step, shape.size - done));
      benchmark::DoNotOptimize(crc32(0, data + done, size));
      file.write(data + done, size);
    }
  }
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
