// SPDX-License-Identifier: MIT
// Preferences: an application that rewrites its settings. What a user has written
// by hand stays as it is, and a crash leaves the old file or the new one.
#include <loomkit/loomkit.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace {

// Counts the starts of the application in its settings.
bool countStart(const std::string& path) {
  GKeyValueConfigFile settings;
  int starts = 0;  // stays when the file does not say
  if (!settings.load(path)) return false;
  settings.get("session", "starts", &starts);
  return settings.set("session", "starts", std::to_string(starts + 1)) && settings.save();
}

}  // namespace

int main() {
  const std::string folder = GDirectory::createTempDir("", "preferences");
  const std::string path = folder + "/weaver.cfg";
  std::ofstream(path) << "# mine\n[session]\nstarts = 41\n";
  const bool saved = countStart(path);
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  std::printf("%s", text.str().c_str());

  // The reason of a failure, for a dialog of the application's own.
  GKeyValueConfigFile missing;
  if (!missing.load("missing.cfg")) std::printf("%s\n", missing.getErrMsg().c_str());
  GDirectory(folder).remove(true, false);
  return saved ? 0 : 1;
}
