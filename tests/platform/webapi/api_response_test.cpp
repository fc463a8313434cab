#include "zevo/api_response.h"

#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <json/reader.h>

namespace ZEVO {
namespace {

std::string textOf(const Json::Value& value) {
  APIResponse response;
  response.SetSuccess(value);
  return response.DataText();
}

TEST(Response, HasNoOutcomeAtFirst) {
  const APIResponse response;
  EXPECT_FALSE(response.HasOutcome());
  EXPECT_TRUE(response.IsOutputEnabled());
  EXPECT_EQ(response.DataText(), "");
}

TEST(Response, HoldsTheOutcomeThatWasRecordedLast) {
  APIResponse response;
  response.SetSuccess(Json::Value(1));
  response.SetError(117, Json::Value());
  EXPECT_TRUE(response.HasOutcome());
  EXPECT_EQ(response.ErrorCode(), 117);
  EXPECT_EQ(response.DataText(), "null");
  response.SetSuccess(Json::Value("x"));
  EXPECT_EQ(response.ErrorCode(), 0);
  EXPECT_EQ(response.DataText(), "\"x\"");
}

TEST(Response, LetsTheHandlerWriteItsOwnAnswer) {
  APIResponse response;
  response.SetEnableOutput(false);
  EXPECT_FALSE(response.IsOutputEnabled());
  EXPECT_FALSE(response.HasOutcome());
}

TEST(ResponseText, IsCompactJsonWithoutALineBreak) {
  Json::Value value;
  value["total"] = 2;
  value["items"].append("a");
  value["items"].append(Json::Value());
  value["items"].append(Json::Value(Json::objectValue));
  value["empty"] = Json::Value(Json::arrayValue);
  value["yes"] = true;
  EXPECT_EQ(textOf(value), R"({"empty":[],"items":["a",null,{}],"total":2,"yes":true})");
}

TEST(ResponseText, HoldsNumbersExactly) {
  EXPECT_EQ(textOf(std::numeric_limits<Json::Int64>::min()), "-9223372036854775808");
  EXPECT_EQ(textOf(std::numeric_limits<Json::UInt64>::max()), "18446744073709551615");
  EXPECT_EQ(textOf(4294967295U), "4294967295");
  EXPECT_EQ(textOf(0.1), "0.1");
  EXPECT_EQ(textOf(5.0), "5.0");
  EXPECT_EQ(textOf(1e300), "1e+300");
}

TEST(ResponseText, HasNullForNumbersThatJsonCannotHold) {
  EXPECT_EQ(textOf(std::numeric_limits<double>::infinity()), "null");
  EXPECT_EQ(textOf(std::nan("")), "null");
}

TEST(ResponseText, EscapesWhatAStringMustNotHold) {
  EXPECT_EQ(textOf(std::string("\"\\/\b\f\n\r\t\0\x1f\x7f", 11)),
            "\"\\\"\\\\/\\b\\f\\n\\r\\t\\u0000\\u001f\x7f\"");
  EXPECT_EQ(textOf(""), "\"\"");
}

TEST(ResponseText, LeavesUtf8AsItIsAndReplacesWhatIsNone) {
  EXPECT_EQ(textOf("M\u00fcller \u20ac \U0001F600"), "\"M\u00fcller \u20ac \U0001F600\"");
  EXPECT_EQ(textOf("a\xFF\n\xE2\x82"), "\"a\uFFFD\\n\uFFFD\"");
}

TEST(ResponseText, EscapesKeysLikeValues) {
  Json::Value value;
  value[std::string("a\"\n\0", 4)] = 1;
  EXPECT_EQ(textOf(value), R"({"a\"\n\u0000":1})");
}

TEST(ResponseText, TakesNoMoreStackForDeeperValues) {
  Json::Value value(Json::arrayValue);
  for (int i = 1; i < 5000; ++i) {
    Json::Value outer(Json::arrayValue);
    outer.append(std::move(value));
    value = std::move(outer);
  }
  EXPECT_EQ(textOf(value), std::string(5000, '[') + std::string(5000, ']'));
}

TEST(ResponseText, ReadsBackAsTheSameValue) {
  Json::Value value;
  for (int byte = 1; byte < 128; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    value["items"].append(text + "x" + text);
    value[text] = byte / 8.0;
  }
  Json::Value back;
  std::string errors;
  const std::string text = textOf(value);
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  ASSERT_TRUE(reader->parse(text.data(), text.data() + text.size(), &back, &errors)) << errors;
  EXPECT_EQ(back, value);
}

}  // namespace
}  // namespace ZEVO
