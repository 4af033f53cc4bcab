// SPDX-License-Identifier: MIT
// Runs a fuzz target on its seeds and on hostile changes of them, the same ones
// each time: cut at every byte, every bit flipped, every byte and number forged,
// and mixtures of such changes.
//
//   hostile_zip tests/fuzz/seeds/zip
//
// LOOMKIT_HOSTILE_MIXTURES sets the number of mixtures, and LOOMKIT_HOSTILE_STEP has
// only every so many bytes of a seed changed, for machines that are slow. An input that ends the
// program is left in the file hostile_input.
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
// The sanitizers' run-time has it.
extern "C" [[gnu::weak]] void __sanitizer_set_death_callback(void (*callback)());

namespace {

constexpr unsigned long defaultMixtures = 2000;

// The number in a variable of the environment, or another one without it.
unsigned long numberIn(const char* variable, unsigned long otherwise) {
  const char* const text = std::getenv(variable);
  return text != nullptr ? std::strtoul(text, nullptr, 10) : otherwise;
}

const std::string* current = nullptr;

void keepCurrent() {
  if (current == nullptr) return;
  if (std::FILE* file = std::fopen("hostile_input", "wb")) {
    std::fwrite(current->data(), 1, current->size(), file);
    std::fclose(file);
  }
  std::fputs("the input is in hostile_input\n", stderr);
}

void keepAndEnd(int number) {
  keepCurrent();
  std::signal(number, SIG_DFL);
  std::raise(number);
}

void keepInputAtDeath() {
  if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(keepCurrent);
  std::signal(SIGABRT, keepAndEnd);
  if (__sanitizer_set_death_callback == nullptr) std::signal(SIGSEGV, keepAndEnd);
}

long count = 0;

void attack(const std::string& input) {
  current = &input;
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
  ++count;
}

// Numbers of one, two and four bytes at which readers go wrong, in an input of
// so many bytes.
std::vector<std::uint32_t> badNumbers(std::size_t inputSize) {
  const auto size = static_cast<std::uint32_t>(inputSize);
  return {0, 1, size - 1, size, size + 1, 0x7f, 0x80, 0xff, 0xffff, 0x7fffffff, 0x80000000, ~0U};
}

constexpr char badCharacters[] = {'"', '\\', ';', '\n', '\r', '-', '9', ' ', '[', '('};

void forge(std::string* text, std::size_t at, std::uint32_t number, unsigned width) {
  for (unsigned i = 0; i < width && at + i < text->size(); ++i)
    (*text)[at + i] = static_cast<char>(number >> (8 * i));
}

// Whether a byte stands in a run of the same, as in the rest of a block. What is forged
// there is forged at the run's ends, too, and would be the greater part of all inputs.
bool isInARun(const std::string& seed, std::size_t at) {
  constexpr std::size_t around = 8;
  const std::size_t begin = at < around ? 0 : at - around;
  const std::size_t end = std::min(at + around + 1, seed.size());
  return seed.find_first_not_of(seed[at], begin) >= end;
}

// Every small change at one place.
void attackAt(const std::string& seed, std::size_t at) {
  std::string changed = seed;
  for (int bit = 0; bit < 8; ++bit) {
    changed[at] = static_cast<char>(seed[at] ^ (1 << bit));
    attack(changed);
  }
  attack(seed.substr(0, at));
  if (isInARun(seed, at)) return;
  for (const char c : badCharacters) {
    changed[at] = c;
    attack(changed);
  }
  for (const unsigned width : {1U, 2U, 4U}) {
    for (const std::uint32_t number : badNumbers(seed.size())) {
      changed = seed;
      forge(&changed, at, number, width);
      attack(changed);
    }
  }
  attack(seed.substr(at));
  attack(std::string(seed).erase(at, 1));
  attack(std::string(seed).insert(at, 1, seed[at]));
}

// One change at any place; `other` lends a part of itself.
void changeAnywhere(std::string* text, const std::string& other, std::mt19937* random) {
  const auto below = [random](std::size_t limit) {
    return (*random)() % std::max<std::size_t>(limit, 1);
  };
  const std::size_t at = below(text->size());
  const std::vector<std::uint32_t> numbers = badNumbers(text->size());
  switch (below(8)) {
    case 0:
      text->resize(at);
      break;
    case 1:
      text->erase(at, 1 + below(8));
      break;
    case 2:
      text->insert(at, other, below(other.size()), 1 + below(64));
      break;
    case 3:
      text->insert(at, *text, at, 1 + below(64));
      break;
    case 4:
      text->insert(at, 1 + below(8), badCharacters[below(sizeof badCharacters)]);
      break;
    case 5:
      if (!text->empty()) (*text)[at] = static_cast<char>((*random)());
      break;
    default:
      forge(text, at, numbers[below(numbers.size())], 1U << below(3));
  }
}

std::vector<std::string> readSeeds(const char* directory) {
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(directory))
    paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  std::vector<std::string> seeds;
  for (const auto& path : paths) {
    std::ifstream in(path, std::ios::binary);
    seeds.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  return seeds;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> seeds =
      argc == 2 ? readSeeds(argv[1]) : std::vector<std::string>();
  if (seeds.empty()) {
    std::fprintf(stderr, "usage: %s DIRECTORY_OF_SEEDS\n", argv[0]);
    return 2;
  }
  keepInputAtDeath();
  const std::size_t step = std::max(numberIn("LOOMKIT_HOSTILE_STEP", 1), 1UL);
  for (const std::string& seed : seeds) {
    attack(seed);
    for (std::size_t at = 0; at < seed.size(); at += step) attackAt(seed, at);
  }
  std::mt19937 random(20261121);
  for (auto left = numberIn("LOOMKIT_HOSTILE_MIXTURES", defaultMixtures); left > 0; --left) {
    std::string text = seeds[random() % seeds.size()];
    for (auto changes = 1 + random() % 8; changes > 0; --changes)
      changeAnywhere(&text, seeds[random() % seeds.size()], &random);
    attack(text);
  }
  std::printf("%ld hostile inputs\n", count);
  return 0;
}
