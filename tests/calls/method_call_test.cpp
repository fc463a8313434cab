#include "calls/method_call.h"

#include <string>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "calls/modules.h"

namespace calls {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class MethodCall : public testing::Test {
 protected:
  MethodCall() {
    std::string error;
    EXPECT_TRUE(modules_.load(MODULES_FOLDER "/misbehaving", &error)) << error;
    context_.loginUserName = "alice";
  }
  Reply call(const char* method) { return runMethod(modules_.find("Test", 1, method), context_); }
  void expectNoAnswer(const char* method) {
    const Reply reply = call(method);
    EXPECT_EQ(reply.status, 500) << method;
    EXPECT_EQ(reply.code, 500) << method;
    EXPECT_THAT(reply.bytes, StartsWith("Status: 500 ")) << method;
    EXPECT_THAT(reply.bytes, HasSubstr("\"code\":500")) << method;
  }

  Modules modules_;
  ZEVO::RequestContext context_;
};

TEST_F(MethodCall, ToldWhoIsAskingAnswersWithItsData) {
  context_.isAdmin = true;
  context_.sessionFilePath = "/s";
  context_.textual = true;
  context_.parameters["value"] = "445";
  const Reply reply = call("echo");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.code, 0);
  EXPECT_THAT(reply.bytes,
              EndsWith("\r\n\r\n{\"data\":{\"isAdmin\":true,\"number\":445,\"sessionFile\":\"/s\","
                       "\"text\":\"445\",\"user\":\"alice\"}}\n"));
}

TEST_F(MethodCall, WithTypedParametersKeepsTheirTypes) {
  context_.parameters["value"] = 445;
  EXPECT_THAT(call("echo").bytes,
              HasSubstr("\"number\":445,\"sessionFile\":\"\",\"text\":\"none\""));
}

TEST_F(MethodCall, ThatReadTheRegistryInPartWarnsWithTheCauseAnAdministrator) {
  context_.isAdmin = true;
  EXPECT_THAT(call("read_partly").bytes,
              EndsWith("\r\n\r\n{\"data\":\"rows\",\"warnings\":[{\"code\":"
                       "\"connections_missing\",\"detail\":\"cannot read /run/utmp: Is a "
                       "directory\",\"service\":\"LOGIN\"}]}\n"));
}

TEST_F(MethodCall, ThatReadTheRegistryInPartWarnsOthersWithoutTheCause) {
  EXPECT_THAT(call("read_partly").bytes,
              EndsWith("\r\n\r\n{\"data\":\"rows\",\"warnings\":[{\"code\":"
                       "\"connections_missing\",\"service\":\"LOGIN\"}]}\n"));
}

TEST_F(MethodCall, ThatReadNoRegistryHasNoWarningsOfAnEarlierOne) {
  call("read_partly");
  EXPECT_THAT(call("echo").bytes, Not(HasSubstr("warnings")));
}

TEST_F(MethodCall, ThatIsRefusedCarriesTheMethodsCode) {
  const Reply reply = call("refuse");
  EXPECT_EQ(reply.status, 409);
  EXPECT_EQ(reply.code, 7100);
}

TEST_F(MethodCall, ThatThrowsIsNoAnswer) {
  expectNoAnswer("throw_something");
  expectNoAnswer("throw_exception");
}

TEST_F(MethodCall, WithoutAnOutcomeIsNoAnswer) {
  expectNoAnswer("record_nothing");
}

TEST_F(MethodCall, ThatPrintsBesideItsAnswerDamagesNone) {
  const Reply reply = call("print_garbage");
  EXPECT_EQ(reply.status, 200);
  EXPECT_THAT(reply.bytes, EndsWith("\r\n\r\n{\"data\":\"fine\"}\n"));
  EXPECT_THAT(reply.bytes, Not(HasSubstr("evil")));
}

TEST_F(MethodCall, ThatPrintsItsAnswerIsPassedThrough) {
  EXPECT_THAT(call("print_answer").bytes,
              EndsWith("Content-Type: text/plain\r\nContent-Length: 10\r\n\r\nown answer"));
}

TEST_F(MethodCall, ThatPrintsALargeAnswerIsPassedThroughWhole) {
  const Reply reply = call("print_a_lot");
  EXPECT_EQ(reply.status, 200);
  EXPECT_THAT(reply.bytes, HasSubstr("Content-Length: 8388608\r\n"));
  EXPECT_GT(reply.bytes.size(), 8388608U);
}

TEST_F(MethodCall, ThatPrintsGarbageAsItsAnswerIsNoAnswer) {
  expectNoAnswer("print_garbage_as_answer");
}

TEST_F(MethodCall, LeavesStandardOutputAsItWas) {
  testing::internal::CaptureStdout();
  call("print_answer");
  std::puts("after");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "after\n");
}

}  // namespace
}  // namespace calls
