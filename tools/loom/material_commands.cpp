// SPDX-License-Identifier: MIT
// loom material: archives of one material each.
#include <memory>
#include <optional>

#include "console.h"
#include "families.h"
#include "file_content.h"
#include "json_writer.h"
#include "loomkit/archive/material_zip.h"
#include "loomkit/streams/file.h"

namespace loom {

namespace {

// Opens an existing archive; its id tells whether it is one.
std::string openMaterial(GMaterialZip& material, const std::string& path) {
  requireFile(path);
  material.open(path, false);
  std::string id;
  if (!material.getId(&id)) throw Failure(ExitCode::damaged, "not a material archive: " + path);
  return id;
}

ExitCode info(const Invocation& call) {
  GMaterialZip material;
  const std::string id = openMaterial(material, call.operand("ARCHIVE"));
  std::string description;
  std::string fileName;
  std::string meta;
  std::int64_t seconds = 0;
  std::vector<std::string> textures;
  material.getDescription(&description, &fileName);
  material.getMetaInfo(&meta);
  material.getTimeStamp(&seconds);
  material.getTextureNames(&textures);
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("id").value(id).key("descriptionFile").value(fileName);
    json.key("description").value(description).key("meta").value(meta);
    json.key("written").value(seconds).key("textures").beginArray();
    for (const std::string& name : textures) json.value(name);
    json.endArray().endObject();
    return ExitCode::done;
  }
  printLine("id: " + id);
  printLine("description: " + fileName);
  printLine("meta: " + meta);
  for (const std::string& name : textures) printLine("texture: " + name);
  return ExitCode::done;
}

ExitCode textures(const Invocation& call) {
  GMaterialZip material;
  openMaterial(material, call.operand("ARCHIVE"));
  std::vector<std::string> names;
  material.getTextureNames(&names);
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const std::string& name : names) {
    if (json) {
      json->value(name);
    } else {
      printLine(name);
    }
  }
  if (json) json->endArray();
  return names.empty() ? ExitCode::no : ExitCode::done;
}

ExitCode extract(const Invocation& call) {
  GMaterialZip material;
  openMaterial(material, call.operand("ARCHIVE"));
  const std::string directory = call.value("--directory").empty() ? "." : call.value("--directory");
  std::vector<std::string> names;
  material.getTextureNames(&names);
  std::vector<std::string> written;
  const std::string preview = directory + "/preview.jpeg";
  if (material.extractPreviewImage(preview)) written.push_back(preview);
  ExitCode code = ExitCode::done;
  for (const std::string& name : names) {
    if (name.find_first_of("/\\") != std::string::npos) {
      complain("not a name for a file: " + name);
      code = ExitCode::damaged;
      continue;
    }
    const std::string path = directory + "/" + name;
    if (material.extractTexture(name, path)) {
      written.push_back(path);
    } else {
      code = ExitCode::damaged;
    }
  }
  for (const std::string& path : written) printLine(path);
  return code;
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

ExitCode write(const Invocation& call, GMaterialZip& material) {
  if (material.flush(!call.has("--store"), call.has("--encrypt"))) return ExitCode::done;
  throw Failure(ExitCode::cannotWrite, "cannot write " + call.operand("ARCHIVE"));
}

ExitCode create(const Invocation& call) {
  const std::string path = call.operand("ARCHIVE");
  if (GFile(path).exists()) throw Failure(ExitCode::cannotWrite, path + " is there already");
  if (call.value("--id").empty()) throw Failure(ExitCode::usage, "--id is missing");
  GMaterialZip material;
  material.open(path, true);
  applyOptions(call, material);
  return write(call, material);
}

ExitCode set(const Invocation& call) {
  GMaterialZip material;
  openMaterial(material, call.operand("ARCHIVE"));
  applyOptions(call, material);
  return write(call, material);
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
constexpr Option extractOptions[] = {{.names = "-d,--directory",
                                      .value = "DIR",
                                      .help = "Where the files go.",
                                      .completes = Completes::directories}};
constexpr ExitCodeMeaning readExits[] = {{ExitCode::cannotOpen, "there is no such archive"},
                                         {ExitCode::damaged, "it is not a material archive"}};
constexpr ExitCodeMeaning textureExits[] = {{ExitCode::no, "there are no textures"},
                                            {ExitCode::cannotOpen, "there is no such archive"},
                                            {ExitCode::damaged, "it is not a material archive"}};
constexpr ExitCodeMeaning writeExits[] = {{ExitCode::cannotOpen, "a file cannot be opened"},
                                          {ExitCode::damaged, "it is not a material archive"}};

constexpr Command commands[] = {
    {.name = "info",
     .summary = "show what an archive holds",
     .description = "Prints identifier, description file, meta information and textures. Labels "
                    "are written for other programs and cannot be read.",
     .operands = oneArchive,
     .example = "$ loom material new oak.matz --id oak-42 --meta 'by hand'\n"
                "$ loom material info oak.matz\nid: oak-42\ndescription: \nmeta: by hand\n",
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
     .description = "Writes the archive anew with what the options give. Identifier, description "
                    "and meta information stay as they are without an option; labels, preview and "
                    "textures are lost and have to be given again.",
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
     .description = "Writes the images to files and prints their paths, for a viewer to show.",
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
