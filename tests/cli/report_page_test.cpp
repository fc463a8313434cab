#include "report_page.h"

#include <string>

#include <gtest/gtest.h>

namespace cli {
namespace {

const std::string kHeader =
    "Content-Type:application/xxx\r\n"
    "Content-Disposition:attachment; filename=\"currentlog.html\"\r\n\r\n";

TEST(ReportPage, IsWhatFollowsTheHeaderLines) {
  EXPECT_EQ(pageIn(kHeader + "<html>a\r\n\r\nb</html>"), "<html>a\r\n\r\nb</html>");
}

TEST(ReportPage, IsNoneWithoutHeaderLines) {
  EXPECT_EQ(pageIn("<html></html>"), std::nullopt);
  EXPECT_EQ(pageIn(""), std::nullopt);
}

TEST(ReportPage, IsNoneWhereItIsCutShort) {
  EXPECT_EQ(pageIn(kHeader + "<html><table>"), std::nullopt);
  EXPECT_EQ(pageIn(kHeader), std::nullopt);
}

}  // namespace
}  // namespace cli
