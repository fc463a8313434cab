#include "api/globals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/texts.h"

namespace {

using ::testing::ElementsAre;

TEST(Globals, TakeTheTextsOfFourTitlesFromTheBundleWhileLoading) {
  EXPECT_THAT(fakes::callsWhileLoading(),
              ElementsAre("StringBundle(common, log, pppoe, null, null, null)", "Text(log_time, )",
                          "Text(log_account, )", "Text(log_client, )", "Text(log_resource, )"));
}

TEST(Globals, TheFourthTitleIsALiteral) {
  const std::vector<std::string> titles(gLogColumnTitles, gLogColumnTitles + kLogColumns);
  EXPECT_THAT(titles,
              ElementsAre(fakes::textOf("log_time"), fakes::textOf("log_account"),
                          fakes::textOf("log_client"), "service", fakes::textOf("log_resource")));
}

TEST(Globals, AlignEveryColumnLeft) {
  const std::vector<std::string> aligns(gLogColumnAligns, gLogColumnAligns + kLogColumns);
  EXPECT_THAT(aligns, ElementsAre("left", "left", "left", "left", "left"));
}

}  // namespace
