// SPDX-License-Identifier: MIT
#include "readable_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "path_of.h"

namespace loom {

namespace {

namespace fs = std::filesystem;

std::string upperCased(std::string text) {
  for (char& c : text)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return text;
}

}  // namespace

std::string whyUnreadable(const fs::path& file) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (status.type() == fs::file_type::not_found)
    return fs::is_symlink(fs::symlink_status(file, error)) ? "is a link to nothing" : "";
  if (error) return error.message();
  if (fs::is_directory(status)) return "is a directory";
  if (!fs::is_regular_file(status)) return "is no regular file";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> opened(
      std::fopen(file.string().c_str(), "rbe"), [](std::FILE* it) { return std::fclose(it); });
  return opened == nullptr ? std::strerror(errno) : std::string();
}

fs::path csvFileOf(const std::string& directory, const std::string& name) {
  const fs::path file = pathOf(directory) / pathOf(name + ".csv");
  std::error_code error;
  const fs::file_type type = fs::symlink_status(file, error).type();
  return type == fs::file_type::not_found ? fs::path() : file;
}

fs::path xbaseFileOf(const std::string& directory, const std::string& name) {
  const std::string wanted = upperCased(name) + ".DBF";
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(pathOf(directory), error))
    if (upperCased(entry.path().filename().string()) == wanted) return entry.path();
  return {};
}

}  // namespace loom
