// SPDX-License-Identifier: MIT
#include "loomkit/xbase/tag_header.h"

#include <string_view>

namespace loomkit::xbase {

namespace header = cdx::header;

namespace {

// The text of `length` bytes at the beginning of `texts`, up to its end zero.
std::string textOf(std::string_view texts, std::size_t length) {
  const std::string_view text = texts.substr(0, length);
  return std::string(text.substr(0, text.find('\0')));
}

}  // namespace

bool TagHeader::decode(const unsigned char* bytes) {
  const RecordReader record(bytes, header::size);
  root = record.get(header::root);
  version = record.get(header::version);
  keyLength = record.get(header::keyLength);
  typeCode = record.get(header::typeCode);
  descending = record.get(header::descending) != 0;
  if (typeCode < cdx::typeCompact || static_cast<std::int32_t>(root) < 1) return false;
  if (keyLength < 1 || keyLength > cdx::longestKey) return false;
  if (isTagOfTags()) return true;
  const std::size_t keyText = record.get(header::keyTextLength2);
  const bool hasFilter = (typeCode & cdx::typeFilter) != 0;
  const std::size_t filterText = hasFilter ? record.get(header::filterTextLength) : 0U;
  const std::string_view texts = record.get(header::texts);
  if (keyText + filterText > texts.size()) return false;
  expression = textOf(texts, keyText);
  filter = hasFilter ? textOf(texts.substr(keyText), filterText) : std::string();
  return true;
}

void TagHeader::encode(unsigned char* bytes) const {
  RecordWriter record(bytes, header::size);
  record.put(header::root, root);
  record.put(header::version, version);
  record.put(header::keyLength, static_cast<std::uint16_t>(keyLength));
  record.put(header::typeCode, static_cast<std::uint8_t>(typeCode));
  record.put(header::signature, header::signatureValue);
  record.put(header::descending, descending ? 1 : 0);
  const auto lengthOf = [](const std::string& text) {
    return static_cast<std::uint16_t>(text.size() + 1);
  };
  record.put(header::keyTextLength, lengthOf(expression));
  record.put(header::keyTextLength2, lengthOf(expression));
  record.put(header::filterTextLength, lengthOf(filter));
  record.put(header::texts, expression + '\0' + filter + '\0');
}

}  // namespace loomkit::xbase
