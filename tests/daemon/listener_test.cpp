#include "daemon/listener.h"

#include <chrono>
#include <future>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/config.h"
#include "platform/base/temporary_folder.h"

namespace currentconnd {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using zevo::testing_support::TemporaryFolder;

class Listeners : public testing::Test {
 protected:
  zevo::FileDescriptor listen(mode_t mode = 0660) {
    error_.clear();
    return listenAt(path_, ::getgid(), mode, &error_);
  }
  // A socket of that name as another process would have it.
  zevo::FileDescriptor bound() {
    zevo::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    return socket;
  }
  TemporaryFolder folder_;
  const std::string path_ = folder_.file("a.sock");
  std::string error_;
};

TEST_F(Listeners, HaveTheModeThatWasAskedFor) {
  const auto socket = listen(0666);
  ASSERT_TRUE(socket) << error_;
  struct stat status {};
  ASSERT_EQ(::stat(path_.c_str(), &status), 0);
  EXPECT_TRUE(S_ISSOCK(status.st_mode));
  EXPECT_EQ(status.st_mode & 07777U, 0666U);
}

TEST_F(Listeners, TakeOverTheNameOfADeadDaemon) {
  listen().reset();
  EXPECT_TRUE(listen()) << error_;
}

TEST_F(Listeners, LeaveARunningDaemonItsName) {
  const auto first = listen();
  EXPECT_FALSE(listen());
  EXPECT_THAT(error_, HasSubstr("is another currentconnd running?"));
}

TEST_F(Listeners, LeaveAFileThatIsNoSocketAlone) {
  folder_.write("a.sock", "precious");
  EXPECT_FALSE(listen());
  EXPECT_EQ(error_, "cannot listen on " + path_ +
                        ": a file that is not a socket is there; use another path");
  EXPECT_EQ(zevo::testing_support::contentOf(path_), "precious");
  EXPECT_EQ(folder_.names(), std::vector<std::string>{"a.sock"});
}

TEST_F(Listeners, LeaveAFolderAlone) {
  std::filesystem::create_directory(path_);
  EXPECT_FALSE(listen());
  EXPECT_EQ(error_, "cannot listen on " + path_ + ": a directory is there; use another path");
  EXPECT_EQ(folder_.names(), std::vector<std::string>{"a.sock"});
}

TEST_F(Listeners, TakeADeadDaemonsNameOverOneAfterTheOther) {
  listen().reset();
  const zevo::FileDescriptor lock = zevo::openFile((path_ + ".lock").c_str(), O_RDWR);
  ASSERT_EQ(::flock(lock.get(), LOCK_EX), 0);
  auto second = std::async(std::launch::async, [this] { return listen(); });
  EXPECT_EQ(second.wait_for(std::chrono::milliseconds(300)), std::future_status::timeout);
  ::unlink(path_.c_str());
  const auto first = bound();
  ASSERT_EQ(::listen(first.get(), 1), 0);
  ::flock(lock.get(), LOCK_UN);
  EXPECT_FALSE(second.get());
  EXPECT_THAT(error_, HasSubstr("is another currentconnd running?"));
}

TEST_F(Listeners, HaveALockThatNobodyElseCanHold) {
  ASSERT_TRUE(listen()) << error_;
  struct stat status {};
  ASSERT_EQ(::stat((path_ + ".lock").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

// Both listen; the configuration is the process's.
class ConfiguredListeners : public testing::Test {
 protected:
  ~ConfiguredListeners() override {
    std::string error;
    zevo::loadConfig("/nonexistent", false, &error);
  }
  // The error that opening them gives; empty on success. Each line of the configuration has a key.
  std::string open(const std::string& configuration) {
    std::string error;
    EXPECT_TRUE(zevo::loadConfig(folder_.write("c.toml", configuration), true, &error)) << error;
    std::vector<Listener> listeners;
    return openListeners(&listeners, &error) ? "" : error;
  }
  [[nodiscard]] std::string line(int number) const {
    return folder_.file("c.toml") + ":" + std::to_string(number) + ": ";
  }
  [[nodiscard]] std::string key(const std::string& name, const std::string& file) const {
    return name + " = '" + folder_.file(file) + "'\n";
  }

  TemporaryFolder folder_;
};

TEST_F(ConfiguredListeners, NeedAGroupThatIsThere) {
  EXPECT_EQ(
      open("web_group = 'nobodies'"),
      line(1) + "there is no group \"nobodies\"; set web_group to the group of the web server");
}

TEST_F(ConfiguredListeners, NeedPathsThatDiffer) {
  const std::string reason =
      "web_socket and local_socket are the same; give each a path of its own";
  const std::string group = "web_group = ''\n";
  EXPECT_EQ(open(group + key("web_socket", "a") + key("local_socket", "a")), line(3) + reason);
  EXPECT_EQ(open(group + key("local_socket", "a") + key("web_socket", "x/.././a")),
            line(2) + reason);
  EXPECT_EQ(open(group + "web_socket = '/run/currentconn/local.sock'"), line(2) + reason);
  EXPECT_EQ(folder_.names(), std::vector<std::string>{"c.toml"});
}

TEST_F(ConfiguredListeners, TellWhereThePathIsSetThatDoesNotDo) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a socket away";
  const std::string group = "web_group = ''\n";
  EXPECT_THAT(open(group + key("web_socket", std::string(200, 'x'))),
              AllOf(StartsWith(line(2)), HasSubstr("File name too long")));
  folder_.write("file", "");
  EXPECT_THAT(open(group + key("web_socket", "a") + key("local_socket", "file")),
              AllOf(StartsWith(line(3)), HasSubstr("a file that is not a socket is there")));
  EXPECT_THAT(open(group + key("web_socket", "file/a")),
              AllOf(StartsWith(line(2)), HasSubstr("Not a directory")));
  EXPECT_THAT(open(group + key("web_socket", "x/y/a")),
              AllOf(StartsWith(line(2)), HasSubstr("No such file or directory")));
}

TEST_F(Listeners, RefuseANameThatIsTooLong) {
  std::string error;
  EXPECT_FALSE(listenAt("/" + std::string(200, 'x'), 0, 0600, &error));
  EXPECT_THAT(error, HasSubstr("File name too long"));
}

TEST_F(Listeners, RemoveTheirNameWhenTheyGo) {
  { const Listener listener(listen(), calls::SocketKind::kWeb, path_); }
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(Listeners, KeepTheirNameWhereAChildForgetsThem) {
  Listener listener(listen(), calls::SocketKind::kWeb, path_);
  listener.forget();
  EXPECT_EQ(listener.descriptor(), -1);
  EXPECT_TRUE(std::filesystem::exists(path_));
}

}  // namespace
}  // namespace currentconnd
