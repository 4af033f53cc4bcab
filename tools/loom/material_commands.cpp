// SPDX-License-Identifier: MIT
// loom material: archives of one material each.
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "console.h"
#include "extractor_options.h"
#include "families.h"
#include "file_content.h"
#include "json_writer.h"
#include "loomkit/archive/material/material_labels.h"
#include "loomkit/archive/material/material_zip.h"
#include "loomkit/streams/file.h"
#include "temporary_directory.h"
#include "visible_text.h"

namespace loom {

namespace {

// An archive that is there, with what the library's class does not tell of it.
struct Archive {
  // Throws Failure unless it is one: its id tells.
  explicit Archive(const std::string& path) {
    requireFile(path);
    material.open(path, false);
    if (!material.getId(&id) || !reader.open(path) || !gReadMaterialLabels(reader, &labels)) {
      throw Failure(ExitCode::damaged, "not a material archive: " + path);
    }
    const GZipEntry* encrypted = nullptr;
    for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
      isCompressed = isCompressed || i->second->isCompressed();
      if (i->second->isEncrypted()) encrypted = i->second;
    }
    isEncrypted = encrypted != nullptr;
    std::string ignored;
    if (isEncrypted) reader.readTextEntry(encrypted, ignored);  // sets the password
  }

  // Whether each member can be read and has its checksum; if not, that is said.
  bool isWhole() {
    GZipExtractor extractor(&reader, ".");
    extractor.setLimits(noLimits());
    bool whole = true;
    for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
      if (i->second->isFile() && extractor.test(i->second) != GZipExtractor::Done) whole = false;
    }
    return whole;
  }

  GMaterialZip material;
  GZipReader2 reader;
  std::string id;
  std::map<std::string, std::string> labels;
  bool isCompressed = false;
  bool isEncrypted = false;
};

ExitCode info(const Invocation& call) {
  Archive archive(call.operand("ARCHIVE"));
  std::string description;
  std::string fileName;
  std::string meta;
  std::int64_t seconds = 0;
  std::vector<std::string> textures;
  archive.material.getDescription(&description, &fileName);
  archive.material.getMetaInfo(&meta);
  archive.material.getTimeStamp(&seconds);
  archive.material.getTextureNames(&textures);
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("id").value(archive.id).key("labels").beginObject();
    for (const auto& [language, label] : archive.labels) json.key(language).value(label);
    json.endObject().key("descriptionFile").value(fileName);
    json.key("description").value(description).key("meta").value(meta);
    json.key("written").value(seconds).key("textures").beginArray();
    for (const std::string& name : textures) json.value(name);
    json.endArray().endObject();
    return ExitCode::done;
  }
  printLine("id: " + visible(archive.id));
  for (const auto& [language, label] : archive.labels)
    printLine("label: " + visible(language) + "=" + visible(label));
  printLine("description: " + visible(fileName));
  printLine("meta: " + visible(meta));
  for (const std::string& name : textures) printLine("texture: " + visible(name));
  return ExitCode::done;
}

ExitCode textures(const Invocation& call) {
  Archive archive(call.operand("ARCHIVE"));
  std::vector<std::string> names;
  archive.material.getTextureNames(&names);
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const std::string& name : names) {
    if (json) {
      json->value(name);
    } else {
      printLine(shown(name));
    }
  }
  if (json) json->endArray();
  return names.empty() ? ExitCode::no : ExitCode::done;
}

constexpr char previewName[] = "preview.jpeg";

ExitCode extract(const Invocation& call) {
  Archive archive(call.operand("ARCHIVE"));
  const std::string directory = call.value("--directory", ".");
  GZipExtractor extractor(&archive.reader, directory);
  extractor.setOverwrite(call.has("--force"));
  extractor.setLimits(noLimits());
  ExitCode code = ExitCode::done;
  const auto save = [&](const std::string& name) {
    const GZipEntry* entry = archive.reader.getEntry(name);
    if (entry == nullptr) return;  // there need not be a preview
    const ExitCode one = codeOf(extractor.extract(entry));
    if (one == ExitCode::done) {
      printLine(shown(directory + "/" + name));
    } else {
      code = one;
    }
  };
  save(previewName);
  std::vector<std::string> names;
  archive.material.getTextureNames(&names);
  for (const std::string& name : names) save(name);
  return code;
}

// Sets again what writing the archive anew would lose; images wait in `scratch`.
void keepTheRest(const Invocation& call, Archive& archive, const TemporaryDirectory& scratch) {
  if (!archive.isWhole()) {
    throw Failure(ExitCode::damaged, call.operand("ARCHIVE") + " stays as it was");
  }
  GMaterialZip& material = archive.material;
  const auto take = [](bool taken) {
    if (!taken) throw Failure(ExitCode::cannotWrite, "the images find no room to wait in");
  };
  for (const auto& [language, label] : archive.labels) material.setLabel(language, label);
  if (archive.reader.getEntry(previewName) != nullptr && !call.has("--preview")) {
    take(material.extractPreviewImage(scratch / "preview"));
    material.setPreviewImage(scratch / "preview");
  }
  std::vector<std::string> names;
  if (!call.has("--texture")) material.getTextureNames(&names);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string file = scratch / std::to_string(i);
    take(material.extractTexture(names[i], file));
    material.addTexture(names[i], GFile(file).getInStream(true));
  }
  material.setTextures({});
}

// Sets what the options give.
void applyOptions(const Invocation& call, GMaterialZip& material) {
  if (call.has("--id")) material.setId(call.value("--id"));
  if (call.has("--meta")) material.setMetaInfo(call.value("--meta"));
  for (const std::string& label : call.values("--label")) {
    const std::size_t equals = label.find('=');
    if (equals == std::string::npos ||
        !material.setLabel(label.substr(0, equals), label.substr(equals + 1))) {
      throw Failure(ExitCode::usage, "not LANGUAGE=LABEL: " + label);
    }
  }
  if (call.has("--description")) {
    const std::string path = call.value("--description");
    const std::string name = path.substr(path.rfind('/') + 1);
    if (!material.setDescription(contentOf(path), name)) {
      throw Failure(ExitCode::usage, "an empty description: " + path);
    }
  }
  if (call.has("--preview")) {
    requireFile(call.value("--preview"));
    material.setPreviewImage(call.value("--preview"));
  }
  if (call.has("--texture")) {
    for (const std::string& path : call.values("--texture")) requireFile(path);
    material.setTextures(call.values("--texture"));
  }
}

bool flush(const Invocation& call, GMaterialZip& material, bool compress, bool encrypt,
           std::ostream* out) {
  return material.flush(out, compress && !call.has("--store"), encrypt || call.has("--encrypt"));
}

ExitCode create(const Invocation& call) {
  const std::string path = call.operand("ARCHIVE");
  if (GFile(path).exists()) throw Failure(ExitCode::cannotWrite, path + " is there already");
  if (call.value("--id").empty()) throw Failure(ExitCode::usage, "--id is missing");
  GMaterialZip material;
  applyOptions(call, material);
  return writeFile(path, true,
                   [&](std::ostream& out) { return flush(call, material, true, false, &out); });
}

ExitCode set(const Invocation& call) {
  const std::string path = call.operand("ARCHIVE");
  auto archive = std::make_unique<Archive>(path);
  const TemporaryDirectory scratch;
  keepTheRest(call, *archive, scratch);
  applyOptions(call, archive->material);
  return writeFile(path, true, [&](std::ostream& out) {
    const bool good =
        flush(call, archive->material, archive->isCompressed, archive->isEncrypted, &out);
    archive.reset();  // some systems replace no file that is open
    return good;
  });
}

constexpr Operand oneArchive[] = {
    {.name = "ARCHIVE", .help = "A material archive.", .completes = Completes::files}};
constexpr Option itemOptions[] = {
    {.names = "--id", .value = "TEXT", .help = "The identifier."},
    {.names = "--label", .value = "LANGUAGE=LABEL", .help = "A label.", .repeatable = true},
    {.names = "--description",
     .value = "FILE",
     .help = "The description; its name should end in .mat.",
     .completes = Completes::files},
    {.names = "--meta", .value = "TEXT", .help = "The meta information."},
    {.names = "--preview",
     .value = "FILE",
     .help = "The preview image.",
     .completes = Completes::files},
    {.names = "--texture",
     .value = "FILE",
     .help = "A texture.",
     .repeatable = true,
     .completes = Completes::files},
    {.names = "-0,--store", .help = "Store without compression."},
    {.names = "-e,--encrypt", .help = "Encrypt with the built-in password."}};
constexpr Option extractOptions[] = {directoryOption, forceOption};
constexpr ExitCodeMeaning readExits[] = {
    {ExitCode::cannotOpen, "there is no such archive"},
    {ExitCode::damaged, "it is not a material archive, or damaged"}};
constexpr ExitCodeMeaning textureExits[] = {{ExitCode::no, "there are no textures"},
                                            {ExitCode::cannotOpen, "there is no such archive"},
                                            {ExitCode::damaged, "it is not a material archive"}};
constexpr ExitCodeMeaning writeExits[] = {
    {ExitCode::cannotOpen, "a file cannot be opened"},
    {ExitCode::damaged, "it is not a material archive, or damaged"}};

constexpr Command commands[] = {
    {.name = "info",
     .summary = "show what an archive holds",
     .description = "Prints identifier, labels, description file, meta information and textures.",
     .operands = oneArchive,
     .example = "$ loom material new oak.matz --id oak-42 --label en=Oak --meta 'by hand'\n"
                "$ loom material info oak.matz\n"
                "id: oak-42\nlabel: en=Oak\ndescription: \nmeta: by hand\n",
     .exits = readExits,
     .run = info},
    {.name = "new",
     .summary = "make an archive",
     .description = "Makes an archive of what the options give.",
     .options = itemOptions,
     .operands = oneArchive,
     .example = "$ echo shine > oak.mat\n"
                "$ loom material new oak.matz --id oak --label en=Oak --description oak.mat\n"
                "$ loom zip cat oak.matz oak.mat\nshine\n",
     .exits = writeExits,
     .run = create},
    {.name = "set",
     .summary = "change an archive",
     .description = "Replaces what the options give and keeps the rest: other labels, too, and "
                    "how the archive is packed. Textures replace all that are there. The file is "
                    "the old one or the new one, whatever happens.",
     .options = itemOptions,
     .operands = oneArchive,
     .example = "$ loom material new oak.matz --id oak; loom material set oak.matz --meta new\n"
                "$ loom material info oak.matz\nid: oak\ndescription: \nmeta: new\n",
     .exits = writeExits,
     .run = set},
    {.name = "textures",
     .summary = "list the textures",
     .description = "Prints the names of the images in the archive, other than the preview.",
     .operands = oneArchive,
     .example = "$ echo png > a.png; loom material new oak.matz --id oak --texture a.png\n"
                "$ loom material textures oak.matz\na.png\n",
     .exits = textureExits,
     .run = textures},
    {.name = "x",
     .summary = "extract preview and textures",
     .description = "Writes the images to files and prints their paths, for a viewer to show. A "
                    "file appears whole or not at all.",
     .options = extractOptions,
     .operands = oneArchive,
     .example = "$ mkdir d; echo png > a.png\n"
                "$ loom material new oak.matz --id oak --texture a.png\n"
                "$ loom material x oak.matz -d d\nd/a.png\n",
     .exits = readExits,
     .run = extract},
};

}  // namespace

const Family materialFamily = {
    .name = "material", .summary = "archives of materials", .commands = commands};

}  // namespace loom
