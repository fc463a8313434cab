#include "enforcement_log.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <json/reader.h>

namespace cli {
namespace {

const Asker kAsker = {"admin", "carol", "pts/3"};
const Answer kDone = {Answer::Status::kDone, 0, "null", {}};

Json::Value json(const std::string& text) {
  Json::Value value;
  std::istringstream(text) >> value;
  return value;
}

TEST(EnforcementLine, NamesAskerPlaceCallTargetAndResult) {
  EXPECT_EQ(enforcementLine(kAsker, "kick_connection",
                            json(R"({"service_conn":[{"from":"10.20.0.2","who":"alice",)"
                                 R"("type":"SSH","pid":12}]})"),
                            kDone),
            "\"admin\" (by sudo of \"carol\") from pts/3: kick_connection \"SSH\" of \"alice\" at "
            "\"10.20.0.2\" pid 12: done");
}

TEST(EnforcementLine, NamesUsersAndErrors) {
  EXPECT_EQ(enforcementLine({"admin", "", ""}, "disable_user", json(R"({"users":["alice","bob"]})"),
                            {Answer::Status::kRefused, 7100, "", {}}),
            "\"admin\" from no terminal: disable_user \"alice\", \"bob\": error 7100");
}

TEST(EnforcementLine, NamesTheExpiryThatAnAccountHad) {
  EXPECT_EQ(enforcementLine({"admin", "", ""}, "disable_user",
                            json(R"({"users":["alice","bob","carol"]})"), kDone,
                            {{"alice", -1}, {"carol", 20600}}),
            "\"admin\" from no terminal: disable_user \"alice\" (expiry before: -1), \"bob\", "
            "\"carol\" (expiry before: 20600): done");
}

TEST(ExpiriesBefore, AreThoseOfTheAccountsOfADisablingAlone) {
  EXPECT_TRUE(expiriesOf("disable_user", json(R"({"users":["no-such-alice",{},7,null]})")).empty());
  for (const char* users : {"{}", R"({"users":"root"})", R"({"users":{"a":1}})", "[]"}) {
    EXPECT_TRUE(expiriesOf("disable_user", json(users)).empty()) << users;
  }
  EXPECT_TRUE(expiriesOf("kick_connection", json(R"({"users":["root"]})")).empty());
}

TEST(EnforcementLine, SaysThatThereWasNoAnswer) {
  EXPECT_EQ(enforcementLine({"admin", "", ""}, "disable_user", json("{}"), failedAnswer("x")),
            "\"admin\" from no terminal: disable_user nobody: no answer");
}

TEST(EnforcementLine, StaysOneLineWhateverTheCallHolds) {
  const std::string line =
      enforcementLine({"admin", "x\ny", "pts/3"}, "kick_connection",
                      json(R"({"service_conn":[7,null,[],{"who":["a"],"pid":-1}],"http_conn":"x",)"
                           R"("users":["a\nb\" c"]})"),
                      kDone);
  EXPECT_EQ(line.find('\n'), std::string::npos) << line;
}

TEST(EnforcementLine, CountsTheRestOfALongCall) {
  Json::Value parameters(Json::objectValue);
  for (int i = 0; i < 10000; ++i) parameters["users"].append(std::string(1000, 'u'));
  const std::string line = enforcementLine(kAsker, "disable_user", parameters, kDone,
                                           {{std::string(1000, 'u'), 1000000}});
  EXPECT_LT(line.size(), 1000U);
  EXPECT_NE(line.find("and 9992 more"), std::string::npos) << line;
}

TEST(IsEnforcing, IsTrueForMethodsThatChangeSomethingForOthers) {
  EXPECT_TRUE(isEnforcing("kick_connection"));
  EXPECT_TRUE(isEnforcing("disable_user"));
  EXPECT_FALSE(isEnforcing("list"));
  EXPECT_FALSE(isEnforcing("download"));
}

}  // namespace
}  // namespace cli
