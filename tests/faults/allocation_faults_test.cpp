// SPDX-License-Identifier: MIT
// Memory that runs out at every place of a piece of work: the work fails or is
// right, gives everything back, and leaves no half-written file.
#include "tests/allocation_faults.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <numeric>
#include <random>
#include <sstream>

#include "loomkit/loomkit.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

const std::string& longText() {
  static const std::string text = [] {
    std::string lines;
    for (int i = 0; lines.size() < 20000; ++i) lines += "line " + std::to_string(i * i) + "\n";
    return lines;
  }();
  return text;
}

// What a piece of work may use: files of its own, made before memory runs out.
struct Room {
  ScratchDirectory scratch;
  std::string zip = scratch / "a.zip";
  std::string ar = scratch.write("a.a",
                                 "!<arch>\n#1/20           0           0     0     100644  "
                                 "30        `\na name of twenty byt0123456789");
  std::string config = scratch.write("a.cfg", "# c\na = 1\n[s]\nb = 2\n[t]\n");
  std::string material = scratch / "a.matz";

  Room() {
    scratch.write("t.csv", "1;one;0.5\n2;two;1.5\n3;a text beyond the small buffer of strings;2\n");
    GZipWriter writer;
    writer.setCompression(true);
    writer.open(zip);
    writer.writeEntry("folder/text", longText().data(), static_cast<unsigned>(longText().size()));
    writer.writeEntry("t.csv", "7;seven;7\n", 10);
    writer.setPassword("pw");
    writer.writeEntry("secret", "hidden", 6);
    writer.close();
    GMaterialZip made;
    made.open(material, true);
    made.setId("oak");
    made.setDescription("roughness", "oak.mat");
    made.flush(true, true);
  }
};

struct Work {
  const char* name;
  // True: done and right; false: it failed and said so. It throws what the
  // standard library throws. Wrong results are failures of the test.
  bool (*run)(const Room& room);
};

bool writeZip(const Room& room) {
  for (const bool toFile : {true, false}) {
    std::ostringstream out;
    GZipWriter stored(&out, false);
    GZipWriter file;
    if (toFile && !file.open(room.scratch / "new.zip")) return false;
    GZipWriter& writer = toFile ? file : stored;
    writer.setCompression(true);
    bool written = writer.writeEntry("a/b/text", longText().data(), 20000);
    writer.setPassword("pw");
    written = writer.writeEntry("secret", "hidden", 6) && written;
    if (!writer.close() || !written) return false;
  }
  return true;
}

bool readZip(const Room& room) {
  GZipReader reader;
  if (!reader.open(room.zip)) return false;
  EXPECT_EQ(reader.getEntryCount(), 4U);
  reader.setPassword("pw");
  char* data = nullptr;
  unsigned size = 0;
  if (!reader.readEntry("folder/text", &data, &size, false)) return false;
  EXPECT_EQ(size, longText().size());
  ::operator delete(data);
  std::ostringstream out;
  if (!reader.readEntry("secret", &out, true)) return false;
  // The stream may have lost its last bytes without saying so to the reader.
  EXPECT_TRUE(!out.good() || out.str() == "hidden");
  return true;
}

bool extractZip(const Room& room) {
  GZipReader reader;
  if (!reader.open(room.zip)) return false;
  reader.setPassword("pw");
  GZipExtractor extractor(&reader, room.scratch / "out");
  extractor.setOverwrite(true);
  return extractor.extractAll() == GZipExtractor::Done;
}

bool readAr(const Room& room) {
  GArReader reader;
  if (!reader.open(room.ar)) return false;
  EXPECT_EQ(reader.getEntryCount(), 1U);
  char* data = nullptr;
  unsigned size = 0;
  if (!reader.readEntry("a name of twenty byt", &data, &size)) return false;
  EXPECT_EQ(std::string(data, size), "0123456789");
  ::operator delete(data);
  return true;
}

bool readMaterial(const Room& room) {
  GMaterialZip material;
  material.open(room.material, false);
  std::string text;
  if (!material.getId(&text)) return false;
  EXPECT_EQ(text, "oak");
  std::vector<std::string> textures;
  return material.getTextureNames(&textures) && material.getDescription(&text, nullptr);
}

bool writeMaterial(const Room&) {
  GMaterialZip material;
  material.setId("oak");
  material.setLabel("en", "Oak, a text beyond the small buffer");
  material.setTextures({});
  material.addTexture("a.png", new std::istringstream("image"));
  std::ostringstream out;
  return material.flush(&out, true, true);
}

bool changeConfig(const Room& room) {
  GKeyValueConfigFile file;
  if (!file.load(room.config)) return false;
  if (!file.set("s", "a key beyond the small buffer", "value") || !file.set("n", "x", "1") ||
      !file.unset("", "a")) {
    return false;
  }
  EXPECT_EQ(file.getKeys("s").size(), 2U);
  return file.save(room.scratch / "saved.cfg");
}

bool driveConfig(const Room& room) {
  class Section : public GConfigSection {
   public:
    using GConfigSection::GConfigSection;
    bool newKeyValue(const std::string& key, const std::string& value) override {
      kept.push_back(key + value);
      return true;
    }
    std::vector<std::string> kept;
  };
  class Driver : public GConfigFile {
   public:
    GConfigSection* newSection(const std::string& name) override { return new Section(name); }
    bool newKeyValue(const std::string&, const std::string&) override { return true; }
  };
  Driver driver;
  return driver.load(room.config);
}

GDbStructure structure() {
  GDbStructure made;
  made.appendField(GDbField("id", GDbFieldInt, 0, 0, true, false));
  made.appendField(GDbField("name", GDbFieldString, 0, 0, false, true));
  made.appendField(GDbField("price", GDbFieldFloat, 0, 0, false, false));
  return made;
}

// Opens a table, looks a key up and scans: what all databases can do.
bool useTable(GDbDatabase* database, const char* name, int rows) {
  const GDbStructure fields = structure();
  GDbTable* opened = nullptr;
  if (database->openTable(name, &fields, &opened) != GDbNoError) return false;
  const std::unique_ptr<GDbTable> table(opened);
  GDbRecordSet found;
  if (table->lookupKey(GDbKey(1, "two"), &found) != GDbNoError) return false;
  EXPECT_EQ(found.getNumRecords(), rows > 1 ? 1U : 0U);
  GDbRecordSet row;
  int count = 0;
  GDbStatus status = table->getFirstRecord(&row);
  for (; status == GDbNoError && row.getNumRecords() > 0; status = table->getNextRecord(&row)) {
    EXPECT_GT(row.getRecord(0)->getIntField(0), count);
    ++count;
    row.clear();
  }
  if (status != GDbNoError) return false;
  EXPECT_EQ(count, rows);
  return true;
}

bool useCsv(const Room& room) {
  GDbDatabase* opened = nullptr;
  if (GDbDatabase::openDatabase(("csv:" + room.scratch.path()).c_str(), &opened) != GDbNoError) {
    return false;
  }
  const std::unique_ptr<GDbDatabase> database(opened);
  return useTable(database.get(), "t", 3);
}

bool useCsvInZip(const Room& room) {
  GDbDatabase* opened = nullptr;
  const std::string locator = "csv:" + room.scratch.path() + "?zipfile=a.zip;order=zip";
  if (GDbDatabase::openDatabase(locator.c_str(), &opened) != GDbNoError) return false;
  const std::unique_ptr<GDbDatabase> database(opened);
  return useTable(database.get(), "t", 1);
}

bool useSqlite(const Room& room) {
  std::filesystem::remove(room.scratch / "t.db");
  GDbDatabase* opened = nullptr;
  if (GDbDatabase::openDatabase(("sqlite3:" + room.scratch / "t.db").c_str(), &opened) !=
      GDbNoError) {
    return false;
  }
  const std::unique_ptr<GDbDatabase> database(opened);
  const GDbStructure fields = structure();
  GDbTable* made = nullptr;
  if (database->createTable("t", &fields, &made) != GDbNoError) return false;
  const std::unique_ptr<GDbTable> table(made);
  GDbRecordSet records;
  const char* const names[] = {"one", "two", "a text beyond the small buffer of strings"};
  for (int i = 0; i < 3; ++i) {
    auto* record = new GDbRecord;
    records.addRecord(record);
    record->addIntField(i + 1);
    record->addStringField(names[i]);
    record->addFloatField(0.5);
  }
  GDbTransactionHandler* transaction = database->getTransactionHandler();
  if (transaction->begin() != GDbNoError) return false;
  if (table->insertRecords(records) != GDbNoError) return false;
  if (transaction->commit() != GDbNoError) return false;
  return useTable(database.get(), "t", 3) && table->deleteKey(GDbKey(0, 1)) == GDbNoError;
}

bool useStreams(const Room&) {
  GOMemStream out(64);
  out << longText();
  if (!out.good()) return false;
  GIStream in(out.rdbuf(nullptr), true);
  std::ostringstream packed;
  if (!GGZCompress(in).compress(packed, true)) return false;
  std::istringstream again(packed.str());
  std::ostringstream text;
  return GGZCompress(again).decompress(text, true);
}

const Work works[] = {{"writes zip", writeZip},
                      {"reads zip", readZip},
                      {"extracts zip", extractZip},
                      {"reads ar", readAr},
                      {"reads material", readMaterial},
                      {"writes material", writeMaterial},
                      {"changes config", changeConfig},
                      {"drives config", driveConfig},
                      {"uses csv", useCsv},
                      {"uses csv in zip", useCsvInZip},
                      {"uses Sqlite", useSqlite},
                      {"uses streams", useStreams}};

class MemoryRunsOut : public ::testing::TestWithParam<Work> {
 protected:
  // What has a file under its final name has it whole.
  void checkFiles() const {
    EXPECT_EQ(room.scratch.read("a.cfg"), "# c\na = 1\n[s]\nb = 2\n[t]\n");
    const std::string saved = room.scratch.read("saved.cfg");
    if (!saved.empty()) {
      EXPECT_EQ(saved,
                "# c\n[s]\nb = 2\na key beyond the small buffer = value\n[t]\n\n[n]\nx = 1\n");
    }
    const std::filesystem::path out = room.scratch / "out";
    if (!std::filesystem::exists(out)) return;
    for (const auto& file : std::filesystem::recursive_directory_iterator(out)) {
      if (!file.is_regular_file()) continue;
      const std::string name = file.path().filename().string();
      const std::string content = room.scratch.read("out/" + relative(file.path(), out).string());
      EXPECT_EQ(content, name == "text"     ? longText()
                         : name == "secret" ? std::string("hidden")
                                            : std::string("7;seven;7\n"))
          << file.path();
    }
  }

  Room room;
  Silence silence;
};

// After the first failure every step-th allocation fails, or no other for 0.
// LOOMKIT_FAULT_STEPS=100 is a long run with all steps below.
std::vector<std::size_t> stepsToTry() {
  const char* wanted = std::getenv("LOOMKIT_FAULT_STEPS");
  if (wanted == nullptr) return {0, 1, 2, 3, 7, 20};
  std::vector<std::size_t> steps(static_cast<std::size_t>(std::atoi(wanted)));
  std::iota(steps.begin(), steps.end(), 0);
  return steps;
}

TEST_P(MemoryRunsOut, HarmsNothing) {
  // The library and the standard library make what they keep at first use.
  ASSERT_TRUE(GetParam().run(room));
  std::size_t failures = 0;
  for (const std::size_t step : stepsToTry()) {
    failures +=
        failEachAllocation([this] { GetParam().run(room); }, step, [this] { checkFiles(); });
  }
  EXPECT_GT(failures, 10U);
  std::printf("%zu failing runs\n", failures);
  EXPECT_TRUE(GetParam().run(room)) << "afterwards all is well again";
}

INSTANTIATE_TEST_SUITE_P(Everywhere, MemoryRunsOut, ::testing::ValuesIn(works),
                         [](const auto& test) {
                           std::string name = test.param.name;
                           for (char& c : name) {
                             if (c == ' ') c = '_';
                           }
                           return name;
                         });

}  // namespace
}  // namespace loomkit::testing
