#include "row_changes.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/connections.h"

namespace cli {
namespace {

const Connection kAlice = connection(11, "alice");
const Connection kBob = connection(12, "bob");
const Connection kCarol = connection(13, "carol");
const Connection kDave = connection(14, "dave");

using Rows = std::vector<Row>;

TEST(MarkChanges, MarksNothingWhereNothingChanged) {
  EXPECT_EQ(markChanges({kAlice, kBob}, {kAlice, kBob}),
            (Rows{{Change::kNone, kAlice}, {Change::kNone, kBob}}));
}

TEST(MarkChanges, MarksWhoCame) {
  EXPECT_EQ(markChanges({kBob}, {kAlice, kBob, kCarol}),
            (Rows{{Change::kCame, kAlice}, {Change::kNone, kBob}, {Change::kCame, kCarol}}));
}

TEST(MarkChanges, KeepsWhoWentInTheOldPlace) {
  EXPECT_EQ(markChanges({kAlice, kBob, kCarol}, {kAlice, kCarol}),
            (Rows{{Change::kNone, kAlice}, {Change::kWent, kBob}, {Change::kNone, kCarol}}));
  EXPECT_EQ(markChanges({kAlice, kBob, kCarol}, {kCarol}),
            (Rows{{Change::kWent, kAlice}, {Change::kWent, kBob}, {Change::kNone, kCarol}}));
}

TEST(MarkChanges, ShowsOnlyDeparturesWhereAllWent) {
  EXPECT_EQ(markChanges({kAlice, kBob}, {}),
            (Rows{{Change::kWent, kAlice}, {Change::kWent, kBob}}));
}

TEST(MarkChanges, TakesAnotherDescriptionForTheSameConnection) {
  Connection now = kAlice;
  now.descr = "photos";
  EXPECT_EQ(markChanges({kAlice}, {now}), (Rows{{Change::kNone, now}}));
}

TEST(MarkChanges, FollowsRowsThatChangePlaces) {
  EXPECT_EQ(markChanges({kAlice, kBob}, {kBob, kAlice}),
            (Rows{{Change::kNone, kBob}, {Change::kNone, kAlice}}));
}

TEST(MarkChanges, CountsEqualRowsOneByOne) {
  EXPECT_EQ(markChanges({kAlice, kAlice, kAlice}, {kAlice}),
            (Rows{{Change::kNone, kAlice}, {Change::kWent, kAlice}, {Change::kWent, kAlice}}));
  EXPECT_EQ(markChanges({kAlice}, {kAlice, kAlice}),
            (Rows{{Change::kNone, kAlice}, {Change::kCame, kAlice}}));
}

TEST(PageOfRows, CutsWithoutCountingWhoWent) {
  const Rows rows = {{Change::kWent, kAlice},
                     {Change::kNone, kBob},
                     {Change::kWent, kCarol},
                     {Change::kNone, kDave}};
  EXPECT_EQ(pageOfRows(rows, 0, 0), rows);
  EXPECT_EQ(pageOfRows(rows, 0, 1), (Rows{rows[0], rows[1], rows[2]}));
  EXPECT_EQ(pageOfRows(rows, 1, 1), (Rows{rows[3]}));
  EXPECT_EQ(pageOfRows(rows, 1, 0), (Rows{rows[3]}));
  EXPECT_EQ(pageOfRows(rows, 2, 5), Rows{});
}

TEST(PageOfRows, TakesTheGreatestNumbers) {
  EXPECT_EQ(pageOfRows({{Change::kNone, kBob}}, 2147483647, 2147483647), Rows{});
}

}  // namespace
}  // namespace cli
