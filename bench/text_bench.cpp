// SPDX-License-Identifier: MIT
// The text functions against the C and C++ libraries and against curl and
// uriparser where they are installed.
#include <benchmark/benchmark.h>
#include <fnmatch.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#ifdef LOOMKIT_PEER_CURL
#include <curl/curl.h>
#endif
#ifdef LOOMKIT_PEER_URIPARSER
#include <uriparser/Uri.h>
#endif

#include "loomkit/loomkit.h"

namespace {

// ---- patterns

struct PatternWork {
  const char* name;
  const char* pattern;
  const char* text;
};
constexpr PatternWork patternWorks[] = {
    {"pattern/suffix", "*.txt", "some_longer_name.txt"},
    {"pattern/stars", "a*b*c*d", "axxbxxcxxd"},
    {"pattern/bracket", "[a-c]?x*", "bqxrest"},
    {"pattern/many-stars", "*a*a*a*a*b", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"},
};

void patternOurs(benchmark::State& state, PatternWork work) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(work);
    benchmark::DoNotOptimize(gPatternMatch(work.pattern, work.text, false, false, false));
  }
}
void patternFnmatch(benchmark::State& state, PatternWork work) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(work);
    benchmark::DoNotOptimize(fnmatch(work.pattern, work.text, 0));
  }
}

// ---- edit distance

// The method that defines the result: three rows of integers.
int distanceByRows(const std::string& a, const std::string& b) {
  std::vector<int> older(a.size() + 1), old(a.size() + 1), row(a.size() + 1);
  for (std::size_t j = 0; j <= a.size(); ++j) row[j] = static_cast<int>(j);
  for (std::size_t i = 1; i <= b.size(); ++i) {
    older.swap(old);
    old.swap(row);
    row[0] = static_cast<int>(i);
    for (std::size_t j = 1; j <= a.size(); ++j) {
      int d = old[j - 1];
      if (a[j - 1] != b[i - 1]) {
        const bool exchange = j > 1 && i > 1 && a[j - 2] == b[i - 1] && a[j - 1] == b[i - 2];
        d = (exchange ? older[j - 2] : d) + 1;
      }
      row[j] = std::min({d, row[j - 1] + 1, old[j] + 1});
    }
  }
  return row[a.size()];
}

std::string letters(std::size_t length, unsigned seed) {
  std::string text;
  for (std::size_t i = 0; i < length; ++i) {
    seed = seed * 1103515245U + 12345U;
    text.push_back(static_cast<char>('a' + (seed >> 16) % 6));
  }
  return text;
}

void distanceOurs(benchmark::State& state, std::size_t length) {
  const std::string a = letters(length, 1), b = letters(length, 2);
  for (auto _ : state) {
    benchmark::DoNotOptimize(gEditDistance(a.c_str(), b.c_str(), false));
    benchmark::ClobberMemory();
  }
}
void distanceRows(benchmark::State& state, std::size_t length) {
  const std::string a = letters(length, 1), b = letters(length, 2);
  for (auto _ : state) {
    benchmark::DoNotOptimize(distanceByRows(a, b));
    benchmark::ClobberMemory();
  }
}

// ---- numbers

void numberOurs(benchmark::State& state, const char* text) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    const char* end = nullptr;
    benchmark::DoNotOptimize(gParseCDouble(text, &end));
    benchmark::DoNotOptimize(end);
  }
}
void numberStrtod(benchmark::State& state, const char* text) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    char* end = nullptr;
    benchmark::DoNotOptimize(std::strtod(text, &end));
    benchmark::DoNotOptimize(end);
  }
}
void numberFromChars(benchmark::State& state, const char* text) {
  const std::size_t length = std::strlen(text);
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    double value = 0;
    benchmark::DoNotOptimize(std::from_chars(text, text + length, value));
    benchmark::DoNotOptimize(value);
  }
}

// ---- URIs, 98 bytes

const std::string plainPart =
    "A part of a URI, with spaces & marks: 100% of it/all; \"quoted\" and some more plain letters "
    "here.";
const std::string escapedPart =
    "A%20part%20of%20a%20URI,with%20spaces%26marks:100%25of%20it/"
    "all;%22quoted%22and-some-plain-letters";

void escapeOurs(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(gEscapeURIComponent(plainPart, nullptr));
}
void unescapeOurs(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(gUnescapePartOfURI(escapedPart));
}

#ifdef LOOMKIT_PEER_CURL
struct CurlFree {
  void operator()(char* text) const { curl_free(text); }
};
using CurlText = std::unique_ptr<char, CurlFree>;
struct CurlCleanup {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
using CurlHandle = std::unique_ptr<CURL, CurlCleanup>;

void escapeCurl(benchmark::State& state) {
  const CurlHandle handle(curl_easy_init());
  for (auto _ : state) {
    const CurlText text(
        curl_easy_escape(handle.get(), plainPart.data(), static_cast<int>(plainPart.size())));
    benchmark::DoNotOptimize(text.get());
  }
}
void unescapeCurl(benchmark::State& state) {
  const CurlHandle handle(curl_easy_init());
  for (auto _ : state) {
    int length = 0;
    const CurlText text(curl_easy_unescape(handle.get(), escapedPart.data(),
                                           static_cast<int>(escapedPart.size()), &length));
    benchmark::DoNotOptimize(text.get());
  }
}
#endif

#ifdef LOOMKIT_PEER_URIPARSER
// Both give a std::string, as ours do.
void escapeUriparser(benchmark::State& state) {
  for (auto _ : state) {
    std::string text(plainPart.size() * 3 + 1, '\0');
    const char* end = uriEscapeExA(plainPart.data(), plainPart.data() + plainPart.size(),
                                   text.data(), URI_FALSE, URI_FALSE);
    text.resize(static_cast<std::size_t>(end - text.data()));
    benchmark::DoNotOptimize(text);
  }
}
void unescapeUriparser(benchmark::State& state) {
  for (auto _ : state) {
    std::string text(escapedPart);
    const char* end = uriUnescapeInPlaceA(text.data());
    text.resize(static_cast<std::size_t>(end - text.data()));
    benchmark::DoNotOptimize(text);
  }
}
#endif

const bool registered = [] {
  using benchmark::RegisterBenchmark;
  for (const PatternWork& work : patternWorks) {
    const std::string name(work.name);
    RegisterBenchmark((name + "/ours").c_str(), patternOurs, work);
    RegisterBenchmark((name + "/fnmatch").c_str(), patternFnmatch, work);
  }
  for (const std::size_t length : {10U, 100U, 1000U}) {
    const std::string name = "edit-distance/" + std::to_string(length);
    RegisterBenchmark((name + "/ours").c_str(), distanceOurs, length);
    RegisterBenchmark((name + "/rows").c_str(), distanceRows, length);
  }
  for (const char* text : {"7", "123.45", "3.1415926535897931", "1.5e300"}) {
    const std::string name = std::string("number/") + text;
    RegisterBenchmark((name + "/ours").c_str(), numberOurs, text);
    RegisterBenchmark((name + "/strtod").c_str(), numberStrtod, text);
    RegisterBenchmark((name + "/from_chars").c_str(), numberFromChars, text);
  }
  // How the cost grows with the text. The texts live as long as the process.
  static const std::vector<std::string> texts = {std::string(100, '7'), std::string(10000, '7'),
                                                 std::string(1000000, '7')};
  for (const std::string& text : texts) {
    const std::string name = "number-digits/" + std::to_string(text.size());
    RegisterBenchmark((name + "/ours").c_str(), numberOurs, text.c_str());
    RegisterBenchmark((name + "/strtod").c_str(), numberStrtod, text.c_str());
    RegisterBenchmark((name + "/from_chars").c_str(), numberFromChars, text.c_str());
    const PatternWork late = {nullptr, "*7*7*8", text.c_str()};
    const std::string search = "pattern-search/" + std::to_string(text.size());
    RegisterBenchmark((search + "/ours").c_str(), patternOurs, late);
    RegisterBenchmark((search + "/fnmatch").c_str(), patternFnmatch, late);
  }
  RegisterBenchmark("uri-escape/ours", escapeOurs);
  RegisterBenchmark("uri-unescape/ours", unescapeOurs);
#ifdef LOOMKIT_PEER_CURL
  RegisterBenchmark("uri-escape/curl", escapeCurl);
  RegisterBenchmark("uri-unescape/curl", unescapeCurl);
#endif
#ifdef LOOMKIT_PEER_URIPARSER
  RegisterBenchmark("uri-escape/uriparser", escapeUriparser);
  RegisterBenchmark("uri-unescape/uriparser", unescapeUriparser);
#endif
  return true;
}();

}  // namespace
