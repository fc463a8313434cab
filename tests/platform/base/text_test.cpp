#include "base/text.h"

#include <string>

#include <gtest/gtest.h>

namespace zevo {
namespace {

using namespace std::string_literals;

TEST(ValidUtf8, TakesCharactersOfEveryLength) {
  EXPECT_TRUE(validUtf8(""));
  EXPECT_TRUE(validUtf8("plain"));
  EXPECT_TRUE(validUtf8("\u00e4\u20ac\U0001F600"));
  EXPECT_TRUE(validUtf8("a\0b"s));
  EXPECT_TRUE(validUtf8("\xF4\x8F\xBF\xBF"));
}

TEST(ValidUtf8, RefusesWhatIsIllFormed) {
  for (const std::string& text :
       {"\x80"s, "\xC0\xAF"s, "\xC1\xBF"s, "\xE0\x9F\xBF"s, "\xED\xA0\x80"s, "\xF0\x8F\xBF\xBF"s,
        "\xF4\x90\x80\x80"s, "\xF5\x80\x80\x80"s, "\xFF"s, "a\xE2\x82"s, "\xC3"s, "\xC3("s}) {
    EXPECT_FALSE(validUtf8(text)) << testing::PrintToString(text);
  }
}

TEST(WithoutIllFormed, KeepsControlCharacters) {
  EXPECT_EQ(withoutIllFormed("a\n\xFF\u20ac\0\xE2\x82"s), "a\n\uFFFD\u20ac\0\uFFFD"s);
}

TEST(Printable, KeepsTextAsItIs) {
  EXPECT_EQ(printable("M\u00fcller \U0001F600"), "M\u00fcller \U0001F600");
}

TEST(Printable, ReplacesControlCharacters) {
  EXPECT_EQ(printable("a\nb\x1b[31m\x7f\0\u0085"s), "a\uFFFDb\uFFFD[31m\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(printable("\u2028\u202E\u2066x"), "\uFFFD\uFFFD\uFFFDx");
}

TEST(Printable, ReplacesEachIllFormedSequenceOnce) {
  EXPECT_EQ(printable("a\xFF\xFE"
                      "b"),
            "a\uFFFD\uFFFDb");
  EXPECT_EQ(printable("\xE2\x82"), "\uFFFD");
  EXPECT_EQ(printable("\xE2\x82(x"), "\uFFFD(x");
}

TEST(Printable, CutsBetweenCharacters) {
  EXPECT_EQ(printable("abcdef", 4), "abcd");
  EXPECT_EQ(printable("ab\u20ac", 4), "ab");
  EXPECT_EQ(printable("ab\u20ac", 5), "ab\u20ac");
  EXPECT_EQ(printable("x", 0), "");
}

TEST(Printable, YieldsWellFormedTextForAnyByte) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes.push_back(static_cast<char>(byte));
  EXPECT_TRUE(validUtf8(printable(bytes)));
}

}  // namespace
}  // namespace zevo
