#include "calls/scoreboard.h"

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "calls/client_network.h"

namespace calls {
namespace {

TEST(Scoreboard, ShowsWhatAChildWrote) {
  Scoreboard board(2);
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

TEST(Scoreboard, ShowsNothingHarmfulOfABrokenChild) {
  Scoreboard board(1);
  board.slot(0).summary.fill('\x1B');
  const std::string shown = board.slot(0).shownSummary();
  EXPECT_EQ(shown.find('\x1B'), std::string::npos);
  EXPECT_LE(shown.size(), board.slot(0).summary.size());
}

TEST(Scoreboard, CutsASummaryThatIsTooLong) {
  Scoreboard board(1);
  board.slot(0).setSummary(std::string(5000, 'x'));
  EXPECT_EQ(board.slot(0).shownSummary(), std::string(383, 'x'));
}

TEST(Scoreboard, LetsAsManyLoginsBeginAsItMay) {
  Scoreboard board(4);
  constexpr LoginPlaces kPlaces = {.all = 2, .ofStrangers = 2, .ofRefused = 2, .ofOneClient = 1};
  EXPECT_TRUE(board.beginLogin(board.slot(0), "10.0.0.1", kPlaces));
  EXPECT_TRUE(board.beginLogin(board.slot(1), "10.0.0.2", kPlaces));
  EXPECT_FALSE(board.beginLogin(board.slot(2), "10.0.0.3", kPlaces));
  EXPECT_EQ(board.slot(2).loginFrom, 0U);
  board.slot(0).clear();
  EXPECT_TRUE(board.beginLogin(board.slot(2), "10.0.0.3", kPlaces));
}

TEST(Scoreboard, LetsSomeOfTheLoginsComeFromOneClient) {
  Scoreboard board(8);
  constexpr LoginPlaces kPlaces = {.all = 4, .ofStrangers = 4, .ofRefused = 4, .ofOneClient = 2};
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_TRUE(board.beginLogin(board.slot(i), "10.0.0.1", kPlaces));
  }
  EXPECT_FALSE(board.beginLogin(board.slot(2), "10.0.0.1", kPlaces));
  EXPECT_EQ(board.slot(2).loginFrom, 0U);
  EXPECT_TRUE(board.beginLogin(board.slot(2), "10.0.0.2", kPlaces));
}

TEST(Scoreboard, KeepsPlacesForClientsWithoutARefusal) {
  Scoreboard board(8);
  constexpr LoginPlaces kPlaces = {.all = 4, .ofStrangers = 4, .ofRefused = 2, .ofOneClient = 4};
  board.noteRefusal("10.0.0.1");
  EXPECT_TRUE(board.beginLogin(board.slot(0), "10.0.0.1", kPlaces));
  EXPECT_TRUE(board.beginLogin(board.slot(1), "10.0.0.1", kPlaces));
  EXPECT_FALSE(board.beginLogin(board.slot(2), "10.0.0.1", kPlaces));
  EXPECT_TRUE(board.beginLogin(board.slot(2), "10.0.0.2", kPlaces));
  EXPECT_TRUE(board.beginLogin(board.slot(3), "10.0.0.3", kPlaces));
  EXPECT_FALSE(board.beginLogin(board.slot(4), "10.0.0.4", kPlaces));
}

TEST(Scoreboard, KeepsPlacesForClientsThatHaveLoggedIn) {
  Scoreboard board(8);
  constexpr LoginPlaces kPlaces = {.all = 4, .ofStrangers = 2, .ofRefused = 1, .ofOneClient = 2};
  board.noteLogin("10.0.0.1");
  EXPECT_TRUE(board.beginLogin(board.slot(0), "10.0.1.1", kPlaces));
  EXPECT_TRUE(board.beginLogin(board.slot(1), "10.0.1.2", kPlaces));
  EXPECT_FALSE(board.beginLogin(board.slot(2), "10.0.1.3", kPlaces)) << "never seen before";
  EXPECT_TRUE(board.beginLogin(board.slot(2), "10.0.0.1", kPlaces));
  board.noteRefusal("10.0.0.1");
  EXPECT_TRUE(board.beginLogin(board.slot(3), "10.0.0.1", kPlaces)) << "a slip of the finger";
  EXPECT_FALSE(board.beginLogin(board.slot(4), "10.0.0.1", kPlaces));
}

TEST(Scoreboard, KeepsNobodyOutForLoginsThatTakeLong) {
  Scoreboard board(8);
  constexpr LoginPlaces kPlaces = {.all = 2, .ofStrangers = 2, .ofRefused = 2, .ofOneClient = 2};
  const auto begin = Scoreboard::Clock::now();
  EXPECT_TRUE(board.beginLogin(board.slot(0), "10.0.0.1", kPlaces, begin));
  EXPECT_TRUE(board.beginLogin(board.slot(1), "10.0.0.1", kPlaces, begin));
  EXPECT_FALSE(board.beginLogin(board.slot(2), "10.0.0.2", kPlaces, begin + kLoginGrace / 2));
  EXPECT_TRUE(board.beginLogin(board.slot(2), "10.0.0.2", kPlaces, begin + kLoginGrace));
  EXPECT_FALSE(board.beginLogin(board.slot(3), "10.0.0.1", kPlaces, begin + kLoginGrace))
      << "a client has no more of them, however long they take";
}

TEST(RecentClients, AreForgottenAfterAWhile) {
  RecentClients refused(kRefusalsRemembered);
  const auto now = RecentClients::Clock::now();
  EXPECT_FALSE(refused.holds("10.0.0.1", now));
  refused.note("10.0.0.1", now);
  EXPECT_TRUE(refused.holds("10.0.0.1", now));
  EXPECT_TRUE(refused.holds("10.0.0.1", now + kRefusalsRemembered - std::chrono::seconds(2)));
  EXPECT_FALSE(refused.holds("10.0.0.1", now + kRefusalsRemembered + std::chrono::seconds(1)));
  EXPECT_FALSE(refused.holds("10.0.0.2", now));
}

TEST(RecentClients, AreKnownToAllProcesses) {
  RecentClients refused(kRefusalsRemembered);
  if (::fork() == 0) {
    refused.note("10.0.0.1");
    ::_exit(0);
  }
  ASSERT_GT(::wait(nullptr), 0);
  EXPECT_TRUE(refused.holds("10.0.0.1"));
}

TEST(RecentClients, AreRememberedByTheHundreds) {
  RecentClients refused(kRefusalsRemembered);
  int held = 0;
  for (int i = 0; i < 200; ++i) refused.note("10.0.0." + std::to_string(i));
  for (int i = 0; i < 200; ++i) held += refused.holds("10.0.0." + std::to_string(i)) ? 1 : 0;
  EXPECT_GT(held, 180) << "few share a place";
}

TEST(Client, IsAnAddressOrANetworkOfIpv6) {
  EXPECT_EQ(clientOf("10.20.0.2"), "10.20.0.2");
  EXPECT_EQ(clientOf("fd20:0:0:5::1"), clientOf("fd20::5:1:2:3:4"));
  EXPECT_EQ(clientOf("fd20::1"), clientOf("fd20::ffff:1:2:3"));
  EXPECT_NE(clientOf("fd20:0:0:5::1"), clientOf("fd20:0:0:6::1"));
  EXPECT_EQ(clientOf(""), "");
}

TEST(Client, IsTheWholeLoopback) {
  EXPECT_EQ(clientOf("127.0.0.1"), clientOf("127.255.3.4"));
  EXPECT_NE(clientOf("127.0.0.1"), clientOf("12.70.0.1"));
}

}  // namespace
}  // namespace calls
