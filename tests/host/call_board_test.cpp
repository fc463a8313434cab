#include "call_board.h"

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace host {
namespace {

TEST(CallBoard, ShowsWhatAChildWrote) {
  CallBoard board(2);
  if (::fork() == 0) {
    board.slot(1).setSummary("method=list");
    board.slot(1).isAnswering = true;
    ::_exit(0);
  }
  ASSERT_GT(::wait(nullptr), 0);
  EXPECT_EQ(board.slot(1).shownSummary(), "method=list");
  EXPECT_TRUE(board.slot(1).isAnswering);
  EXPECT_FALSE(board.slot(0).isAnswering);
}

TEST(CallBoard, ShowsNothingHarmfulOfABrokenChild) {
  CallBoard board(1);
  board.slot(0).summary.fill('\x1B');
  const std::string shown = board.slot(0).shownSummary();
  EXPECT_EQ(shown.find('\x1B'), std::string::npos);
  EXPECT_LE(shown.size(), board.slot(0).summary.size());
}

TEST(CallBoard, CutsASummaryThatIsTooLong) {
  CallBoard board(1);
  board.slot(0).setSummary(std::string(5000, 'x'));
  EXPECT_EQ(board.slot(0).shownSummary(), std::string(383, 'x'));
}

TEST(CallBoard, LetsAsManyLoginsBeginAsItMay) {
  CallBoard board(4);
  EXPECT_TRUE(board.beginLogin(board.slot(0), "10.0.0.1", 2));
  EXPECT_TRUE(board.beginLogin(board.slot(1), "10.0.0.2", 2));
  EXPECT_FALSE(board.beginLogin(board.slot(2), "10.0.0.3", 2));
  EXPECT_EQ(board.slot(2).loginFrom, 0U);
  board.slot(0).clear();
  EXPECT_TRUE(board.beginLogin(board.slot(2), "10.0.0.3", 2));
}

TEST(CallBoard, LetsHalfOfTheLoginsComeFromOneAddress) {
  CallBoard board(8);
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_TRUE(board.beginLogin(board.slot(i), "10.0.0.1", 4));
  }
  EXPECT_FALSE(board.beginLogin(board.slot(2), "10.0.0.1", 4));
  EXPECT_EQ(board.slot(2).loginFrom, 0U);
  EXPECT_TRUE(board.beginLogin(board.slot(2), "10.0.0.2", 4));
}

}  // namespace
}  // namespace host
