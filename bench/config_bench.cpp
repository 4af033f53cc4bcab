// SPDX-License-Identifier: MIT
// Configuration files of 100,000 lines against inih and SimpleIni: the reading
// that drives a handler which keeps nothing, and the loading into a map. The
// cost of loading, changing a value and adding keys as files grow.
#include <benchmark/benchmark.h>
#include <unistd.h>

#ifdef LOOMKIT_PEER_INIH
#include <INIReader.h>
#include <ini.h>
#endif
#ifdef LOOMKIT_PEER_SIMPLEINI
#define SI_CONVERT_ICU  // as the package was built; the byte strings use none of it
#include <SimpleIni.h>
#endif

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>

#include "loomkit/loomkit.h"

namespace {

constexpr int lineCount = 100000;

// Of each hundred lines one is a header, one a comment and one blank.
std::string makeText(int lines) {
  std::string text;
  for (int i = 0; i < lines; ++i) {
    const std::string number = std::to_string(i);
    switch (i % 100) {
      case 0:
        text += "[section " + std::to_string(i / 100) + "]\n";
        break;
      case 1:
        text += "# what follows was written by hand\n";
        break;
      case 50:
        text += "\n";
        break;
      default:
        text += "key" + number + " = some value " + number + "\n";
    }
  }
  return text;
}

class Data {
 public:
  Data() {
    const bool shm = std::filesystem::is_directory("/dev/shm");
    path = std::string(shm ? "/dev/shm" : "/tmp") + "/loomkit_config_" + std::to_string(getpid());
    const std::string text = makeText(lineCount);
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr || std::fwrite(text.data(), 1, text.size(), file) != text.size()) {
      std::abort();
    }
    std::fclose(file);
  }
  Data(const Data&) = delete;
  Data& operator=(const Data&) = delete;
  ~Data() { std::filesystem::remove(path); }

  std::string path;
};

const std::string& dataPath() {
  static const Data once;
  return once.path;
}

// --- Driving a handler that keeps nothing ------------------------------------

class NullSection : public GConfigSection {
 public:
  using GConfigSection::GConfigSection;
  bool newKeyValue(const std::string& key, const std::string& value) override {
    benchmark::DoNotOptimize(key.data());
    benchmark::DoNotOptimize(value.data());
    return true;
  }
};

class NullFile : public GConfigFile {
 public:
  GConfigSection* newSection(const std::string& sectionName) override {
    return new NullSection(sectionName);
  }
  bool newKeyValue(const std::string&, const std::string&) override { return true; }
};

void driveOurs(benchmark::State& state) {
  for (auto _ : state) {
    NullFile file;
    if (!file.load(dataPath())) std::abort();
  }
}
BENCHMARK(driveOurs)->Name("config drive/ours")->Unit(benchmark::kMillisecond);

#ifdef LOOMKIT_PEER_INIH
int ignore(void* /*user*/, const char* section, const char* name, const char* value) {
  benchmark::DoNotOptimize(section);
  benchmark::DoNotOptimize(name);
  benchmark::DoNotOptimize(value);
  return 1;
}

void driveInih(benchmark::State& state) {
  for (auto _ : state) {
    if (ini_parse(dataPath().c_str(), ignore, nullptr) != 0) std::abort();
  }
}
BENCHMARK(driveInih)->Name("config drive/inih")->Unit(benchmark::kMillisecond);
#endif

// --- Loading into a map ------------------------------------------------------

class MapSection : public GConfigSection {
 public:
  using GConfigSection::GConfigSection;
  bool newKeyValue(const std::string& key, const std::string& value) override {
    values[key] = value;
    return true;
  }
  std::map<std::string, std::string> values;
};

class MapFile : public NullFile {
 public:
  GConfigSection* newSection(const std::string& sectionName) override {
    return new MapSection(sectionName);
  }
};

void mapOurs(benchmark::State& state) {
  for (auto _ : state) {
    MapFile file;
    if (!file.load(dataPath())) std::abort();
  }
}
BENCHMARK(mapOurs)->Name("config map/ours")->Unit(benchmark::kMillisecond);

// Every line kept, so that one value can be changed and the rest saved as it was.
void keepOurs(benchmark::State& state) {
  for (auto _ : state) {
    GKeyValueConfigFile file;
    if (!file.load(dataPath())) std::abort();
  }
}
BENCHMARK(keepOurs)->Name("config keep/ours")->Unit(benchmark::kMillisecond);

#ifdef LOOMKIT_PEER_INIH
void mapInih(benchmark::State& state) {
  for (auto _ : state) {
    const INIReader reader(dataPath());
    if (reader.ParseError() != 0) std::abort();
  }
}
BENCHMARK(mapInih)->Name("config map/INIReader")->Unit(benchmark::kMillisecond);
#endif

#ifdef LOOMKIT_PEER_SIMPLEINI
void mapSimpleIni(benchmark::State& state) {
  for (auto _ : state) {
    CSimpleIniA reader;
    if (reader.LoadFile(dataPath().c_str()) < 0) std::abort();
  }
}
BENCHMARK(mapSimpleIni)->Name("config map/SimpleIni")->Unit(benchmark::kMillisecond);
BENCHMARK(mapSimpleIni)->Name("config keep/SimpleIni")->Unit(benchmark::kMillisecond);
#endif

// --- Growth ------------------------------------------------------------------

void keepLines(benchmark::State& state) {
  std::istringstream in(makeText(static_cast<int>(state.range(0))));
  for (auto _ : state) {
    in.clear();
    in.seekg(0);
    GKeyValueConfigFile file;
    if (!file.load("bench", &in)) std::abort();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(keepLines)->Name("config keep lines")->RangeMultiplier(10)->Range(100, 1000000);

void changeValue(benchmark::State& state) {
  std::istringstream in(makeText(static_cast<int>(state.range(0))));
  GKeyValueConfigFile file;
  if (!file.load("bench", &in)) std::abort();
  bool odd = false;
  for (auto _ : state) {
    odd = !odd;
    if (!file.set("section 0", "key7", odd ? "one" : "another")) std::abort();
  }
}
BENCHMARK(changeValue)
    ->Name("config change one of lines")
    ->RangeMultiplier(10)
    ->Range(100, 1000000);

void addKeys(benchmark::State& state) {
  for (auto _ : state) {
    GKeyValueConfigFile file;
    for (int64_t i = 0; i < state.range(0); ++i) {
      if (!file.set("new", "key" + std::to_string(i), "value")) std::abort();
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(addKeys)->Name("config add keys")->RangeMultiplier(10)->Range(100, 100000);

}  // namespace
