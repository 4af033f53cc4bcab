// SPDX-License-Identifier: MIT
// Tables of the tests' own.
#ifndef LOOMKIT_TESTS_XBASE_TABLE_FIXTURE_H
#define LOOMKIT_TESTS_XBASE_TABLE_FIXTURE_H

#include <memory>
#include <string>
#include <vector>

#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/field.h"
#include "tests/xbase/engine_fixture.h"

namespace loomkit::xbase {

using TableOwner = std::unique_ptr<DataFile>;

/// A header, descriptors and records put together by hand, as other programs
/// write them.
class TableBytes {
 public:
  TableBytes& field(const std::string& name, char type, unsigned width, unsigned high = 0) {
    std::string bytes(32, '\0');
    bytes.replace(0, name.size(), name);
    bytes[11] = type;
    bytes[16] = static_cast<char>(width);
    bytes[17] = static_cast<char>(high);
    descriptors += bytes;
    length += type == 'C' ? width + 256 * high : width;
    return *this;
  }
  TableBytes& record(const std::string& bytes) {
    records += bytes;
    ++count;
    return *this;
  }

  [[nodiscard]] std::string bytes() const {
    std::string out(32, '\0');
    out[0] = static_cast<char>(version);
    out[1] = 95;
    out[2] = 7;
    out[3] = 26;
    const std::size_t headerLength = 33 + descriptors.size() + extra.size();
    put(&out, 4, count + countError, 4);
    put(&out, 8, headerLength, 2);
    put(&out, 10, length + lengthError, 2);
    out[28] = static_cast<char>(flags);
    return out + descriptors + '\r' + extra + records + tail;
  }

  unsigned version = 3;
  unsigned flags = 0;
  std::string extra;  // behind the terminator
  std::string tail = "\x1a";
  std::size_t countError = 0;
  std::size_t lengthError = 0;

 private:
  static void put(std::string* out, std::size_t at, std::size_t value, unsigned width) {
    for (unsigned i = 0; i < width; ++i) (*out)[at + i] = static_cast<char>(value >> (8 * i));
  }

  std::string descriptors;
  std::string records;
  std::size_t length = 1;
  std::size_t count = 0;
};

class TableTest : public EngineTest {
 protected:
  TableTest() { engine.report = Reporting::none(); }

  TableOwner open(const std::string& name) { return openDataFile(engine, scratch / name); }
  TableOwner openBytes(const TableBytes& bytes) {
    scratch.write("t.dbf", bytes.bytes());
    return open("t.dbf");
  }
  /// The texts of the current record's fields, each behind a bar.
  static std::string texts(const DataFile& data) {
    std::string out;
    for (std::size_t i = 0; i < data.fields.size(); ++i) {
      out += '|';
      out += fieldText(data, i);
    }
    return out;
  }
  /// Every record, deleted ones behind a star.
  static std::vector<std::string> all(DataFile* data) {
    std::vector<std::string> out;
    for (std::uint32_t n = 1; go(*data, n) == ok; ++n)
      out.push_back((isDeleted(*data) ? "*" : "") + texts(*data));
    return out;
  }
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_TESTS_XBASE_TABLE_FIXTURE_H
