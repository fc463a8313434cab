#include "cli/commands/watch_view.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/connections.h"

namespace cli {
namespace {

using Lines = std::vector<std::string>;

WatchView viewOf(std::size_t rows) {
  WatchView view;
  view.interval = std::chrono::milliseconds(500);
  view.systime = "Fri Nov 20 21:30:00 2026";
  view.rows.assign(rows, {Change::kNone, connection(7, "bob", "SSH", "-", "-")});
  view.summary = std::to_string(rows) + " connections";
  return view;
}

const std::string kTitle = "every 0.5 s   Fri Nov 20 21:30:00 2026   Ctrl-C quits";
const std::string kHeader = "  USER  SERVICE  FROM  SINCE                RESOURCE  PID";
const std::string kRow = "  bob   SSH      -     2026-11-20 21:26:24  -           7";

TEST(WatchView, ShowsTitleTableAndSummary) {
  EXPECT_EQ(linesOfView(viewOf(2), {80, 24}, {}),
            (Lines{kTitle, kHeader, kRow, kRow, "2 connections"}));
}

TEST(WatchView, WarnsAboveTheTable) {
  WatchView view = viewOf(1);
  view.warnings = {"LOGIN connections may be missing: cannot read /run/utmp"};
  EXPECT_EQ(linesOfView(view, {60, 24}, {}),
            (Lines{kTitle, view.warnings[0].substr(0, 59), kHeader, kRow, "1 connections"}));
  EXPECT_EQ(linesOfView(view, {80, 2}, {}).size(), 2U);
  view.problem = {"no answer"};
  EXPECT_EQ(linesOfView(view, {80, 24}, {}), (Lines{kTitle, "no answer"}));
}

TEST(WatchView, CountsTheRowsForWhichTheWindowIsTooLow) {
  EXPECT_EQ(
      linesOfView(viewOf(10), {80, 6}, {}),
      (Lines{kTitle, kHeader, kRow, kRow, "8 more rows; enlarge the window", "10 connections"}));
}

TEST(WatchView, FillsNoMoreRowsThanTheWindowHas) {
  for (int rows = 1; rows < 14; ++rows) {
    EXPECT_LE(linesOfView(viewOf(10), {80, rows}, {}).size(), static_cast<std::size_t>(rows));
  }
}

TEST(WatchView, KeepsTheSummaryInAWindowOfOneRow) {
  EXPECT_EQ(linesOfView(viewOf(10), {80, 1}, {}), Lines{"10 connections"});
}

TEST(WatchView, FillsNoMoreColumnsThanTheWindowHas) {
  for (int columns = 1; columns < 100; ++columns) {
    for (const std::string& line : linesOfView(viewOf(10), {columns, 6}, {})) {
      EXPECT_LE(displayWidth(line), columns) << line;
    }
  }
}

TEST(WatchView, NamesTheColumnsForWhichTheWindowIsTooNarrow) {
  EXPECT_EQ(linesOfView(viewOf(2), {40, 24}, {}).back(), "2 connections; too narrow for SINCE");
}

TEST(WatchView, ShowsAProblemInPlaceOfRowsThatMayBeWrong) {
  WatchView view = viewOf(2);
  view.problem = {"cannot read the connections:", "smbstatus\x1b did not answer in 10 s"};
  EXPECT_EQ(linesOfView(view, {80, 24}, {}),
            (Lines{kTitle, "cannot read the connections:",
                   "smbstatus\xEF\xBF\xBD did not answer in 10 s"}));
}

TEST(WatchView, ShowsNoHeaderWithoutRows) {
  WatchView view = viewOf(0);
  view.summary = "nobody is connected";
  EXPECT_EQ(linesOfView(view, {80, 24}, {}), (Lines{kTitle, "nobody is connected"}));
}

}  // namespace
}  // namespace cli
