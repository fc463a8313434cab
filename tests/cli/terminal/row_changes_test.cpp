#include "cli/terminal/row_changes.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/connections.h"

namespace cli {
namespace {

const Connection kAliceRow = connection(11, "alice");
const Connection kBobRow = connection(12, "bob");
const Connection kCarol = connection(13, "carol");
const Connection kDave = connection(14, "dave");

using Rows = std::vector<Row>;

TEST(MarkChanges, MarksNothingWhereNothingChanged) {
  EXPECT_EQ(markChanges({kAliceRow, kBobRow}, {kAliceRow, kBobRow}),
            (Rows{{Change::kNone, kAliceRow}, {Change::kNone, kBobRow}}));
}

TEST(MarkChanges, MarksWhoCame) {
  EXPECT_EQ(markChanges({kBobRow}, {kAliceRow, kBobRow, kCarol}),
            (Rows{{Change::kCame, kAliceRow}, {Change::kNone, kBobRow}, {Change::kCame, kCarol}}));
}

TEST(MarkChanges, KeepsWhoWentInTheOldPlace) {
  EXPECT_EQ(markChanges({kAliceRow, kBobRow, kCarol}, {kAliceRow, kCarol}),
            (Rows{{Change::kNone, kAliceRow}, {Change::kWent, kBobRow}, {Change::kNone, kCarol}}));
  EXPECT_EQ(markChanges({kAliceRow, kBobRow, kCarol}, {kCarol}),
            (Rows{{Change::kWent, kAliceRow}, {Change::kWent, kBobRow}, {Change::kNone, kCarol}}));
}

TEST(MarkChanges, ShowsOnlyDeparturesWhereAllWent) {
  EXPECT_EQ(markChanges({kAliceRow, kBobRow}, {}),
            (Rows{{Change::kWent, kAliceRow}, {Change::kWent, kBobRow}}));
}

TEST(MarkChanges, TakesAnotherDescriptionForTheSameConnection) {
  Connection now = kAliceRow;
  now.descr = "photos";
  EXPECT_EQ(markChanges({kAliceRow}, {now}), (Rows{{Change::kNone, now}}));
}

TEST(MarkChanges, FollowsRowsThatChangePlaces) {
  EXPECT_EQ(markChanges({kAliceRow, kBobRow}, {kBobRow, kAliceRow}),
            (Rows{{Change::kNone, kBobRow}, {Change::kNone, kAliceRow}}));
}

TEST(MarkChanges, CountsEqualRowsOneByOne) {
  EXPECT_EQ(
      markChanges({kAliceRow, kAliceRow, kAliceRow}, {kAliceRow}),
      (Rows{{Change::kNone, kAliceRow}, {Change::kWent, kAliceRow}, {Change::kWent, kAliceRow}}));
  EXPECT_EQ(markChanges({kAliceRow}, {kAliceRow, kAliceRow}),
            (Rows{{Change::kNone, kAliceRow}, {Change::kCame, kAliceRow}}));
}

TEST(PageOfRows, CutsWithoutCountingWhoWent) {
  const Rows rows = {{Change::kWent, kAliceRow},
                     {Change::kNone, kBobRow},
                     {Change::kWent, kCarol},
                     {Change::kNone, kDave}};
  EXPECT_EQ(pageOfRows(rows, 0, 0), rows);
  EXPECT_EQ(pageOfRows(rows, 0, 1), (Rows{rows[0], rows[1], rows[2]}));
  EXPECT_EQ(pageOfRows(rows, 1, 1), (Rows{rows[3]}));
  EXPECT_EQ(pageOfRows(rows, 1, 0), (Rows{rows[3]}));
  EXPECT_EQ(pageOfRows(rows, 2, 5), Rows{});
}

TEST(PageOfRows, TakesTheGreatestNumbers) {
  EXPECT_EQ(pageOfRows({{Change::kNone, kBobRow}}, 2147483647, 2147483647), Rows{});
}

}  // namespace
}  // namespace cli
