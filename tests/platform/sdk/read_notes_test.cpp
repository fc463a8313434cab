#include "zevo/read_notes.h"

#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zevo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const ReadNote kLogins = {"connections_missing", "LOGIN", "cannot read /run/utmp"};
const ReadNote kSamba = {"details_missing", "CIFS", ""};

TEST(ReadNotes, AreThoseOfTheLatestReadOfTheThread) {
  setReadNotes({kSamba});
  setReadNotes({kLogins});
  std::vector<ReadNote> others = {kSamba};
  std::thread([&others] { others = readNotes(); }).join();
  EXPECT_THAT(others, IsEmpty());
  EXPECT_THAT(readNotes(), ElementsAre(kLogins));
  clearReadNotes();
  EXPECT_THAT(readNotes(), IsEmpty());
}

TEST(ReadNotes, AsJsonHaveNoEmptyMembers) {
  const Json::Value array = readNotesAsJson({kLogins, kSamba});
  ASSERT_EQ(array.size(), 2U);
  EXPECT_EQ(array[0]["detail"], "cannot read /run/utmp");
  EXPECT_EQ(array[1]["code"], "details_missing");
  EXPECT_EQ(array[1]["service"], "CIFS");
  EXPECT_FALSE(array[1].isMember("detail"));
  EXPECT_TRUE(readNotesAsJson({}).isArray());
}

TEST(ReadNotes, ComeBackFromJson) {
  EXPECT_THAT(readNotesFromJson(readNotesAsJson({kLogins, kSamba})), ElementsAre(kLogins, kSamba));
}

TEST(ReadNotes, WhatIsNoneGivesNone) {
  for (const Json::Value& value : {Json::Value(), Json::Value(1), Json::Value("text"),
                                   Json::Value(Json::objectValue), Json::Value(Json::arrayValue)}) {
    EXPECT_THAT(readNotesFromJson(value), IsEmpty());
  }
  Json::Value array(Json::arrayValue);
  array.append("text");
  array.append(Json::Value(Json::objectValue))["code"] = 7;
  array.append(readNotesAsJson({kLogins})[0])["service"] = Json::Value(Json::arrayValue);
  EXPECT_THAT(readNotesFromJson(array),
              ElementsAre(ReadNote{"connections_missing", "", "cannot read /run/utmp"}));
}

}  // namespace
}  // namespace zevo
