#include "cli/client/client.h"

#include <chrono>
#include <filesystem>
#include <grp.h>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/client/daemon_transport.h"

namespace cli {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr std::chrono::seconds kLong{60};
constexpr std::chrono::seconds kShort{1};

std::string answerText(const std::string& status, const std::string& body) {
  return "Status: " + status + "\r\nContent-Type: application/json\r\n\r\n" + body + "\n";
}

TEST(ScgiAnswer, OfAMethodIsItsResultAsItIs) {
  const Answer expected = {Answer::Status::kDone, 0, R"({"items":[], "total":0})", {}};
  EXPECT_EQ(answerFromScgi(answerText("200 OK", R"({"data":{"items":[], "total":0}})")), expected);
}

TEST(ScgiAnswer, OfAMethodCarriesItsWarningsBesideTheResult) {
  const Answer expected = {Answer::Status::kDone,
                           0,
                           R"({"items":["\",\"warnings\":[]}"]})",
                           {},
                           {{"connections_missing", "LOGIN", ",\"warnings\":"}}};
  EXPECT_EQ(
      answerFromScgi(answerText(
          "200 OK", R"({"data":{"items":["\",\"warnings\":[]}"]},"warnings":[{"code":)"
                    R"("connections_missing","service":"LOGIN","detail":",\"warnings\":"}]})")),
      expected);
}

TEST(ScgiAnswer, OfAMethodMayHaveAMemberOfThatNameItself) {
  const Answer expected = {Answer::Status::kDone, 0, R"({"total":0,"warnings":[1]})", {}};
  EXPECT_EQ(answerFromScgi(answerText("200 OK", R"({"data":{"total":0,"warnings":[1]}})")),
            expected);
}

TEST(ScgiAnswer, OfARefusalIsItsCodeAndCauses) {
  const Answer expected = {Answer::Status::kRefused, 117, "", {"one", "two"}};
  EXPECT_EQ(answerFromScgi(answerText("500 Internal Server Error",
                                      R"({"code":117,"causes":["one",2,"two"],"detail":"x"})")),
            expected);
}

TEST(ScgiAnswer, OfTheDaemonItselfIsAFailureWithItsReason) {
  const Answer answer = answerFromScgi(
      answerText("503 Service Unavailable", R"({"code":503,"detail":"Try again."})"));
  EXPECT_EQ(answer.status, Answer::Status::kFailed);
  EXPECT_THAT(answer.causes, ElementsAre("Try again."));
}

TEST(ScgiAnswer, OfAMethodMayHaveACodeThatOnlyTheMethodKnows) {
  const Answer expected = {Answer::Status::kRefused, 7100, "", {"one"}};
  EXPECT_EQ(answerFromScgi(answerText("409 Conflict", R"({"code":7100,"causes":["one"]})")),
            expected);
}

TEST(ScgiAnswer, NamesServicesThatADisablingCouldNotReach) {
  const Answer answer = answerFromScgi(answerText(
      "500 Internal Server Error", R"({"code":117,"causes":["one"],"warnings":[)"
                                   R"({"code":"still_let_in","service":"CIFS","detail":"two"}]})"));
  EXPECT_THAT(answer.causes, ElementsAre("one", "two"));
}

TEST(ScgiAnswer, OfTheHostItselfHasItsCauses) {
  const Answer answer =
      answerFromScgi(answerText("409 Conflict", R"({"code":409,"detail":"x","causes":["two"]})"));
  EXPECT_EQ(answer.status, Answer::Status::kFailed);
  EXPECT_THAT(answer.causes, ElementsAre("two"));
}

TEST(ScgiAnswer, MayBeWhatAMethodWroteItself) {
  const Answer answer = answerFromScgi(
      "Status: 200 OK\r\nContent-Type:application/xxx\r\n\r\n<html>a\r\n\r\nb</html>");
  EXPECT_EQ(answer.status, Answer::Status::kOwnOutput);
  EXPECT_EQ(answer.data, "<html>a\r\n\r\nb</html>");
}

TEST(ScgiAnswer, ThatIsNoneIsAFailure) {
  for (const std::string& text :
       {std::string(), answerText("200 OK", ""), answerText("200 OK", "[]"),
        answerText("200 OK", R"({"x":1})"), answerText("2x0 OK", R"({"data":1}!)"),
        answerText("500 No", "[1]"), std::string("no header lines")}) {
    const Answer answer = answerFromScgi(text);
    EXPECT_EQ(answer.status, Answer::Status::kFailed) << text;
    EXPECT_FALSE(answer.causes.empty()) << text;
  }
}

// A socket on which a child answers one call and records the request.
class DaemonClient : public ::testing::Test {
 protected:
  DaemonClient() {
    std::string pattern = (fs::temp_directory_path() / "currentconn-XXXXXX").string();
    EXPECT_NE(::mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
    fs::permissions(folder_, fs::perms(0777));
    path_ = (folder_ / "local.sock").string();
  }
  ~DaemonClient() override {
    if (child_ > 0) {
      ::kill(child_, SIGKILL);
      ::waitpid(child_, nullptr, 0);
    }
    fs::remove_all(folder_);
  }

  void answer(const std::string& text, uid_t user = 0) {
    int ready[2] = {-1, -1};
    ASSERT_EQ(::pipe(ready), 0);
    int asked[2] = {-1, -1};
    ASSERT_EQ(::pipe(asked), 0);
    child_ = ::fork();
    if (child_ == 0) serve(text, user, ready[1], asked[1]);
    ::close(ready[1]);
    ::close(asked[1]);
    char byte = 0;
    EXPECT_EQ(::read(ready[0], &byte, 1), 1);
    ::close(ready[0]);
    asked_ = asked[0];
  }
  std::string asked() {
    std::string all(4096, '\0');
    const ssize_t got = ::read(asked_, all.data(), all.size());
    all.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return all;
  }

  fs::path folder_;
  std::string path_;

 private:
  [[noreturn]] void serve(const std::string& text, uid_t user, int ready, int asked) {
    if (user != 0 && (::setgroups(0, nullptr) != 0 || ::setuid(user) != 0)) ::_exit(1);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) ::_exit(1);
    if (::listen(listener, 8) != 0 || ::write(ready, "r", 1) != 1) ::_exit(1);
    while (true) {
      const int connection = ::accept(listener, nullptr, nullptr);
      char request[4096];
      const ssize_t got = ::recv(connection, request, sizeof request, 0);
      if (got > 0 && ::write(asked, request, static_cast<std::size_t>(got)) != got) ::_exit(1);
      ::send(connection, text.data(), text.size(), MSG_NOSIGNAL);
      ::close(connection);
    }
  }

  pid_t child_ = -1;
  int asked_ = -1;
};

TEST_F(DaemonClient, SendsOneRequestAndTakesItsAnswer) {
  answer(answerText("200 OK", R"({"data":[1]})"));
  DaemonTransport daemon(path_, kLong);
  Client client(daemon, {.asUser = "", .sudoUser = "bob", .terminal = "pts/3"}, kLong);
  Json::Value parameters(Json::objectValue);
  parameters["sort_by"] = "who";
  EXPECT_EQ(client.call("list_by_user", parameters), (Answer{Answer::Status::kDone, 0, "[1]", {}}));
  const std::string nul(1, '\0');
  const std::string headers =
      "CONTENT_LENGTH" + nul + "17" + nul + "SCGI" + nul + "1" + nul + "REQUEST_METHOD" + nul +
      "POST" + nul + "REQUEST_URI" + nul + "/api/ZEVO.Core.CurrentConnection/1/list_by_user" + nul +
      "CONTENT_TYPE" + nul + "application/json" + nul + "CURRENTCONN_SUDO_USER" + nul + "bob" +
      nul + "CURRENTCONN_TERMINAL" + nul + "pts/3" + nul;
  EXPECT_EQ(asked(), std::to_string(headers.size()) + ":" + headers + R"(,{"sort_by":"who"})");
}

TEST_F(DaemonClient, IsNotThereWithoutAListener) {
  DaemonTransport daemon(path_, kLong);
  EXPECT_FALSE(daemon.isThere());
  EXPECT_FALSE(DaemonTransport(std::string(500, 'x'), kLong).isThere());
  const Answer answer =
      Client(daemon, {}, kLong).call("list_by_user", Json::Value(Json::objectValue));
  EXPECT_EQ(answer.status, Answer::Status::kFailed);
  ASSERT_EQ(answer.causes.size(), 1U);
  EXPECT_THAT(answer.causes[0], HasSubstr(path_));
}

TEST_F(DaemonClient, DoesNotBelieveAnybodyButRoot) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can let another account listen";
  answer(answerText("200 OK", R"({"data":[1]})"), 65534);
  DaemonTransport daemon(path_, kLong);
  EXPECT_FALSE(daemon.isThere());
  EXPECT_EQ(Client(daemon, {}, kLong).call("list_by_user", Json::Value(Json::objectValue)).status,
            Answer::Status::kFailed);
}

// A socket of this process that accepts no connections.
class SilentDaemon : public DaemonClient {
 protected:
  SilentDaemon() : listener_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    EXPECT_EQ(::bind(listener_.get(), target(), sizeof address_), 0);
    EXPECT_EQ(::listen(listener_.get(), 0), 0);
  }
  // Fills the queue of waiting connections.
  void fill() {
    while (true) {
      zevo::FileDescriptor waiting(
          ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
      if (::connect(waiting.get(), target(), sizeof address_) != 0) break;
      waiting_.push_back(std::move(waiting));
    }
    EXPECT_EQ(errno, EAGAIN);
  }
  void expectFailure(DaemonTransport& daemon, const std::string& cause) {
    const auto start = std::chrono::steady_clock::now();
    const Answer answer =
        Client(daemon, {}, kShort).call("list_by_user", Json::Value(Json::objectValue));
    EXPECT_EQ(answer.status, Answer::Status::kFailed);
    EXPECT_THAT(answer.causes, ElementsAre(cause));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(120));
  }

 private:
  const sockaddr* target() {
    address_.sun_family = AF_UNIX;
    path_.copy(address_.sun_path, sizeof address_.sun_path - 1);
    return reinterpret_cast<const sockaddr*>(&address_);
  }

  sockaddr_un address_{};
  zevo::FileDescriptor listener_;
  std::vector<zevo::FileDescriptor> waiting_;
};

TEST_F(SilentDaemon, IsWaitedForNoLongerThanTheLimit) {
  DaemonTransport daemon(path_, kShort);
  EXPECT_EQ(daemon.isThere(), ::geteuid() == 0);
  if (::geteuid() != 0) GTEST_SKIP() << "only root is believed";
  expectFailure(daemon, "no answer came within 1 seconds");
}

TEST_F(SilentDaemon, ThatLetsNobodyInIsNotWaitedForEither) {
  fill();
  DaemonTransport daemon(path_, kShort);
  EXPECT_TRUE(daemon.isThere());
  expectFailure(daemon, "the daemon did not answer on " + path_ + " within 1 seconds");
}

}  // namespace
}  // namespace cli
