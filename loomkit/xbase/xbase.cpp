// SPDX-License-Identifier: MIT
#include "loomkit/xbase/xbase.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <set>
#include <utility>

#include "loomkit/platform/files.h"
#include "loomkit/text/binary.h"
#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/dates.h"
#include "loomkit/xbase/dbf_layout.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/error_texts.h"
#include "loomkit/xbase/expression.h"
#include "loomkit/xbase/field.h"
#include "loomkit/xbase/file_names.h"
#include "loomkit/xbase/index_file.h"
#include "loomkit/xbase/memo_file.h"
#include "loomkit/xbase/table_check.h"

namespace xbase = loomkit::xbase;

namespace {

std::string messageOf(int code) {
  const char* text = xbase::errorText(code);
  if (code == xbase::notOpened) text = xbase::errorText(xbase::errorOpening);
  std::string message = "XBase error " + std::to_string(code);
  if (text != nullptr) message.append(": ").append(text);
  return message;
}

constexpr bool isBlank(char c) { return c == ' ' || c == '\0'; }

std::string trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  return std::string(text);
}

std::string shortest(double value) {
  char text[40];
  const auto [end, error] = std::to_chars(text, text + sizeof text, value);
  return {text, end};
}

// Currency counts ten thousandths.
std::string currencyText(std::int64_t units) {
  constexpr std::int64_t one = 10000;
  std::string decimals = std::to_string(units % one);
  if (decimals.front() == '-') decimals.erase(0, 1);
  const char* sign = units < 0 && units > -one ? "-" : "";
  return sign + std::to_string(units / one) + "." + std::string(4 - decimals.size(), '0') +
         decimals;
}

// A Julian day and milliseconds of it.
std::string timeText(const loomkit::RecordReader& record) {
  const auto day = static_cast<std::int32_t>(record.get(loomkit::Le32{0}));
  if (day == 0) return {};
  const std::uint32_t seconds = (record.get(loomkit::Le32{4}) + 500) / 1000;
  char text[48];
  std::snprintf(text, sizeof text, " %02u:%02u:%02u", seconds / 3600, seconds / 60 % 60,
                seconds % 60);
  return xbase::textOfJulian(day) + text;
}

std::string hexText(std::string_view bytes) {
  constexpr char digits[] = "0123456789ABCDEF";
  std::string text;
  for (const char c : bytes) {
    text += digits[static_cast<unsigned char>(c) >> 4];
    text += digits[static_cast<unsigned char>(c) & 15];
  }
  return text;
}

// The letters of later programs have their values in binary.
std::string laterText(const xbase::Field& field, std::string_view bytes) {
  const loomkit::RecordReader record(bytes.data(), bytes.size());
  const std::uint64_t eight = bytes.size() == 8 ? record.get(loomkit::Le64{0}) : 0;
  double number = 0;
  switch (field.type) {
    case 'I':
      return std::to_string(static_cast<std::int32_t>(record.get(loomkit::Le32{0})));
    case 'Y':
      return currencyText(static_cast<std::int64_t>(eight));
    case 'T':
      return timeText(record);
    case 'B':
      std::memcpy(&number, &eight, sizeof number);
      return shortest(number);
    default:
      return hexText(bytes);
  }
}

bool isLater(char type) {
  return type == 'I' || type == 'Y' || type == 'T' || type == 'B' || type == '0';
}

using ProgressListener = std::function<void(std::uint64_t done, std::uint64_t all)>;

// The engine tells steps, a listener wants to hear of their sum.
std::function<void(std::uint32_t)> addedUp(const ProgressListener& listener, std::uint64_t all) {
  return [&listener, all, done = std::uint64_t{0}](std::uint32_t records) mutable {
    done += records;
    listener(std::min(done, all), all);
  };
}

}  // namespace

void gXBaseSetReportSink(GXBaseReportSink sink, void* context) {
  xbase::theEngine().sink = sink;
  xbase::theEngine().sinkContext = context;
}

struct GXBaseTable::State {
  State() {
    engine.autoOpen = false;
    engine.laterTypes = true;
    engine.report = xbase::Reporting::none();
  }

  // Ends an operation: what it failed with is kept, and the engine is free again.
  bool finish(int code) {
    const bool good = code == xbase::ok && engine.errorCode == 0;
    errorCode = good ? 0 : engine.errorCode != 0 ? engine.errorCode : code;
    message = good ? std::string() : messageOf(errorCode);
    engine.errorCode = 0;
    engine.progress = nullptr;
    return good;
  }
  bool refuse(std::string text) {
    errorCode = xbase::errorParameter;
    message = std::move(text);
    return false;
  }

  // Until finish(), the listener hears of work that goes through all records for
  // each tag, and `more` times besides.
  void beginWork(std::uint64_t more) {
    if (!listener) return;
    std::uint64_t passes = more;
    for (const auto& index : data->indexes) passes += index->tags.size();
    const std::uint64_t all = data->recordCount * std::max<std::uint64_t>(passes, 1);
    engine.progress = addedUp(listener, all);
  }

  ProgressListener listener;
  xbase::Engine engine;
  std::unique_ptr<xbase::DataFile> data;
  int errorCode = 0;
  std::string message;
};

GXBaseTable::GXBaseTable() : state(std::make_unique<State>()) {}
GXBaseTable::~GXBaseTable() = default;  // a table that is open closes itself

bool GXBaseTable::open(const std::string& path, bool readOnly) {
  if (!close()) return false;
  xbase::Engine& engine = state->engine;
  engine.readOnly = readOnly;
  state->data = xbase::openDataFile(engine, path);
  if (state->data == nullptr) return state->finish(engine.errorCode);
  bool later = false;
  for (const xbase::Field& field : state->data->fields) later = later || isLater(field.type);
  if (!later || readOnly) return state->finish(xbase::ok);
  state->data = nullptr;
  return open(path, true);
}

bool GXBaseTable::openIndexes() {
  if (!isOpen()) return state->refuse("no table is open");
  const std::string path = xbase::companionPath(state->data->file.name(), "CDX");
  if (!state->data->indexes.empty() || !loomkit::platform::examine(path))
    return state->finish(xbase::ok);
  xbase::openIndex(*state->data, path);
  return state->finish(xbase::ok);
}

bool GXBaseTable::close() {
  if (!isOpen()) return true;
  const int code = xbase::close(*state->data);
  state->data = nullptr;
  return state->finish(code);
}

bool GXBaseTable::isOpen() const { return state->data != nullptr; }

GXBaseTable::Header GXBaseTable::getHeader() const {
  Header header;
  if (!isOpen()) return header;
  const xbase::DataFile& data = *state->data;
  header.version = data.version;
  header.codePage = data.codePage;
  header.headerLength = data.headerLength;
  header.recordLength = data.recordLength;
  header.recordCount = data.recordCount;
  header.memoBlockSize = data.memo != nullptr ? data.memo->blockSize() : 0;
  header.hasProductionIndex = data.hasProductionIndex;
  return header;
}

std::vector<GXBaseTable::Field> GXBaseTable::getFields() const {
  std::vector<Field> fields;
  if (!isOpen()) return fields;
  for (const xbase::Field& field : state->data->fields)
    fields.push_back({field.name, field.type, field.width, field.decimals});
  return fields;
}

std::vector<GXBaseTable::Tag> GXBaseTable::getTags() const {
  std::vector<Tag> tags;
  if (!isOpen()) return tags;
  for (const auto& index : state->data->indexes) {
    for (const auto& tag : index->tags)
      tags.push_back({tag->name, xbase::tagExpression(*tag),
                      tag->filter != nullptr ? tag->filter->source() : std::string(), tag->unique,
                      tag->descending});
  }
  return tags;
}

int GXBaseTable::getFieldId(const std::string& name) const {
  return isOpen() ? xbase::fieldNumber(*state->data, name) : -1;
}

bool GXBaseTable::go(unsigned number) {
  if (!isOpen()) return state->refuse("no table is open");
  return state->finish(xbase::go(*state->data, number));
}

unsigned GXBaseTable::getRecordNumber() const { return isOpen() ? state->data->recordNumber : 0; }
bool GXBaseTable::isDeleted() const { return isOpen() && xbase::isDeleted(*state->data); }

std::string GXBaseTable::getText(int field) {
  const auto id = static_cast<std::size_t>(field);
  const xbase::Field& info = state->data->fields[id];
  std::string text;
  if (info.type == 'M') {
    getMemo(field, &text);
    return text;
  }
  const std::string_view bytes = xbase::fieldText(*state->data, id);
  return isLater(info.type) ? laterText(info, bytes) : trimmed(bytes);
}

bool GXBaseTable::getMemo(int field, std::string* text) {
  return state->finish(xbase::memoText(*state->data, static_cast<std::size_t>(field), text));
}

bool GXBaseTable::check(std::vector<Finding>* findings, std::size_t limit,
                        const Progress& progress) {
  if (!isOpen()) return state->refuse("no table is open");
  const auto take = [&](const xbase::CheckFinding& finding) {
    if (findings->size() < limit)
      findings->push_back({finding.record, finding.where, finding.what});
    return findings->size() < limit;
  };
  const int code = xbase::checkTable(*state->data, take, progress);
  if (code == xbase::checkStopped) return state->refuse("stopped");
  return state->finish(code);
}

void GXBaseTable::setProgress(std::function<void(std::uint64_t done, std::uint64_t all)> listener) {
  state->listener = std::move(listener);
}

bool GXBaseTable::pack() {
  if (!isOpen()) return state->refuse("no table is open");
  if (state->data->file.isReadOnly()) return state->refuse("the table is open for reading only");
  constexpr std::uint64_t readings = 2;  // one that counts and one that copies
  state->beginWork(readings);
  int code = xbase::pack(*state->data);
  if (code == xbase::ok) code = xbase::flush(*state->data);
  return state->finish(code);
}

bool GXBaseTable::reindex() {
  if (!isOpen()) return state->refuse("no table is open");
  if (state->data->file.isReadOnly()) return state->refuse("the table is open for reading only");
  state->beginWork(0);
  int code = xbase::flush(*state->data);
  const std::string path = xbase::companionPath(state->data->file.name(), "CDX");
  if (code == xbase::ok && state->data->indexes.empty() && loomkit::platform::examine(path)) {
    xbase::mendIndex(*state->data, path);
    return state->finish(state->data->engine->errorCode);
  }
  for (const auto& index : state->data->indexes) {
    if (code == xbase::ok) code = xbase::rebuild(*index);
    if (code == xbase::ok) code = xbase::flush(*index);
  }
  return state->finish(code);
}

bool GXBaseTable::addTags(const std::vector<Tag>& tags) {
  if (!isOpen()) return state->refuse("no table is open");
  xbase::DataFile& data = *state->data;
  if (data.file.isReadOnly()) return state->refuse("the table is open for reading only");
  const std::string path = xbase::companionPath(data.file.name(), "CDX");
  if (data.indexes.empty() && loomkit::platform::examine(path))
    return state->refuse("the index file is not open");
  std::vector<Tag> all = getTags();
  all.insert(all.end(), tags.begin(), tags.end());
  std::set<std::string> names;
  std::vector<xbase::TagDescription> descriptions;
  for (const Tag& tag : all) {
    if (!names.insert(xbase::inCapitals(tag.name.substr(0, xbase::dbf::longestName))).second)
      return state->refuse("there are two tags named " + tag.name);
    if (xbase::parseExpression(state->engine, tag.expression, data) == nullptr)
      return state->finish(state->engine.errorCode);
    descriptions.push_back({tag.name, tag.expression, tag.filter, tag.unique, tag.descending});
  }
  while (!data.indexes.empty()) xbase::closeIndex(*data.indexes.back());
  state->beginWork(descriptions.size());
  state->engine.safety = false;  // the file that is there is replaced
  xbase::createIndex(data, {}, descriptions);
  state->engine.safety = true;
  return state->finish(xbase::ok);
}

int GXBaseTable::getErrorCode() const { return state->errorCode; }
const std::string& GXBaseTable::getErrMsg() const { return state->message; }

struct GXBaseExpression::State {
  // Keeps what the engine says was wrong, and frees it for the next operation.
  bool finish(xbase::Engine& used) {
    const int code = used.errorCode;
    message = code == 0 ? std::string() : messageOf(code);
    position = code == 0 ? 0 : used.errorPosition;
    used.errorCode = 0;
    return code == 0;
  }

  xbase::Engine* engine = nullptr;
  std::unique_ptr<xbase::Expression> expression;
  std::string message;
  std::size_t position = 0;
};

GXBaseExpression::GXBaseExpression() : state(std::make_unique<State>()) {}
GXBaseExpression::~GXBaseExpression() = default;

bool GXBaseExpression::parse(GXBaseTable* table, const std::string& source) {
  state->engine = &table->state->engine;
  state->expression = xbase::parseExpression(*state->engine, source, *table->state->data);
  return state->finish(*state->engine);
}

char GXBaseExpression::getType() const { return state->expression->type(); }

bool GXBaseExpression::evaluate(std::string* value) {
  xbase::Expression& expression = *state->expression;
  std::string_view text;
  double number = 0;
  bool truth = false;
  switch (expression.type()) {
    case 'L':
      expression.truth(&truth);
      *value = truth ? "T" : "F";
      break;
    case 'n':
      expression.number(&number);
      *value = shortest(number);
      break;
    case 'd':
      expression.number(&number);
      *value = xbase::textOfJulian(static_cast<long>(number));
      break;
    default:
      expression.text(&text);
      *value = text;
  }
  return state->finish(*state->engine);
}

const std::string& GXBaseExpression::getErrMsg() const { return state->message; }
std::size_t GXBaseExpression::getErrorPosition() const { return state->position; }
