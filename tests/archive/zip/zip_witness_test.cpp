// SPDX-License-Identifier: MIT
// Other programs read what the writer writes, and the other way round.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "tests/archive/zip/zip_builder.h"
#include "tests/capture_output.h"
#include "tests/scratch_directory.h"
#include "tests/witness.h"

namespace loomkit::testing {
namespace {

class ZipWitness : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string text;
    for (int i = 0; text.size() < 100000; ++i) text += std::to_string(i * 7) + "\n";
    files = {
        {"text", text}, {"dir/small", "small"}, {"dir/empty", ""}, {"bytes", text.substr(0, 8192)}};
    std::filesystem::create_directories(scratch / "in/dir");
    for (const auto& [name, data] : files) scratch.write("in/" + name, data);
  }

  void run(const std::string& command) {
    const Witnessed ended = runShell("cd " + scratch.path() + " && {\n" + command + "\n} 2>&1");
    ASSERT_EQ(ended.status, 0) << command << "\n" << ended.output;
  }

  // Writes an archive of the files with ours.
  void write(bool compress, const std::string& password) {
    std::vector<ZipMember> members;
    for (const auto& [name, data] : files) members.push_back({name, data, compress, password});
    scratch.write("ours.zip", zipOf(members));
  }

  // Reads an archive with ours and compares it with the files.
  void expectFiles(const std::string& path, const std::string& password = {}) {
    GZipReader reader;
    ASSERT_TRUE(reader.open(path));
    reader.setPassword(password);
    for (const auto& [name, data] : files) EXPECT_EQ(textOf(reader, name), data) << path << name;
  }

  ScratchDirectory scratch;
  CaptureOutput output;
  std::map<std::string, std::string> files;
};

TEST_F(ZipWitness, OthersReadWhatWeWrite) {
  for (const bool compress : {false, true}) {
    write(compress, "");
    run("unzip -tqq ours.zip");
    run("rm -rf u b && unzip -qq ours.zip -d u && diff -r in u");
    run("mkdir b && bsdtar -xf ours.zip -C b && diff -r in b");
    run("7z t ours.zip >log || { cat log; false; }");
    run("python3 -c 'import zipfile; z = zipfile.ZipFile(\"ours.zip\"); assert z.testzip() is "
        "None; assert len(z.namelist()) == 5'");
  }
}

TEST_F(ZipWitness, OthersDecryptWhatWeEncrypt) {
  for (const bool compress : {false, true}) {
    write(compress, "pass word");
    run("unzip -P 'pass word' -tqq ours.zip");
    run("7z t -p'pass word' ours.zip >log || { cat log; false; }");
    run("python3 -c 'import zipfile; z = zipfile.ZipFile(\"ours.zip\"); "
        "z.setpassword(b\"pass word\"); assert z.testzip() is None'");
    EXPECT_NE(runShell("unzip -P wrong -tqq " + scratch / "ours.zip" + " 2>&1").status, 0);
  }
}

TEST_F(ZipWitness, WeReadWhatOthersWrite) {
  run("cd in && zip -qr ../zip.zip . && zip -qr0 ../stored.zip .");
  run("cd in && 7z a -tzip ../7z.zip . >/dev/null");
  run("cd in && bsdtar -caf ../bsdtar.zip *");
  run("cd in && python3 -m zipfile -c ../python.zip text bytes dir");
  for (const char* name : {"zip.zip", "stored.zip", "7z.zip", "python.zip", "bsdtar.zip"}) {
    expectFiles(scratch / name);
  }
  EXPECT_EQ(output.texts(), std::vector<std::string>{});
}

TEST_F(ZipWitness, WeDecryptWhatOthersEncrypt) {
  run("cd in && zip -qr -P secret ../zip.zip . && 7z a -tzip -psecret ../7z.zip . >/dev/null");
  expectFiles(scratch / "zip.zip", "secret");
  expectFiles(scratch / "7z.zip", "secret");
}

TEST_F(ZipWitness, WeReadArchivesWithComments) {
  run("cd in && echo 'of the archive' | zip -qrz ../zip.zip .");
  GZipReader reader;
  ASSERT_TRUE(reader.open(scratch / "zip.zip"));
  EXPECT_EQ(reader.getZipFileComment(), "of the archive");
}

TEST_F(ZipWitness, WeReadAnOpenDocumentAndAJar) {
  // Both kinds begin with a member that has to be the first.
  run("python3 - <<'E'\n"
      "import zipfile\n"
      "with zipfile.ZipFile('doc.odt', 'w') as z:\n"
      "  z.writestr('mimetype', 'application/vnd.oasis.opendocument.text')\n"
      "  z.writestr('content.xml', '<office:document-content/>', zipfile.ZIP_DEFLATED)\n"
      "with zipfile.ZipFile('lib.jar', 'w', zipfile.ZIP_DEFLATED) as z:\n"
      "  i = zipfile.ZipInfo('META-INF/MANIFEST.MF'); i.extra = b'\\xfe\\xca\\0\\0'\n"
      "  z.writestr(i, 'Manifest-Version: 1.0\\r\\n')\n"
      "E");
  GZipReader odt;
  ASSERT_TRUE(odt.open(scratch / "doc.odt"));
  EXPECT_EQ(textOf(odt, "mimetype"), "application/vnd.oasis.opendocument.text");
  EXPECT_EQ(textOf(odt, "content.xml"), "<office:document-content/>");
  GZipReader jar;
  ASSERT_TRUE(jar.open(scratch / "lib.jar"));
  EXPECT_EQ(textOf(jar, "META-INF/MANIFEST.MF", true), "Manifest-Version: 1.0\n");
  EXPECT_EQ(output.texts(), std::vector<std::string>{});
}

}  // namespace
}  // namespace loomkit::testing
