#include "cli/commands/plan_lines.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/json.h"

namespace cli {
namespace {

using Lines = std::vector<std::string>;

Json::Value parsed(const std::string& json) {
  return zevo::parseJson(json).value_or(Json::Value());
}

// The members that identify a row, and `more`.
std::string rowJson(const std::string& type, int pid, const std::string& more = "",
                    const std::string& from = "10.20.0.2") {
  return R"({"who":"alice","from":")" + from + R"(","type":")" + type + R"(","pid":)" +
         std::to_string(pid) + (more.empty() ? "" : "," + more) + "}";
}

std::string fateOf(const std::string& row) {
  const Lines lines = fateLines(parsed("[" + row + "]"));
  return lines.size() == 1 ? lines.front() : "not one line";
}

std::string stillThere(const std::string& reason, const std::string& more = "") {
  return fateOf(rowJson("FTP", 30,
                        R"("fate":"still_there","reason":{"reason":")" + reason + "\"" + more +
                            R"(},"now":)" + rowJson("FTP", 31)));
}

Lines effects(const std::string& row) {
  return effectLines(parsed("[" + row + "]"));
}

TEST(Describe, NamesServiceUserAddressAndProcess) {
  EXPECT_EQ(describe(parsed(rowJson("SSH", 12))), "SSH of alice from 10.20.0.2, pid 12");
  EXPECT_EQ(describe(parsed(rowJson("HTTP/HTTPS", 5))), "HTTP/HTTPS of alice from 10.20.0.2");
  EXPECT_EQ(describe(parsed(rowJson("LOGIN", 77, "", ""))), "LOGIN of alice, pid 77");
  EXPECT_EQ(describe(parsed(R"({"who":"","from":"10.20.0.4","type":"NFS","pid":0})")),
            "NFS of somebody from 10.20.0.4");
}

TEST(FateLines, TellWhatBecameOfEachConnection) {
  EXPECT_EQ(fateOf(rowJson("SSH", 12, R"("fate":"ended")")),
            "ended: SSH of alice from 10.20.0.2, pid 12");
  EXPECT_EQ(fateOf(rowJson("SSH", 12, R"("fate":"gone_before")")),
            "already gone: SSH of alice from 10.20.0.2, pid 12");
  EXPECT_EQ(fateOf(rowJson("SSH", 12, R"("fate":"not_known")")),
            "not known: SSH of alice from 10.20.0.2, pid 12");
  EXPECT_EQ(fateOf(rowJson("SSH", 12, R"("fate":"connected_since")")),
            "new connection: SSH of alice from 10.20.0.2, pid 12");
  EXPECT_EQ(fateOf(rowJson("SSH", 12, R"("fate":"connected_again","now":)" + rowJson("SSH", 20))),
            "connected again, pid 20: SSH of alice from 10.20.0.2, pid 12");
  EXPECT_EQ(fateOf(rowJson("HTTP/HTTPS", 5,
                           R"("fate":"connected_again","now":)" + rowJson("HTTP/HTTPS", 9))),
            "connected again: HTTP/HTTPS of alice from 10.20.0.2");
}

TEST(FateLines, SayWhyAConnectionIsStillThere) {
  const std::string begin = "still there: FTP of alice from 10.20.0.2, pid 30: ";
  for (const auto& [key, text] :
       {std::pair{"no_process", "no process serves it alone; withdraw the export instead"},
        {"console", "console logins cannot be ended from here; use loginctl terminate-session"},
        {"unknown_service", "its service is not known"},
        {"unknown_process", "its process is not known"},
        {"unknown_user", "its user is not known"},
        {"unknown_address", "its address is not known"},
        {"still_recorded", "its login is still recorded"},
        {"in_kernel", "its process is waiting in the kernel and will end afterwards"},
        {"not_in_time", "its process did not end in time"},
        {"goes_on", "its session continues, pid 31"},
        {"serves_other", "its process now serves FTP of alice from 10.20.0.2, pid 31"},
        {"no_time", "there was no time left; run the command again"},
        {"call_failed", "its call failed"}}) {
    EXPECT_EQ(stillThere(key), begin + text);
  }
  EXPECT_EQ(stillThere("call_failed", R"(,"causes":["no smbd","no /proc"])"),
            begin + "no smbd; no /proc");
  EXPECT_EQ(stillThere("under_other_user", R"(,"user":"bob")"),
            begin + "it also serves bob; end it with: currentconn kick 30");
  EXPECT_EQ(stillThere("may_be_unlisted", R"(,"warning":{"code":"details_missing",)"
                                          R"("service":"CIFS","detail":"smbstatus failed"})"),
            begin +
                "the call may not have found it: some details of the CIFS "
                "connections are not known: smbstatus failed");
}

TEST(EffectLines, NameWhatEndsBesides) {
  EXPECT_EQ(effects(rowJson("CIFS", 4711, R"("effects":[{"reason":"same_process","user":"bob"}])")),
            Lines{"note: pid 4711 serves alice and bob; the connections of both end"});
  EXPECT_EQ(
      effects(rowJson("CIFS", 4711,
                      R"("effects":[{"reason":"same_process","user":"bob"},)"
                      R"({"reason":"same_process","user":"carol"}])")),
      Lines{"note: pid 4711 serves alice, bob and carol; the connections of all of them end"});
  EXPECT_EQ(effects(rowJson("SSH", 12,
                            R"("effects":[{"reason":"same_ssh_connection","connection":)" +
                                rowJson("SFTP", 14) + R"(},{"reason":"own_connection"}])")),
            (Lines{"note: SFTP of alice from 10.20.0.2, pid 14 ends with pid 12",
                   "note: SSH of alice from 10.20.0.2, pid 12 is your own connection"}));
  EXPECT_EQ(
      effects(rowJson("HTTP/HTTPS", 5, R"("effects":[{"reason":"further_web_logins","count":2}])")),
      Lines{"note: 2 more web logins of alice from 10.20.0.2 end"});
  EXPECT_EQ(effects(rowJson("SSH", 12, R"("effects":[])")), Lines{});
}

TEST(EffectLines, NameTheFirstOpenFiles) {
  EXPECT_EQ(effects(rowJson("CIFS", 7, R"("effects":[],"open_files":{"total":1,"names":["/a"]})")),
            Lines{"note: pid 7 holds 1 file open: /a"});
  EXPECT_EQ(effects(rowJson("CIFS", 7,
                            R"("effects":[],"open_files":{"total":7,"names":)"
                            R"(["/a","/b","/c","/d","/e","/f"]})")),
            Lines{"note: pid 7 holds 7 files open: /a, /b, /c, /d, /e, …"});
  EXPECT_EQ(effects(rowJson("CIFS", 7, R"("effects":[],"open_files":{"total":0,"names":[]})")),
            Lines{});
}

}  // namespace
}  // namespace cli
