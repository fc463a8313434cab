#include "services/nfs.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/print.h"
#include "platform/services/service_fixture.h"

namespace zevo::connections {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr std::uint16_t kPort = 2049;

class NfsTest : public test::ServiceFixture {
 protected:
  void startKernelServer() { tree_.file("nfsd/threads", "8\n"); }
  void addClient(const std::string& number, const std::string& address,
                 const std::string& minorVersion = "2") {
    tree_.file("nfsd/clients/" + number + "/info",
               "clientid: 0x1\naddress: \"" + address +
                   "\"\nstatus: confirmed\nminor version: " + minorVersion + "\n");
  }
  void addTable(const std::string& lines) { tree_.file("rmtab", lines); }
  // The records without their times.
  std::vector<Connection> readTimeless() {
    auto connections = read(readNfs);
    for (Connection& connection : connections) connection.time.clear();
    return connections;
  }
  static Connection nfs(const std::string& from, const std::string& descr) {
    return {0, "", from, "", descr, ZEVO_CURCONN_NFS};
  }
};

TEST_F(NfsTest, WithoutAServerThereAreNoClients) {
  EXPECT_THAT(read(readNfs), IsEmpty());
}

TEST_F(NfsTest, AnyServersConnectionsAreOneRecordAnAddress) {
  connect(1, "10.20.0.5", kPort);
  connect(2, "::ffff:10.20.0.6", kPort);
  connect(3, "10.20.0.6", kPort);
  connect(4, "10.20.0.7", 445);
  EXPECT_THAT(read(readNfs), ElementsAre(nfs("10.20.0.5", "NFS"), nfs("10.20.0.6", "NFS")));
}

TEST_F(NfsTest, AUsersOwnServerOnThePortIsNone) {
  connect(1, "10.20.0.5", kPort);
  sockets_[0].owner = 1001;
  EXPECT_THAT(read(readNfs), IsEmpty());
}

TEST_F(NfsTest, AConnectionThatItsClientHasClosedIsNone) {
  connect(1, "10.20.0.5", kPort);
  sockets_[0].isHalfClosed = true;
  EXPECT_THAT(read(readNfs), IsEmpty());
}

TEST_F(NfsTest, AConnectionThatNobodyHasAcceptedIsNone) {
  connect(0, "10.20.0.5", kPort);
  EXPECT_THAT(read(readNfs), IsEmpty());
}

TEST_F(NfsTest, AConnectionOfAKnownClientIsNotShownAgain) {
  addClient("3", "10.20.0.5:783");
  connect(1, "10.20.0.5", kPort);
  EXPECT_THAT(readTimeless(), ElementsAre(nfs("10.20.0.5", "NFSv4.2")));
}

TEST_F(NfsTest, AClientIsShownWhetherItHoldsAConnectionOrNot) {
  addClient("3", "[fd20::2]:783", "1");
  const auto found = read(readNfs);
  ASSERT_THAT(found, ::testing::SizeIs(1));
  EXPECT_FALSE(found[0].time.empty());
  EXPECT_THAT(readTimeless(), ElementsAre(nfs("fd20::2", "NFSv4.1")));
}

TEST_F(NfsTest, ClientsOfOneAddressAreOneRecordAVersion) {
  addClient("3", "10.20.0.5:783");
  addClient("4", "10.20.0.5:784");
  addClient("5", "10.20.0.5:785", "0");
  EXPECT_THAT(readTimeless(),
              ElementsAre(nfs("10.20.0.5", "NFSv4.0"), nfs("10.20.0.5", "NFSv4.2")));
}

TEST_F(NfsTest, AVersion3ClientShowsItsExportsWhileItIsConnected) {
  startKernelServer();
  addTable(
      "10.20.0.5:/srv/media:0x00000001\n10.20.0.5:/srv/music:0x00000002\n"
      "10.20.0.9:/srv/media:0x00000001\n");
  connect(1, "10.20.0.5", kPort);
  EXPECT_THAT(read(readNfs), ElementsAre(nfs("10.20.0.5", "/srv/media (NFSv3)"),
                                         nfs("10.20.0.5", "/srv/music (NFSv3)")));
}

TEST_F(NfsTest, AMountThatIsInTheTableTwiceIsOneRecord) {
  startKernelServer();
  addTable("10.20.0.5:/srv/media:0x00000001\n::ffff:10.20.0.5:/srv/media:0x00000001\n");
  connect(1, "10.20.0.5", kPort);
  EXPECT_THAT(read(readNfs), ElementsAre(nfs("10.20.0.5", "/srv/media (NFSv3)")));
}

TEST_F(NfsTest, TheOnlyConnectionOfAVersion4ClientIsNoMountsToo) {
  startKernelServer();
  addClient("3", "10.20.0.5:783");
  addTable("10.20.0.5:/srv/media:0x00000001\n");
  connect(1, "10.20.0.5", kPort);
  EXPECT_THAT(readTimeless(), ElementsAre(nfs("10.20.0.5", "NFSv4.2")));
}

TEST_F(NfsTest, OneAddressMayUseBothVersions) {
  startKernelServer();
  addClient("3", "10.20.0.5:783");
  addTable("10.20.0.5:/srv/media:0x00000001\n");
  connect(1, "10.20.0.5", kPort);
  connect(2, "10.20.0.5", kPort);
  EXPECT_THAT(readTimeless(),
              ElementsAre(nfs("10.20.0.5", "/srv/media (NFSv3)"), nfs("10.20.0.5", "NFSv4.2")));
}

TEST_F(NfsTest, ATableThatTheKernelsServerLeftBehindSaysNothing) {
  addTable("10.20.0.5:/srv/media:0x00000001\n");
  connect(1, "10.20.0.5", kPort);
  EXPECT_THAT(read(readNfs), ElementsAre(nfs("10.20.0.5", "NFS")));
  tree_.file("nfsd/threads", "0\n");
  EXPECT_THAT(read(readNfs), ElementsAre(nfs("10.20.0.5", "NFS")));
}

TEST_F(NfsTest, ALinkLocalClientIsOneHostInAllSources) {
  addClient("3", "[fe80::1]:783");
  connect(1, "fe80::1%lo", kPort);
  connect(2, "fe80::1%lo", kPort);
  EXPECT_THAT(readTimeless(), ElementsAre(nfs("fe80::1%lo", "NFSv4.2")));
}

TEST_F(NfsTest, ATableThatIsTooLongIsLoggedAndItsClientsAreShownWithoutExports) {
  startKernelServer();
  addTable("10.20.0.5:/srv/media:0x00000001\n");
  std::filesystem::resize_file(tree_.paths().rmtab, 64UL * 1024 * 1024);
  connect(1, "10.20.0.5", kPort);
  const test::FakeSources sources(tree_, sockets_);
  EXPECT_THAT(test::readAll(readNfs, *sources), ElementsAre(nfs("10.20.0.5", "NFS")));
  EXPECT_THAT(sources.log(), ElementsAre(HasSubstr("NFS: ")));
  EXPECT_THAT((*sources).notes(),
              ElementsAre(ReadNote{std::string(kDetailsMissing), "NFS", sources.log().at(0)}));
}

TEST_F(NfsTest, AClientThatCannotBeReadIsAFailure) {
  addClient("3", "10.20.0.5:783");
  const std::string path = tree_.paths().nfsd + "/clients/3/info";
  std::filesystem::remove(path);
  std::filesystem::create_symlink(path, path);
  EXPECT_THAT(failureOf(readNfs), HasSubstr("run this as root"));
}

TEST_F(NfsTest, AClientThatCannotBeReadCostsNoOtherItsRow) {
  addClient("3", "10.20.0.5:783");
  addClient("4", "10.20.0.6:783");
  const std::string path = tree_.paths().nfsd + "/clients/3/info";
  std::filesystem::remove(path);
  std::filesystem::create_symlink(path, path);
  connect(1, "10.20.0.7", kPort);
  std::vector<Connection> connections = readPartly(readNfs);
  for (Connection& connection : connections) connection.time.clear();
  EXPECT_THAT(connections, ElementsAre(nfs("10.20.0.6", "NFSv4.2"), nfs("10.20.0.7", "NFS")));
}

}  // namespace
}  // namespace zevo::connections
