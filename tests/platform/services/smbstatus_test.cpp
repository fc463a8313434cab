#include "services/smbstatus.h"

#include <stdlib.h>
#include <time.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zevo::connections {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

// As recorded of release 4.17.12.
constexpr const char* kSessions = R"({"timestamp": "2026-11-21T03:08:35.928964+0000",
 "version": "4.17.12-Debian", "smb_conf": "/etc/samba/smb.conf", "sessions": {
 "3874211161": {"session_id": "3874211161", "server_id": {"pid": "89", "task_id": "0",
  "vnn": "4294967295", "unique_id": "7201985665067719978"}, "uid": 1002, "gid": 1002,
  "username": "bob", "groupname": "bob", "remote_machine": "10.20.0.3",
  "hostname": "ipv4:10.20.0.3:52988", "session_dialect": "SMB3_11"},
 "1246790427": {"session_id": "1246790427", "server_id": {"pid": "87", "task_id": "0",
  "vnn": "4294967295", "unique_id": "105231333008902204"}, "uid": 1001, "gid": 1001,
  "username": "alice", "groupname": "alice", "remote_machine": "fd20::2",
  "hostname": "ipv6:fd20::2:60718", "session_dialect": "SMB3_11"}}})";

constexpr const char* kShares = R"({"timestamp": "2026-11-21T03:08:35.956588+0000", "tcons": {
 "1485293629": {"service": "IPC$", "server_id": {"pid": "89"}, "tcon_id": "1485293629",
  "session_id": "3874211161", "machine": "10.20.0.3",
  "connected_at": "2026-11-21T03:08:35.701085+00:00"},
 "3042322552": {"service": "photos", "server_id": {"pid": "87"}, "tcon_id": "3042322552",
  "session_id": "1246790427", "machine": "fd20::2",
  "connected_at": "2026-11-21T05:08:36.673897+02:00"}}})";

constexpr const char* kLocks = R"({"timestamp": "2026-11-22T08:37:27.233199+0000",
 "version": "4.17.12-Debian", "smb_conf": "/etc/samba/smb.conf", "open_files": {
 "/srv/media/a film.txt": {"service_path": "/srv/media", "filename": "a film.txt",
  "num_pending_deletes": 0, "opens": {
   "71/5": {"server_id": {"pid": "71", "task_id": "0"}, "uid": 1001, "share_file_id": "5"},
   "71/3": {"server_id": {"pid": "71"}, "uid": 1001}, "72/1": {"server_id": {"pid": "72"}}}},
 "/srv/media/b\u0007.txt": {"opens": {"71/6": {"server_id": {"pid": "71"}},
   "1:71/6": {"server_id": {"pid": "1:73"}}, "x": {"server_id": {"pid": "x"}}, "y": 7}},
 "/srv/media/c.txt": {"opens": []}, "/srv/media/d.txt": 7}})";

class SmbstatusTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
  }
  static std::vector<SmbSession> sessions(const std::string& members) {
    const auto parsed = parseSmbSessions(R"({"sessions": {)" + members + "}}");
    EXPECT_TRUE(parsed) << members;
    return parsed.value_or(std::vector<SmbSession>());
  }
};

// A member of "sessions" whose server is `pid`, with `more` members.
std::string session(const std::string& pid, const std::string& more) {
  return R"("7": {"session_id": "7", "server_id": {"pid": )" + pid + "}" + more + "}";
}

TEST_F(SmbstatusTest, EachProcessHasItsOpenFilesOnceEach) {
  const OpenFiles expected = {{71, {"/srv/media/a film.txt", "/srv/media/b\uFFFD.txt"}},
                              {72, {"/srv/media/a film.txt"}}};
  EXPECT_EQ(parseSmbOpenFiles(kLocks), expected);
  EXPECT_EQ(parseSmbOpenFiles(R"({"open_files": {}})"), OpenFiles{});
  EXPECT_EQ(parseSmbOpenFiles(R"({"sessions": {}})"), std::nullopt);
  EXPECT_EQ(parseSmbOpenFiles("no locked files"), std::nullopt);
}

TEST_F(SmbstatusTest, ASessionHasItsProcessUserAndClient) {
  EXPECT_THAT(
      parseSmbSessions(kSessions),
      Optional(ElementsAre(SmbSession{"1246790427", "", 87, "alice", "fd20::2", 60718, ""},
                           SmbSession{"3874211161", "", 89, "bob", "10.20.0.3", 52988, ""})));
}

TEST_F(SmbstatusTest, AShareHasItsSessionAndLocalTime) {
  EXPECT_THAT(parseSmbShares(kShares),
              Optional(ElementsAre(SmbShare{"3874211161", "IPC$", "2026-11-21 03:08:35"},
                                   SmbShare{"1246790427", "photos", "2026-11-21 03:08:36"})));
}

TEST_F(SmbstatusTest, NoConnectionsAreAnAnswer) {
  EXPECT_THAT(parseSmbSessions(R"({"timestamp": "x", "sessions": {}})"), Optional(IsEmpty()));
  EXPECT_THAT(parseSmbShares(R"({"timestamp": "x", "tcons": {}})"), Optional(IsEmpty()));
}

TEST_F(SmbstatusTest, AnythingElseIsNoAnswer) {
  for (const std::string& text :
       {std::string(), std::string("{"), std::string("[]"), std::string("null"),
        std::string("\0", 1), std::string("Samba version 4.9.5\nPID     Username\n"),
        std::string(R"({"tcons": {}})"), std::string(R"({"sessions": []})"),
        std::string(R"({"sessions": null})"), std::string(R"({"sessions": {}} trailing)"),
        std::string(R"({"sessions": {)"), std::string(100000, '['),
        std::string(R"({"sessions": )") + std::string(100000, '{')}) {
    EXPECT_EQ(parseSmbSessions(text), std::nullopt) << text.substr(0, 60);
  }
}

TEST_F(SmbstatusTest, MembersThatAreNoSessionsAreLeftOut) {
  EXPECT_THAT(
      sessions(
          R"("a": 1, "b": null, "c": [], "d": {}, "e": {"server_id": 5}, "f": {"server_id": {}},
                          "g": {"server_id": {"pid": {}}}, "h": {"server_id": {"pid": "x"}},
                          "i": {"server_id": {"pid": "99999999999999999999"}}, "j": {"server_id": {"pid": ""}})"),
      IsEmpty());
}

TEST_F(SmbstatusTest, TextsOfAnotherTypeAreEmpty) {
  EXPECT_THAT(
      sessions(session("\"87\"", R"(, "username": ["a"], "hostname": {}, "remote_machine": null)")),
      ElementsAre(SmbSession{"7", "", 87, "", "", 0, ""}));
}

TEST_F(SmbstatusTest, APidMayBeANumber) {
  EXPECT_THAT(sessions(session("87", "")), ElementsAre(SmbSession{"7", "", 87, "", "", 0, ""}));
}

TEST_F(SmbstatusTest, InAClusterThePidFollowsItsNode) {
  EXPECT_THAT(sessions(session("\"1:87\"", "")),
              ElementsAre(SmbSession{"7", "1", 87, "", "", 0, ""}));
  EXPECT_THAT(sessions(session("\"1:87.4\"", "")),
              ElementsAre(SmbSession{"7", "1", 87, "", "", 0, ""}));
}

TEST_F(SmbstatusTest, ALoginInProgressIsNoSession) {
  EXPECT_THAT(sessions(session("\"87\"", R"(, "uid": -1)")), IsEmpty());
  EXPECT_THAT(sessions(session("\"87\"", R"(, "uid": 4294967295)")), IsEmpty());
}

TEST_F(SmbstatusTest, AHostsNameIsNoAddress) {
  EXPECT_THAT(
      sessions(session("\"87\"", R"(, "hostname": "client.example", "remote_machine": "CLIENT")")),
      ElementsAre(SmbSession{"7", "", 87, "", "", 0, ""}));
  EXPECT_THAT(sessions(session("\"87\"",
                               R"(, "hostname": "client.example", "remote_machine": "10.20.0.3")")),
              ElementsAre(SmbSession{"7", "", 87, "", "10.20.0.3", 0, ""}));
}

TEST_F(SmbstatusTest, AMappedAddressIsWrittenAsIpv4) {
  EXPECT_THAT(sessions(session("\"87\"", R"(, "hostname": "ipv6:::ffff:10.20.0.3:52988")")),
              ElementsAre(SmbSession{"7", "", 87, "", "10.20.0.3", 52988, ""}));
}

TEST_F(SmbstatusTest, NewerReleasesTellWhenASessionBegan) {
  EXPECT_THAT(
      sessions(session("\"87\"", R"(, "creation_time": "2026-11-21T03:08:35.701085+00:00")")),
      ElementsAre(SmbSession{"7", "", 87, "", "", 0, "2026-11-21 03:08:35"}));
}

}  // namespace
}  // namespace zevo::connections
