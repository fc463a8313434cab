#include "cli/terminal/table.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/connections.h"
#include "cli/terminal/columns.h"

namespace cli {
namespace {

using Lines = std::vector<std::string>;

const Connection kAlice = {"2026-11-20 21:26:24", "alice", "10.20.0.2", "CIFS",
                           "media, photos",       4711,    true,        true};
const Connection kBob = {"2026-11-20 09:00:00", "bob", "", "SSH", "", 12, true, true};

Table tableOf(const std::vector<Connection>& connections, int width = 0,
              Charset charset = Charset::kUtf8) {
  Look look;
  look.width = width;
  look.charset = charset;
  return makeTable(unchangedRows(connections), look);
}

int widestLine(const Table& table) {
  int widest = 0;
  for (const std::string& line : table.lines) widest = std::max(widest, displayWidth(line));
  return widest;
}

TEST(Table, IsAsWideAsItsContentWhereNothingBoundsIt) {
  EXPECT_EQ(tableOf({kAlice, kBob}).lines,
            (Lines{"USER   SERVICE  FROM       SINCE                RESOURCE        PID",
                   "alice  CIFS     10.20.0.2  2026-11-20 21:26:24  media, photos  4711",
                   "bob    SSH      -          2026-11-20 09:00:00  -                12"}));
}

TEST(Table, CutsTheWidestColumnsFirst) {
  EXPECT_EQ(tableOf({kAlice}, 62).lines,
            (Lines{"USER   SERVICE  FROM       SINCE                RESOURCE   PID",
                   "alice  CIFS     10.20.0.2  2026-11-20 21:26:24  media, …  4711"}));
}

TEST(Table, LeavesColumnsOutOnATerminalOfWidthTwenty) {
  const Table table = tableOf({kAlice}, 20);
  EXPECT_EQ(table.lines, (Lines{"USER   SERV…  FROM", "alice  CIFS   10.20…"}));
  EXPECT_EQ(table.leftOut, (Lines{"SINCE", "RESOURCE", "PID"}));
}

TEST(Table, SaysNothingIsLeftOutWhereEverythingFits) {
  EXPECT_EQ(tableOf({kAlice}, 80).leftOut, Lines{});
}

TEST(Table, NeverGrowsWiderThanTheTerminal) {
  Connection wide = kAlice;
  wide.who = "写真家の長い名前写真家の長い名前";
  wide.from = "fe80:1234:5678:9abc:def0:1234:5678:9abc";
  wide.descr = std::string(5000, 'x');
  wide.time = std::string(300, 't');
  wide.pid = 4294967295U;
  for (int width = 1; width <= 200; ++width) {
    EXPECT_LE(widestLine(tableOf({wide, kAlice, kBob}, width)), width) << width;
  }
}

TEST(Table, AlignsWideCharacters) {
  Connection wide = kAlice;
  wide.who = "写真";
  EXPECT_EQ(tableOf({wide}).lines[1],
            "写真  CIFS     10.20.0.2  2026-11-20 21:26:24  media, photos  4711");
}

TEST(Table, KeepsHostileBytesFromTheTerminal) {
  Connection hostile = kBob;
  hostile.who = "\x1b[2J\x07";
  hostile.descr = "a\nb";
  for (const std::string& line : tableOf({hostile}, 0, Charset::kAscii).lines) {
    EXPECT_TRUE(std::all_of(line.begin(), line.end(), [](char c) { return c >= ' ' && c <= '~'; }))
        << line;
  }
}

TEST(Table, MarksChangesAheadOfTheRows) {
  Look look;
  look.changes = true;
  const Table table =
      makeTable({{Change::kCame, kBob}, {Change::kWent, kBob}, {Change::kNone, kBob}}, look);
  EXPECT_EQ(table.lines, (Lines{"  USER  SERVICE  FROM  SINCE                RESOURCE  PID",
                                "+ bob   SSH      -     2026-11-20 09:00:00  -          12",
                                "- bob   SSH      -     2026-11-20 09:00:00  -          12",
                                "  bob   SSH      -     2026-11-20 09:00:00  -          12"}));
}

TEST(Table, ColoursWholeLinesOnly) {
  Look look;
  look.changes = true;
  look.colours = true;
  look.width = 22;
  const Table table = makeTable({{Change::kCame, kBob}, {Change::kNone, kAlice}}, look);
  EXPECT_EQ(table.lines[0].substr(0, 6), "\x1b[1m  ");
  EXPECT_EQ(table.lines[1].substr(0, 7), "\x1b[32m+ ");
  EXPECT_EQ(table.lines[1].substr(table.lines[1].size() - 4), "\x1b[0m");
  EXPECT_EQ(table.lines[2].find('\x1b'), std::string::npos);
}

TEST(Table, ShowsFaintlyWhatNoKickCanEnd) {
  Look look;
  look.colours = true;
  Connection nfs = kAlice;
  nfs.type = "NFS";
  nfs.canBeKicked = false;
  const Table table = makeTable(unchangedRows({kAlice, nfs, kBob}), look);
  EXPECT_EQ(table.lines[1].find('\x1b'), std::string::npos);
  EXPECT_EQ(table.lines[2].substr(0, 4), "\x1b[2m");
  EXPECT_EQ(table.lines[3].substr(0, 4), "\x1b[2m") << "it has no address";
}

TEST(FitColumns, GivesWhatIsWantedWhereItFits) {
  const std::vector<int> wanted = {5, 7, 9, 19, 13, 4};
  EXPECT_EQ(fitColumns(columns(), wanted, 67), wanted);
}

TEST(FitColumns, NeverCutsTimesAndPidsWhileTheyStand) {
  EXPECT_EQ(fitColumns(columns(), {40, 10, 40, 19, 40, 7}, 80),
            (std::vector<int>{12, 10, 11, 19, 11, 7}));
}

TEST(FitColumns, KeepsOneColumnToTheLast) {
  EXPECT_EQ(fitColumns(columns(), {40, 10, 40, 19, 40, 7}, 3),
            (std::vector<int>{3, 0, 0, 0, 0, 0}));
}

}  // namespace
}  // namespace cli
