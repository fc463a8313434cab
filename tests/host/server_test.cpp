#include "server.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
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
constexpr std::size_t kPlacesOfTheWeb = kPlaces - kKeptForLocal;
constexpr auto kCallLimit = 1600ms;  // longer than a call waits for a place

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
    if (pid_ <= 0) return;
    ::kill(pid_, SIGTERM);
    end(SIGINT);  // the second signal ends the calls that hang as well
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
  [[nodiscard]] std::vector<zevo::FileDescriptor> connectAll(std::size_t count,
                                                             const std::string& what) const {
    std::vector<zevo::FileDescriptor> clients;
    for (std::size_t i = 0; i < count; ++i) clients.push_back(connect(what));
    return clients;
  }
  [[nodiscard]] std::string log() const {
    return zevo::testing_support::contentOf(folder_.file("log"));
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
    while (what == 'l') ::pause();
    ::shutdown(connection, SHUT_WR);
  }
  // How many descriptors besides the standard ones and the connection are open.
  static int descriptorsAbove(int connection) {
    int open = 0;
    for (int i = 3; i < 256; ++i) open += i != connection && ::fcntl(i, F_GETFD) >= 0 ? 1 : 0;
    return open;
  }

  [[noreturn]] void runServer(int ready) {
    ::dup2(::open(folder_.file("log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600),
           STDERR_FILENO);
    std::string error;
    std::vector<Listener> listeners;
    listeners.emplace_back(listenAt(path_, ::getgid(), 0600, &error), Entrance::kWeb, path_);
    CallBoard board(kPlaces);
    Server server(std::move(listeners), board, kCallLimit,
                  [](int connection, Entrance, uid_t, CallSlot& slot) { serve(connection, slot); });
    server.run(
        [&] {
          if (::write(ready, "r", 1) == 1) ::close(ready);
        },
        [] {});
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

TEST_F(ServerTest, AddsNothingToAnAnswerThatHadBegunButALineToTheLog) {
  EXPECT_EQ(call("b"), "pong");
  for (int i = 0; i < 300 && log().empty(); ++i) ::usleep(10000);
  EXPECT_THAT(log(), HasSubstr(": its process ended with signal 6 while it answered\n"));
}

TEST_F(ServerTest, LogsACallThatIsTooLateWhileItAnswers) {
  EXPECT_EQ(call("l"), "pong");
  EXPECT_THAT(log(), HasSubstr(": its process did not end within its time while it answered\n"));
}

TEST_F(ServerTest, ServesWhoHadComeBeforeTheSignal) {
  ::kill(pid_, SIGSTOP);
  const auto clients = connectAll(2 * kPlacesOfTheWeb, "p");
  ::kill(pid_, SIGTERM);
  ::kill(pid_, SIGCONT);
  for (const auto& client : clients) EXPECT_EQ(receive(client), "pong");
  end(SIGTERM);
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
  const auto hanging = connectAll(kPlacesOfTheWeb, "h");
  const auto began = std::chrono::steady_clock::now();
  const std::string turnedAway = call("p");
  EXPECT_GT(std::chrono::steady_clock::now() - began, 900ms) << "it did not wait for a place";
  EXPECT_THAT(turnedAway, StartsWith("Status: 503 "));
  EXPECT_THAT(turnedAway, HasSubstr("\r\nRetry-After: "));
  for (const auto& client : hanging) EXPECT_THAT(receive(client), StartsWith("Status: 504 "));
  EXPECT_EQ(call("p"), "pong");
}

TEST_F(ServerTest, TurnsAwayAtOnceWhatIsTooMuchEvenToWait) {
  const auto hanging = connectAll(kPlacesOfTheWeb, "h");
  const auto waiting = connectAll(kPlacesOfTheWeb, "p");
  const auto began = std::chrono::steady_clock::now();
  EXPECT_THAT(call("p"), StartsWith("Status: 503 "));
  EXPECT_LT(std::chrono::steady_clock::now() - began, 500ms);
  for (const auto& client : waiting) EXPECT_THAT(receive(client), StartsWith("Status: 503 "));
}

TEST_F(ServerTest, LogsHowManyItTurnedAwayInOneLine) {
  const auto hanging = connectAll(kPlacesOfTheWeb, "h");
  const auto waiting = connectAll(kPlacesOfTheWeb, "p");
  for (int i = 0; i < 3; ++i) EXPECT_THAT(call("p"), StartsWith("Status: 503 "));
  for (const auto& client : waiting) EXPECT_THAT(receive(client), StartsWith("Status: 503 "));
  ::kill(pid_, SIGTERM);
  end(SIGINT);
  int lines = 0;
  int calls = 0;
  std::istringstream all(log());
  for (std::string line; std::getline(all, line);) {
    const std::size_t count = line.find("method=- user=- from=web status=503 code=503 calls=");
    if (count == std::string::npos) continue;
    ++lines;
    calls += std::stoi(line.substr(line.rfind('=') + 1));
  }
  EXPECT_LE(lines, 2) << log();
  EXPECT_EQ(calls, static_cast<int>(kPlacesOfTheWeb) + 3) << log();
}

TEST_F(ServerTest, LetsACallWaitForAPlace) {
  const auto slow = connectAll(kPlacesOfTheWeb, "s");
  EXPECT_EQ(call("p"), "pong");
  EXPECT_EQ(log(), "");
}

TEST_F(ServerTest, TurnsNobodyAwayWhileEachClientMakesOneCallAtATime) {
  std::vector<std::thread> clients;
  std::atomic<int> answered = 0;
  for (std::size_t i = 0; i < kPlacesOfTheWeb; ++i) {
    clients.emplace_back([&] {
      for (int round = 0; round < 20; ++round) answered += call("p") == "pong" ? 1 : 0;
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(answered, 20 * static_cast<int>(kPlacesOfTheWeb));
}

TEST_F(ServerTest, AnswersFiveHundredAtOnceEachInOneWay) {
  std::vector<zevo::FileDescriptor> clients;
  for (int i = 0; i < 500; ++i) clients.push_back(connect("p"));
  for (const auto& client : clients) {
    EXPECT_THAT(receive(client), testing::AnyOf("pong", StartsWith("Status: 503 ")));
  }
  EXPECT_EQ(call("p"), "pong");
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

TEST_F(ServerTest, EndsAfterTheCallsThatWait) {
  const auto slow = connectAll(kPlacesOfTheWeb, "s");
  const auto waiting = connect("p");
  ::usleep(100000);
  const int status = end(SIGTERM);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(receive(waiting), "pong");
}

TEST_F(ServerTest, EndsAtOnceAtTheSecondSignal) {
  const auto client = connect("h");
  const auto others = connectAll(kPlacesOfTheWeb - 1, "h");
  const auto waiting = connect("p");
  ::usleep(50000);
  const auto began = std::chrono::steady_clock::now();
  ::kill(pid_, SIGTERM);
  ::usleep(50000);
  end(SIGINT);
  EXPECT_LT(std::chrono::steady_clock::now() - began, 400ms);
  EXPECT_THAT(receive(client), StartsWith("Status: 500 "));
  EXPECT_THAT(receive(waiting), StartsWith("Status: 503 "));
}

}  // namespace
}  // namespace host
