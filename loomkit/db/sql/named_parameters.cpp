// SPDX-License-Identifier: MIT
// The parameters of a query by their names, on top of those by number.
#include <algorithm>
#include <limits>
#include <vector>

#include "loomkit/db/sql/sql_database_impl.h"
#include "loomkit/db/sql/sql_query.h"

namespace {

// A text or blob is at most as long as an int can say.
constexpr std::size_t maxSize = std::numeric_limits<int>::max();

// Whether a parameter called `own`, with its mark, is what a caller calls `asked`.
bool isCalled(const std::string& own, const std::string& asked) {
  if (own.empty() || asked.empty()) return false;
  return own == asked || own.compare(1, std::string::npos, asked) == 0;
}

template <typename Bind>
GDbStatus bindNamed(GSqlQuery* query, const std::string& name, Bind bind) {
  int index = -1;
  const GDbStatus status = query->getParameterIndex(name, &index);
  return status == GDbNoError ? bind(index) : status;
}

}  // namespace

GDbStatus GSqlQuery::getParameterIndex(const std::string& name, int* index) {
  if (index == nullptr) return setSqlError(GDbInvalidArgument);
  *index = -1;
  GSqlDatabaseImpl* database = getSqlDatabaseImpl();
  if (database == nullptr) return setSqlError(GDbNotOpen);
  std::vector<std::string> names;
  const GDbStatus status = database->getParameterNames(data, &names);
  if (status != GDbNoError) {
    setSqlError(database->getLastError());
    return status;
  }
  const auto called = [&](const std::string& own) { return isCalled(own, name); };
  const auto found = std::find_if(names.begin(), names.end(), called);
  const bool one = std::count_if(names.begin(), names.end(), called) == 1;
  if (!one) {
    const char* reason =
        found == names.end() ? "no parameter is called " : "more than one parameter is called ";
    setSqlError(GSqlError(GDbInvalidArgument, reason + name));
    return GDbInvalidArgument;
  }
  *index = static_cast<int>(found - names.begin());
  return GDbNoError;
}

GDbStatus GSqlQuery::bindInt(const std::string& name, int value) {
  return bindNamed(this, name, [&](int index) { return bindInt(index, value); });
}

GDbStatus GSqlQuery::bindInt64(const std::string& name, std::int64_t value) {
  return bindNamed(this, name, [&](int index) { return bindInt64(index, value); });
}

GDbStatus GSqlQuery::bindDouble(const std::string& name, double value) {
  return bindNamed(this, name, [&](int index) { return bindDouble(index, value); });
}

GDbStatus GSqlQuery::bindText(const std::string& name, const std::string& text) {
  if (text.size() > maxSize) return setSqlError(GDbRowTooBig);
  const int length = static_cast<int>(text.size());
  return bindNamed(this, name,
                   [&](int index) { return bindText(index, text.c_str(), length, true); });
}

GDbStatus GSqlQuery::bindBlob(const std::string& name, std::string_view bytes) {
  if (bytes.size() > maxSize) return setSqlError(GDbRowTooBig);
  char none = 0;  // a null pointer would bind a NULL
  void* start = bytes.empty() ? &none : const_cast<char*>(bytes.data());
  const auto size = static_cast<unsigned>(bytes.size());
  return bindNamed(this, name, [&](int index) { return bindBlob(index, start, size, true); });
}

GDbStatus GSqlQuery::bindNull(const std::string& name) {
  return bindNamed(this, name, [&](int index) { return bindNull(index); });
}
