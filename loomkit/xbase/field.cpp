// SPDX-License-Identifier: MIT
#include "loomkit/xbase/field.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>

#include "loomkit/text/binary.h"
#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/dbf_layout.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/memo_file.h"

namespace loomkit::xbase {
namespace {

// The longest double in fixed notation: 309 digits, a sign, a point, and as many
// decimals as a field of 255 characters can ask for.
constexpr std::size_t longestNumber = 640;

// All of them are exact.
constexpr double powersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                  1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

char* slot(DataFile& data, const Field& field) {
  beginChange(data);
  return data.record.data() + field.offset;
}

bool isBlank(char c) { return c == ' ' || c == '\0'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Numbers of up to 15 digits are exact, and so is the power of ten that their
// point divides by: one rounding, which is the right one. False for all others.
bool parseShortNumber(std::string_view text, double* value) {
  std::size_t at = text[0] == '-' ? 1 : 0;
  std::int64_t digits = 0;
  std::size_t count = 0;
  std::size_t decimals = 0;
  bool point = false;
  for (; at < text.size(); ++at) {
    const char c = text[at];
    if (isDigit(c)) {
      digits = digits * 10 + (c - '0');
      if (++count > 15) return false;
      if (point) ++decimals;
    } else if (c == '.' && !point) {
      point = true;
    } else {
      break;
    }
  }
  if (count == 0 || (at < text.size() && (text[at] == 'e' || text[at] == 'E'))) return false;
  const double magnitude = static_cast<double>(digits) / powersOfTen[decimals];
  *value = text[0] == '-' ? -magnitude : magnitude;
  return true;
}

bool fits(std::size_t length, std::size_t width) { return length <= width; }

void alignRight(const char* text, std::size_t length, char* out, std::size_t width) {
  std::memset(out, ' ', width - length);
  std::memcpy(out + width - length, text, length);
}

// Formats a number of up to 11 digits, which a multiplication makes whole. False, with
// nothing written, for all others, for one that does not fit, and where the product's
// own rounding could decide which way the number is rounded.
bool formatShortNumber(double value, char* out, std::size_t width, unsigned decimals) {
  constexpr double limit = 1e11;
  constexpr double doubt = 1e-3;  // the product's rounding is a hundredth of it at most
  if (decimals >= std::size(powersOfTen)) return false;
  const double scaled = std::fabs(value) * powersOfTen[decimals];
  if (!(scaled < limit)) return false;
  auto digits = static_cast<std::int64_t>(scaled);
  const double rest = scaled - static_cast<double>(digits);
  if (std::fabs(rest - 0.5) < doubt) return false;
  if (rest > 0.5) ++digits;

  char text[32];
  char* at = std::end(text);
  const auto putDigit = [&] {
    *--at = static_cast<char>('0' + digits % 10);
    digits /= 10;
  };
  for (unsigned i = 0; i < decimals; ++i) putDigit();
  if (decimals > 0) *--at = '.';
  do putDigit();
  while (digits > 0);
  if (std::signbit(value)) *--at = '-';
  const auto length = static_cast<std::size_t>(std::end(text) - at);
  if (!fits(length, width)) return false;
  alignRight(at, length, out, width);
  return true;
}

}  // namespace

double parseNumber(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (text.empty() || text.front() == '-') return 0;
  }
  double value = 0;
  if (text.empty() || parseShortNumber(text, &value)) return value;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error == std::errc()) return std::isfinite(value) ? value : 0;
  if (error != std::errc::result_out_of_range) return 0;
  // Which end of the range it is, the exponent's sign tells; without one, only a
  // long row of zeros can be too small.
  const std::string_view number(text.data(), static_cast<std::size_t>(end - text.data()));
  const bool small = number.find("e-") != std::string_view::npos ||
                     number.find("E-") != std::string_view::npos ||
                     number.find_first_of("123456789") > number.find('.');
  if (small) return 0;
  return text.front() == '-' ? -HUGE_VAL : HUGE_VAL;
}

bool formatNumber(double value, char* out, std::size_t width, unsigned decimals) {
  if (formatShortNumber(value, out, width, decimals)) return true;
  char text[longestNumber];
  if (std::isfinite(value)) {
    const auto [end, error] = std::to_chars(text, text + sizeof text, value,
                                            std::chars_format::fixed, static_cast<int>(decimals));
    const auto length = static_cast<std::size_t>(end - text);
    if (error == std::errc() && fits(length, width)) {
      alignRight(text, length, out, width);
      return true;
    }
  }
  std::memset(out, '*', width);
  return false;
}

std::string_view fieldText(const DataFile& data, std::size_t field) {
  const Field& info = data.fields[field];
  return std::string_view(data.record).substr(info.offset, info.width);
}

char fieldChar(const DataFile& data, std::size_t field) {
  const std::string_view text = fieldText(data, field);
  return text.empty() ? ' ' : text.front();
}

double fieldNumber(const DataFile& data, std::size_t field) {
  return parseNumber(fieldText(data, field));
}

void assignText(DataFile& data, std::size_t field, std::string_view text) {
  const Field& info = data.fields[field];
  char* out = slot(data, info);
  const std::size_t count = std::min<std::size_t>(text.size(), info.width);
  if (count > 0) std::memcpy(out, text.data(), count);
  std::memset(out + count, ' ', info.width - count);
}

void assignChar(DataFile& data, std::size_t field, char value) {
  assignText(data, field, std::string_view(&value, 1));
}

void assignLong(DataFile& data, std::size_t field, std::int64_t value) {
  const Field& info = data.fields[field];
  char digits[24];
  const auto [end, error] = std::to_chars(digits, digits + sizeof digits, value);
  const auto length = static_cast<std::size_t>(end - digits);
  char* out = slot(data, info);
  if (!fits(length, info.width)) {
    std::memset(out, '*', info.width);
    return;
  }
  // A point with no decimal behind it would be of no use.
  std::size_t decimals = info.decimals;
  if (decimals + 1 + length > info.width)
    decimals = info.width - length > 1 ? info.width - length - 1 : 0;
  const std::size_t tail = decimals > 0 ? decimals + 1 : 0;
  alignRight(digits, length, out, info.width - tail);
  if (tail == 0) return;
  out[info.width - tail] = '.';
  std::memset(out + info.width - decimals, '0', decimals);
}

void assignDouble(DataFile& data, std::size_t field, double value) {
  const Field& info = data.fields[field];
  char* out = slot(data, info);
  unsigned decimals = info.decimals;
  while (!formatNumber(value, out, info.width, decimals) && decimals > 0) --decimals;
}

std::uint32_t memoBlock(const DataFile& data, std::size_t field) {
  std::string_view text = fieldText(data, field);
  if (text.size() == dbf::binaryMemoWidth)
    return RecordReader(text.data(), text.size()).get(Le32{0});
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  std::uint32_t block = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), block);
  // Blanks behind it are other writers' way; more than that is no number.
  const bool whole = std::all_of(end, text.data() + text.size(), isBlank);
  return error == std::errc() && whole ? block : 0;
}

void assignMemoBlock(DataFile& data, std::size_t field, std::uint32_t block) {
  const Field& info = data.fields[field];
  char* out = slot(data, info);
  if (info.width == dbf::binaryMemoWidth) {
    RecordWriter(out, info.width).put(Le32{0}, block);
  } else if (block == 0) {
    std::memset(out, ' ', info.width);
  } else {
    formatNumber(block, out, info.width, 0);
  }
}

namespace {

bool hasText(const DataFile& data, std::size_t field) {
  const std::string_view text = fieldText(data, field);
  return !std::all_of(text.begin(), text.end(), isBlank);
}

int noMemoFile(DataFile& data) {
  return fail(*data.engine, errorReading, data.engine->report.files,
              fileNameLine(data.file.name()).c_str());
}

}  // namespace

int memoText(DataFile& data, std::size_t field, std::string* text) {
  if (data.engine->errorCode < 0) return data.engine->errorCode;
  const MemoEntry& entry = data.memos[field];
  text->clear();
  if (entry.changed) {
    *text = entry.text;
    return ok;
  }
  if (!hasText(data, field)) return ok;
  if (data.memo == nullptr) return noMemoFile(data);
  return data.memo->read(memoBlock(data, field), text);
}

int memoLength(DataFile& data, std::size_t field, std::uint64_t* bytes) {
  if (data.engine->errorCode < 0) return data.engine->errorCode;
  const MemoEntry& entry = data.memos[field];
  *bytes = entry.text.size();
  if (entry.changed || !hasText(data, field)) return ok;
  if (data.memo == nullptr) return noMemoFile(data);
  return data.memo->length(memoBlock(data, field), bytes);
}

void assignMemo(DataFile& data, std::size_t field, std::string_view text) {
  MemoEntry& entry = data.memos[field];
  beginChange(data);
  data.memosChanged = true;
  entry.text = text;
  entry.changed = true;
}

}  // namespace loomkit::xbase
