#include "server.h"

#include <csignal>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/base/temporary_folder.h"

namespace host {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::StartsWith;
using zevo::testing_support::TemporaryFolder;

constexpr std::size_t kPlaces = 32;

// A server in a process of its own. What a call does is the first letter that its client sends.
class ServerTest : public testing::Test {
 protected:
  ServerTest() {
    int pipe[2] = {-1, -1};
    EXPECT_EQ(::pipe2(pipe, O_CLOEXEC), 0);
    pid_ = ::fork();
    if (pid_ == 0) runServer(pipe[1]);
    ::close(pipe[1]);
    char ready = 0;
    EXPECT_EQ(::read(pipe[0], &ready, 1), 1);
    ::close(pipe[0]);
  }
  ~ServerTest() override {
    if (pid_ > 0) end(SIGKILL);
  }

  int end(int signal) {
    ::kill(pid_, signal);
    int status = 0;
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    return status;
  }

  [[nodiscard]] zevo::FileDescriptor connect(const std::string& what) const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    zevo::FileDescriptor client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(::connect(client.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ::send(client.get(), what.data(), what.size(), MSG_NOSIGNAL);
    return client;
  }
  static std::string receive(const zevo::FileDescriptor& client) {
    std::string all;
    char buffer[4096];
    ssize_t got = 0;
    while ((got = ::read(client.get(), buffer, sizeof buffer)) > 0) {
      all.append(buffer, static_cast<std::size_t>(got));
    }
    return got < 0 ? "broken connection" : all;
  }
  [[nodiscard]] std::string call(const std::string& what) const { return receive(connect(what)); }
  // The same, again while the places of calls that were just answered are not yet free.
  [[nodiscard]] std::string callWhenThereIsRoom(const std::string& what) const {
    std::string answer = call(what);
    for (int i = 0; i < 500 && answer.starts_with("Status: 503 "); ++i) {
      ::usleep(10000);
      answer = call(what);
    }
    return answer;
  }

  TemporaryFolder folder_;
  const std::string path_ = folder_.file("web.sock");
  pid_t pid_ = -1;

 private:
  static void serve(int connection, CallSlot& slot) {
    char what = 0;
    if (::read(connection, &what, 1) != 1) return;
    if (what == 'c') std::abort();
    if (what == 'x') std::exit(0);
    if (what == 's') ::usleep(300000);
    while (what == 'h') ::pause();
    if (what == 'f' && ::fork() == 0) {
      while (true) ::pause();  // what a call leaves behind
    }
    slot.isAnswering = true;
    std::string answer = "pong";
    if (what == 'd') answer = std::to_string(descriptorsAbove(connection));
    ::send(connection, answer.data(), answer.size(), MSG_NOSIGNAL);
    if (what == 'b') std::abort();
    ::shutdown(connection, SHUT_WR);
  }
  // How many descriptors besides the standard ones and the connection are open.
  static int descriptorsAbove(int connection) {
    int open = 0;
    for (int i = 3; i < 256; ++i) open += i != connection && ::fcntl(i, F_GETFD) >= 0 ? 1 : 0;
    return open;
  }

  [[noreturn]] void runServer(int ready) {
    std::string error;
    std::vector<Listener> listeners;
    listeners.emplace_back(listenAt(path_, ::getgid(), 0600, &error), Entrance::kWeb, path_);
    CallBoard board(kPlaces);
    Server server(std::move(listeners), board, 700ms,
                  [](int connection, Entrance, uid_t, CallSlot& slot) { serve(connection, slot); });
    server.run([&] {
      if (::write(ready, "r", 1) == 1) ::close(ready);
    });
    ::_exit(0);
  }
};

TEST_F(ServerTest, ServesOneCallAfterTheOther) {
  for (int i = 0; i < 50; ++i) EXPECT_EQ(call("p"), "pong");
}

TEST_F(ServerTest, ServesManyAtOnceSideBySide) {
  std::vector<zevo::FileDescriptor> clients;
  const auto began = std::chrono::steady_clock::now();
  for (int i = 0; i < 10; ++i) clients.push_back(connect("s"));
  for (const auto& client : clients) EXPECT_EQ(receive(client), "pong");
  EXPECT_LT(std::chrono::steady_clock::now() - began, 2s);
}

TEST_F(ServerTest, AnswersForACallThatCrashed) {
  EXPECT_THAT(call("c"), StartsWith("Status: 500 "));
  EXPECT_EQ(call("p"), "pong");
}

TEST_F(ServerTest, AnswersForACallThatLeft) {
  EXPECT_THAT(call("x"), StartsWith("Status: 500 "));
  EXPECT_EQ(call("p"), "pong");
}

TEST_F(ServerTest, AnswersForACallThatHangs) {
  EXPECT_THAT(call("h"), StartsWith("Status: 504 "));
  EXPECT_EQ(call("p"), "pong");
}

TEST_F(ServerTest, AddsNothingToAnAnswerThatHadBegun) {
  EXPECT_EQ(call("b"), "pong");
}

TEST_F(ServerTest, AnswersThoughTheClientSentMoreThanWasRead) {
  EXPECT_THAT(call("c" + std::string(100000, 'x')), StartsWith("Status: 500 "));
}

TEST_F(ServerTest, GivesACallNoDescriptorButItsOwn) {
  const int before = std::stoi(call("d"));
  const auto other = connect("h");
  EXPECT_EQ(std::stoi(call("d")), before) << "another caller's connection went along";
  EXPECT_THAT(receive(other), StartsWith("Status: 504 "));
}

TEST_F(ServerTest, TurnsAwayWhatIsTooMuchAndServesTheNext) {
  std::vector<zevo::FileDescriptor> hanging;
  for (std::size_t i = 0; i < kPlaces - kKeptForLocal; ++i) hanging.push_back(connect("h"));
  const std::string turnedAway = call("p");
  EXPECT_THAT(turnedAway, StartsWith("Status: 503 "));
  EXPECT_THAT(turnedAway, HasSubstr("\r\nRetry-After: "));
  for (const auto& client : hanging) EXPECT_THAT(receive(client), StartsWith("Status: 504 "));
  EXPECT_EQ(callWhenThereIsRoom("p"), "pong");
}

TEST_F(ServerTest, AnswersFiveHundredAtOnceEachInOneWay) {
  std::vector<zevo::FileDescriptor> clients;
  for (int i = 0; i < 500; ++i) clients.push_back(connect("p"));
  for (const auto& client : clients) {
    EXPECT_THAT(receive(client), testing::AnyOf("pong", StartsWith("Status: 503 ")));
  }
  EXPECT_EQ(callWhenThereIsRoom("p"), "pong");
}

TEST_F(ServerTest, EndsWhatACallLeavesBehind) {
  const auto client = connect("f");
  // The process that was left behind holds the connection as well: only its end ends it.
  EXPECT_EQ(receive(client), "pong");
  EXPECT_EQ(call("p"), "pong");
  for (int i = 0; i < 200 && ::send(client.get(), "x", 1, MSG_NOSIGNAL) == 1; ++i) ::usleep(10000);
  EXPECT_EQ(::send(client.get(), "x", 1, MSG_NOSIGNAL), -1);
}

TEST_F(ServerTest, EndsAfterTheCallsInFlight) {
  const auto client = connect("s");
  ::usleep(100000);
  const int status = end(SIGTERM);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(receive(client), "pong");
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(ServerTest, EndsAtOnceAtTheSecondSignal) {
  const auto client = connect("h");
  ::usleep(50000);
  const auto began = std::chrono::steady_clock::now();
  ::kill(pid_, SIGTERM);
  ::usleep(50000);
  end(SIGINT);
  EXPECT_LT(std::chrono::steady_clock::now() - began, 400ms);
  EXPECT_THAT(receive(client), StartsWith("Status: 500 "));
}

}  // namespace
}  // namespace host
