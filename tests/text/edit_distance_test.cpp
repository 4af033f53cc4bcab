// SPDX-License-Identifier: MIT
#include "loomkit/text/edit_distance.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace {
std::atomic<long> allocations{0};
}

// Counted for the whole test program; one test looks at the difference. Not
// inlined: gcc would take a free() for the wrong way to end a new.
[[gnu::noinline]] void* operator new(std::size_t size) {
  ++allocations;
  void* const memory = std::malloc(size != 0 ? size : 1);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

// The whole table, cell by cell.
int model(const std::string& a, const std::string& b, bool anywhere) {
  const std::size_t n = a.size();
  const std::size_t m = b.size();
  std::vector<std::vector<int>> rows(m + 1, std::vector<int>(n + 1));
  for (std::size_t j = 0; j <= n; ++j) rows[0][j] = static_cast<int>(j);
  int best = static_cast<int>(n);
  if (m == 0) return best;
  for (std::size_t i = 1; i <= m; ++i) {
    rows[i][0] = anywhere ? 0 : static_cast<int>(i);
    for (std::size_t j = 1; j <= n; ++j) {
      int d = rows[i - 1][j - 1];
      if (a[j - 1] != b[i - 1]) {
        if (j >= 2 && i >= 2 && a[j - 2] == b[i - 1] && a[j - 1] == b[i - 2]) {
          d = rows[i - 2][j - 2] + 1;
        } else {
          d = d + 1;
        }
      }
      rows[i][j] = std::min({d, rows[i][j - 1] + 1, rows[i - 1][j] + 1});
    }
    if (anywhere) best = std::min(best, rows[i][n]);
  }
  return anywhere ? best : rows[m][n];
}

void expectAsModel(const std::string& a, const std::string& b) {
  for (const bool anywhere : {false, true}) {
    ASSERT_EQ(gEditDistance(a.c_str(), b.c_str(), anywhere), model(a, b, anywhere))
        << "'" << a << "' '" << b << "' " << anywhere;
  }
}

struct DistanceRow {
  const char* a;
  const char* b;
  bool anywhere;
  int distance;
};

TEST(EditDistance, CountsEachKindOfEditOnce) {
  const DistanceRow rows[] = {
      {"abc", "abc", false, 0},   {"abc", "acb", false, 1},
      {"abc", "", false, 3},      {"", "abc", false, 3},
      {"", "", false, 0},         {"abc", "abxc", false, 1},
      {"abxc", "abc", false, 1},  {"abc", "axc", false, 1},
      {"abc", "xyz", false, 3},   {"ca", "abc", false, 3},  // an exchanged pair is not edited again
      {"a", "b", false, 1},       {"kitten", "sitting", false, 3},
      {"\xe4", "\xc4", false, 1}, {"bc", "xxbcxx", true, 0},
      {"", "abc", true, 0},       {"abc", "", true, 3},
      {"", "", true, 0},          {"abc", "xyz", true, 3},
      {"abc", "xacbx", true, 1},  {"abcd", "bc", true, 2},
      {"abc", "abc", true, 0},    {"ab", "ba", true, 1}};
  for (const DistanceRow& row : rows) {
    EXPECT_EQ(gEditDistance(row.a, row.b, row.anywhere), row.distance) << row.a << " " << row.b;
    expectAsModel(row.a, row.b);
  }
}

std::string randomText(std::mt19937& random, std::size_t length, unsigned letters) {
  std::string text;
  while (text.size() < length) text.push_back(static_cast<char>('a' + random() % letters));
  return text;
}

// A text that is close to another: what the fast paths are made for.
std::string edited(std::mt19937& random, std::string text, unsigned edits) {
  for (; edits != 0 && !text.empty(); --edits) {
    const std::size_t at = random() % text.size();
    switch (random() % 4) {
      case 0:
        text.erase(at, 1);
        break;
      case 1:
        text.insert(at, 1, static_cast<char>('a' + random() % 4));
        break;
      case 2:
        text[at] = static_cast<char>('a' + random() % 4);
        break;
      default:
        if (at != 0) std::swap(text[at], text[at - 1]);
        break;
    }
  }
  return text;
}

TEST(EditDistance, AgreesWithTheModelOnRandomTexts) {
  std::mt19937 random(9);
  for (int i = 0; i < 100000; ++i) {
    const std::string a = randomText(random, random() % 12, 3);
    const std::string b = random() % 2 != 0
                              ? randomText(random, random() % 12, 3)
                              : edited(random, a, static_cast<unsigned>(random()) % 5);
    expectAsModel(a, b);
    if (HasFatalFailure()) return;
  }
}

TEST(EditDistance, AgreesWithTheModelAroundTheWidthOfAWord) {
  std::mt19937 random(10);
  for (int i = 0; i < 3000; ++i) {
    const unsigned letters = 2 + static_cast<unsigned>(random()) % 3;
    const std::string a = randomText(random, 55 + random() % 90, letters);
    const std::string b = random() % 2 != 0
                              ? randomText(random, random() % 200, letters)
                              : edited(random, a, static_cast<unsigned>(random()) % 20);
    expectAsModel(a, b);
    expectAsModel(b, a);
    if (HasFatalFailure()) return;
  }
}

TEST(EditDistance, AgreesWithTheModelOnLongTexts) {
  std::mt19937 random(11);
  for (const std::size_t length : {1023U, 1024U, 1025U, 2100U}) {
    const std::string a = randomText(random, length, 3);
    expectAsModel(a, edited(random, a, 300));
    expectAsModel(a, randomText(random, 1500, 3));
    expectAsModel(a, randomText(random, 130, 3));
    expectAsModel(randomText(random, 130, 3), a);
    expectAsModel(randomText(random, 30, 3), a);
    expectAsModel(a, randomText(random, 30, 3));
    if (HasFatalFailure()) return;
  }
}

TEST(EditDistance, AllBytesAreOrdinary) {
  std::string a, b;
  for (int c = 255; c != 0; --c) {
    a.push_back(static_cast<char>(c));
    b.insert(b.begin(), static_cast<char>(c));
  }
  expectAsModel(a, b);
}

TEST(EditDistance, AnExchangeMayCrossTheEdgeOfABlock) {
  for (std::size_t at = 60; at < 70; ++at) {
    std::string a(200, 'x');
    a[at] = 'y';
    std::string b = a;
    std::swap(b[at], b[at + 1]);
    // The ends differ, so that nothing is dropped before the table is made.
    EXPECT_EQ(gEditDistance(("1" + a + "2").c_str(), ("3" + b + "4").c_str(), false), 3) << at;
  }
}

// In a thread with a small stack, and without a single call of operator new.
TEST(EditDistance, NeedsNoHeapAndLittleStack) {
  const std::string longText(3'000'000, 'x');
  const std::string shortText(500, 'y');
  struct Work {
    const char* a;
    const char* b;
    int whole = 0;
    int anywhere = 0;
    long allocations = 0;
  } work{shortText.c_str(), longText.c_str()};
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{128} << 10), 0);
  pthread_t thread{};
  const auto run = [](void* argument) -> void* {
    auto* const w = static_cast<Work*>(argument);
    const long before = allocations;
    w->whole = gEditDistance(w->a, w->b, false);
    w->anywhere = gEditDistance(w->b, w->a, true);
    w->allocations = allocations - before;
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  EXPECT_EQ(work.whole, 3'000'000);
  EXPECT_EQ(work.anywhere, 3'000'000);
  EXPECT_EQ(work.allocations, 0);
}

// Long texts must not take the three rows of integers from the stack.
TEST(EditDistance, TenMillionCharactersAgainstAFew) {
  const std::string haystack(10'000'000, 'x');
  EXPECT_EQ(gEditDistance("needle", haystack.c_str(), true), 6);
  EXPECT_EQ(gEditDistance(haystack.c_str(), "needle", true), 10'000'000);
  EXPECT_EQ(gEditDistance(haystack.c_str(), "needle", false), 10'000'000);
  EXPECT_EQ(gEditDistance(haystack.c_str(), haystack.c_str(), false), 0);
}

TEST(EditDistance, SeventyThousandCharactersOnBothSides) {
  const std::string a(70'000, 'x');
  const std::string b = "y" + a.substr(0, 69'998) + "y";
  EXPECT_EQ(gEditDistance(a.c_str(), b.c_str(), false), 2);
}

}  // namespace
