#include "base/numbers.h"

#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace zevo {
namespace {

TEST(ParseNumberTest, ReadsTheWholeTextInBounds) {
  EXPECT_EQ(parseNumber<int>("0"), 0);
  EXPECT_EQ(parseNumber<int>("-2147483648"), std::numeric_limits<int>::min());
  EXPECT_EQ(parseNumber<int>("007"), 7);
  EXPECT_EQ(parseNumber<std::uint32_t>("4294967295"), 4294967295U);
  EXPECT_EQ(parseNumber<unsigned>("640", 8), 0640U);
  EXPECT_EQ(parseNumber<double>("0.5"), 0.5);
}

TEST(ParseNumberTest, TakesNothingElseForANumber) {
  for (const char* text : {"", "-", "+1", " 1", "1 ", "1x", "0x10", "2147483648"}) {
    EXPECT_EQ(parseNumber<int>(text), std::nullopt) << text;
  }
  EXPECT_EQ(parseNumber<std::uint32_t>("-1"), std::nullopt);
  EXPECT_EQ(parseNumber<unsigned>("8", 8), std::nullopt);
}

TEST(ParseNumberTest, LeavesTheNumberWhereThereIsNone) {
  int number = 5;
  EXPECT_FALSE(parseNumber("6x", &number));
  EXPECT_EQ(number, 5);
  EXPECT_TRUE(parseNumber("6", &number));
  EXPECT_EQ(number, 6);
}

TEST(TakeNumber, RemovesItFromTheBeginning) {
  std::string_view text = "12 34";
  EXPECT_EQ(takeNumber<int>(text), 12);
  EXPECT_EQ(text, " 34");
}

TEST(TakeNumber, LeavesATextThatBeginsWithNone) {
  for (const char* written : {"", " 1", "+1", "x1", "4294967296"}) {
    std::string_view text = written;
    EXPECT_EQ(takeNumber<std::uint32_t>(text), std::nullopt) << written;
    EXPECT_EQ(text, written);
  }
}

}  // namespace
}  // namespace zevo
