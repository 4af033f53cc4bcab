// SPDX-License-Identifier: MIT
// A host that derives from every class that hosts may derive from. It links only
// if the library exports what a derived class's typeinfo and vtable refer to,
// which run-time type checks and -fsanitize=undefined ask for in addition.
#include <loomkit/loomkit.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <typeinfo>

// Instantiated below for each class: that emits the vtable and the typeinfo.
template <class Base>
struct Derived : Base {
  using Base::Base;
  ~Derived() = default;

  const char* typeName() { return typeid(*static_cast<Base*>(this)).name(); }
  Derived* self() { return dynamic_cast<Derived*>(static_cast<Base*>(this)); }
};

// Text and messages
template struct Derived<GOutput>;
template struct Derived<GSystemOutput>;
// Expressions
template struct Derived<GRpnEval::ErrorHandler>;
template struct Derived<GRpnParamSet>;
template struct Derived<GRpnExternFuncs>;
template struct Derived<GRpnMapParamSet>;
template struct Derived<GRpnFunctionTable>;
template struct Derived<GRpnRecordParams>;
// Streams and files
template struct Derived<GStreamBuf>;
template struct Derived<GMemStreamBuf>;
template struct Derived<GFileObject>;
template struct Derived<GFile>;
template struct Derived<GMatzTexture>;
// Archives
template struct Derived<GZipBase>;
template struct Derived<GZipReader>;
template struct Derived<GZipReader::Output>;
template struct Derived<GZipWriter>;
template struct Derived<GZipWriter::Input>;
// Configuration
template struct Derived<GConfigSection>;
template struct Derived<GConfigFile>;
template struct Derived<GWriteableConfigSection>;
template struct Derived<GWriteableConfigFile>;
// Databases
template struct Derived<GDbDbFactory>;
template struct Derived<GDbDatabase>;
template struct Derived<GDbTable>;
template struct Derived<GDbCatalog>;
template struct Derived<GSqlDatabase>;
template struct Derived<GSqlDatabaseImpl>;
template struct Derived<GSqlQueryData>;
// Objects
template struct Derived<GObject>;
template struct Derived<GNumberObj>;
template struct Derived<GSequenceObj>;
template struct Derived<GVectorObj>;
template struct Derived<GListObj>;
// System
template struct Derived<GProcess>;

namespace {

class Section : public GConfigSection {
 public:
  using GConfigSection::GConfigSection;
  bool newKeyValue(const std::string& key, const std::string& value) override {
    return key == "width" ? parse(value, &width) : invalidKey(key);
  }
  int width = 0;
};

class Settings : public GConfigFile {
 public:
  GConfigSection* newSection(const std::string& name) override {
    section = new Section(name);
    return section;
  }
  bool newKeyValue(const std::string& /*key*/, const std::string& /*value*/) override {
    return false;
  }
  Section* section = nullptr;
};

}  // namespace

int main() {
  Settings settings;
  std::istringstream text("[window]\nwidth = 42\n");
  if (!settings.load("text", &text) || settings.section == nullptr) return 1;
  Derived<GSystemOutput> output;
  if (output.self() != &output) return 2;
  std::printf("%d\n", settings.section->width);
}
