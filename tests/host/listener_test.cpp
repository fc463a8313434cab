#include "listener.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/base/temporary_folder.h"

namespace host {
namespace {

using testing::HasSubstr;
using zevo::testing_support::TemporaryFolder;

class Listeners : public testing::Test {
 protected:
  zevo::FileDescriptor listen(mode_t mode = 0660) {
    error_.clear();
    return listenAt(path_, ::getgid(), mode, &error_);
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
  EXPECT_EQ(zevo::testing_support::contentOf(path_), "precious");
}

TEST_F(Listeners, RefuseANameThatIsTooLong) {
  std::string error;
  EXPECT_FALSE(listenAt("/" + std::string(200, 'x'), 0, 0600, &error));
  EXPECT_THAT(error, HasSubstr("File name too long"));
}

TEST_F(Listeners, RemoveTheirNameWhenTheyGo) {
  { const Listener listener(listen(), Entrance::kWeb, path_); }
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(Listeners, KeepTheirNameWhereAChildForgetsThem) {
  Listener listener(listen(), Entrance::kWeb, path_);
  listener.forget();
  EXPECT_EQ(listener.descriptor(), -1);
  EXPECT_TRUE(std::filesystem::exists(path_));
}

}  // namespace
}  // namespace host
