#include "services/nfs_clients.h"

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/cause.h"
#include "platform/services/proc_tree.h"

namespace zevo::connections {

void PrintTo(const NfsClient& client, std::ostream* stream) {
  *stream << "{" << client.from << ", " << client.version << ", " << client.time << "}";
}
void PrintTo(const NfsMount& mount, std::ostream* stream) {
  *stream << "{" << mount.from << ", " << mount.folder << "}";
}

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

std::string info(const std::string& address, const std::string& status = "confirmed",
                 const std::string& minorVersion = "2") {
  return "clientid: 0x6d1b2f5e5f8a9c32\naddress: \"" + address + "\"\nstatus: " + status +
         "\nseconds from last renew: 12\nname: \"Linux NFSv4.2 \\xff\\nstatus: x\"\n"
         "minor version: " +
         minorVersion + "\nImplementation domain: \"kernel.org\"\ncallback state: UP\n";
}

TEST(NfsClientTest, HasItsAddressAndVersion) {
  EXPECT_EQ((NfsClient{"10.0.0.9", "NFSv4.2", ""}), parseNfsClient(info("10.0.0.9:783")));
}

TEST(NfsClientTest, AnIpv6AddressStandsInBrackets) {
  EXPECT_EQ("fd20::2", parseNfsClient(info("[fd20::2]:783"))->from);
}

TEST(NfsClientTest, AMappedAddressIsThatOfIpv4) {
  EXPECT_EQ("10.0.0.9", parseNfsClient(info("[::ffff:10.0.0.9]:783"))->from);
}

TEST(NfsClientTest, AnAddressOfAnotherFormIsShownAsItStands) {
  EXPECT_EQ("(einval)", parseNfsClient(info("(einval)"))->from);
}

TEST(NfsClientTest, OnlyConfirmedClientsCount) {
  for (const char* status : {"unconfirmed", "courtesy", "expirable", "", "confirmed?"}) {
    EXPECT_EQ(std::nullopt, parseNfsClient(info("10.0.0.9:783", status))) << status;
  }
}

TEST(NfsClientTest, OlderKernelsTellNoStatus) {
  EXPECT_EQ((NfsClient{"10.0.0.9", "NFSv4.1", ""}),
            parseNfsClient("clientid: 0x1\naddress: \"10.0.0.9:783\"\nname: \"x\"\n"
                           "minor version: 1\n"));
}

TEST(NfsClientTest, AMinorVersionThatIsNoNumberIsNotShown) {
  for (const char* version : {"", "x", "-1", "2 ", "99999999999"}) {
    EXPECT_EQ("NFSv4", parseNfsClient(info("10.0.0.9:783", "confirmed", version))->version)
        << version;
  }
}

TEST(NfsClientTest, OtherTextIsNoClient) {
  for (const char* text : {"", "\n\n", "address:", "address: ", "status: confirmed\n", "\xff"}) {
    EXPECT_EQ(std::nullopt, parseNfsClient(text)) << text;
  }
}

class NfsClientsTest : public ::testing::Test {
 protected:
  Result<void> read() { return readNfsClients(tree_.paths(), &clients_); }

  test::ProcTree tree_;
  std::vector<NfsClient> clients_ = {{"left over", "", ""}};
};

TEST_F(NfsClientsTest, WithoutTheKernelsServerThereAreNone) {
  EXPECT_TRUE(read());
  EXPECT_THAT(clients_, IsEmpty());
}

TEST_F(NfsClientsTest, EachFolderIsAClientSinceTheTimeOfTheFolder) {
  tree_.file("nfsd/clients/3/info", info("10.0.0.9:783"));
  tree_.file("nfsd/clients/4/info", info("10.0.0.8:783", "confirmed", "0"));
  for (const char* number : {"3", "4"}) {
    const timespec start = {test::ProcTree::kBootTime + 1, 0};
    const timespec times[] = {start, start};
    const std::string folder = tree_.paths().nfsd + "/clients/" + number;
    ASSERT_EQ(0, ::utimensat(AT_FDCWD, folder.c_str(), times, 0));
  }
  EXPECT_TRUE(read());
  EXPECT_THAT(clients_, UnorderedElementsAre(NfsClient{"10.0.0.9", "NFSv4.2", test::kStartText},
                                             NfsClient{"10.0.0.8", "NFSv4.0", test::kStartText}));
}

TEST_F(NfsClientsTest, AClientThatVanishesIsSkipped) {
  tree_.file("nfsd/clients/3/info", info("10.0.0.9:783"));
  std::filesystem::remove(tree_.paths().nfsd + "/clients/3/info");
  EXPECT_TRUE(read());
  EXPECT_THAT(clients_, IsEmpty());
}

TEST_F(NfsClientsTest, AClientThatCannotBeReadIsAFailureThatNamesTheRemedy) {
  const std::string path = tree_.file("nfsd/clients/3/info", "");
  std::filesystem::remove(path);
  std::filesystem::create_symlink(path, path);
  EXPECT_THAT(causeOf(read()), HasSubstr("clients/3/info"));
  EXPECT_THAT(causeOf(read()), HasSubstr("run this as root"));
}

TEST(RmtabTest, EachLineIsAMount) {
  EXPECT_THAT(parseRmtab("10.0.0.9:/srv/media:0x00000001\n"
                         "fd20::2:/srv/a:b c:0x0000000f\n"
                         "::ffff:10.0.0.8:/:0x00000002"),
              ElementsAre(NfsMount{"10.0.0.9", "/srv/media"}, NfsMount{"fd20::2", "/srv/a:b c"},
                          NfsMount{"10.0.0.8", "/"}));
}

TEST(RmtabTest, NamesAndEndedMountsAndGarbageAreLeftOut) {
  EXPECT_THAT(parseRmtab("client.example:/srv/media:0x00000001\n"
                         "10.0.0.9:/srv/media:0x00000000\n"
                         "10.0.0.9:/srv/media\n10.0.0.9:0x00000001\n:/:0x1\n\n\xff:/x:0x1\n"
                         "10.0.0.9:0x1:/srv"),
              IsEmpty());
}

TEST(RmtabTest, AMissingTableHasNoMounts) {
  const test::ProcTree tree;
  std::vector<NfsMount> mounts = {{"left over", ""}};
  EXPECT_TRUE(readRmtab(tree.paths(), &mounts));
  EXPECT_THAT(mounts, IsEmpty());
}

TEST(RmtabTest, ATableThatIsTooLongIsAFailureThatNamesIt) {
  const test::ProcTree tree;
  const std::string path = tree.file("rmtab", "10.0.0.9:/srv/media:0x00000001\n");
  std::filesystem::resize_file(path, 64UL * 1024 * 1024);
  std::vector<NfsMount> mounts;
  EXPECT_THAT(causeOf(readRmtab(tree.paths(), &mounts)), HasSubstr("rmtab"));
  EXPECT_THAT(mounts, IsEmpty());
}

TEST(RmtabTest, SoIsOneThatIsAFolder) {
  const test::ProcTree tree;
  std::filesystem::create_directory(tree.paths().rmtab);
  std::vector<NfsMount> mounts;
  EXPECT_THAT(causeOf(readRmtab(tree.paths(), &mounts)), HasSubstr("rmtab"));
}

}  // namespace
}  // namespace zevo::connections
