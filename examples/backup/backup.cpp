// SPDX-License-Identifier: MIT
// Backup: a folder packed into a zip archive and restored from it, with the time and
// rights of each file, links, empty folders and names in UTF-8.
#include <loomkit/loomkit.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

namespace fs = std::filesystem;

namespace {

GZip64Writer::Attributes attributesOf(const fs::path& path, unsigned type) {
  std::error_code error;
  const auto now = fs::file_time_type::clock::now();
  const auto age = type == 0120000 ? now - now : now - fs::last_write_time(path, error);
  const auto rights = static_cast<unsigned>(fs::symlink_status(path, error).permissions());
  GZip64Writer::Attributes attributes;
  attributes.modTime = std::chrono::system_clock::to_time_t(
      std::chrono::system_clock::now() -
      std::chrono::duration_cast<std::chrono::system_clock::duration>(age));
  attributes.mode = static_cast<unsigned short>(type | (rights & 0777U));
  attributes.comment = type == 0100000 ? "saved by the backup example" : "";
  return attributes;
}

// A file is read while it is written. One that has vanished since the folder was listed
// is left out, and the archive is good without it.
GZip64Writer::Result save(GZip64Writer* zip, const fs::path& path, const std::string& name) {
  if (fs::is_symlink(path))
    return zip->writeLink(name, fs::read_symlink(path).generic_string(),
                          attributesOf(path, 0120000));
  if (fs::is_directory(path)) return zip->writeDirectory(name, attributesOf(path, 0040000));
  std::ifstream in(path, std::ios::binary);
  return zip->writeFile(name, attributesOf(path, 0100000), [&](char* buffer, std::size_t size) {
    if (!in.is_open() || in.bad()) return std::int64_t{-1};
    return std::int64_t{in.read(buffer, static_cast<std::streamsize>(size)).gcount()};
  });
}

std::set<fs::path> list(const fs::path& folder) {
  const fs::recursive_directory_iterator all(folder);
  return {begin(all), end(all)};
}

bool backUp(const std::set<fs::path>& paths, const fs::path& folder, const std::string& archive) {
  GAtomicFile file(archive);  // the archive appears when it is whole
  GZip64Writer zip(&file.out());
  for (const fs::path& path : paths) {
    const std::string name = path.lexically_relative(folder).generic_string();
    const GZip64Writer::Result result = save(&zip, path, name);
    if (result == GZip64Writer::Failed) return false;  // gOutput was told why
    if (result == GZip64Writer::SourceFailed) std::printf("left out: %s\n", name.c_str());
  }
  return zip.close() && file.commit();
}

bool restore(const std::string& archive, const fs::path& folder) {
  GZip64Reader reader;
  if (!reader.open(archive)) return false;
  GZipExtractor extractor(&reader, folder.generic_string());
  extractor.setMakeLinks(true);
  return extractor.extractAll() == GZipExtractor::Done;
}

// A small folder to save.
void makeFiles(const fs::path& folder) {
  fs::create_directories(folder / "empty");
  std::ofstream(folder / "notes.txt") << "remember the milk\n";
  std::ofstream(folder / fs::u8path("gr\xc3\xbc\xc3\x9f"
                                    "e.txt"))
      << "hello\n";
  std::ofstream(folder / "run.sh") << "#!/bin/sh\n";
  std::ofstream(folder / "fleeting.txt") << "soon gone\n";
  fs::permissions(folder / "run.sh", fs::perms::owner_all);
  fs::last_write_time(folder / "notes.txt",
                      fs::file_time_type::clock::now() - std::chrono::hours(24 * 365));
  fs::create_symlink("notes.txt", folder / "link");
}

// Rights and names of what is in a folder, and whether a file has its original's time.
void show(const fs::path& folder, const fs::path& original) {
  for (const fs::path& path : list(folder)) {
    const fs::path name = path.lexically_relative(folder);
    const fs::file_status status = fs::symlink_status(path);
    std::printf("%03o %s", static_cast<unsigned>(status.permissions()) & 0700U,
                name.u8string().c_str());
    if (fs::is_symlink(status)) std::printf(" -> %s", fs::read_symlink(path).u8string().c_str());
    const auto later = fs::last_write_time(path) - fs::last_write_time(original / name);
    std::printf("%s\n", std::chrono::abs(later) < std::chrono::seconds(2) ? "" : ", another time");
  }
}

}  // namespace

int main() {
  const fs::path work = fs::u8path(GDirectory::createTempDir("", "backup"));
  makeFiles(work / "data");
  const std::set<fs::path> paths = list(work / "data");
  fs::remove(work / "data" / "fleeting.txt");
  const std::string archive = (work / "data.zip").generic_string();
  const bool good = backUp(paths, work / "data", archive) && restore(archive, work / "again");
  if (good) show(work / "again", work / "data");
  fs::remove_all(work);
  return good ? 0 : 1;
}
