#include "cli/commands/kick_plan.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/connections.h"

namespace cli {
namespace {

using Sentences = std::vector<std::string>;

const Connection kShell = connection(12, "alice", "SSH");
const Connection kShares = connection(4711, "alice", "CIFS", "10.20.0.2", "media (alice), x (bob)");
const Connection kWeb = connection(5, "alice", "HTTP/HTTPS", "10.20.0.9", "Firefox");
const Connection kNfs = connection(0, "", "NFS", "10.20.0.4");
const Connection kConsole = connection(77, "alice", "LOGIN", "");

Selection everythingOf(const std::string& user) {
  return {{}, user, "", "", ""};
}

TEST(KickPlan, SortsConnectionsByTheWayInWhichTheyEnd) {
  const KickPlan expected = {{kShell, kShares}, {kWeb}, {kConsole}, {}};
  EXPECT_EQ(makeKickPlan({kShell, kNfs, kShares, kWeb, kConsole}, everythingOf("alice")), expected);
}

TEST(KickPlan, NamesPidsThatAreNotThereOnce) {
  const KickPlan expected = {{kShell}, {}, {}, {99}};
  EXPECT_EQ(makeKickPlan({kShell}, {{99, 12, 99}, "", "", "", ""}), expected);
}

TEST(KickPlan, SelectsNothingOfAnEmptyList) {
  EXPECT_EQ(makeKickPlan({}, everythingOf("alice")), KickPlan());
}

TEST(WhyNotEnded, SaysNothingOfWhatCanBeEnded) {
  for (const char* type : {"CIFS", "AFP", "FTP", "SFTP", "SSH", "TELNET", "HTTP/HTTPS"}) {
    EXPECT_EQ(whyNotEnded(connection(12, "alice", type)), "") << type;
  }
}

TEST(WhyNotEnded, HasAReasonForEachKindOfRow) {
  EXPECT_EQ(whyNotEnded(kNfs), "no process serves it alone; withdraw the export instead");
  EXPECT_EQ(whyNotEnded(kConsole),
            "logins at the console are not ended from here; use loginctl terminate-session");
  EXPECT_EQ(whyNotEnded(connection(12, "alice", "UNKNOWN")), "its service is not known");
  EXPECT_EQ(whyNotEnded(connection(12, "")), "its user is not known");
  EXPECT_EQ(whyNotEnded(connection(12, "alice", "SSH", "")), "its address is not known");
  EXPECT_EQ(whyNotEnded(connection(0, "alice", "SSH")), "its process is not known");
}

TEST(Describe, NamesServiceUserAddressAndProcess) {
  EXPECT_EQ(describe(kShell), "SSH of alice from 10.20.0.2, pid 12");
  EXPECT_EQ(describe(kWeb), "HTTP/HTTPS of alice from 10.20.0.9");
  EXPECT_EQ(describe(kNfs), "NFS of somebody from 10.20.0.4");
  EXPECT_EQ(describe(kConsole), "LOGIN of alice, pid 77");
}

TEST(AmbiguousPids, AreNumbersOfAProcessAndAWebLogin) {
  Connection login = kWeb;
  login.pid = 12;
  const Selection selection = {{12}, "", "", "", ""};
  EXPECT_EQ(ambiguousPids(makeKickPlan({kShell, login}, selection), selection),
            std::vector<std::uint32_t>{12});
  EXPECT_EQ(
      ambiguousPids(makeKickPlan({kShell, login}, everythingOf("alice")), everythingOf("alice")),
      std::vector<std::uint32_t>{});
  EXPECT_EQ(ambiguousPids(makeKickPlan({kShell, kWeb}, selection), selection),
            std::vector<std::uint32_t>{});
}

TEST(SideEffects, NameWhoElseIsHit) {
  EXPECT_EQ(sideEffects({{kShares}, {}, {}, {}}, {}),
            Sentences{"pid 4711 also serves bob, whose connections end with it"});
}

TEST(SideEffects, NameTheCallersOwnConnection) {
  EXPECT_EQ(sideEffects({{kShell}, {}, {}, {}}, {300, 12, 1}),
            Sentences{"pid 12 is the connection over which you are working"});
}

TEST(SideEffects, SayThatAllWebLoginsOfAnAddressEnd) {
  EXPECT_EQ(sideEffects({{}, {kWeb}, {}, {}}, {}),
            Sentences{"all web logins of alice from 10.20.0.9 end"});
}

TEST(SideEffects, AreNoneWhereOnlyTheRowsEnd) {
  EXPECT_EQ(sideEffects({{kShell}, {}, {kNfs}, {}}, {300}), Sentences{});
}

}  // namespace
}  // namespace cli
