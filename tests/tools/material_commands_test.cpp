// SPDX-License-Identifier: MIT
// loom material: what stays, what is refused, damage; the plain cases are the
// examples of the commands.
#include <gtest/gtest.h>

#include "run_program.h"
#include "tests/archive/zip/zip_builder.h"

namespace {

using namespace loomkit::testing;

TEST(MaterialCommand, SaysWhatIsWrong) {
  const std::string dir = newFolder();
  writeFile(dir + "/text", "no archive");
  writeFile(dir + "/x.zip", zipOf({{"a", "text"}}));
  EXPECT_EQ(runLoom({"material", "info", dir + "/none"}).code, 3);
  EXPECT_EQ(runLoom({"material", "info", dir + "/text"}).code, 4);
  EXPECT_EQ(runLoom({"material", "info", dir + "/x.zip"}),
            (Ended{4, "", "loom: not a material archive: " + dir + "/x.zip\n"}));
  EXPECT_EQ(runLoom({"material", "new", dir + "/m.matz"}).code, 2);
  EXPECT_EQ(runLoom({"material", "new", dir + "/text", "--id", "x"}).code, 6);
  EXPECT_EQ(runLoom({"material", "new", dir + "/m", "--id", "x", "--texture", dir + "/none"}).code,
            3);
  EXPECT_EQ(runLoom({"material", "new", dir + "/m", "--id", "x", "--label", "en"}).code, 2);
}

// A folder with an archive m.matz that has everything.
std::string folderWithArchive(const std::string& options) {
  const std::string dir = newFolder();
  writeFile(dir + "/a.png", "texture a");
  writeFile(dir + "/b.tga", "texture b");
  writeFile(dir + "/p.jpg", "the preview");
  writeFile(dir + "/oak.mat", "shine");
  EXPECT_EQ(shell("cd " + dir + " && mkdir d && loom material new m.matz --id oak --label en=Oak" +
                  " --label de=Eiche --description oak.mat --meta m --preview p.jpg" +
                  " --texture a.png --texture b.tga " + options),
            (Ended{0, "", ""}));
  return dir;
}

TEST(MaterialCommand, TellsWhatAnArchiveHolds) {
  const std::string cd = "cd " + folderWithArchive("") + " && ";
  EXPECT_EQ(shell(cd + "loom material info m.matz"),
            (Ended{0,
                   "id: oak\nlabel: de=Eiche\nlabel: en=Oak\ndescription: oak.mat\nmeta: m\n"
                   "texture: a.png\ntexture: b.tga\n",
                   ""}));
  EXPECT_EQ(shell(cd + "loom material info --json m.matz | tr -d '0-9'").out,
            "{\"id\":\"oak\",\"labels\":{\"de\":\"Eiche\",\"en\":\"Oak\"},"
            "\"descriptionFile\":\"oak.mat\",\"description\":\"shine\",\"meta\":\"m\","
            "\"written\":,\"textures\":[\"a.png\",\"b.tga\"]}\n");
}

TEST(MaterialCommand, AChangeKeepsTheRest) {
  for (const std::string options : {"", "--store", "--encrypt", "--store --encrypt"}) {
    const std::string dir = folderWithArchive(options);
    const std::string cd = "cd " + dir + " && ";
    const auto packing = [&] {
      return shell(cd +
                   "loom zip ls --json m.matz | sed 's/.*\"deflated\"/\"deflated\"/' | sort -u");
    };
    const Ended packedBefore = packing();
    EXPECT_EQ(shell(cd + "loom material set m.matz --id elm --label en=Elm --label fr=Orme"),
              (Ended{0, "", ""}));
    EXPECT_EQ(packing(), packedBefore) << options;
    EXPECT_EQ(shell(cd + "loom material info m.matz").out,
              "id: elm\nlabel: de=Eiche\nlabel: en=Elm\nlabel: fr=Orme\ndescription: oak.mat\n"
              "meta: m\ntexture: a.png\ntexture: b.tga\n");
    EXPECT_EQ(shell(cd + "loom material x m.matz -d d"),
              (Ended{0, "d/preview.jpeg\nd/a.png\nd/b.tga\n", ""}));
    EXPECT_EQ(readFile(dir + "/d/preview.jpeg"), "the preview");
    EXPECT_EQ(readFile(dir + "/d/a.png"), "texture a");
    EXPECT_EQ(readFile(dir + "/d/b.tga"), "texture b");
  }
}

TEST(MaterialCommand, GivenImagesReplaceThoseThatAreThere) {
  const std::string dir = folderWithArchive("");
  const std::string cd = "cd " + dir + " && ";
  writeFile(dir + "/c.bmp", "texture c");
  writeFile(dir + "/q.jpg", "another");
  EXPECT_EQ(shell(cd + "loom material set m.matz --texture c.bmp --preview q.jpg"),
            (Ended{0, "", ""}));
  EXPECT_EQ(shell(cd + "loom material x m.matz -d d"), (Ended{0, "d/preview.jpeg\nd/c.bmp\n", ""}));
  EXPECT_EQ(readFile(dir + "/d/preview.jpeg"), "another");
}

TEST(MaterialCommand, ReplacesFilesOnlyWhenTold) {
  const std::string dir = folderWithArchive("");
  const std::string cd = "cd " + dir + " && ";
  writeFile(dir + "/d/a.png", "mine");
  EXPECT_EQ(shell(cd + "loom material x m.matz -d d"),
            (Ended{6, "d/preview.jpeg\nd/b.tga\n", "loom: m.matz: d/a.png is there already\n"}));
  EXPECT_EQ(readFile(dir + "/d/a.png"), "mine");
  EXPECT_EQ(shell(cd + "loom material x -f m.matz -d d").code, 0);
  EXPECT_EQ(readFile(dir + "/d/a.png"), "texture a");
}

TEST(MaterialCommand, ADamagedImageIsNotExtractedAndNothingIsChanged) {
  for (const std::string image : {"texture a", "the preview"}) {
    const std::string dir = folderWithArchive("--store");
    const std::string cd = "cd " + dir + " && ";
    std::string bytes = readFile(dir + "/m.matz");
    bytes[bytes.find(image)] = 'X';
    writeFile(dir + "/m.matz", bytes);
    const Ended ended = shell(cd + "loom material x m.matz -d d");
    EXPECT_EQ(ended.code, 4);
    EXPECT_NE(ended.err.find("checksum mismatch"), std::string::npos) << ended.err;
    EXPECT_EQ(shell(cd + "ls d").out,
              image == "texture a" ? "b.tga\npreview.jpeg\n" : "a.png\nb.tga\n");
    EXPECT_EQ(shell(cd + "loom material set m.matz --id elm").code, 4);
    EXPECT_EQ(readFile(dir + "/m.matz"), bytes);
  }
}

// The library compares no checksum of an encrypted member.
TEST(MaterialCommand, NoticesDamageOfEncryptedMembers) {
  const std::string dir = folderWithArchive("--store --encrypt");
  const std::string cd = "cd " + dir + " && ";
  std::string bytes = readFile(dir + "/m.matz");
  bytes[bytes.find("b.tga") + 5 + 12] ^= 1;  // behind name and encryption header
  writeFile(dir + "/m.matz", bytes);
  EXPECT_EQ(shell(cd + "loom material x m.matz -d d"),
            (Ended{4, "d/preview.jpeg\nd/a.png\n",
                   "loom: m.matz: b.tga is damaged, or the password is wrong\n"}));
  EXPECT_EQ(shell(cd + "ls d").out, "a.png\npreview.jpeg\n");
  EXPECT_EQ(shell(cd + "loom material set m.matz --id elm").code, 4);
  EXPECT_EQ(readFile(dir + "/m.matz"), bytes);
}

TEST(MaterialCommand, ADamagedTextKeepsTheArchiveFromBeingChanged) {
  for (const std::string text : {"shine", "m\x50K"}) {
    const std::string dir = folderWithArchive("--store");
    std::string bytes = readFile(dir + "/m.matz");
    const std::size_t at = bytes.find(text);
    ASSERT_NE(at, std::string::npos);
    bytes[at] = 'X';
    writeFile(dir + "/m.matz", bytes);
    EXPECT_EQ(shell("cd " + dir + " && loom material set m.matz --id elm").code, 4) << text;
    EXPECT_EQ(readFile(dir + "/m.matz"), bytes);
  }
}

TEST(MaterialCommand, ATextureMayLieInAFolder) {
  const std::string dir = newFolder();
  writeFile(dir + "/m.matz", zipOf({{"id.txt", "x"}, {"sub/a.png", "a"}}));
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "loom material x m.matz -d d && cat d/sub/a.png"),
            (Ended{0, "d/sub/a.png\na", ""}));
  EXPECT_EQ(shell(cd + "loom material set m.matz --id y && loom material textures m.matz").out,
            "sub/a.png\n");
}

TEST(MaterialCommand, AFullDiskLeavesTheOldArchive) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "loom material new m.matz --id oak").code, 0);
  const std::string before = readFile(dir + "/m.matz");
  const Ended ended =
      shell(cd + "trap '' XFSZ && ulimit -f 0 && loom material set m.matz --id elm");
  EXPECT_EQ(ended.code, 6) << ended.err;
  EXPECT_EQ(readFile(dir + "/m.matz"), before);
  EXPECT_EQ(shell(cd + "ls -A").out, "m.matz\n");
}

}  // namespace
