// SPDX-License-Identifier: MIT
#include "locator_types.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

#include "did_you_mean.h"
#include "input_file.h"

namespace loom {

namespace {

namespace fs = std::filesystem;

constexpr LocatorType types[] = {
    {"csv:", "tables of separated values"},  {"sqlite3:", "an SQLite database"},
    {"xbase:", "a directory of DBF tables"}, {"tessel:", "a table store"},
    {"postgresql:", "a PostgreSQL server"},
};

// The files that people name by their extensions, and how loom is told of them.
struct Extension {
  std::string_view extension;
  std::string_view prefix;
  bool isTable;  // of a database which is the directory
};
constexpr Extension extensions[] = {
    {".db", "sqlite3:", false},    {".sqlite", "sqlite3:", false}, {".sqlite3", "sqlite3:", false},
    {".tessel", "tessel:", false}, {".dbf", "xbase:", true},       {".csv", "csv:", true},
};

// Whether the file begins like a database of SQLite (https://www.sqlite.org/fileformat.html).
// Only a regular file is read: a pipe would wait.
bool isSqliteFile(const fs::path& path) {
  constexpr std::string_view magic = "SQLite format 3";
  std::error_code error;
  if (!fs::is_regular_file(path, error)) return false;
  std::string start(magic.size(), '\0');
  InputFile file(path.string());
  file.read(start.data(), static_cast<std::streamsize>(start.size()));
  return file && start == magic;
}

std::string allPrefixes() {
  std::string text;
  for (const LocatorType& type : types) {
    text.append(text.empty() ? "" : ", ").append(type.prefix);
  }
  return text;
}

std::string hintForPath(const std::string& text) {
  const fs::path path(text);
  if (isSqliteFile(path)) return "Did you mean 'sqlite3:" + text + "'?";
  const auto row =
      std::find_if(std::begin(extensions), std::end(extensions),
                   [&](const Extension& each) { return path.extension() == each.extension; });
  if (row == std::end(extensions)) {
    return "A database begins with its type: " + allPrefixes() + "; 'csv:" + text +
           "', for example.";
  }
  if (!row->isTable) return "Did you mean '" + std::string(row->prefix) + text + "'?";
  const std::string directory = path.has_parent_path() ? path.parent_path().string() : ".";
  return "Did you mean the database '" + std::string(row->prefix) + directory +
         "' with its table '" + path.stem().string() + "'?";
}

}  // namespace

std::span<const LocatorType> locatorTypes() { return types; }

std::string locatorHint(const std::string& locator) {
  const std::size_t colon = locator.find(':');
  if (colon == std::string::npos) return hintForPath(locator);
  std::vector<std::string> prefixes;
  for (const LocatorType& type : types) prefixes.emplace_back(type.prefix);
  const std::string nearest = nearestOf(locator.substr(0, colon + 1), prefixes);
  if (nearest.empty()) return "A database begins with its type: " + allPrefixes() + ".";
  return "Did you mean '" + nearest + locator.substr(colon + 1) + "'?";
}

}  // namespace loom
