// SPDX-License-Identifier: MIT
// A library that answers the ten calls: whatever is asked for is a database of one
// table, "t", with one row. For builds that are told to use another store.
#include "loomkit/db/tessel/tessel.h"

namespace {

constexpr int databaseHandle = 1;
constexpr int tableHandle = 2;
int lastError = 0;

const TslField fields[] = {{"n", TslStorageInt32, TslTypeSigned, 0, 0, 0, 1}};
const std::int32_t columns[] = {0};
const TslIndex indexes[] = {{"by n", 0, 1, 1, columns}};
TslTableDescr descr = {0, 0, 1, fields, 1, 1, indexes};
const TslValue values[] = {{TslTypeSigned, 0, {7}}};
const TslRow rows[] = {{0, 1, values}};

int failed(int error) {
  lastError = error;
  return -1;
}

}  // namespace

#define OTHER_STORE_API __attribute__((visibility("default")))
extern "C" {

OTHER_STORE_API int tsl_open_database(const char*, int) { return databaseHandle; }
OTHER_STORE_API int tsl_close_database(int handle) {
  return handle == databaseHandle ? 0 : failed(6);
}
OTHER_STORE_API int tsl_open_table(int, const char* name, int) {
  return name[0] == 't' && name[1] == '\0' ? tableHandle : failed(8);
}
OTHER_STORE_API int tsl_close_table(int handle) { return handle == tableHandle ? 0 : failed(7); }
OTHER_STORE_API TslTableDescr* tsl_get_table_descr(int) { return &descr; }
OTHER_STORE_API void tsl_free_table_descr(TslTableDescr*) {}
OTHER_STORE_API int tsl_lookup_keys(int, const TslKey* keys, int, int, TslResultSet* set) {
  if (keys[0].value.signedValue == 7) *set = {1, 0, rows};
  return 0;
}
OTHER_STORE_API int tsl_lookup_recno(int, int first, int, int, TslResultSet* set) {
  if (first == 0) *set = {1, 0, rows};
  return 0;
}
OTHER_STORE_API void tsl_free_result_set(TslResultSet* set) { *set = {0, 0, nullptr}; }
OTHER_STORE_API int tsl_get_error(void) { return lastError; }
}
