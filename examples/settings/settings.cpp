// SPDX-License-Identifier: MIT
// Settings: a configuration file read in two ways.
//
// First by GKeyValueConfigFile, which is asked for values and keeps every byte
// that is not changed; then by classes of the host's own, each of which knows
// its keys and refuses the others with file and line.
#include <loomkit/loomkit.h>

#include <cstdio>
#include <sstream>
#include <string>

namespace {

constexpr const char* file =
    "# written by hand\n"
    "name = Weaver\n"
    "\n"
    "[Window]\n"
    "width = 800   \n"
    "hieght = 600\n";

class Window : public GConfigSection {
 public:
  using GConfigSection::GConfigSection;
  bool newKeyValue(const std::string& key, const std::string& value) override {
    if (key == "width") return parse(value, &width);
    if (key == "height") return parse(value, &height);
    return invalidKey(key);
  }
  int width = 640;
  int height = 480;
};

class Settings : public GConfigFile {
 public:
  GConfigSection* newSection(const std::string& section) override {
    return section == "window" ? new Window(section) : nullptr;
  }
  bool newKeyValue(const std::string& key, const std::string& value) override {
    if (key != "name") return setErrMsg("invalid key: " + key);
    std::printf("name is %s\n", value.c_str());
    return true;
  }
};

}  // namespace

int main() {
  GKeyValueConfigFile values;
  std::istringstream in(file);
  if (!values.load("weaver.cfg", &in)) return 1;
  int width = 0;
  values.get("window", "width", &width);
  values.set("window", "width", std::to_string(width * 2));
  std::printf("%s--\n", values.getText().c_str());

  Settings settings;
  std::istringstream again(file);
  if (!settings.load("weaver.cfg", &again)) std::printf("%s\n", settings.getErrMsg().c_str());
  const auto* window = static_cast<const Window*>(settings.getSection("window"));
  if (window != nullptr) std::printf("a window of %d x %d\n", window->width, window->height);
  return 0;
}
