#include "cli/commands/listing.h"

#include <string>

#include <gtest/gtest.h>

namespace cli {
namespace {

using std::chrono::milliseconds;

Json::Value parameters(const ListingWords& words) {
  std::string wrong;
  const std::optional<Listing> listing = checkListing(words, &wrong);
  EXPECT_TRUE(listing) << wrong;
  return listing ? parametersOf(*listing) : Json::Value();
}

std::string complaint(const ListingWords& words) {
  std::string wrong;
  EXPECT_FALSE(checkListing(words, &wrong));
  return wrong;
}

TEST(Listing, SendsOnlyWhatWasAskedFor) {
  EXPECT_EQ(parameters({}), Json::Value(Json::objectValue));
}

TEST(Listing, SendsEachOptionAsTheMethodsParameter) {
  ListingWords words;
  words.filter = "cifs";
  words.sortBy = "who";
  words.ascending = true;
  words.start = "1";
  words.limit = "2";
  Json::Value expected(Json::objectValue);
  expected["filter"] = "cifs";
  expected["sort_by"] = "who";
  expected["sort_direction"] = "ASC";
  expected["start"] = 1;
  expected["limit"] = 2;
  EXPECT_EQ(parameters(words), expected);
}

TEST(Listing, KnowsTheColumnsNamesAsSortFields) {
  for (const auto& [word, field] :
       {std::pair{"time", "time"}, std::pair{"since", "time"}, std::pair{"user", "who"},
        std::pair{"client", "from"}, std::pair{"resource", "descr"}, std::pair{"service", "type"},
        std::pair{"type", "type"}, std::pair{"descr", "descr"}, std::pair{"from", "from"}}) {
    ListingWords words;
    words.sortBy = word;
    EXPECT_EQ(parameters(words)["sort_by"], field) << word;
  }
}

TEST(Listing, TakesAnEmptyFilterForNone) {
  ListingWords words;
  words.filter = "";
  EXPECT_EQ(parameters(words), Json::Value(Json::objectValue));
}

TEST(Listing, KeepsThePagesEndWithinTheMethodsNumbers) {
  ListingWords words;
  words.start = "1";
  words.limit = "2147483647";
  EXPECT_EQ(parameters(words)["limit"], 2147483646);
}

TEST(Listing, AsksForOneUsersConnectionsByAnotherMethod) {
  Listing listing;
  EXPECT_STREQ(methodOf(listing), "list");
  listing.user = "alice";
  EXPECT_STREQ(methodOf(listing), "list_by_user");
}

TEST(Listing, FindsRootUnderTheNameThatTheModuleGives) {
  ListingWords words;
  words.user = "root";
  std::string wrong;
  EXPECT_EQ(checkListing(words, &wrong)->user, "admin");
}

TEST(Listing, RefusesTheNameThatWouldMeanEverybody) {
  ListingWords words;
  words.user = "";
  EXPECT_EQ(complaint(words), "--user must be the name of an account, found an empty string");
}

TEST(Listing, RefusesAnUnknownSortField) {
  for (const char* word : {"Who", "", "pid", "time "}) {
    ListingWords words;
    words.sortBy = word;
    EXPECT_EQ(complaint(words),
              "--sort-by must be time, user, from, resource or service (or the API's who, descr, "
              "type), found \"" +
                  std::string(word) + "\"");
  }
}

TEST(Listing, RefusesNumbersThatAreNone) {
  for (const char* word : {"", "-1", "+1", " 1", "1 ", "0x10", "1.5", "2147483648", "one", "1e3"}) {
    ListingWords words;
    words.start = word;
    EXPECT_EQ(complaint(words), "--start must be a whole number from 0 to 2147483647, found \"" +
                                    std::string(word) + "\"");
    words.start.reset();
    words.limit = word;
    EXPECT_EQ(complaint(words), "--limit must be a whole number from 0 to 2147483647, found \"" +
                                    std::string(word) + "\"");
  }
}

TEST(Listing, RefusesBothDirectionsAtOnce) {
  ListingWords words;
  words.ascending = true;
  words.descending = true;
  EXPECT_EQ(complaint(words), "--asc and --desc exclude each other: give one of them");
}

TEST(Listing, WatchesEveryTwoSecondsUnlessToldOtherwise) {
  std::string wrong;
  ListingWords words;
  words.watch = "";
  EXPECT_EQ(checkListing(words, &wrong)->watch, milliseconds(2000));
  words.watch = "0.25";
  EXPECT_EQ(checkListing(words, &wrong)->watch, milliseconds(250));
  words.watch = "86400";
  EXPECT_EQ(checkListing(words, &wrong)->watch, milliseconds(86400000));
}

TEST(Listing, RefusesTimesThatMakeNoSense) {
  for (const char* word : {"0", "0.19", "-1", "86401", "nan", "inf", "1s", "x", "1,5"}) {
    ListingWords words;
    words.watch = word;
    EXPECT_EQ(complaint(words),
              "--watch must be 0.2 to 86400 seconds, found \"" + std::string(word) + "\"");
  }
}

TEST(Listing, RefusesToWatchInJson) {
  ListingWords words;
  words.watch = "";
  words.asJson = true;
  EXPECT_EQ(complaint(words), "--watch and --json exclude each other: give one of them");
}

}  // namespace
}  // namespace cli
