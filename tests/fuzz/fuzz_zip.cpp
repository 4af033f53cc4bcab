// SPDX-License-Identifier: MIT
// Opens any bytes as a zip archive and reads every member in both ways, then
// as a material archive.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "loomkit/archive/material/material_zip.h"
#include "loomkit/text/output.h"

namespace {

class Silent : public GOutput {
 public:
  using GOutput::output;
  void output(GOutputLevel, const std::string&, const char*) override {}
};

void readBothWays(GZipReader& reader, const GZipEntry* entry) {
  std::ostringstream text;
  const bool written = reader.readEntry(entry, &text, true);
  char* data = nullptr;
  unsigned int size = 0;
  const bool given = reader.readEntry(entry, &data, &size, true);
  if (given != written) std::abort();
  if (given && text.str() != std::string(data == nullptr ? "" : data, size)) std::abort();
  if (given) ::operator delete(data);
}

void readZip(const std::string& bytes) {
  std::istringstream in(bytes);
  GZipReader::isZipStream(&in);
  in.clear();
  GZipReader reader(&in, false);
  reader.setPassword("pw");
  for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
    readBothWays(reader, i->second);
  }
}

void readMaterial(const std::string& bytes) {
  std::istringstream in(bytes);
  GMaterialZip material(&in, false);
  std::string text;
  std::string name;
  std::int64_t seconds = 0;
  std::vector<std::string> names;
  material.getId(&text);
  material.getDescription(&text, &name);
  material.getMetaInfo(&text);
  material.getTimeStamp(&seconds);
  material.getTextureNames(&names);
  for (const std::string& texture : names) {
    GFileObject* object = nullptr;
    if (material.extractTexture(texture, &object)) delete object;
  }
  std::ostringstream out;
  if (!material.flush(&out, true, false)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Silent silent;
  gOutput = &silent;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  readZip(bytes);
  readMaterial(bytes);
  return 0;
}
