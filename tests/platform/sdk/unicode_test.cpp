#include "zevo/unicode.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/uloc.h>

#include "zevo/error.h"

namespace {

struct Upper {
  int length;
  std::string text;
  bool operator==(const Upper&) const = default;
};

void PrintTo(const Upper& upper, std::ostream* out) {
  *out << upper.length << " " << testing::PrintToString(upper.text);
}

Upper upper(const char* source, int size = 4587) {
  std::vector<char> buffer(static_cast<std::size_t>(size) + 1, '#');
  const int length = VLIBCUnicodeUTF8StrUpper(source, buffer.data(), size);
  EXPECT_EQ(buffer.back(), '#') << "wrote behind the destination";
  return {length, buffer.data()};
}

const Upper kFailed = {-1, ""};

TEST(UpperCasing, ReturnsTheLengthWithoutTheNul) {
  EXPECT_EQ(upper("cifs/2 Az"), (Upper{9, "CIFS/2 AZ"}));
  EXPECT_EQ(upper(""), (Upper{0, ""}));
}

TEST(UpperCasing, MapsAllOfUnicode) {
  EXPECT_EQ(upper("m\u00fcller"), (Upper{7, "M\u00dcLLER"}));
  EXPECT_EQ(upper("stra\u00dfe"), (Upper{7, "STRASSE"}));
  EXPECT_EQ(upper("\u0436\u03c9"), (Upper{4, "\u0416\u03a9"}));
  EXPECT_EQ(upper("\u0149"), (Upper{3, "\u02bcN"}));  // grows
}

TEST(UpperCasing, KeepsCharactersWithoutAnUpperCase) {
  EXPECT_EQ(upper("\u65e5\u672c_1\U0001F600"), (Upper{12, "\u65e5\u672c_1\U0001F600"}));
}

TEST(UpperCasing, DoesNotFollowTheServersLanguage) {
  UErrorCode status = U_ZERO_ERROR;
  ::uloc_setDefault("tr_TR", &status);
  EXPECT_EQ(upper("i\u00e4"), (Upper{3, "I\u00c4"}));
  EXPECT_EQ(upper("i"), (Upper{1, "I"}));
  ::uloc_setDefault("en_US", &status);
}

TEST(UpperCasing, FailsWhereTheNulDoesNotFit) {
  EXPECT_EQ(upper("abc", 4), (Upper{3, "ABC"}));
  EXPECT_EQ(upper("abc", 3), kFailed);
  EXPECT_EQ(upper("\u00e4\u00e4", 5), (Upper{4, "\u00c4\u00c4"}));
  EXPECT_EQ(upper("\u00e4\u00e4", 4), kFailed);
  EXPECT_EQ(upper("\u00e4\u00e4", 3), kFailed);
  EXPECT_EQ(upper("x\u0149", 4), kFailed);  // the source fits, its upper case does not
}

TEST(UpperCasing, FailsForInvalidUtf8) {
  for (const char* text : {"a\xFF", "\xC3", "\xC0\x80", "\xED\xA0\x80", "abc\x80"}) {
    ZEVO_ERR_SET(ZEVO_ERR_NONE);
    EXPECT_EQ(upper(text), kFailed);
    EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_BAD_TEXT);
  }
}

TEST(UpperCasing, FailsWithoutTextOrRoom) {
  char room = '#';
  EXPECT_EQ(VLIBCUnicodeUTF8StrUpper(nullptr, &room, 1), -1);
  EXPECT_EQ(room, '\0');
  EXPECT_EQ(VLIBCUnicodeUTF8StrUpper("a", nullptr, 1), -1);
  EXPECT_EQ(VLIBCUnicodeUTF8StrUpper("a", &room, 0), -1);
  EXPECT_EQ(VLIBCUnicodeUTF8StrUpper("a", &room, -1), -1);
}

}  // namespace
