// Running out of memory at each allocation of a call in turn.
#include <new>

#include "api/api_table.h"
#include "fakes/allocation.h"
#include "fakes/temporary_file.h"
#include "module/captured_output.h"
#include "module/support.h"

namespace {

using fakes::Record;
using module_test::kCifs;
using module_test::kHttp;
using ::testing::Contains;
using ::testing::Not;

// Too long for a string without memory of its own.
const std::string kLong(40, 'x');

constexpr const char* kParameters = R"({
  "filter": "c",
  "service_conn": [{"pid": 900, "type": "CIFS", "who": "alice of the long name", "from": "10.0.0.1"}],
  "http_conn": [{"who": "alice of the long name", "from": "10.0.0.1"}],
  "users": ["alice of the long name", "bob of the long name", "alice of the long name"]})";

// What a call works on. Process 900 is no server of its service any more, login "hidden" is hidden.
void script(fakes::Platform& platform) {
  platform.ids.become(1000, 100);
  platform.upperCasing.allow();
  platform.clock.set(1795212000, "the clock's text\n");
  for (const char* name : {"alice of the long name", "bob of the long name"})
    platform.accounts.add(name, 1000);
  platform.services.answer({{900, "2" + kLong, "10.0.0.1", "alice of the long name", "b", kCifs},
                            {900, "1" + kLong, "10.0.0.1", "alice of the long name", "a", kCifs},
                            {901, kLong, kLong, "bob of the long name", kLong, kCifs}});
  platform.logins.answer({{1, kLong, "10.0.0.1", "alice of the long name", kLong, kHttp}});
  platform.keyedFiles.add("/proc/900/status", "Name:\tbash");
  platform.processes.onSleep = [](unsigned) { return 0U; };
  platform.processes.onKill = [](pid_t, int) { return ESRCH; };
  platform.processes.onUnlink = [](const std::string&) { return 0; };
}

struct End {
  bool happened;          // there was an n-th allocation
  std::string exception;  // that left the handler; empty for none
};

const std::string kBadAlloc = "std::bad_alloc";

End run(ApiHandler handler, ZEVO::APIRequest& request, ZEVO::APIResponse& response, int nth) {
  const module_test::CapturedOutput output;
  const fakes::AllocationFailure failure(nth);
  try {
    handler(&request, &response);
  } catch (const std::exception& error) {
    const fakes::AllocationPause pause;
    return {true, error.what()};
  }
  return {failure.happened(), ""};
}

class Exhaustion : public ::testing::TestWithParam<int> {
 protected:
  // Whether the n-th allocation failed.
  bool failsAt(int nth) {
    fakes::Platform platform;
    script(platform);
    ZEVO::RequestContext context = module_test::byAdministrator(kParameters);
    context.loginUserName = method() == "list_by_user" ? "alice of the long name" : "boss";
    context.sessionFilePath = sessions_.path();
    ZEVO::APIRequest request(context);
    ZEVO::APIResponse response;
    const End end = run(gTable[GetParam()].handler, request, response, nth);
    expectNothingWrong(platform, nth);
    platform.systemLog.lines();
    EXPECT_TRUE(end.exception.empty() || end.exception == kBadAlloc) << nth << end.exception;
    EXPECT_NE(response.HasOutcome(), !end.exception.empty() || method() == "download") << nth;
    EXPECT_TRUE(end.happened || response.ErrorCode() == 0);
    return end.happened;
  }

  static std::string method() { return gTable[GetParam()].method; }

  static void expectNothingWrong(fakes::Platform& platform, int nth) {
    EXPECT_EQ(platform.ids.text(), "1000:100") << nth;
    EXPECT_THAT(platform.calls.all(), Not(Contains(::testing::HasSubstr("kill(900, 15)"))))
        << "a process of another name was signalled: " << nth;
    EXPECT_THAT(platform.calls.all(), Not(Contains(::testing::HasSubstr("\"hidden"))))
        << "a hidden login was ended: " << nth;
  }

  fakes::TemporaryFile sessions_{
      "10.0.0.1|alice of the long name|hidden|{\"hide\": true}\n"
      "10.0.0.1|alice of the long name|" +
      kLong + "|{}\n10.0.0.2|bob of the long name|id\n"};
};

TEST_P(Exhaustion, LeavesAMethodAsBadAllocAlone) {
  int nth = 1;
  while (failsAt(nth)) ++nth;
  EXPECT_GT(nth, 20);
}

INSTANTIATE_TEST_SUITE_P(Methods, Exhaustion, ::testing::Range(0, 6),
                         [](const auto& row) { return std::string(gTable[row.param].method); });

}  // namespace
