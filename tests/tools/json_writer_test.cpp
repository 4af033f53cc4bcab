// SPDX-License-Identifier: MIT
#include "tools/loom/json_writer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using loom::jsonString;
using loom::JsonWriter;

std::string written;
JsonWriter writer() {
  written.clear();
  return JsonWriter([](std::string_view text) { written += text; });
}

TEST(JsonString, EscapesWhatJsonDoesNotAllow) {
  struct Row {
    std::string text;
    std::string json;
  };
  const Row rows[] = {
      {"", "\"\""},
      {"a/b", "\"a/b\""},
      {"\"\\", R"("\"\\")"},
      {"\b\t\n\f\r", R"("\b\t\n\f\r")"},
      {std::string("\0\x01\v\x1f\x7f", 5), R"("\u0000\u0001\u000b\u001f\u007f")"},
      {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", "\"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\""},
  };
  for (const Row& row : rows) EXPECT_EQ(jsonString(row.text), row.json);
}

TEST(JsonString, ReplacesEachByteThatIsNotUtf8) {
  const std::string r = "\xEF\xBF\xBD";
  struct Row {
    const char* what;
    std::string text;
    std::string json;
  };
  const Row rows[] = {
      {"lone continuation", "a\x80z", "a" + r + "z"},
      {"overlong slash", "\xC0\xAF", r + r},
      {"overlong in three", "\xE0\x80\xAF", r + r + r},
      {"surrogate", "\xED\xA0\x80", r + r + r},
      {"above the last", "\xF4\x90\x80\x80", r + r + r + r},
      {"cut off", "\xE2\x82", r + r},
      {"Latin-1", "caf\xE9 au", "caf" + r + " au"},
  };
  for (const Row& row : rows) EXPECT_EQ(jsonString(row.text), "\"" + row.json + "\"") << row.what;
}

TEST(JsonWriter, NumbersReadBackAsTheSameDouble) {
  struct Row {
    double number;
    const char* json;
  };
  const Row rows[] = {{0.1, "0.1"},
                      {3, "3"},
                      {-0.0, "-0"},
                      {1e300, "1e+300"},
                      {0.1 + 0.2, "0.30000000000000004"},
                      {std::numeric_limits<double>::infinity(), "\"inf\""},
                      {-std::numeric_limits<double>::infinity(), "\"-inf\""},
                      {std::nan(""), "\"nan\""}};
  for (const Row& row : rows) {
    JsonWriter json = writer();
    json.value(row.number);
    EXPECT_EQ(written, std::string(row.json) + "\n");
  }
}

TEST(JsonWriter, PlacesCommasAndOneElementOfTheOutermostArrayToALine) {
  JsonWriter json = writer();
  json.beginArray().beginObject().key("a").value(1).key("b").beginArray().value("x").null();
  json.endArray().endObject().value(true).endArray();
  EXPECT_EQ(written, "[\n{\"a\":1,\"b\":[\"x\",null]},\ntrue\n]\n");
}

TEST(JsonWriter, WritesEmptyAndObjectDocuments) {
  writer().beginArray().endArray();
  EXPECT_EQ(written, "[]\n");
  writer().beginObject().key("k").beginObject().endObject().endObject();
  EXPECT_EQ(written, "{\"k\":{}}\n");
}

TEST(JsonWriter, DepthCostsNoMachineStack) {
  JsonWriter json = writer();
  constexpr int depth = 200000;
  for (int i = 0; i < depth; ++i) json.beginArray();
  for (int i = 0; i < depth; ++i) json.endArray();
  EXPECT_GE(written.size(), 2U * depth);
}

TEST(JsonWriter, ClosesWhatItsOwnerHasLeftOpen) {
  const auto left = [](void (*use)(JsonWriter&)) {
    {
      JsonWriter json = writer();
      use(json);
    }
    return written;
  };
  EXPECT_EQ(left([](JsonWriter&) {}), "");
  EXPECT_EQ(left([](JsonWriter& json) { json.beginArray(); }), "[]\n");
  EXPECT_EQ(left([](JsonWriter& json) { json.beginArray().value(1).beginObject(); }),
            "[\n1,\n{}\n]\n");
  EXPECT_EQ(left([](JsonWriter& json) { json.beginObject().key("a").beginArray().value("b"); }),
            "{\"a\":[\"b\"]}\n");
  EXPECT_EQ(left([](JsonWriter& json) { json.beginObject().key("a"); }), "{\"a\":null}\n");
  EXPECT_EQ(left([](JsonWriter& json) { json.value(1); }), "1\n");
}

TEST(JsonWriter, LeavesASinkThatHasFailedAlone) {
  static int calls;
  calls = 0;
  {
    JsonWriter json([](std::string_view) {
      if (++calls == 2) throw 1;
    });
    json.beginArray();
    EXPECT_THROW(json.value("a"), int);
  }
  EXPECT_EQ(calls, 2);
}

}  // namespace
