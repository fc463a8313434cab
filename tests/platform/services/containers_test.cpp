#include "services/containers.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/accounts.h"
#include "platform/services/print.h"
#include "platform/services/service_fixture.h"
#include "services/client_sockets.h"
#include "services/openssh.h"
#include "services/vsftpd.h"

namespace zevo::connections {
namespace {

using test::kOurNamespaces;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr Namespaces kOther = {4026532001, 4026532002, 4026532003};
constexpr const char* kWeb = "0::/lxc.payload.web\n";

bool isAny(std::string_view /*name*/) {
  return true;
}

Namespaces otherMounts() {
  Namespaces namespaces = kOurNamespaces;
  namespaces.mount = kOther.mount;
  return namespaces;
}

class ContainersTest : public test::ServiceFixture {
 protected:
  // The container whose accounts the process serves; "?" if nobody can tell.
  std::string containerOf(pid_t pid) {
    const test::FakeSources sources(tree_);
    const auto container = connections::containerOf(*sources, *sources.processes().find(pid));
    return container ? *container : "?";
  }
  void addWithNamespaces(const Namespaces& namespaces, const std::string& cgroup = kWeb) {
    add({.pid = 10, .name = "sshd", .namespaces = namespaces, .cgroup = cgroup});
  }
  // Gives the first process another tree than the others see.
  void moveHome(const std::string& passwd) {
    if (!passwd.empty()) tree_.file("home/etc/passwd", passwd);
    tree_.remove(1);
    add({.pid = 1,
         .parent = 0,
         .name = "systemd",
         .startTicks = 1,
         .root = tree_.folder() + "/home"});
  }
  static Connection record(pid_t pid, const std::string& user,
                           ZEVO_CURCONN_TYPE type = ZEVO_CURCONN_SSH) {
    return {.pid = pid, .user = user, .type = type};
  }
};

TEST_F(ContainersTest, AServiceOfThisMachineIsOurs) {
  addWithNamespaces(kOurNamespaces);
  EXPECT_EQ(containerOf(10), "");
}

TEST_F(ContainersTest, AnotherPidOrNetworkNamespaceIsAContainersWithItsName) {
  Namespaces namespaces = kOurNamespaces;
  namespaces.pid = kOther.pid;
  addWithNamespaces(namespaces);
  EXPECT_EQ(containerOf(10), "web");
  tree_.remove(10);
  namespaces = kOurNamespaces;
  namespaces.network = kOther.network;
  addWithNamespaces(namespaces);
  EXPECT_EQ(containerOf(10), "web");
}

TEST_F(ContainersTest, WithoutANameItIsTheNumberOfTheNamespaceThatDiffers) {
  addWithNamespaces(kOther, "0::/\n");
  EXPECT_EQ(containerOf(10), "4026532001");
  tree_.remove(10);
  addWithNamespaces({kOurNamespaces.pid, kOther.network, kOther.mount}, "0::/\n");
  EXPECT_EQ(containerOf(10), "4026532002");
}

TEST_F(ContainersTest, AnotherMountNamespaceWithTheSameAccountsIsOurs) {
  addWithNamespaces(otherMounts());
  EXPECT_EQ(containerOf(10), "");
}

TEST_F(ContainersTest, AnotherMountNamespaceWithOtherAccountsIsAContainers) {
  moveHome("bob:x:1002:1002::/home/bob:/bin/sh\n");
  addWithNamespaces(otherMounts(), "0::/\n");
  EXPECT_EQ(containerOf(10), "4026532003");
}

TEST_F(ContainersTest, AnAccountsFileReachedByALinkIsLookedForInThatTree) {
  moveHome("");
  std::filesystem::create_directories(tree_.folder() + "/home/etc");
  std::filesystem::create_symlink("/etc/passwd", tree_.folder() + "/home/etc/passwd");
  addWithNamespaces(otherMounts());
  EXPECT_EQ(containerOf(10), "web");
}

TEST_F(ContainersTest, AServiceThatIsConfinedWithItsMountNamespaceIsAContainers) {
  add({.pid = 10,
       .name = "sshd",
       .root = tree_.folder(),
       .namespaces = otherMounts(),
       .cgroup = kWeb});
  EXPECT_EQ(containerOf(10), "web");
}

TEST_F(ContainersTest, WhatAUserEntersDoesNotCountButWhatRootStartedAboveIt) {
  addWithNamespaces(kOurNamespaces);
  add({.pid = 11, .parent = 10, .name = "sshd", .uid = 1001, .namespaces = kOther, .cgroup = kWeb});
  add({.pid = 12, .parent = 11, .name = "su", .uid = 0, .setuid = true, .namespaces = kOther});
  EXPECT_EQ(containerOf(11), "");
  EXPECT_EQ(containerOf(12), "");
}

TEST_F(ContainersTest, NamespacesThatAServerMakesForASessionDoNotCount) {
  addWithNamespaces(kOurNamespaces);
  add({.pid = 11, .parent = 10, .name = "sshd", .namespaces = kOther, .cgroup = kWeb});
  add({.pid = 12, .parent = 11, .name = "sshd", .uid = 1001, .namespaces = kOther, .cgroup = kWeb});
  EXPECT_EQ(containerOf(11), "");
  EXPECT_EQ(containerOf(12), "");
}

TEST_F(ContainersTest, TheTreeOfAUsersProcessIsNotLookedAt) {
  add({.pid = 11,
       .parent = 4711,
       .name = "sshd",
       .uid = 1001,
       .namespaces = otherMounts(),
       .cgroup = "0::/\n"});
  EXPECT_EQ(containerOf(11), "4026532003");
}

TEST_F(ContainersTest, WhereTheFirstProcessCannotBeReadOurOwnNamespacesCount) {
  tree_.remove(1);
  add({.pid = 1, .parent = 0, .name = "systemd", .namespaces = {}});
  addWithNamespaces(kOurNamespaces);
  EXPECT_EQ(containerOf(10), "");
  tree_.remove(10);
  addWithNamespaces(kOther);
  EXPECT_EQ(containerOf(10), "web");
}

TEST_F(ContainersTest, AKernelWithoutNamespacesHasNoContainers) {
  tree_.removeNamespaces("self");
  tree_.removeNamespaces("1");
  add({.pid = 10, .name = "sshd"});
  tree_.removeNamespaces("10");
  EXPECT_EQ(containerOf(10), "");
}

TEST_F(ContainersTest, AProcessThatEndsMeanwhileTellsNothing) {
  addWithNamespaces(kOurNamespaces);
  tree_.removeNamespaces("10");
  EXPECT_EQ(containerOf(10), "?");
}

TEST_F(ContainersTest, UsersOfAContainerBearItsName) {
  addWithNamespaces(kOther);
  add({.pid = 20, .name = "smbd"});
  const test::FakeSources sources(tree_);
  std::vector<Connection> connections = {
      record(10, "bob"),
      record(10, "bob@corp", ZEVO_CURCONN_CIFS),
      record(10, "", ZEVO_CURCONN_CIFS),
      record(20, "bob", ZEVO_CURCONN_CIFS),
      record(0, "", ZEVO_CURCONN_NFS),
      record(10, "bob", ZEVO_CURCONN_LOGIN),
  };
  nameContainers(*sources, &connections);
  EXPECT_THAT(connections,
              ElementsAre(record(10, "bob@web"), record(10, "bob@corp@web", ZEVO_CURCONN_CIFS),
                          record(10, "unknown@web", ZEVO_CURCONN_CIFS),
                          record(20, "bob", ZEVO_CURCONN_CIFS), record(0, "", ZEVO_CURCONN_NFS),
                          record(10, "bob", ZEVO_CURCONN_LOGIN)));
}

TEST_F(ContainersTest, AProcessThatBeganAfterTheScanIsAskedToo) {
  const test::FakeSources sources(tree_);
  addWithNamespaces(kOther);
  std::vector<Connection> connections = {record(10, "bob")};
  nameContainers(*sources, &connections);
  EXPECT_THAT(connections, ElementsAre(record(10, "bob@web")));
}

TEST_F(ContainersTest, ARecordOfWhichItCannotBeToldIsLeftOutAndNoted) {
  addWithNamespaces(kOurNamespaces);
  tree_.makeUnreadable(10, "ns/net");
  const test::FakeSources sources(tree_);
  std::vector<Connection> connections = {record(10, "bob")};
  nameContainers(*sources, &connections);
  EXPECT_THAT(connections, IsEmpty());
  ASSERT_EQ((*sources).notes().size(), 1U);
  EXPECT_THAT((*sources).notes()[0].detail, ::testing::HasSubstr("/proc/10/ns/net"));
}

TEST_F(ContainersTest, ANumberIsNobodysNameInAContainer) {
  addWithNamespaces(kOther);
  add({.pid = 20, .name = "vsftpd"});
  const test::FakeSources sources(tree_);
  const ProcessTable& processes = (*sources).processes();
  EXPECT_EQ(accountOf(*sources, *processes.find(10), test::kAlice), "unknown");
  EXPECT_EQ(accountOf(*sources, *processes.find(20), test::kAlice), "alice");
}

class ContainerSocketsTest : public ContainersTest {
 protected:
  static constexpr const char* kTcp =
      "   0: 02001E0A:0016 01001E0A:C350 01 00000000:00000000 02:0009C8B7 00000000  0        0 9\n";

  void addSession(const Namespaces& namespaces, const Namespaces& ofTheUser) {
    add({.pid = 10,
         .name = "sshd",
         .cmdline = title("sshd: bob [priv]"),
         .sockets = {{4, 9}},
         .namespaces = namespaces});
    add({.pid = 11,
         .parent = 10,
         .name = "sshd",
         .cmdline = title("sshd: bob@pts/1"),
         .uid = 1002,
         .sockets = {{4, 9}},
         .namespaces = ofTheUser});
  }
  // The client addresses of what the collector finds.
  std::vector<std::string> addresses(Collector collector) {
    std::vector<std::string> found;
    for (const Connection& connection : read(collector)) found.push_back(connection.from);
    return found;
  }
};

TEST_F(ContainerSocketsTest, AreReadInTheirOwnNetworkNamespace) {
  addSession(kOther, kOther);
  tree_.write(10, "net/tcp", kTcp);
  EXPECT_THAT(addresses(readOpenssh), ElementsAre("10.30.0.1"));
}

TEST_F(ContainerSocketsTest, OfIpv6AreReadToo) {
  addSession(kOther, kOther);
  tree_.write(10, "net/tcp", "");
  tree_.write(
      10, "net/tcp6",
      "   0: 0000000000000000FFFF000002001E0A:0016 0000000000000000FFFF000003001E0A:C350 01 "
      "00000000:00000000 02:0009C8B7 00000000  0        0 9\n");
  EXPECT_THAT(addresses(readOpenssh), ElementsAre("10.30.0.3"));
}

TEST_F(ContainerSocketsTest, AreReadOnceForEachNetworkNamespace) {
  addSession(kOther, kOther);
  tree_.write(10, "net/tcp", kTcp);
  const test::FakeSources sources(tree_);
  const Process& server = *sources.processes().find(10);
  ASSERT_TRUE(connectionsOf(*sources, server, isAny));
  tree_.write(10, "net/tcp", "");
  EXPECT_EQ(connectionsOf(*sources, server, isAny)->size(), 1U);
}

TEST_F(ContainerSocketsTest, AreTheServersWhereTheSessionHasANetworkNamespaceOfItsOwn) {
  addSession(kOther, {kOther.pid, 4026532004, kOther.mount});
  add({.pid = 12,
       .parent = 10,
       .name = "vsftpd",
       .uid = test::kBob,
       .sockets = {{0, 9}},
       .namespaces = {4026532005, 4026532004, kOther.mount}});
  tree_.write(10, "net/tcp", kTcp);
  const test::FakeSources sources(tree_);
  const auto sockets = connectionsOf(*sources, *sources.processes().find(12), isAny);
  ASSERT_EQ(sockets->size(), 1U);
  EXPECT_EQ(numericText((*sockets)[0].remote), "10.30.0.1");
}

TEST_F(ContainerSocketsTest, PassedOnByThisMachineAreThisMachines) {
  addSession(kOther, kOther);
  connect(9, "10.20.0.2", 22);
  tree_.write(10, "net/tcp", kTcp);
  EXPECT_THAT(addresses(readOpenssh), ElementsAre("10.20.0.2"));
}

TEST_F(ContainerSocketsTest, OfANamespaceThatAUserMadeAreNotRead) {
  add({.pid = 10, .name = "vsftpd", .cwd = "/srv"});
  add({.pid = 11,
       .parent = 10,
       .name = "vsftpd",
       .uid = test::kBob,
       .sockets = {{0, 9}},
       .namespaces = kOther});
  tree_.write(11, "net/tcp", kTcp);
  EXPECT_THAT(addresses(readVsftpd), IsEmpty());
}

TEST_F(ContainerSocketsTest, ThatCannotBeReadFailTheService) {
  addSession(kOther, kOther);
  tree_.write(10, "net/tcp", kTcp);
  tree_.makeUnreadable(10, "net/tcp");
  EXPECT_THAT(failureOf(readOpenssh), ::testing::HasSubstr("/proc/10/net/tcp"));
}

}  // namespace
}  // namespace zevo::connections
