// SPDX-License-Identifier: MIT
#include "xbase_encoding.h"

#include <algorithm>
#include <fstream>
#include <iomanip>

#include "loomkit/xbase/xbase.h"
#include "text_converter.h"

namespace loom {

namespace {

// The language drivers of FoxPro ("Code Pages Supported by Visual FoxPro") and those of
// dBASE that are met in today's files, with their code pages.
struct LanguageDriver {
  unsigned number;
  unsigned codePage;
};
constexpr LanguageDriver languageDrivers[] = {
    {0x01, 437},  {0x02, 850},  {0x03, 1252}, {0x08, 865},  {0x09, 437},  {0x0a, 850},
    {0x0b, 437},  {0x0d, 437},  {0x0e, 850},  {0x0f, 437},  {0x10, 850},  {0x11, 437},
    {0x12, 850},  {0x13, 932},  {0x14, 850},  {0x57, 1252}, {0x58, 1252}, {0x59, 1252},
    {0x64, 852},  {0x65, 866},  {0x66, 865},  {0x67, 861},  {0x6a, 737},  {0x6b, 857},
    {0x78, 950},  {0x79, 949},  {0x7a, 936},  {0x7b, 932},  {0x7c, 874},  {0x7d, 1255},
    {0x7e, 1256}, {0xc8, 1250}, {0xc9, 1251}, {0xca, 1254}, {0xcb, 1253}};

std::string encodingOfDriver(unsigned number) {
  const auto* const found =
      std::find_if(std::begin(languageDrivers), std::end(languageDrivers),
                   [number](const LanguageDriver& driver) { return driver.number == number; });
  return found == std::end(languageDrivers) ? std::string()
                                            : "CP" + std::to_string(found->codePage);
}

// Such a file holds a name, such as UTF-8, or the number of a code page. It may also be
// anything else: what is long is no name, and behind a slash iconv() would be told to drop
// what it cannot convert.
std::string encodingBeside(const std::filesystem::path& file) {
  constexpr int longest = 64;
  std::string name;
  for (const char* const suffix : {".cpg", ".CPG"}) {
    const std::filesystem::path beside = std::filesystem::path(file).replace_extension(suffix);
    std::error_code error;  // a pipe would have to be waited for
    if (!std::filesystem::is_regular_file(beside, error)) continue;
    if (std::ifstream(beside) >> std::setw(longest) >> name) break;
  }
  if (name.find('/') != std::string::npos) return {};
  if (name.find_first_not_of("0123456789") == std::string::npos) name.insert(0, "CP");
  return isEncoding(name) ? name : std::string();
}

class DecodedRows : public RowSource {
 public:
  DecodedRows(std::unique_ptr<RowSource> itsSource, std::string itsEncoding)
      : RowSource(itsSource->name(), itsSource->columns()),
        source(std::move(itsSource)),
        encoding(std::move(itsEncoding)) {}

 protected:
  bool read(Row* row) override {
    if (!source->next(row)) return false;
    for (Cell& cell : *row)
      if (isNationalText(cell)) decode(&std::get<std::string>(cell));
    return true;
  }

 private:
  void decode(std::string* text) const {
    std::string decoded;
    std::size_t valid = 0;
    if (convertToUtf8(*text, encoding, &decoded, &valid) == Conversion::done) *text = decoded;
  }

  std::unique_ptr<RowSource> source;
  std::string encoding;
};

}  // namespace

bool isEncoding(const std::string& name) {
  std::string nothing;
  std::size_t valid = 0;
  return convertToUtf8({}, name, &nothing, &valid) != Conversion::unknownEncoding;
}

std::string xbaseEncoding(const std::filesystem::path& file) {
  std::string encoding = encodingBeside(file);
  if (!encoding.empty()) return encoding;
  GXBaseTable table;
  if (!table.open(file.string(), true)) return {};
  encoding = encodingOfDriver(table.getHeader().codePage);
  return isEncoding(encoding) ? encoding : std::string();
}

void tellXBaseIsUtf8(const std::filesystem::path& file) {
  const std::filesystem::path beside = std::filesystem::path(file).replace_extension(".cpg");
  if ((std::ofstream(beside, std::ios::binary) << "UTF-8\n").flush()) return;
  std::error_code error;
  std::filesystem::remove(beside, error);
  throw Failure(ExitCode::cannotWrite, "cannot write " + beside.generic_string());
}

std::unique_ptr<RowSource> decodedRows(std::unique_ptr<RowSource> source,
                                       const std::string& encoding) {
  if (encoding.empty()) return source;
  return std::make_unique<DecodedRows>(std::move(source), encoding);
}

bool isNationalText(const Cell& cell) {
  const auto* const text = std::get_if<std::string>(&cell);
  return text != nullptr && std::any_of(text->begin(), text->end(), [](char c) {
           return static_cast<unsigned char>(c) >= 0x80;
         });
}

}  // namespace loom
