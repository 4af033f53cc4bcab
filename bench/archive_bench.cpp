// SPDX-License-Identifier: MIT
// The archives beside zip: ar against libarchive, opened and read member by
// member; material archives, written and read back, against the zip classes
// that they stand on.
#include <benchmark/benchmark.h>
#include <unistd.h>

#ifdef LOOMKIT_PEER_LIBARCHIVE
#include <archive.h>
#include <archive_entry.h>
#endif

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "loomkit/loomkit.h"

namespace {

constexpr int memberCount = 10000;
constexpr int memberSize = 2048;
constexpr int textureCount = 16;
constexpr std::size_t textureSize = 256 * 1024;

void require(bool holds) {
  if (!holds) std::abort();
}

class Folder {
 public:
  Folder()
      : path(std::filesystem::temp_directory_path() /
             ("loomkit_archive_bench_" + std::to_string(getpid()))) {
    std::filesystem::create_directories(path);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() { std::filesystem::remove_all(path); }
  std::filesystem::path path;
};

std::string fileOf(const std::string& name) {
  static const Folder folder;
  return (folder.path / name).string();
}

// --- ar ------------------------------------------------------------------------

// As `ar` writes it: headers of 60 bytes of text.
const std::string& arFile() {
  static const std::string path = [] {
    std::ofstream out(fileOf("members.a"), std::ios::binary);
    out << "!<arch>\n";
    const std::string data(memberSize, 'x');
    for (int i = 0; i < memberCount; ++i) {
      char header[61];
      std::snprintf(header, sizeof header, "%-16s%-12d%-6d%-6d%-8o%-10d`\n",
                    std::to_string(i).c_str(), 0, 0, 0, 0100644U, memberSize);
      out << header << data;
    }
    return fileOf("members.a");
  }();
  return path;
}

void openAr(benchmark::State& state) {
  arFile();
  for (auto _ : state) {
    GArReader reader;
    require(reader.open(arFile()) && reader.getEntryCount() == memberCount);
  }
}

void readAr(benchmark::State& state) {
  arFile();
  for (auto _ : state) {
    GArReader reader;
    require(reader.open(arFile()));
    for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
      char* data = nullptr;
      unsigned size = 0;
      require(reader.readEntry(i->second, &data, &size) && size == memberSize);
      benchmark::DoNotOptimize(data[0]);
      ::operator delete(data);
    }
  }
}

#ifdef LOOMKIT_PEER_LIBARCHIVE
void readArLibarchive(benchmark::State& state, bool withData) {
  arFile();
  for (auto _ : state) {
    archive* in = archive_read_new();
    archive_read_support_format_ar(in);
    require(archive_read_open_filename(in, arFile().c_str(), 65536) == ARCHIVE_OK);
    archive_entry* entry = nullptr;
    int members = 0;
    while (archive_read_next_header(in, &entry) == ARCHIVE_OK) {
      ++members;
      if (!withData) continue;
      std::string data(static_cast<std::size_t>(archive_entry_size(entry)), '\0');
      require(archive_read_data(in, data.data(), data.size()) == memberSize);
      benchmark::DoNotOptimize(data[0]);
    }
    require(members == memberCount);
    archive_read_free(in);
  }
}
#endif

// --- material ------------------------------------------------------------------

std::string textureData() {
  std::string data(textureSize, '\0');
  unsigned value = 1;
  for (char& c : data) {
    value = value * 1664525 + 1013904223;
    c = static_cast<char>(value >> 24 & 15);
  }
  return data;
}

void writeMaterial(benchmark::State& state) {
  const std::string data = textureData();
  for (auto _ : state) {
    GMaterialZip material;
    require(material.open(fileOf("a.matz"), true));
    material.setId("oak-42");
    material.setDescription("roughness 0.4", "oak.mat");
    material.setTextures({});
    for (int i = 0; i < textureCount; ++i) {
      material.addTexture(std::to_string(i) + ".png", new std::istringstream(data));
    }
    require(material.flush(false, false));
  }
  state.SetBytesProcessed(state.iterations() * textureCount *
                          static_cast<std::int64_t>(textureSize));
}

void writeMaterialAsZip(benchmark::State& state) {
  const std::string data = textureData();
  for (auto _ : state) {
    GZipWriter writer;
    require(writer.open(fileOf("b.zip")));
    for (int i = 0; i < textureCount; ++i) {
      std::istringstream in(data);
      require(writer.writeEntry(std::to_string(i) + ".png", &in));
    }
    require(writer.close());
  }
  state.SetBytesProcessed(state.iterations() * textureCount *
                          static_cast<std::int64_t>(textureSize));
}

void readMaterial(benchmark::State& state) {
  {
    GMaterialZip material;
    material.open(fileOf("c.matz"), true);
    material.setId("oak-42");
    material.setTextures({});
    for (int i = 0; i < textureCount; ++i) {
      material.addTexture(std::to_string(i) + ".png", new std::istringstream(textureData()));
    }
    require(material.flush(true, true));
  }
  for (auto _ : state) {
    GMaterialZip material;
    material.open(fileOf("c.matz"), false);
    std::string id;
    std::vector<std::string> names;
    require(material.getId(&id) && material.getTextureNames(&names) &&
            names.size() == textureCount);
    for (const std::string& name : names) {
      char* bytes = nullptr;
      unsigned size = 0;
      require(material.extractTexture(name, &bytes, &size) && size == textureSize);
      ::operator delete(bytes);
    }
  }
  state.SetBytesProcessed(state.iterations() * textureCount *
                          static_cast<std::int64_t>(textureSize));
}

BENCHMARK(openAr)->Name("ar_open_10000/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(readAr)->Name("ar_read_10000/ours")->Unit(benchmark::kMillisecond);
#ifdef LOOMKIT_PEER_LIBARCHIVE
BENCHMARK_CAPTURE(readArLibarchive, open, false)
    ->Name("ar_open_10000/libarchive")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readArLibarchive, read, true)
    ->Name("ar_read_10000/libarchive")
    ->Unit(benchmark::kMillisecond);
#endif
BENCHMARK(writeMaterial)->Name("material_write_stored/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(writeMaterialAsZip)->Name("material_write_stored/zip")->Unit(benchmark::kMillisecond);
BENCHMARK(readMaterial)->Name("material_read_encrypted/ours")->Unit(benchmark::kMillisecond);

}  // namespace
