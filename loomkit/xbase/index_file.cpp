// SPDX-License-Identifier: MIT
// Opening, flushing and closing of index files.
#include "loomkit/xbase/index_file.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <set>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/file_names.h"
#include "loomkit/xbase/index_parts.h"
#include "loomkit/xbase/tag_header.h"

namespace loomkit::xbase {

namespace {

constexpr char noMemory[] = "openIndex()";
constexpr char singleTagCorrupt[] = "Corrupt IDX FoxPro index file";
constexpr char sourceTooLong[] = "expression source length > max allowable chars for index";
constexpr char filterNotLogical[] = "Filter should be Logical";
constexpr char invalidKeyType[] = "Invalid key type in index file";

std::string withoutBlanks(const std::vector<unsigned char>& key) {
  std::string name(key.begin(), key.end());
  name.erase(name.find_last_not_of(std::string_view(" \0", 2)) + 1);
  return name;
}

int readHeader(IndexFile& index, std::uint32_t address, TagHeader* header) {
  unsigned char bytes[cdx::header::size];
  for (std::uint32_t at = 0; at < sizeof bytes; at += cdx::blockSize) {
    index.space.begin();
    Block* block = nullptr;
    const int result = index.space.read(address + at, &block);
    if (result < 0) return result;
    std::memcpy(bytes + at, block->bytes, cdx::blockSize);
  }
  return header->decode(bytes) ? ok : index.space.corrupt();
}

int openTag(IndexFile& index, std::uint32_t address, const std::string& name) {
  TagHeader header;
  int result = readHeader(index, address, &header);
  if (result < 0) return result;
  if (header.isTagOfTags()) return index.space.corrupt();
  std::unique_ptr<Expression> key =
      parseExpression(*index.data->engine, header.expression, *index.data);
  if (key == nullptr) return index.data->engine->errorCode;
  if (header.keyLength != key->keyLength() && header.keyLength != cdx::longestKey)
    return index.space.corrupt();
  std::unique_ptr<Tag> tag;
  result = makeTag(index, {name, header.expression, header.filter}, std::move(key),
                   header.keyLength, &tag);
  if (result < 0) return result;
  tag->unique = (header.typeCode & cdx::typeUnique) != 0;
  tag->descending = header.descending;
  tag->headerAddress = address;
  tag->version = header.version;
  tag->tree.open(header.root);
  index.tags.push_back(std::move(tag));
  return ok;
}

int openTags(IndexFile& index, const TagHeader& header) {
  if (header.keyLength != index.tagOfTags.keyLength()) return index.space.corrupt();
  index.version = header.version;
  index.tagOfTags.open(header.root);
  // Two tags with one header would be changed through two trees.
  std::set<std::uint32_t> addresses = {0};
  TreeCursor cursor;
  int result = index.tagOfTags.first(&cursor);
  while (result == ok) {
    if (!addresses.insert(cursor.record).second) return index.space.corrupt();
    result = openTag(index, cursor.record, withoutBlanks(cursor.key));
    if (result == ok) result = index.tagOfTags.next(&cursor);
  }
  return result == endOfFile ? ok : result;
}

int openFile(IndexFile& index, const std::string& path, bool torn) {
  int result = index.file.open(path);
  if (result != ok) return result;
  result = index.space.open(torn);
  TagHeader header;
  if (result == ok) result = readHeader(index, 0, &header);
  if (result < 0) return result;
  index.compound = header.typeCode >= cdx::typeCompound;
  if (index.compound) {
    return header.isTagOfTags() ? openTags(index, header) : index.space.corrupt();
  }
  result = openTag(index, 0, aliasOf(path));
  if (result < 0)
    fail(*index.data->engine, result, index.data->engine->report.files, singleTagCorrupt);
  return result;
}

int writeHeader(IndexFile& index, Tag& tag) {
  return writeTagHeader(index, tag.headerAddress, headerOf(tag));
}

// Brings the headers up to date of all tags that have changed.
int writeHeaders(IndexFile& index) {
  bool changed = false;
  for (const auto& tag : index.tags) {
    if (tag->tree.changeCount() == tag->writtenState) continue;
    changed = true;
    ++tag->version;
    const int result = writeHeader(index, *tag);
    if (result < 0) return result;
    tag->writtenState = tag->tree.changeCount();
  }
  if (!changed || !index.compound) return ok;
  ++index.version;
  return writeTagHeader(index, 0, headerOfTagOfTags(index));
}

}  // namespace

Tag::Tag(IndexFile& owner, std::unique_ptr<Expression> key, std::size_t keyLength)
    : index(&owner),
      expression(std::move(key)),
      tree(owner.space, keyLength, expression->type() == 'C' ? ' ' : 0) {}

IndexFile::IndexFile(DataFile& table)
    : data(&table),
      file(*table.engine),
      space(*table.engine, file, table.engine->indexBlocks),
      tagOfTags(space, cdx::tagNameSize, ' ') {}

int makeTag(IndexFile& index, const TagDescription& description, std::unique_ptr<Expression> key,
            std::size_t keyLength, std::unique_ptr<Tag>* tag) {
  Engine& engine = *index.data->engine;
  if (std::string_view("CDdNnL").find(key->type()) == std::string_view::npos)
    return fail(engine, errorInformation, engine.report.files, invalidKeyType);
  if (std::max(description.expression.size(), description.filter.size()) > cdx::longestSource)
    return fail(engine, errorNotAnIndex, engine.report.files, sourceTooLong);
  *tag = std::make_unique<Tag>(index, std::move(key), keyLength);
  (*tag)->name = description.name;
  if (description.filter.empty()) return ok;
  (*tag)->filter = parseExpression(engine, description.filter, *index.data);
  if ((*tag)->filter == nullptr) return engine.errorCode;
  if ((*tag)->filter->type() != 'L')
    return fail(engine, errorNotAnIndex, engine.report.files, filterNotLogical);
  return ok;
}

TagHeader headerOf(const Tag& tag) {
  TagHeader header;
  header.root = tag.tree.rootAddress();
  header.version = tag.version;
  header.keyLength = static_cast<unsigned>(tag.tree.keyLength());
  header.typeCode = cdx::typeCompact | (tag.index->compound ? cdx::typeCompound : 0U) |
                    (tag.unique ? cdx::typeUnique : 0U) |
                    (tag.filter != nullptr ? cdx::typeFilter : 0U);
  header.descending = tag.descending;
  header.expression = tag.expression->source();
  if (tag.filter != nullptr) header.filter = tag.filter->source();
  return header;
}

TagHeader headerOfTagOfTags(const IndexFile& index) {
  TagHeader header;
  header.root = index.tagOfTags.rootAddress();
  header.version = index.version;
  header.keyLength = cdx::tagNameSize;
  header.typeCode = cdx::typeCompact | cdx::typeCompound | cdx::typeTagOfTags;
  return header;
}

int writeTagHeader(IndexFile& index, std::uint32_t address, const TagHeader& header) {
  Block* blocks[cdx::header::size / cdx::blockSize] = {};
  unsigned char bytes[cdx::header::size];
  index.space.begin();
  std::uint32_t at = address;
  unsigned char* part = bytes;
  for (Block*& block : blocks) {
    const int result = index.space.read(at, &block);
    if (result < 0) return result;
    std::memcpy(part, block->bytes, cdx::blockSize);
    at += cdx::blockSize;
    part += cdx::blockSize;
  }
  header.encode(bytes);
  part = bytes;
  for (Block* block : blocks) {
    std::memcpy(block->bytes, part, cdx::blockSize);
    block->changed = true;
    part += cdx::blockSize;
  }
  return ok;
}

namespace {

IndexFile* openInState(DataFile& data, const std::string& name, bool torn) {
  Engine& engine = *data.engine;
  if (engine.errorCode < 0) return nullptr;
  try {
    auto index = std::make_shared<IndexFile>(data);
    const std::string path =
        name.empty() ? companionPath(data.file.name(), "CDX") : withExtension(name, "CDX");
    if (openFile(*index, path, torn) != ok) return nullptr;
    if (torn && rebuild(*index) != ok) return nullptr;
    data.indexes.push_back(index);
    return index.get();
  } catch (const std::bad_alloc&) {
    fail(engine, errorMemory, engine.report.files, noMemory);
    return nullptr;
  }
}

}  // namespace

IndexFile* openIndex(DataFile& data, const std::string& name) {
  return openInState(data, name, false);
}

IndexFile* mendIndex(DataFile& data, const std::string& name) {
  return openInState(data, name, true);
}

int flush(IndexFile& index) {
  if (index.data->engine->errorCode < 0) return index.data->engine->errorCode;
  const int result = writeHeaders(index);
  return result == ok ? index.space.flush() : result;
}

int announceChange(IndexFile& index) { return index.space.change(); }

int closeIndex(IndexFile& index) {
  DataFile& data = *index.data;
  const auto own = std::find_if(data.indexes.begin(), data.indexes.end(),
                                [&](const auto& each) { return each.get() == &index; });
  const std::shared_ptr<IndexFile> last = own == data.indexes.end() ? nullptr : *own;
  if (last != nullptr) data.indexes.erase(own);
  if (data.selected != nullptr && data.selected->index == &index) data.selected = nullptr;
  int result = ok;
  if (!index.file.isReadOnly())
    result = withoutThrowing(*data.engine, [&] { return flush(index); });
  const int closed = index.file.close();
  return result == ok ? closed : result;
}

Tag* findTag(IndexFile& index, std::string_view name) {
  const std::string wanted = inCapitals(std::string(name));
  for (const auto& tag : index.tags) {
    if (inCapitals(tag->name) == wanted) return tag.get();
  }
  return nullptr;
}

const std::string& tagExpression(const Tag& tag) { return tag.expression->source(); }

}  // namespace loomkit::xbase
