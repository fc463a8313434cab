#include "calls/json_text.h"

#include <gtest/gtest.h>

namespace calls {
namespace {

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
}  // namespace calls
