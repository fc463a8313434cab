#include "cli/commands/summary.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/connections.h"

namespace cli {
namespace {

std::string summary(int total, std::size_t shown, const Listing& listing = {}) {
  return summaryOf({total, std::vector<Connection>(shown, connection(7, "alice")), ""}, listing,
                   Charset::kUtf8);
}

Listing filtered(const std::string& filter) {
  Listing listing;
  listing.filter = filter;
  return listing;
}

Listing ofUser(const std::string& user) {
  Listing listing;
  listing.user = user;
  return listing;
}

Listing from(int start) {
  Listing listing;
  listing.start = start;
  return listing;
}

TEST(Summary, SaysThatNobodyIsThere) {
  EXPECT_EQ(summary(0, 0), "nobody is connected");
  EXPECT_EQ(summary(0, 0, from(10)), "nobody is connected");
  EXPECT_EQ(summary(0, 0, filtered("cifs")), "no connections match \"cifs\"");
  EXPECT_EQ(summary(0, 0, ofUser("alice")), "nobody is connected as alice");
}

TEST(Summary, CountsAWholeList) {
  EXPECT_EQ(summary(1, 1), "1 connection");
  EXPECT_EQ(summary(5, 5), "5 connections");
  EXPECT_EQ(summary(5, 5, filtered("cifs")), "5 connections matching \"cifs\"");
  EXPECT_EQ(summary(5, 5, ofUser("alice")), "5 connections of alice");
}

TEST(Summary, PlacesAPageInTheWhole) {
  EXPECT_EQ(summary(5, 2, from(1)), "connections 2 to 3 of 5");
  EXPECT_EQ(summary(5, 2), "connections 1 to 2 of 5");
  EXPECT_EQ(summary(5, 1, from(4)), "connection 5 of 5");
  EXPECT_EQ(summary(5, 2, filtered("cifs")), "connections 1 to 2 of 5 matching \"cifs\"");
}

TEST(Summary, SaysThatAPageLiesBehindTheEnd) {
  EXPECT_EQ(summary(5, 0, from(10)), "no connection after the first 10: there are 5 in all");
  EXPECT_EQ(summary(5, 0, from(2147483647)),
            "no connection after the first 2147483647: there are 5 in all");
}

TEST(Summary, ShowsAFilterWithoutControlCharacters) {
  EXPECT_EQ(summary(0, 0, filtered("\x1b[2J")), "no connections match \"\xEF\xBF\xBD[2J\"");
}

}  // namespace
}  // namespace cli
