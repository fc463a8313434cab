#include "calls/child_calls.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "zevo/api_response.h"

namespace calls {
namespace {

using std::chrono::milliseconds;
using std::chrono::minutes;
using Clock = std::chrono::steady_clock;

// The memory shared by the children and the test.
struct Shared {
  std::atomic<int> running;
  std::atomic<int> most;
  std::atomic<int> begun;
  std::atomic<bool> mayEnd;
  std::atomic<pid_t> process;
};

Shared& shared() {
  static Shared* memory = static_cast<Shared*>(
      ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  return *memory;
}

void echo(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  Json::Value data(Json::objectValue);
  data["value"] = request->GetAndCheckString("value", ZEVO::PARAM_OPTIONAL, nullptr).Get("");
  data["own"] = static_cast<int>(::getpid());
  response->SetSuccess(data);
}

void writeMuch(ZEVO::APIRequest* /*request*/, ZEVO::APIResponse* response) {
  response->SetSuccess(Json::Value(std::string(1000000, 'x')));
}

void crash(ZEVO::APIRequest* /*request*/, ZEVO::APIResponse* /*response*/) {
  ::signal(SIGKILL, SIG_DFL);
  ::kill(::getpid(), SIGKILL);
}

void refuse(ZEVO::APIRequest* /*request*/, ZEVO::APIResponse* response) {
  response->SetError(7100, Json::Value());
}

void hang(ZEVO::APIRequest* /*request*/, ZEVO::APIResponse* /*response*/) {
  shared().process = ::getpid();
  for (;;) ::pause();
}

// Counts how many run at once, until all permitted ones have begun.
void crowd(ZEVO::APIRequest* /*request*/, ZEVO::APIResponse* response) {
  const int now = ++shared().running;
  ++shared().begun;
  for (int most = shared().most; now > most && !shared().most.compare_exchange_weak(most, now);) {
  }
  while (shared().begun < static_cast<int>(kMostChildren))
    std::this_thread::sleep_for(milliseconds(5));
  --shared().running;
  response->SetSuccess(Json::Value());
}

ChildTimes soon() {
  return {Clock::now() + minutes(5), Clock::now() + minutes(5)};
}

ChildCall callOf(ApiHandler handler, const std::string& value = "") {
  ChildCall call{handler, {}};
  call.context.parameters["value"] = value;
  call.context.isAdmin = true;
  return call;
}

TEST(ChildCalls, AnswerInTheirOrderFromProcessesOfTheirOwn) {
  const auto answers = callInChildren({callOf(echo, "a"), callOf(echo, "b")}, soon());
  ASSERT_EQ(answers.size(), 2U);
  EXPECT_NE(answers[0]->data.find(R"("value":"a")"), std::string::npos);
  EXPECT_NE(answers[1]->data.find(R"("value":"b")"), std::string::npos);
  EXPECT_EQ(answers[0]->data.find("\"own\":" + std::to_string(::getpid()) + ","),
            std::string::npos);
}

TEST(ChildCalls, GiveAnswersOfAnyLength) {
  EXPECT_EQ(callInChildren({callOf(writeMuch)}, soon())[0]->data.size(), 1000002U);
}

TEST(ChildCalls, ThatFailAreTellingWhy) {
  const auto answers = callInChildren({callOf(crash), callOf(refuse), callOf(echo)}, soon());
  EXPECT_EQ(answers[0]->status, MethodAnswer::Status::kFailed);
  EXPECT_EQ(answers[0]->causes,
            std::vector<std::string>{"the method ended by signal 9 (Killed) before it answered"});
  EXPECT_EQ(answers[1]->code, 7100);
  EXPECT_EQ(answers[2]->status, MethodAnswer::Status::kDone);
}

TEST(ChildCalls, RunAtMostSixtyFourAtOnce) {
  shared().running = shared().most = shared().begun = 0;
  const std::vector<ChildCall> calls(kMostChildren + 20, callOf(crowd));
  for (const auto& answer : callInChildren(calls, soon()))
    EXPECT_EQ(answer->status, MethodAnswer::Status::kDone);
  EXPECT_EQ(shared().most, static_cast<int>(kMostChildren));
}

TEST(ChildCalls, ThatCannotBeBegunInTimeHaveNoAnswer) {
  const auto answers =
      callInChildren({callOf(echo)}, {Clock::now() - milliseconds(1), Clock::now() + minutes(5)});
  EXPECT_FALSE(answers[0]);
}

TEST(ChildCalls, AreEndedWhereTheyTakeTooLong) {
  const auto answers =
      callInChildren({callOf(hang)}, {Clock::now() + minutes(5), Clock::now() + milliseconds(500)});
  EXPECT_EQ(answers[0]->causes, std::vector<std::string>{"the method did not finish in time"});
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "nobody is left to wait for";
}

TEST(ChildCalls, EndWithTheProcessThatMadeThem) {
  shared().process = 0;
  const pid_t parent = ::fork();
  if (parent == 0) {
    callInChildren({callOf(hang)}, soon());
    ::_exit(0);
  }
  while (shared().process == 0) std::this_thread::sleep_for(milliseconds(5));
  ::kill(parent, SIGKILL);
  ::waitpid(parent, nullptr, 0);
  while (::kill(shared().process, 0) == 0) {
    // A process that nobody waits for is a zombie until its new parent reaps it.
    const std::string path = "/proc/" + std::to_string(shared().process) + "/stat";
    if (std::FILE* file = std::fopen(path.c_str(), "re")) {
      char text[256] = {};
      const bool isRead = std::fgets(text, sizeof text, file) != nullptr;
      std::fclose(file);
      if (isRead && std::string(text).find(") Z ") != std::string::npos) break;
    }
    std::this_thread::sleep_for(milliseconds(5));
  }
}

}  // namespace
}  // namespace calls
