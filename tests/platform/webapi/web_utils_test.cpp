#include "zevo/web_utils.h"

#include <gtest/gtest.h>

namespace {

TEST(EncodeHtml, ReplacesTheCharactersThatMeanSomething) {
  EXPECT_EQ(WebUtils::EncodeHtml("<a href=\"x\">'&'</a>", false),
            "&lt;a href=&quot;x&quot;&gt;&#39;&amp;&#39;&lt;/a&gt;");
}

TEST(EncodeHtml, EncodesReferencesOnceMore) {
  EXPECT_EQ(WebUtils::EncodeHtml("&amp;", false), "&amp;amp;");
}

TEST(EncodeHtml, LeavesAllOtherBytesAsTheyAre) {
  const std::string text("M\u00fcller\t\x01\xFF\0\r;`", 15);
  EXPECT_EQ(WebUtils::EncodeHtml(text, true), text);
}

TEST(EncodeHtml, TurnsLineFeedsIntoBreaksOnRequest) {
  EXPECT_EQ(WebUtils::EncodeHtml("a\n<\n", true), "a<br>&lt;<br>");
  EXPECT_EQ(WebUtils::EncodeHtml("a\n<\n", false), "a\n&lt;\n");
}

}  // namespace
