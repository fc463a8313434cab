// The report of the built module, with the platform's own texts and encoding.
#include <cstdlib>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/api_request.h"
#include "zevo/api_response.h"
#include "zevo/connections.h"

#include "module/built_module.h"
#include "module/captured_output.h"
#include "module/registry_stand_in.h"
#include "module/report_text.h"

namespace {

using module_test::Connected;
using module_test::kReportFoot;

const std::string kHead = module_test::reportHead(
    "Current connections", {"Time", "User", "Client", "service", "Resource"});

std::string row(const std::vector<std::string>& cells) {
  std::string text = "<tr>";
  for (const std::string& cell : cells) text += "<td align=\"left\" >" + cell + "</td>";
  return text + "</tr>";
}

class BuiltReport : public ::testing::Test {
 protected:
  BuiltReport() { setenv("LC_ALL", "C.UTF-8", 1); }

  // What is printed for `parameters`, and whether anything was recorded in the response.
  std::string download(std::vector<Connected> connections, const Json::Value& parameters = {}) {
    module_test::setConnected(std::move(connections));
    const ApiHandler handler = module_test::builtHandler("download");
    if (handler == nullptr) {
      ADD_FAILURE() << "no handler";
      return "";
    }
    ZEVO::RequestContext context;
    context.loginUserName = "boss";
    context.isAdmin = isAdmin;
    context.sessionFilePath = "/nonexistent/sessions";
    context.parameters = parameters;
    ZEVO::APIRequest request(context);
    module_test::CapturedOutput output;
    handler(&request, &response);
    return output.text();
  }

  bool isAdmin = true;
  ZEVO::APIResponse response;
};

TEST_F(BuiltReport, IsForAdministratorsOnly) {
  isAdmin = false;
  EXPECT_EQ(download({{"1", "f", "alice", "d", ZEVO_CURCONN_SSH}}), "");
  EXPECT_EQ(response.ErrorCode(), 105);
  EXPECT_EQ(response.DataText(), "null");
}

TEST_F(BuiltReport, HasAPageWithoutRowsWhereNobodyIsConnected) {
  EXPECT_EQ(download({}), kHead + kReportFoot);
  EXPECT_FALSE(response.HasOutcome());
  EXPECT_FALSE(response.IsOutputEnabled());
}

TEST_F(BuiltReport, EncodesCellsAndWritesRowsOnOneLine) {
  EXPECT_EQ(
      download({{"1", "f&g", "<b>\"al'ice\"", "\xE2\x80\xAE\xE6\x97\xA5\x01 %s", ZEVO_CURCONN_SSH},
                {"2", "h", "bob", "<script>", ZEVO_CURCONN_CIFS}}),
      kHead + row({"2", "bob", "h", "CIFS", "&lt;script&gt;"}) +
          row({"1", "&lt;b&gt;&quot;al&#39;ice&quot;", "f&amp;g", "SSH",
               "\xE2\x80\xAE\xE6\x97\xA5\x01 %s"}) +
          kReportFoot);
}

TEST_F(BuiltReport, SortsAndFilters) {
  const std::vector<Connected> connections = {{"1", "f", "bob", "x", ZEVO_CURCONN_SSH},
                                              {"3", "f", "alice", "x", ZEVO_CURCONN_SSH},
                                              {"2", "f", "carol", "y", ZEVO_CURCONN_SSH}};
  const auto order = [&](const char* sortBy, const char* direction, const char* filter) {
    Json::Value parameters;
    parameters["sort_by"] = sortBy;
    parameters["sort_direction"] = direction;
    parameters["filter"] = filter;
    std::string page = download(connections, parameters);
    std::string times;
    for (std::size_t at = 0; (at = page.find("<tr><td align=\"left\" >", at)) != std::string::npos;)
      times += page[at += std::string("<tr><td align=\"left\" >").size()];
    return times;
  };
  EXPECT_EQ(order("who", "asc", ""), "312");
  EXPECT_EQ(order("who", "ascending", ""), "213");
  EXPECT_EQ(order("who", "", ""), "213");
  EXPECT_EQ(order("User", "aSC", ""), "123");
  EXPECT_EQ(order("time", "DESC", "X"), "31");
}

TEST_F(BuiltReport, HoldsTenThousandRows) {
  std::vector<Connected> connections;
  std::string rows;
  for (int i = 20000; i > 10000; --i) {
    const std::string number = std::to_string(i);
    connections.push_back({number, "f" + number, "u" + number, "d" + number, ZEVO_CURCONN_FTP});
    rows += row({number, "u" + number, "f" + number, "FTP", "d" + number});
  }
  EXPECT_EQ(download(connections), kHead + rows + kReportFoot);
}

}  // namespace
