// SPDX-License-Identifier: MIT
// Making index files, and making them anew.
#include <algorithm>
#include <cstring>

#include "loomkit/platform/files.h"
#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/dbf_layout.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/file_names.h"
#include "loomkit/xbase/index_guard.h"
#include "loomkit/xbase/index_parts.h"
#include "loomkit/xbase/key_sorter.h"
#include "loomkit/xbase/tree_builder.h"

namespace loomkit::xbase {

namespace {

constexpr char creatingTag[] = "Creating Tag";
constexpr std::size_t headerBlocks = cdx::header::size / cdx::blockSize;

std::string directoryOf(const std::string& path) {
  const std::size_t separator = path.find_last_of("/\\");
  return separator == std::string::npos ? "." : path.substr(0, separator);
}

// Hands the keys of all records to the sorter.
int collectKeys(Tag& tag, KeySorter* sorter) {
  DataFile& data = *tag.index->data;
  sorter->reserve(data.recordCount);
  std::vector<unsigned char> key;
  for (std::uint32_t number = 1; number <= data.recordCount; ++number) {
    int result = go(data, number);
    bool inTag = false;
    if (result == ok) result = recordKey(tag, &key, &inTag);
    if (result == ok && inTag) result = sorter->add(key.data(), number);
    if (result != ok) return result;
    tellProgress(*data.engine, number);
  }
  return ok;
}

int buildTree(Tag& tag, bool uniqueErrors) {
  DataFile& data = *tag.index->data;
  KeySorter sorter(*data.engine, tag.tree.keyLength(), directoryOf(data.file.name()));
  int result = collectKeys(tag, &sorter);
  if (result != ok) return result;
  const std::size_t keyLength = tag.tree.keyLength();
  TreeBuilder builder(tag.index->space, keyLength, tag.tree.padByte(), data.recordCount);
  std::vector<unsigned char> before;
  result = sorter.forEach([&](const unsigned char* key, std::uint32_t record) -> int {
    if (tag.unique) {
      if (!before.empty() && std::memcmp(before.data(), key, keyLength) == 0)
        return uniqueErrors ? notUnique : ok;
      before.assign(key, key + keyLength);
    }
    return builder.add(key, record);
  });
  std::uint32_t root = cdx::noBlock;
  if (result == ok) result = builder.finish(&root);
  if (result == ok) tag.tree.replace(root);
  return result;
}

// The header's blocks of an ordinary tag. Free blocks are the tag of tags' affair.
int placeHeader(IndexFile& index, Tag& tag) {
  index.space.begin();
  int result = index.space.extend(headerBlocks, &tag.headerAddress);
  Block* block = nullptr;
  if (result == ok) result = index.space.read(tag.headerAddress, &block);
  if (result == ok) block->put(cdx::header::freeList, cdx::noBlock);
  return result;
}

int buildTag(IndexFile& index, Tag& tag, bool uniqueErrors) {
  tag.cursor.valid = false;
  int result = index.compound ? placeHeader(index, tag) : ok;
  if (result == ok) result = buildTree(tag, uniqueErrors);
  if (result == ok) result = writeTagHeader(index, tag.headerAddress, headerOf(tag));
  if (result != ok || !index.compound) return result;
  tag.writtenState = tag.tree.changeCount();
  std::string name = tag.name;
  name.resize(cdx::tagNameSize, ' ');
  unsigned char key[cdx::tagNameSize];
  std::memcpy(key, name.data(), sizeof key);
  return index.tagOfTags.insert(key, tag.headerAddress);
}

// Writes the whole file from the records of the table, and brings it to the disk.
int build(IndexFile& index, bool uniqueErrors) {
  DataFile& data = *index.data;
  const std::uint32_t current = data.recordNumber;
  IndexGuard guard(data);
  int result = index.space.clear(headerBlocks);
  if (result == ok && index.compound) result = index.tagOfTags.create(0);
  for (const auto& tag : index.tags) {
    if (result == ok) result = buildTag(index, *tag, uniqueErrors);
  }
  if (result == ok && index.compound) {
    ++index.version;
    result = writeTagHeader(index, 0, headerOfTagOfTags(index));
  }
  if (result == ok) result = index.space.flush();
  guard.done();
  if (result != ok) index.space.giveUp();
  if (result == ok && current >= 1 && current <= data.recordCount) return go(data, current);
  return result;
}

int describeTag(IndexFile& index, const TagDescription& given) {
  Engine& engine = *index.data->engine;
  TagDescription description = given;
  description.name = inCapitals(given.name.substr(0, cdx::tagNameSize));
  description.name.erase(description.name.find_last_not_of(' ') + 1);
  if (description.name.empty() || findTag(index, description.name) != nullptr)
    return fail(engine, errorParameter, engine.report.create, creatingTag, given.name.c_str());
  std::unique_ptr<Expression> key = parseExpression(engine, description.expression, *index.data);
  if (key == nullptr) return engine.errorCode;
  const std::size_t keyLength = std::min(key->keyLength(), cdx::longestKey);
  if (keyLength == 0)
    return fail(engine, errorInformation, engine.report.create, creatingTag, given.name.c_str());
  std::unique_ptr<Tag> tag;
  const int result = makeTag(index, description, std::move(key), keyLength, &tag);
  if (result < 0) return result;
  tag->unique = description.unique;
  tag->descending = description.descending;
  index.tags.push_back(std::move(tag));
  return ok;
}

int setProductionIndex(DataFile& data) {
  const auto flags = static_cast<char>(dbf::flagProductionIndex);
  int result = data.file.writeAt(dbf::header::flags.offset, &flags, sizeof flags);
  if (result == ok) result = data.file.sync();
  if (result == ok) data.hasProductionIndex = true;
  return result;
}

int create(IndexFile& index, const std::string& path, const std::vector<TagDescription>& tags,
           bool uniqueErrors) {
  int result = index.file.create(path);
  if (result != ok) return result;
  for (const TagDescription& description : tags) {
    if (result == ok) result = describeTag(index, description);
  }
  std::sort(index.tags.begin(), index.tags.end(),
            [](const auto& a, const auto& b) { return a->name < b->name; });
  if (result == ok) result = build(index, uniqueErrors);
  if (result == ok) return ok;
  if (result == notUnique) index.data->engine->errorCode = notUnique;
  index.file.close();
  platform::deleteFile(path);
  return result;
}

}  // namespace

IndexFile* createIndex(DataFile& data, const std::string& name,
                       const std::vector<TagDescription>& tags, bool uniqueErrors) {
  if (data.engine->errorCode < 0) return nullptr;
  // The index must not know of records that a crash can take away.
  if (!data.file.isReadOnly() && flush(data) != ok) return nullptr;
  auto index = std::make_shared<IndexFile>(data);
  const std::string path =
      name.empty() ? companionPath(data.file.name(), "CDX") : withExtension(name, "CDX");
  if (create(*index, path, tags, uniqueErrors) != ok) return nullptr;
  if (name.empty() && setProductionIndex(data) != ok) return nullptr;
  data.indexes.push_back(index);
  return index.get();
}

int rebuild(IndexFile& index) {
  if (index.data->engine->errorCode < 0) return index.data->engine->errorCode;
  return build(index, false);
}

}  // namespace loomkit::xbase
