// SPDX-License-Identifier: MIT
// Any bytes as a configuration file: what loads is kept byte for byte, agrees
// with the driver's view of it, and can be changed and read again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>

#include "loomkit/config/config_file.h"
#include "loomkit/config/key_value_config_file.h"

namespace {

using Values = std::map<std::pair<std::string, std::string>, std::string>;

void require(bool holds) {
  if (!holds) std::abort();
}

class Section : public GConfigSection {
 public:
  Section(const std::string& name, Values* shared) : GConfigSection(name), values(shared) {}
  bool newKeyValue(const std::string& key, const std::string& value) override {
    (*values)[{getSectionName(), key}] = value;
    return true;
  }

 private:
  Values* values;
};

class File : public GConfigFile {
 public:
  GConfigSection* newSection(const std::string& sectionName) override {
    return new Section(sectionName, &values);
  }
  bool newKeyValue(const std::string& key, const std::string& value) override {
    values[{"", key}] = value;
    return true;
  }
  Values values;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  if (text.compare(0, 3, "\xef\xbb\xbf") == 0) return 0;  // a key's first bytes to the driver
  std::istringstream first(text);
  std::istringstream second(text);
  File driver;
  GKeyValueConfigFile file;
  const bool loaded = driver.load("f", &first);
  require(file.load("f", &second) == loaded);
  if (!loaded) {
    require(file.getErrMsg() == driver.getErrMsg());
    return 0;
  }
  require(file.getText() == text);
  for (const auto& [place, expected] : driver.values) {
    std::string value;
    require(file.get(place.first, place.second, &value) && value == expected);
  }
  if (driver.values.empty()) return 0;
  const auto [place, old] = *driver.values.begin();
  require(file.set(place.first, place.second, "changed"));
  std::istringstream third(file.getText());
  std::string value;
  require(file.load("f", &third) && file.get(place.first, place.second, &value));
  require(value == "changed");
  return 0;
}
