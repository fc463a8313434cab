#include "services/client_sockets.h"

#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/cause.h"
#include "platform/services/proc_tree.h"

namespace zevo::connections {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::uint64_t kClient = 900;

bool isFtp(std::string_view name) {
  return name == "vsftpd";
}

class ClientSocketsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "only root's programs count; run this as root";
  }
  // A process whose descriptors are all the same connection.
  void add(pid_t pid, pid_t parent, int descriptors) {
    test::FakeProcess process{.pid = pid, .parent = parent, .name = "vsftpd", .uid = 1000};
    for (int i = 0; i < descriptors; ++i) process.sockets.emplace_back(i, kClient);
    tree_.add(process);
  }
  // How many descriptors are looked at, of each process in order of pids.
  std::vector<std::size_t> looks(const test::FakeSources& sources) {
    std::vector<std::size_t> looks;
    for (const Process* process : sources.processes().named(isFtp)) {
      const auto found = connectionsOf(*sources, *process, isFtp);
      EXPECT_TRUE(found) << causeOf(found);
      looks.push_back(found ? found->size() : 0);
    }
    return looks;
  }

  test::ProcTree tree_;
  const std::vector<Socket> sockets_ = {test::establishedSocket(kClient, "10.20.0.2", 21)};
};

TEST_F(ClientSocketsTest, OrphansShareTheirLooksAndEachHasSome) {
  for (pid_t pid = 100; pid < 105; ++pid) add(pid, 1, 300);
  const test::FakeSources sources(tree_, sockets_);
  (*sources).orphanLooks().left = 600;
  EXPECT_THAT(looks(sources), ElementsAre(256, 256, 88, 8, 8));
  ASSERT_THAT((*sources).notes(), SizeIs(1));
  EXPECT_EQ((*sources).notes()[0].code, kConnectionsMissing);
  EXPECT_EQ((*sources).notes()[0].service, "FTP");
  EXPECT_EQ(
      (*sources).notes()[0].detail,
      "too many processes look like what is left of sessions, process 102 (vsftpd) among them; "
      "end those that are not");
}

TEST_F(ClientSocketsTest, TheLimitOfOrphansConcernsNothingElseAndNoneThatHoldsLittle) {
  add(100, 1, 100);
  add(101, 1, 8);
  tree_.add({.pid = 200, .name = "vsftpd"});
  add(201, 200, 300);
  const test::FakeSources sources(tree_, sockets_);
  (*sources).orphanLooks().left = 100;
  EXPECT_THAT(looks(sources), ElementsAre(100, 8, 0, 300));
  EXPECT_THAT((*sources).notes(), IsEmpty());
}

}  // namespace
}  // namespace zevo::connections
