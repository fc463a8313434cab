#include "base/json.h"

#include <gtest/gtest.h>

namespace zevo {
namespace {

TEST(ParseJson, TakesTheWholeTextByTheLetter) {
  EXPECT_EQ(parseJson(" 7 "), Json::Value(7));
  for (const char* text : {"", "{} {}", "{'a': 1}", "[1,]", "{\"a\": NaN}", "{\"a\": 1, \"a\": 2}"})
    EXPECT_EQ(parseJson(text), std::nullopt) << text;
}

TEST(ParseJson, TakesRepeatedNamesWhereAskedTo) {
  const auto value = parseJson(R"({"a": 1, "a": 2})", RepeatedNames::kLastCounts);
  ASSERT_TRUE(value);
  EXPECT_EQ((*value)["a"], Json::Value(2));
}

TEST(ParseJson, SaysWhyThereIsNoValue) {
  std::string problem;
  EXPECT_EQ(parseJson(std::string(33, '['), RepeatedNames::kRefused, &problem), std::nullopt);
  EXPECT_NE(problem, "");
  problem.clear();
  EXPECT_EQ(parseJson("{", RepeatedNames::kRefused, &problem), std::nullopt);
  EXPECT_NE(problem, "");
  EXPECT_TRUE(parseJson(std::string(30, '[') + std::string(30, ']')));
}

TEST(AsciiJson, EscapesEveryControlCharacter) {
  EXPECT_EQ(asciiJson(Json::Value("a\x1b"
                                  "b\x7f\x7f"
                                  "c\xC2\x9B"
                                  "d")),
            R"("a\u001bb\u007f\u007fc\u009bd")");
  Json::Value object;
  object["\x7f"] = "Zoë";
  EXPECT_EQ(asciiJson(object), R"({"\u007f":"Zo\u00eb"})");
}

TEST(AsciiJson, IsReadAsItWasWritten) {
  const Json::Value text("a\\u007f\x7f\\\x7f");
  EXPECT_EQ(parseJson(asciiJson(text)), text);
}

}  // namespace
}  // namespace zevo
