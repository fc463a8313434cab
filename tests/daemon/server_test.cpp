#include "daemon/server.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/base/temporary_folder.h"

namespace currentconnd {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::StartsWith;
using zevo::testing_support::TemporaryFolder;

constexpr std::size_t kPlaces = 32;
constexpr std::size_t kPlacesOfTheWeb = kPlaces - kKeptForLocal;
constexpr auto kHang = 120s;    // whatever takes longer hangs
constexpr auto kNever = 1000s;  // a limit that ends nothing before that
constexpr ServerLimits kPatient{.call = kNever, .wait = kNever, .leave = kNever};

// Waits until `isSo`. False if it hangs.
template <typename Condition>
bool await(Condition isSo) {
  const auto end = std::chrono::steady_clock::now() + kHang;
  while (!isSo()) {
    if (std::chrono::steady_clock::now() > end) return false;
    ::usleep(2000);
  }
  return true;
}

// A server in a process of its own. What a call does is the first letter that its client sends.
class ServerTest : public testing::Test {
 protected:
  explicit ServerTest(const ServerLimits& limits = kPatient) : limits_(limits) {
    EXPECT_EQ(::mkfifo(gatePath_.c_str(), 0600), 0);
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
    return awaitEnd();
  }
  int awaitEnd() {
    int status = -1;
    const bool hasEnded = await([&] { return ::waitpid(pid_, &status, WNOHANG) != 0; });
    EXPECT_TRUE(hasEnded) << "it hangs";
    if (!hasEnded) {
      ::kill(pid_, SIGKILL);
      ::waitpid(pid_, &status, 0);
    }
    pid_ = -1;
    return status;
  }
  // The first signal, as far as the server has taken notice of it.
  void stop() const {
    ::kill(pid_, SIGTERM);
    EXPECT_TRUE(await([&] { return std::filesystem::exists(stoppingPath_); }));
  }

  [[nodiscard]] zevo::FileDescriptor connect(const std::string& what) const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    zevo::FileDescriptor client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(::connect(client.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ::send(client.get(), what.data(), what.size(), MSG_NOSIGNAL);
    const timeval hang{std::chrono::seconds(kHang).count(), 0};
    ::setsockopt(client.get(), SOL_SOCKET, SO_RCVTIMEO, &hang, sizeof hang);
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
  // Calls that stay in flight until release().
  [[nodiscard]] std::vector<zevo::FileDescriptor> hold(std::size_t count) const {
    auto clients = connectAll(count, "h");
    EXPECT_TRUE(await([&] { return zevo::testing_support::contentOf(heldPath_).size() == count; }));
    return clients;
  }
  void release() { gate_.reset(::open(gatePath_.c_str(), O_RDWR | O_CLOEXEC)); }
  // A call that the server has accepted: it waits where no place is free.
  [[nodiscard]] zevo::FileDescriptor connectToWait(const std::string& what) const {
    const std::size_t before = descriptors();
    zevo::FileDescriptor client = connect(what);
    EXPECT_TRUE(await([&] { return descriptors() == before + 1; }));
    return client;
  }
  // How many the server has open.
  [[nodiscard]] std::size_t descriptors() const {
    const std::filesystem::directory_iterator all("/proc/" + std::to_string(pid_) + "/fd");
    return static_cast<std::size_t>(std::distance(begin(all), std::filesystem::end(all)));
  }
  [[nodiscard]] std::string log() const {
    return zevo::testing_support::contentOf(folder_.file("log"));
  }

  TemporaryFolder folder_;
  const std::string path_ = folder_.file("web.sock");
  const std::string gatePath_ = folder_.file("gate");
  const std::string heldPath_ = folder_.file("held");
  const std::string stoppingPath_ = folder_.file("stopping");
  const ServerLimits limits_;
  zevo::FileDescriptor gate_;
  pid_t pid_ = -1;

 private:
  void serve(int connection, calls::CallSlot& slot) const {
    char what = 0;
    if (::read(connection, &what, 1) != 1) return;
    if (what == 'c') std::abort();
    if (what == 'x') std::exit(0);
    if (what == 'h') waitAtTheGate();
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
  void waitAtTheGate() const {
    const zevo::FileDescriptor held(
        ::open(heldPath_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    if (::write(held.get(), "h", 1) == 1) ::close(::open(gatePath_.c_str(), O_RDONLY | O_CLOEXEC));
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
    listeners.emplace_back(listenAt(path_, ::getgid(), 0600, &error), calls::SocketKind::kWeb,
                           path_);
    calls::Scoreboard board(kPlaces);
    Server server(std::move(listeners), board, limits_,
                  [this](int connection, calls::SocketKind, uid_t, calls::CallSlot& slot) {
                    serve(connection, slot);
                  });
    server.run(
        [&] {
          if (::write(ready, "r", 1) == 1) ::close(ready);
        },
        [&] { std::ofstream{stoppingPath_}; });
    ::_exit(0);
  }
};

// Calls may take a moment only.
class ImpatientServerTest : public ServerTest {
 protected:
  ImpatientServerTest() : ServerTest({.call = 300ms, .wait = kNever, .leave = kNever}) {}
  void expectToGoOn() const {
    EXPECT_TRUE(await([&] { return call("p") == "pong"; })) << log();  // a busy machine is late too
  }
};

// Calls wait for a place as long as in a daemon.
class FullServerTest : public ServerTest {
 protected:
  FullServerTest() : ServerTest({.call = kNever, .leave = kNever}) {}
};

TEST_F(ServerTest, ServesOneCallAfterTheOther) {
  for (int i = 0; i < 50; ++i) EXPECT_EQ(call("p"), "pong");
}

TEST_F(ServerTest, ServesManyAtOnceSideBySide) {
  const auto clients = hold(10);
  EXPECT_EQ(call("p"), "pong");
  release();
  for (const auto& client : clients) EXPECT_EQ(receive(client), "pong");
}

TEST_F(ServerTest, AnswersForACallThatCrashed) {
  EXPECT_THAT(call("c"), StartsWith("Status: 500 "));
  EXPECT_EQ(call("p"), "pong");
}

TEST_F(ServerTest, AnswersForACallThatLeft) {
  EXPECT_THAT(call("x"), StartsWith("Status: 500 "));
  EXPECT_EQ(call("p"), "pong");
}

TEST_F(ImpatientServerTest, AnswersForACallThatHangs) {
  EXPECT_THAT(call("h"), StartsWith("Status: 504 "));
  expectToGoOn();
}

TEST_F(ServerTest, AddsNothingToAnAnswerThatHadBegunButALineToTheLog) {
  EXPECT_EQ(call("b"), "pong");
  EXPECT_TRUE(await([&] { return !log().empty(); }));
  EXPECT_THAT(log(), HasSubstr(": its process ended with signal 6 while it answered\n"));
}

TEST_F(ImpatientServerTest, LogsACallThatIsTooLateWhileItAnswers) {
  EXPECT_TRUE(await([&] { return call("l") == "pong"; })) << "it was always late before that";
  EXPECT_THAT(log(), HasSubstr(": its process did not finish in time while it answered\n"));
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
  const auto other = hold(1);
  EXPECT_EQ(std::stoi(call("d")), before) << "another caller's connection went along";
  release();
  EXPECT_EQ(receive(other.front()), "pong");
}

TEST_F(FullServerTest, TurnsAwayWhatIsTooMuchAndServesTheNext) {
  const auto held = hold(kPlacesOfTheWeb);
  const std::string rejected = call("p");
  EXPECT_THAT(rejected, StartsWith("Status: 503 "));
  EXPECT_THAT(rejected, HasSubstr("\r\nRetry-After: "));
  release();
  for (const auto& client : held) EXPECT_EQ(receive(client), "pong");
  EXPECT_TRUE(await([&] { return call("p") == "pong"; })) << "no place became free";
}

TEST_F(ServerTest, TurnsAwayAtOnceWhatIsTooMuchEvenToWait) {
  const auto held = hold(kPlacesOfTheWeb);
  const auto waiting = connectAll(kPlacesOfTheWeb, "p");
  EXPECT_THAT(call("p"), StartsWith("Status: 503 "));
  release();
  for (const auto& client : waiting) EXPECT_EQ(receive(client), "pong");
}

TEST_F(ServerTest, LogsHowManyItRejectedTogether) {
  const auto held = hold(kPlacesOfTheWeb);
  const auto waiting = connectAll(kPlacesOfTheWeb, "p");
  for (int i = 0; i < 3; ++i) EXPECT_THAT(call("p"), StartsWith("Status: 503 "));
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
  EXPECT_LE(lines, 4) << log();  // a second may pass between the three and before the others
  EXPECT_EQ(calls, static_cast<int>(kPlacesOfTheWeb) + 3) << log();
}

TEST_F(ServerTest, LetsACallWaitForAPlace) {
  const auto held = hold(kPlacesOfTheWeb);
  const auto waiting = connectToWait("p");
  release();
  EXPECT_EQ(receive(waiting), "pong");
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
  EXPECT_TRUE(await([&] { return ::send(client.get(), "x", 1, MSG_NOSIGNAL) == -1; }));
}

TEST_F(ServerTest, EndsAfterTheCallsInFlight) {
  const auto held = hold(1);
  stop();
  EXPECT_EQ(::waitpid(pid_, nullptr, WNOHANG), 0) << "it did not wait for the call";
  release();
  const int status = awaitEnd();
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(receive(held.front()), "pong");
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(ServerTest, EndsAfterTheCallsThatWait) {
  const auto held = hold(kPlacesOfTheWeb);
  const auto waiting = connectToWait("p");
  stop();
  release();
  const int status = awaitEnd();
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(receive(waiting), "pong");
}

TEST_F(ServerTest, EndsAtOnceAtTheSecondSignal) {
  const auto held = hold(kPlacesOfTheWeb);
  const auto waiting = connectToWait("p");
  stop();
  end(SIGINT);
  EXPECT_THAT(receive(held.front()), StartsWith("Status: 500 "));
  EXPECT_THAT(receive(waiting), StartsWith("Status: 503 "));
}

}  // namespace
}  // namespace currentconnd
