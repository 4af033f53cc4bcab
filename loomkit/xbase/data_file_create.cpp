// SPDX-License-Identifier: MIT
// Making a table.
#include <algorithm>
#include <cctype>

#include "loomkit/text/binary.h"
#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/dates.h"
#include "loomkit/xbase/dbf_layout.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/file_names.h"
#include "loomkit/xbase/index_file.h"
#include "loomkit/xbase/memo_file.h"

namespace loomkit::xbase {
namespace {

constexpr char tooManyFields[] = "Too Many Fields";

// What goes into a descriptor.
struct Column {
  std::string name;
  char type = 'C';
  unsigned width = 0;
  unsigned decimals = 0;
};

bool isMemo(char type) { return type == 'M' || type == 'G' || type == 'B'; }
bool isNumber(char type) { return type == 'N' || type == 'F'; }

std::string trimmed(const std::string& name) {
  const std::string text = name.substr(0, dbf::longestName);
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

// The width that a letter gives a column; 0 for a letter that is not written.
unsigned widthOf(const FieldDescription& field, char type) {
  if (isMemo(type)) return dbf::memoWidth;
  if (type == 'D') return dbf::dateWidth;
  if (type == 'L') return dbf::logicalWidth;
  return type == 'C' || isNumber(type) ? field.width : 0;
}

// A name that would end the list, a width that no value fits into or that the
// descriptor cannot express, and decimals without room for a digit are refused:
// such a table could be made, and would lose what is put into it.
int checkColumn(const Column& column) {
  if (column.name.empty() || column.name.front() == dbf::terminator) return errorFieldName;
  if (std::string_view("CDFLMNGB").find(column.type) == std::string_view::npos)
    return errorFieldType;
  if (column.width == 0) return errorParameter;
  if (!isNumber(column.type)) return ok;
  const bool fits =
      column.width <= dbf::widestNumber && (column.decimals == 0 || column.decimals < column.width);
  return fits ? ok : errorParameter;
}

int describe(const std::vector<FieldDescription>& fields, std::vector<Column>* columns,
             std::size_t* recordLength) {
  *recordLength = 1;
  for (const FieldDescription& field : fields) {
    const char type = inCapitals(std::string(1, field.type)).front();
    columns->push_back({inCapitals(trimmed(field.name)), type, widthOf(field, type),
                        isNumber(type) ? field.decimals : 0});
    // Compared before it is added: a width may be all that a size can hold.
    if (columns->back().width > dbf::longestRecord - *recordLength) return errorRecordLength;
    *recordLength += columns->back().width;
  }
  for (const Column& column : *columns) {
    const int result = checkColumn(column);
    if (result < 0) return result;
  }
  return ok;
}

std::string headerBytes(const std::vector<Column>& columns, std::size_t recordLength) {
  const std::size_t headerLength = dbf::header::size + dbf::descriptor::size * columns.size() + 1;
  std::string bytes(headerLength - 1, '\0');
  RecordWriter header(bytes.data(), bytes.size());
  const bool hasMemo = std::any_of(columns.begin(), columns.end(),
                                   [](const Column& column) { return isMemo(column.type); });
  const Day date = today();
  header.put(dbf::header::version, hasMemo ? dbf::versionWithMemo : dbf::versionPlain);
  header.put(dbf::header::year, static_cast<std::uint8_t>(date.year - 1900));
  header.put(dbf::header::month, static_cast<std::uint8_t>(date.month));
  header.put(dbf::header::day, static_cast<std::uint8_t>(date.day));
  header.put(dbf::header::headerLength, static_cast<std::uint16_t>(headerLength));
  header.put(dbf::header::recordLength, static_cast<std::uint16_t>(recordLength));
  std::size_t at = dbf::header::size;
  for (const Column& column : columns) {
    RecordWriter descriptor(bytes.data() + at, dbf::descriptor::size);
    const unsigned second = column.type == 'C' ? column.width >> 8 : column.decimals;
    descriptor.put(dbf::descriptor::name, column.name);
    descriptor.put(dbf::descriptor::type, static_cast<std::uint8_t>(column.type));
    descriptor.put(dbf::descriptor::width, static_cast<std::uint8_t>(column.width));
    descriptor.put(dbf::descriptor::decimals, static_cast<std::uint8_t>(second));
    at += dbf::descriptor::size;
  }
  bytes += dbf::terminator;
  bytes += dbf::endMark;
  return bytes;
}

int writeTable(Engine& engine, const std::string& path, const std::string& header) {
  File file(engine);
  int result = file.create(path);
  if (result == ok) result = file.writeAt(0, header.data(), header.size());
  if (result == ok) result = file.sync();
  const int closed = file.close();
  return result == ok ? closed : result;
}

int createFiles(Engine& engine, const std::string& path,
                const std::vector<FieldDescription>& fields) {
  const std::string nameLine = fileNameLine(path);
  std::vector<Column> columns;
  std::size_t recordLength = 0;
  const bool tooMany =
      dbf::descriptor::size * fields.size() + dbf::header::size + 2 > dbf::longestHeader;
  int result = describe(fields, &columns, &recordLength);
  if (result == errorRecordLength || !tooMany) {
    if (result < 0) return fail(engine, result, engine.report.create, nameLine.c_str());
  } else {
    return fail(engine, errorCreating, engine.report.create, nameLine.c_str(), tooManyFields);
  }
  const std::string header = headerBytes(columns, recordLength);
  result = writeTable(engine, path, header);
  if (result < 0 ||
      static_cast<unsigned char>(header[dbf::header::version.offset]) == dbf::versionPlain)
    return result;
  MemoFile memo(engine);
  result = memo.create(companionPath(path, "FPT"));
  const int closed = memo.close();
  return result == ok ? closed : result;
}

}  // namespace

std::unique_ptr<DataFile> createDataFile(Engine& engine, const std::string& name,
                                         const std::vector<FieldDescription>& fields,
                                         const std::vector<TagDescription>& tags) {
  if (engine.errorCode < 0) return nullptr;
  const std::string path = withExtension(name, "DBF");
  if (createFiles(engine, path, fields) != ok) return nullptr;
  std::unique_ptr<DataFile> data = openDataFile(engine, path);
  if (data == nullptr || tags.empty()) return data;
  return createIndex(*data, {}, tags) != nullptr ? std::move(data) : nullptr;
}

}  // namespace loomkit::xbase
