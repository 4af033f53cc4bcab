// SPDX-License-Identifier: MIT
// Archives: a zip archive made in memory, listed and read back, without a file.
#include <loomkit/loomkit.h>

#include <cstdio>
#include <sstream>
#include <string>

int main() {
  std::stringstream bytes;
  {
    GZipWriter writer(&bytes, false);
    writer.setCompression(true);
    writer.setReproducible(true);  // no time of day in it
    const std::string text(1000, '.');
    writer.writeEntry("notes/today.txt", "first line\r\nsecond line\r\n", 25);
    writer.writeEntry("notes/dots.txt", text.data(), static_cast<unsigned>(text.size()));
    writer.setPassword("open sesame");
    writer.writeEntry("secret.txt", "treasure", 8);
    if (!writer.close()) return 1;  // gOutput was told why
  }

  GZipReader reader(&bytes, false);
  if (reader.isError()) return 1;
  for (auto entry = reader.entriesBegin(); entry != reader.entriesEnd(); ++entry) {
    const GZipEntry* member = entry->second;
    std::printf("%-16s %5u bytes%s\n", member->getFName().c_str(), member->getUncomprSize(),
                member->isEncrypted() ? ", encrypted" : "");
  }

  std::ostringstream text;
  reader.readEntry("notes/today.txt", &text, true);  // CR LF as LF
  std::printf("%s", text.str().c_str());
  reader.setPassword("open sesame");
  std::ostringstream secret;
  if (reader.readEntry("secret.txt", &secret, false)) std::printf("%s\n", secret.str().c_str());
  return 0;
}
