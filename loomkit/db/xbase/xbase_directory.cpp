// SPDX-License-Identifier: MIT
#include "loomkit/db/xbase/xbase_directory.h"

#include <algorithm>
#include <cctype>

#include "loomkit/platform/hul.h"
#include "loomkit/streams/directory.h"
#include "loomkit/streams/file.h"
#include "loomkit/text/output.h"

namespace {

// Longer names are passed over.
constexpr std::size_t longestFileName = 255;
constexpr char tableExtension[] = ".DBF";
constexpr char indexExtension[] = ".CDX";
constexpr char defaultCodeSet[] = "ISO-8859-1";

std::map<std::string, GDbXBaseDirectory*>& directories() {
  static auto* const map = new std::map<std::string, GDbXBaseDirectory*>;
  return *map;
}

// Calls `take` with each name in the directory.
template <class Take>
void eachName(const std::string& path, Take take) {
  GDirectory directory(path);
  for (const char* name = directory.first(false); name != nullptr; name = directory.next(false))
    take(std::string(name));
  directory.close(false);
}

std::string localCodeSet() {
  char name[64] = {};
  if (hulGetLocaleParam(hulLocalCodeSet, 0, name, sizeof name) < 0 || name[0] == '\0')
    return defaultCodeSet;
  return name;
}

}  // namespace

GDbXBaseDirectory* GDbXBaseDirectory::obtain(const std::string& realPath) {
  const auto found = directories().find(realPath);
  if (found == directories().end()) return new GDbXBaseDirectory(realPath);
  found->second->addRef();
  return found->second;
}

GDbXBaseDirectory::GDbXBaseDirectory(const std::string& realPath) : path(realPath) {
  eachName(path, [this](const std::string& name) {
    const std::size_t dot = name.rfind('.');
    if (name.size() > longestFileName || dot == std::string::npos) return;
    const std::string upperName = loomkit::upperCased(name);
    const std::string extension = upperName.substr(dot);
    if (extension == tableExtension || extension == indexExtension) files.emplace(upperName, name);
  });
  // Last: without the memory for the files, there is no object to be found.
  directories()[path] = this;
}

GDbXBaseDirectory::~GDbXBaseDirectory() {
  closeCodecs();
  directories().erase(path);
}

void GDbXBaseDirectory::release() {
  if (--refCount == 0) delete this;
}

std::string GDbXBaseDirectory::diskNameOf(const std::string& upperName) const {
  const auto found = files.find(upperName);
  return found == files.end() ? std::string() : found->second;
}

std::string GDbXBaseDirectory::pathOf(const std::string& upperName) const {
  const std::string name = diskNameOf(upperName);
  return name.empty() ? name : path + "/" + name;
}

bool GDbXBaseDirectory::enterNewFile(const std::string& upperName) {
  std::string found;
  int count = 0;
  eachName(path, [&](const std::string& name) {
    if (name.size() != upperName.size() || loomkit::upperCased(name) != upperName) return;
    found = name;
    ++count;
  });
  if (count != 1) return false;
  forgetFile(upperName);
  files.emplace(upperName, found);
  return true;
}

bool GDbXBaseDirectory::removeFile(const std::string& upperName) {
  const bool removed = GFile(pathOf(upperName)).remove();
  forgetFile(upperName);
  return removed;
}

void GDbXBaseDirectory::forgetFile(const std::string& upperName) {
  const auto found = files.find(upperName);
  if (found != files.end()) files.erase(found);
}

GDbXBaseData* GDbXBaseDirectory::findTable(const std::string& upperName) const {
  const auto found = tables.find(upperName);
  return found == tables.end() ? nullptr : found->second;
}

void GDbXBaseDirectory::enterTable(const std::string& upperName, GDbXBaseData* data) {
  tables[upperName] = data;
}

void GDbXBaseDirectory::leaveTable(const std::string& upperName) { tables.erase(upperName); }

void GDbXBaseDirectory::closeCodecs() {
  if (encoder != nullptr) hulCloseTextCodec(encoder);
  if (decoder != nullptr) hulCloseTextCodec(decoder);
  encoder = nullptr;
  decoder = nullptr;
}

void GDbXBaseDirectory::setEncoding(const char* name) {
  closeCodecs();
  if (name == nullptr || *name == '\0') return;
  const std::string local = localCodeSet();
  HulTextCodec* to = nullptr;
  HulTextCodec* from = nullptr;
  const bool hasEncoder = hulOpenTextCodec(local.c_str(), name, &to) >= 0;
  const bool hasDecoder = hulOpenTextCodec(name, local.c_str(), &from) >= 0;
  if (hasEncoder) encoder = to;
  if (hasDecoder) decoder = from;
  if (hasEncoder && hasDecoder) return;
  closeCodecs();
  const std::string text = "codeset not supported: `" + std::string(name) + "'";
  gOutput->log(0, gDataSysName, text.c_str());
}

namespace loomkit {

Conversion convertText(HulTextCodec* codec, std::string_view text, std::size_t room,
                       std::string* result) {
  result->resize(room);
  const char* input = text.data();
  std::size_t inputLength = text.size();
  char* output = result->data();
  std::size_t outputRoom = room;
  const int status = hulConvertText(codec, &input, &inputLength, &output, &outputRoom);
  result->resize(room - outputRoom);
  if (status == 0) return Conversion::done;
  if (status > 0) return Conversion::tooLong;
  // The word is misspelt in what hosts look for.
  const std::string reason = std::string("codeset converion failed: ") + hulStrError(status);
  gOutput->log(0, gDataSysName, reason.c_str());
  return Conversion::failed;
}

std::string upperCased(const std::string& text) {
  std::string upper = text;
  std::transform(upper.begin(), upper.end(), upper.begin(), [](char c) {
    return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  });
  return upper;
}

}  // namespace loomkit
