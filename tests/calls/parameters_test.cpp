#include "calls/parameters.h"

#include <string>

#include <gtest/gtest.h>
#include <json/reader.h>

namespace calls {
namespace {

Json::Value jsonOf(const std::string& text) {
  Json::Value value;
  EXPECT_TRUE(Json::Reader().parse(text, value)) << text;
  return value;
}

TEST(QueryParameters, AreUnescapedTexts) {
  EXPECT_EQ(queryParameters("filter=a+b%26%C3%A4&limit=50&empty=&bare"),
            jsonOf(R"({"filter":"a b&ä","limit":"50","empty":"","bare":""})"));
  EXPECT_EQ(queryParameters(""), jsonOf("{}"));
  EXPECT_EQ(queryParameters("&&a=1&"), jsonOf(R"({"a":"1"})"));
  EXPECT_EQ(queryParameters("a=b=c"), jsonOf(R"({"a":"b=c"})"));
}

TEST(QueryParameters, MustBeUnderstoodWhole) {
  for (const char* query : {"a=%", "a=%4", "a=%zz", "a=%+1", "a=%-1", "%", "a=%FF", "a=%C3",
                            "a=%00", "a=1&a=2", "a=1&%61=2", "=1"}) {
    EXPECT_EQ(queryParameters(query), std::nullopt) << query;
  }
}

TEST(QueryParameters, AreAtMost64) {
  std::string query;
  for (int i = 0; i < 64; ++i) query += "p" + std::to_string(i) + "=1&";
  EXPECT_TRUE(queryParameters(query));
  EXPECT_FALSE(queryParameters(query + "one=more"));
}

TEST(BodyParameters, AreAJsonObjectWithItsTypes) {
  EXPECT_EQ(bodyParameters(R"({"limit":5,"users":["a",1,null]})"),
            jsonOf(R"({"limit":5,"users":["a",1,null]})"));
  EXPECT_EQ(bodyParameters(""), jsonOf("{}"));
}

TEST(BodyParameters, MustBeOneJsonObject) {
  for (const char* body : {"[]", "1", "null", "\"a\"", "{", "{}{}", "{} x", "{a:1}", "{'a':1}",
                           "{\"a\":1,}", "{\"a\":1,\"a\":2}", "// c\n{}", "{\"a\":NaN}", " "}) {
    EXPECT_EQ(bodyParameters(body), std::nullopt) << body;
  }
}

TEST(BodyParameters, MustBeUtf8) {
  EXPECT_EQ(bodyParameters("{\"a\":\"\xFF\"}"), std::nullopt);
}

TEST(BodyParameters, MustNotBeNestedDeep) {
  const auto nested = [](std::size_t depth) {
    return "{\"a\":" + std::string(depth, '[') + std::string(depth, ']') + "}";
  };
  EXPECT_TRUE(bodyParameters(nested(20)));
  EXPECT_EQ(bodyParameters(nested(10000)), std::nullopt);
  EXPECT_EQ(bodyParameters("{\"a\":" + std::string(10000, '[')), std::nullopt);
}

TEST(BodyParameters, HoldSoManyValuesAndNoMore) {
  // Each "[0]," is two: the array and what is in it.
  const auto pairs = [](std::size_t count) {
    std::string text = R"({"a":[)";
    for (std::size_t i = 0; i < count; ++i) text += i == 0 ? "[0]" : ",[0]";
    return text + "]}";
  };
  EXPECT_TRUE(bodyParameters(pairs(kMostValues / 2 - 2)));
  EXPECT_EQ(bodyParameters(pairs(kMostValues / 2 + 1)), std::nullopt);
  EXPECT_TRUE(bodyParameters(R"({"a":"\"[)" + std::string(kMostValues, ',') + R"("})"))
      << "what stands in a text is no value";
}

TEST(BodyParameters, HideNoValuesBehindAComment) {
  std::string values;
  for (std::size_t i = 0; i < kMostValues; ++i) values += "[0],";
  EXPECT_EQ(bodyParameters(R"({/*"*/"a":[)" + values + "0]}"), std::nullopt);
  for (const char* text : {R"({/*c*/"a":1})", "{\"a\":1//c\n}", R"({"a":/**/1})"}) {
    EXPECT_EQ(bodyParameters(text), std::nullopt) << text;
  }
  EXPECT_TRUE(bodyParameters(R"({"a":"//"})"));
}

TEST(JsonType, IsTakenWithItsParameters) {
  EXPECT_TRUE(isJsonType("application/json"));
  EXPECT_TRUE(isJsonType("Application/JSON ; charset=utf-8"));
  for (const char* type : {"", "text/plain", "application/x-www-form-urlencoded",
                           "application/jsonx", "text/plain; application/json"}) {
    EXPECT_FALSE(isJsonType(type)) << type;
  }
}

}  // namespace
}  // namespace calls
