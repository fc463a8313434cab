#include "api/api_table.h"
#include "fakes/texts.h"
#include "methods/log_info_list.h"
#include "module/captured_output.h"
#include "module/report_text.h"
#include "module/support.h"

namespace {

using fakes::Record;
using module_test::byAdministrator;
using module_test::kCifs;
using module_test::kHttp;
using module_test::kReportFoot;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The page up to its first row. The double's texts hold markup, which titles show as it is.
const std::string kHead = module_test::reportHead(
    "<log_link_current_conn> & text", {"<log_time> & text", "<log_account> & text",
                                       "<log_client> & text", "service", "<log_resource> & text"});

// A row of cells as the double encodes them.
std::string row(const std::vector<std::string>& cells) {
  std::string text = "<tr>";
  for (const std::string& cell : cells) text += "<td align=\"left\" >{" + cell + "}</td>";
  return text + "</tr>";
}

class Download : public module_test::ModuleTest {
 protected:
  Download() {
    platform.upperCasing.allow();
    for (const char* name : {"alice", "bob"}) platform.accounts.add(name, 1000);
    platform.accounts.add("ghost", 250000);
  }

  std::string download(const ZEVO::RequestContext& context) {
    ZEVO::APIRequest request(context);
    module_test::CapturedOutput output;
    CurrentConnectionDownload(&request, &response);
    return output.text();
  }

  std::string download(const std::string& parameters = "{}") {
    return download(byAdministrator(parameters));
  }

  void script(std::vector<Record> services, std::vector<Record> logins = {}) {
    platform.services.answer(std::move(services));
    platform.logins.answer(std::move(logins));
  }

  ZEVO::APIResponse response;
};

TEST_F(Download, RefusesWhoIsNoAdministratorAndWritesNothing) {
  EXPECT_EQ(download(module_test::byUser("alice")), "");
  EXPECT_THAT(platform.outcomes, ElementsAre(fakes::Outcome{105, Json::Value()}));
  EXPECT_TRUE(response.IsOutputEnabled());
  EXPECT_THAT(
      platform.calls.all(),
      ElementsAre("GetAndCheckString(sort_by, 0, null)", "GetAndCheckString(filter, 0, null)",
                  "GetAndCheckString(sort_direction, 0, null)", "IsAdmin()", "SetError(105)"));
}

TEST_F(Download, WritesAPageWithoutRowsWhereNobodyIsConnected) {
  script({});
  EXPECT_EQ(download(), kHead + kReportFoot);
}

TEST_F(Download, WritesTheRowsOnOneLine) {
  script({{7, "2", "10.0.0.1", "alice", "media", kCifs}},
         {{8, "1", "10.0.0.2", "bob", "Firefox", kHttp}});
  EXPECT_EQ(download(), kHead + row({"2", "alice", "10.0.0.1", "CIFS", "media"}) +
                            row({"1", "bob", "10.0.0.2", "HTTP/HTTPS", "Firefox"}) + kReportFoot);
}

TEST_F(Download, SwitchesTheHostsOutputOffAndRecordsNoOutcome) {
  script({});
  download();
  EXPECT_FALSE(response.IsOutputEnabled());
  EXPECT_FALSE(response.HasOutcome());
}

TEST_F(Download, GoesItsStepsInOrder) {
  script({{7, "t", "f", "alice", "d", kCifs}});
  download(R"({"filter": "alice"})");
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre(
          "GetAndCheckString(sort_by, 0, null)", "GetAndCheckString(filter, 0, null)",
          "GetAndCheckString(sort_direction, 0, null)", "IsAdmin()", "SetEnableOutput(false)",
          "ZEVOCurConnGet() as 0:0", "free(records)", "GetSessionFilePath()",
          "ZEVOCgiLoginUserCurrentLog(/run/sessions) as 0:0", "VLIBCUnicodeUTF8StrUpper(alice)",
          "VLIBCUnicodeUTF8StrUpper(alice)", "ZEVOUserGet(alice)", "ZEVOUserFree(alice)",
          "StringBundle(common, log, pppoe, null, null, null)", "Text(log_link_current_conn, )",
          "EncodeHtml(t, false)", "EncodeHtml(alice, false)", "EncodeHtml(f, false)",
          "EncodeHtml(CIFS, false)", "EncodeHtml(d, false)", "~StringBundle()"));
}

TEST_F(Download, ShowsWhatWasCollectedWhereASourceFails) {
  platform.services.answerWithoutBlock(-1);
  platform.logins.answer({{8, "1", "f", "bob", "d", kHttp}});
  EXPECT_EQ(download(), kHead + row({"1", "bob", "f", "HTTP/HTTPS", "d"}) + kReportFoot);
  platform.services.answer({{7, "2", "f", "alice", "d", kCifs}});
  platform.logins.answerWithoutBlock(-1);
  EXPECT_EQ(download(), kHead + row({"2", "alice", "f", "CIFS", "d"}) + kReportFoot);
  EXPECT_EQ(platform.systemLog.lines().size(), 2U);
  EXPECT_FALSE(response.HasOutcome());
}

TEST_F(Download, FiltersSortsAndHidesAsTheListDoes) {
  script({{7, "2", "f", "alice", "a", kCifs},
          {8, "1", "f", "bob", "b", kCifs},
          {9, "3", "f", "ghost", "c", kCifs},
          {6, "4", "f", "bob", "d", ZEVO_CURCONN_SSH}});
  EXPECT_EQ(download(R"({"filter": "cifs", "sort_by": "who", "sort_direction": "asc"})"),
            kHead + row({"2", "alice", "f", "CIFS", "a"}) + row({"1", "bob", "f", "CIFS", "b"}) +
                kReportFoot);
}

TEST_F(Download, SortsByEachField) {
  const std::vector<std::pair<std::string, std::string>> firsts = {
      {"time", "1"}, {"who", "3"}, {"from", "2"}, {"descr", "4"}, {"type", "5"}, {"Type", "1"}};
  for (const auto& [field, first] : firsts) {
    script({{1, "1", "f5", "bob", "d5", ZEVO_CURCONN_CIFS},
            {2, "2", "f1", "bob", "d4", ZEVO_CURCONN_SSH},
            {3, "3", "f2", "alice", "d3", ZEVO_CURCONN_SSH},
            {4, "4", "f3", "bob", "d1", ZEVO_CURCONN_SSH},
            {5, "5", "f4", "bob", "d2", ZEVO_CURCONN_AFP}});
    const std::string page = download(R"({"sort_direction": "ASC", "sort_by": ")" + field + "\"}");
    EXPECT_EQ(page.find("{" + first + "}"), page.find('{')) << field;
  }
}

TEST_F(Download, IsInDescendingOrderOfTimeByDefault) {
  script({{1, "1", "f", "bob", "d", kCifs}, {2, "2", "f", "bob", "d", kCifs}});
  EXPECT_EQ(download(R"({"sort_direction": "ascending", "sort_by": "pid", "filter": ""})"),
            kHead + row({"2", "bob", "f", "CIFS", "d"}) + row({"1", "bob", "f", "CIFS", "d"}) +
                kReportFoot);
}

TEST_F(Download, DoesNotFilterWithoutAText) {
  for (const char* parameters : {"{}", R"({"filter": ""})", R"({"filter": 1})"}) {
    script({{7, "1", "f", "alice", "d", kCifs}});
    EXPECT_EQ(download(parameters), kHead + row({"1", "alice", "f", "CIFS", "d"}) + kReportFoot);
  }
  EXPECT_THAT(platform.upperCasing.sources(), IsEmpty());
}

TEST_F(Download, ShowsTheWholeListWhereTheFilterCannotBeUpperCased) {
  platform.upperCasing.failFor("x");
  script({{7, "1", "f", "alice", "d", kCifs}});
  EXPECT_EQ(download(R"({"filter": "x"})"),
            kHead + row({"1", "alice", "f", "CIFS", "d"}) + kReportFoot);
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(Download, KnowsNoPages) {
  script({{1, "1", "f", "bob", "d", kCifs}, {2, "2", "f", "bob", "d", kCifs}});
  EXPECT_EQ(download(R"({"start": 1, "limit": 1, "offset": 1})"),
            kHead + row({"2", "bob", "f", "CIFS", "d"}) + row({"1", "bob", "f", "CIFS", "d"}) +
                kReportFoot);
}

TEST_F(Download, EncodesEveryCell) {
  const std::string hostile = "<script>alert('1')</script>\"&%s%n\x01\x7F\xE2\x80\xAE\xFF";
  platform.accounts.add(hostile, 1000);
  script({{1, hostile, hostile, hostile, hostile, kCifs}});
  EXPECT_EQ(download(), kHead + row({hostile, hostile, hostile, "CIFS", hostile}) + kReportFoot);
}

TEST_F(Download, WritesEmptyCells) {
  script({{1, "", "", "", "", ZEVO_CURCONN_NFS}});
  EXPECT_EQ(download(), kHead + row({"", "", "", "NFS", ""}) + kReportFoot);
}

TEST_F(Download, WritesTenThousandRows) {
  std::vector<Record> records;
  std::string rows;
  for (int i = 0; i < 10000; ++i) {
    const std::string number = std::to_string(10000 + i);
    records.push_back({i + 1, number, "f" + number, "alice", "d" + number, kCifs});
    rows += row({number, "alice", "f" + number, "CIFS", "d" + number});
  }
  script(records);
  EXPECT_EQ(download(R"({"sort_direction": "ASC"})"), kHead + rows + kReportFoot);
}

TEST_F(Download, KeepsTheLastTextAndTheColumnCountBetweenCalls) {
  gLogInfoColumns = 0;
  script({{1, "1", "f", "bob", "the last cell", kCifs}});
  download();
  EXPECT_EQ(gLogInfoColumns, 5U);
  EXPECT_STREQ(gLogInfoLastText, "the last cell");
}

TEST_F(Download, IsRightASecondTime) {
  for (int i = 0; i < 2; ++i) {
    script({{1, "1", "f", "bob", "d", kCifs}});
    EXPECT_EQ(download(), kHead + row({"1", "bob", "f", "CIFS", "d"}) + kReportFoot) << i;
  }
}

TEST_F(Download, DoesNotAskForDemoMode) {
  script({});
  download();
  EXPECT_THAT(platform.calls.of({"IsDemoMode", "HasParam", "GetAndCheckInt", "set_demo_mode"}),
              IsEmpty());
}

}  // namespace
