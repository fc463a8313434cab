#include "cli/terminal/terminal.h"

#include <gtest/gtest.h>

namespace cli {
namespace {

TEST(Colours, AreForTerminalsThatKnowThem) {
  EXPECT_TRUE(allowsColours(nullptr, "xterm-256color"));
  EXPECT_FALSE(allowsColours(nullptr, "dumb"));
  EXPECT_FALSE(allowsColours(nullptr, ""));
  EXPECT_FALSE(allowsColours(nullptr, nullptr));
}

TEST(Colours, AreForbiddenByAnyNonEmptyNoColor) {
  EXPECT_FALSE(allowsColours("1", "xterm"));
  EXPECT_FALSE(allowsColours("0", "xterm"));
  EXPECT_TRUE(allowsColours("", "xterm"));
}

}  // namespace
}  // namespace cli
