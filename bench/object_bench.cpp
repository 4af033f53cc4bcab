// SPDX-License-Identifier: MIT
// The notation of objects against JSON parsers that build a tree. The text is
// written in what both languages share, so that all read the same bytes.
#include <benchmark/benchmark.h>

#ifdef LOOMKIT_PEER_NLOHMANN
#include <nlohmann/json.hpp>
#endif
#ifdef LOOMKIT_PEER_RAPIDJSON
#include <rapidjson/document.h>
#endif

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>

#include "loomkit/loomkit.h"

namespace {

// About 3.7 MB: records of a name, an integer, a float, a sentence with an
// escape now and then, and a vector of small numbers.
std::string makeText() {
  constexpr int records = 40000;
  std::mt19937 random(20261121);
  std::string text = "[";
  for (int i = 0; i < records; ++i) {
    if (i != 0) text += ",\n ";
    text += "[\"material-" + std::to_string(random() % 100000) + "\", " + std::to_string(i) + ", ";
    text += std::to_string(random() % 1000) + "." + std::to_string(1 + random() % 999) + ", ";
    text += random() % 4 == 0 ? "\"a \\\"quoted\\\" word in a sentence\", ["
                              : "\"a plain sentence of seven words here\", [";
    for (std::uint64_t k = 0, count = 2 + random() % 5; k < count; ++k)
      text += (k == 0 ? "" : ", ") + std::to_string(random() % 256);
    text += "]]";
  }
  return text + "]";
}

const std::string& text() {
  static const std::string once = makeText();
  return once;
}

void countBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text().size()));
}

// Reading ends with the tree's end, here and with the peers.
void readOurs(benchmark::State& state) {
  const char* const start = text().c_str();
  for (auto _ : state) {
    const char* end = nullptr;
    const GRef2<GObject> object(GObject::parseCb(start, &end));
    if (end != start + text().size()) std::abort();
    benchmark::DoNotOptimize(object.get());
  }
  countBytes(state);
}
BENCHMARK(readOurs)->Name("object_read/ours")->Unit(benchmark::kMillisecond);

void writeOurs(benchmark::State& state) {
  const char* end = nullptr;
  const GRef2<GObject> object(GObject::parseCb(text().c_str(), &end));
  for (auto _ : state) {
    const std::string written = GObject::formatCb(object);
    benchmark::DoNotOptimize(written.data());
  }
  countBytes(state);
}
BENCHMARK(writeOurs)->Name("object_write/ours")->Unit(benchmark::kMillisecond);

#ifdef LOOMKIT_PEER_RAPIDJSON
void readRapidJson(benchmark::State& state) {
  for (auto _ : state) {
    rapidjson::Document document;
    document.Parse(text().c_str());
    if (document.HasParseError()) std::abort();
    benchmark::DoNotOptimize(document.IsArray());
  }
  countBytes(state);
}
BENCHMARK(readRapidJson)->Name("object_read/rapidjson")->Unit(benchmark::kMillisecond);
#endif

#ifdef LOOMKIT_PEER_NLOHMANN
void readNlohmann(benchmark::State& state) {
  for (auto _ : state) {
    const nlohmann::json document = nlohmann::json::parse(text());
    benchmark::DoNotOptimize(document.is_array());
  }
  countBytes(state);
}
BENCHMARK(readNlohmann)->Name("object_read/nlohmann")->Unit(benchmark::kMillisecond);

void writeNlohmann(benchmark::State& state) {
  const nlohmann::json document = nlohmann::json::parse(text());
  for (auto _ : state) {
    const std::string written = document.dump();
    benchmark::DoNotOptimize(written.data());
  }
  countBytes(state);
}
BENCHMARK(writeNlohmann)->Name("object_write/nlohmann")->Unit(benchmark::kMillisecond);
#endif

}  // namespace
