#include "cli/terminal/text.h"

#include <string>

#include <gtest/gtest.h>

namespace cli {
namespace {

const std::string kReplaced = "\xEF\xBF\xBD";  // U+FFFD

TEST(DisplayText, LeavesOrdinaryTextAsItIs) {
  EXPECT_EQ(displayText("photos, Fotos für Zoë 写真", Charset::kUtf8),
            "photos, Fotos für Zoë 写真");
}

TEST(DisplayText, ReplacesWhatATerminalObeys) {
  EXPECT_EQ(displayText("a\x1b[2Jb", Charset::kUtf8), "a" + kReplaced + "[2Jb");
  EXPECT_EQ(displayText("a\nb\tc\rd\x7f", Charset::kUtf8),
            "a" + kReplaced + "b" + kReplaced + "c" + kReplaced + "d" + kReplaced);
}

TEST(DisplayText, ReplacesTheControlCharactersBeyondAscii) {
  EXPECT_EQ(displayText("a\xC2\x9B"
                        "2Jb",
                        Charset::kUtf8),
            "a" + kReplaced + "2Jb");
}

TEST(DisplayText, ReplacesWhatTurnsTheDirectionOfALine) {
  EXPECT_EQ(displayText("a\xE2\x80\xAE"
                        "b\xE2\x81\xA6"
                        "c",
                        Charset::kUtf8),
            "a" + kReplaced + "b" + kReplaced + "c");
}

TEST(DisplayText, ReplacesSeparatorsOfLines) {
  EXPECT_EQ(displayText("a\xE2\x80\xA8"
                        "b\xE2\x80\xA9"
                        "c",
                        Charset::kUtf8),
            "a" + kReplaced + "b" + kReplaced + "c");
}

TEST(DisplayText, ReplacesBytesThatAreNoUtf8) {
  EXPECT_EQ(displayText("a\xFF"
                        "b\xC3",
                        Charset::kUtf8),
            "a" + kReplaced + "b" + kReplaced);
}

TEST(ShellWord, QuotesWhatTheShellWouldNotTakeAsItIs) {
  for (const char* plain : {"alice", "DOM/bob-2", "a.b_c@d,e:f+%1"})
    EXPECT_EQ(shellWord(plain), plain);
  EXPECT_EQ(shellWord(""), "''");
  EXPECT_EQ(shellWord("Mary Jane"), "'Mary Jane'");
  EXPECT_EQ(shellWord("$(reboot)"), "'$(reboot)'");
  EXPECT_EQ(shellWord("~"), "'~'");
  EXPECT_EQ(shellWord("Zoë"), "'Zoë'");
  EXPECT_EQ(shellWord("o'neil"), R"('o'\''neil')");
}

TEST(DisplayText, ReplacesANul) {
  EXPECT_EQ(displayText(std::string_view("a\0b", 3), Charset::kUtf8), "a" + kReplaced + "b");
}

TEST(DisplayText, KeepsFourMarksOfAPile) {
  const std::string mark = "\xCC\x81";
  EXPECT_EQ(displayText("e" + mark + mark + mark + mark + mark + mark + "x", Charset::kUtf8),
            "e" + mark + mark + mark + mark + "x");
}

TEST(DisplayText, WritesOnlyAsciiWhereTheTerminalReadsNothingElse) {
  EXPECT_EQ(displayText("Zo\xC3\xAB \xE5\x86\x99 e\xCC\x81 \x1b", Charset::kAscii), "Zo? ? e ?");
}

TEST(DisplayWidth, CountsColumnsOfTheTerminal) {
  EXPECT_EQ(displayWidth(""), 0);
  EXPECT_EQ(displayWidth("abc"), 3);
  EXPECT_EQ(displayWidth("é"), 1);
  EXPECT_EQ(displayWidth("e\xCC\x81"), 1);
  EXPECT_EQ(displayWidth("写真"), 4);
  EXPECT_EQ(displayWidth("한"), 2);
  EXPECT_EQ(displayWidth("\xE1\x84\x92\xE1\x85\xA1\xE1\x86\xAB"), 2);  // the same in three jamo
  EXPECT_EQ(displayWidth("😀"), 2);
}

TEST(CutText, LeavesTextThatFits) {
  EXPECT_EQ(cutText("photos", 6, Charset::kUtf8), "photos");
}

TEST(CutText, EndsInAnEllipsis) {
  EXPECT_EQ(cutText("photos", 5, Charset::kUtf8), "phot…");
  EXPECT_EQ(cutText("photos", 5, Charset::kAscii), "ph...");
}

TEST(CutText, NeverSplitsAWideCharacter) {
  EXPECT_EQ(cutText("写真集", 5, Charset::kUtf8), "写真…");
  EXPECT_EQ(cutText("写真集", 4, Charset::kUtf8), "写…");
}

TEST(CutText, KeepsTheMarksOfTheLastCharacter) {
  EXPECT_EQ(cutText("ae\xCC\x81xyz", 3, Charset::kUtf8), "ae\xCC\x81…");
}

TEST(CutText, FitsWhereThereIsHardlyRoom) {
  EXPECT_EQ(cutText("photos", 1, Charset::kUtf8), "…");
  EXPECT_EQ(cutText("photos", 2, Charset::kAscii), "..");
  EXPECT_EQ(cutText("photos", 0, Charset::kUtf8), "");
  EXPECT_EQ(cutText("photos", -3, Charset::kUtf8), "");
}

TEST(PadText, FillsToColumnsOfTheTerminal) {
  EXPECT_EQ(padText("写真", 6, false), "写真  ");
  EXPECT_EQ(padText("42", 4, true), "  42");
  EXPECT_EQ(padText("photos", 4, false), "photos");
}

}  // namespace
}  // namespace cli
