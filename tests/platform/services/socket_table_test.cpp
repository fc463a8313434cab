#include "services/socket_table.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>

#include "base/file_descriptor.h"
#include "platform/services/cause.h"

namespace zevo::connections {
namespace {

using ::testing::ElementsAre;

void append(std::string* datagram, const void* bytes, std::size_t size) {
  datagram->append(static_cast<const char*>(bytes), size);
  datagram->append((4 - size % 4) % 4, '\0');
}

void appendMessage(std::string* datagram, std::uint16_t type, std::uint16_t flags,
                   const void* payload, std::size_t size) {
  nlmsghdr header{};
  header.nlmsg_len = static_cast<std::uint32_t>(sizeof(header) + size);
  header.nlmsg_type = type;
  header.nlmsg_flags = static_cast<std::uint16_t>(NLM_F_MULTI | flags);
  append(datagram, &header, sizeof(header));
  append(datagram, payload, size);
}

void appendSocket(std::string* datagram, std::uint8_t family, const char* local, const char* remote,
                  std::uint32_t inode, std::uint16_t flags = 0) {
  inet_diag_msg message{};
  message.idiag_family = family;
  message.idiag_inode = inode;
  message.idiag_uid = 1001;
  message.id.idiag_sport = htons(22);
  message.id.idiag_dport = htons(50000);
  message.id.idiag_if = 1;
  ::inet_pton(family, local, message.id.idiag_src);
  ::inet_pton(family, remote, message.id.idiag_dst);
  appendMessage(datagram, SOCK_DIAG_BY_FAMILY, flags, &message, sizeof(message));
}

void appendEnd(std::string* datagram, int error) {
  appendMessage(datagram, NLMSG_DONE, 0, &error, sizeof(error));
}

// A netlink socket with a port of its own.
struct Netlink {
  Netlink() {
    EXPECT_EQ(::bind(file.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    socklen_t size = sizeof(address);
    EXPECT_EQ(::getsockname(file.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
  }
  // Sends a message that every receiver answers with an error.
  [[nodiscard]] bool send(const sockaddr_nl& to) const {
    const nlmsghdr unknown{sizeof(unknown), NLMSG_MIN_TYPE, NLM_F_REQUEST | NLM_F_ACK, 7, 0};
    return ::sendto(file.get(), &unknown, sizeof(unknown), 0,
                    reinterpret_cast<const sockaddr*>(&to), sizeof(to)) == sizeof(unknown);
  }

  FileDescriptor file{::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG)};
  sockaddr_nl address{AF_NETLINK, 0, 0, 0};
};

TEST(SocketDumpTest, BelievesTheKernelAlone) {
  const Netlink ours;
  const Netlink stranger;
  if (!stranger.send(ours.address)) GTEST_SKIP() << "needs the right to write to others' sockets";
  ASSERT_TRUE(ours.send({AF_NETLINK, 0, 0, 0}));
  std::array<char, 1024> buffer{};
  const ssize_t size = receiveFromKernel(ours.file.get(), buffer);
  ASSERT_GE(size, static_cast<ssize_t>(sizeof(nlmsghdr)));
  nlmsghdr header{};
  std::memcpy(&header, buffer.data(), sizeof(header));
  EXPECT_EQ(header.nlmsg_type, NLMSG_ERROR);
}

TEST(SocketDumpTest, BelievesNoDatagramThatWasCut) {
  const Netlink ours;
  ASSERT_TRUE(ours.send({AF_NETLINK, 0, 0, 0}));
  std::array<char, 8> buffer{};
  EXPECT_EQ(receiveFromKernel(ours.file.get(), buffer), -1);
  EXPECT_EQ(errno, EMSGSIZE);
}

TEST(SocketDumpTest, TakesInodeOwnerAndBothEndsOfBothFamilies) {
  std::string datagram;
  appendSocket(&datagram, AF_INET, "10.0.0.1", "10.0.0.9", 71);
  appendSocket(&datagram, AF_INET6, "::ffff:10.0.0.1", "::ffff:10.0.0.8", 72);
  appendSocket(&datagram, AF_INET6, "fe80::1", "fe80::2", 73);
  std::vector<Socket> sockets;
  EXPECT_EQ(parseDump(datagram, &sockets), DumpProgress::kMore);
  ASSERT_EQ(sockets.size(), 3U);
  EXPECT_EQ(sockets[0].inode, 71U);
  EXPECT_EQ(sockets[0].owner, 1001U);
  EXPECT_EQ(sockets[0].local.port, 22);
  EXPECT_EQ(sockets[0].remote.port, 50000);
  EXPECT_EQ(numericText(sockets[0].local), "10.0.0.1");
  EXPECT_EQ(numericText(sockets[0].remote), "10.0.0.9");
  EXPECT_EQ(numericText(sockets[1].remote), "10.0.0.8");
  EXPECT_EQ(numericText(sockets[2].remote), "fe80::2%lo");
}

TEST(SocketDumpTest, EndsWithItsLastMessage) {
  std::string datagram;
  appendEnd(&datagram, 0);
  std::vector<Socket> sockets;
  EXPECT_EQ(parseDump(datagram, &sockets), DumpProgress::kDone);
}

TEST(SocketDumpTest, ADumpThatTheKernelInterruptedIsToBeMadeAnew) {
  std::string datagram;
  appendSocket(&datagram, AF_INET, "10.0.0.1", "10.0.0.9", 71, NLM_F_DUMP_INTR);
  std::vector<Socket> sockets;
  EXPECT_EQ(parseDump(datagram, &sockets), DumpProgress::kInterrupted);
}

TEST(SocketDumpTest, AnErrorOfTheKernelIsAFailure) {
  const nlmsgerr refused{-EPERM, {}};
  std::string datagram;
  appendMessage(&datagram, NLMSG_ERROR, 0, &refused, sizeof(refused));
  std::vector<Socket> sockets;
  EXPECT_EQ(parseDump(datagram, &sockets), DumpProgress::kFailed);
  EXPECT_EQ(errno, EPERM);
}

TEST(SocketDumpTest, AnErrorAtTheEndIsAFailure) {
  std::string datagram;
  appendEnd(&datagram, -ENOENT);
  std::vector<Socket> sockets;
  EXPECT_EQ(parseDump(datagram, &sockets), DumpProgress::kFailed);
  EXPECT_EQ(errno, ENOENT);
}

TEST(SocketDumpTest, AShortMessageIsAFailure) {
  std::string datagram;
  appendMessage(&datagram, SOCK_DIAG_BY_FAMILY, 0, "abcd", 4);
  std::vector<Socket> sockets;
  EXPECT_EQ(parseDump(datagram, &sockets), DumpProgress::kFailed);
}

TEST(SocketTableTest, FindsByInode) {
  const SocketTable table({{.inode = 9, .local = {}, .remote = *parseAddress("10.0.0.9")},
                           {.inode = 5, .local = {}, .remote = *parseAddress("10.0.0.5")}});
  ASSERT_NE(table.find(5), nullptr);
  EXPECT_EQ(numericText(table.find(5)->remote), "10.0.0.5");
  EXPECT_EQ(table.find(6), nullptr);
  EXPECT_EQ(table.find(10), nullptr);
}

// A connection over loopback: both ends belong to this process.
class RealConnection {
 public:
  explicit RealConnection(bool overIpv6) {
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_any;
    socklen_t size = sizeof(address);
    listener_.reset(::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(::bind(listener_.get(), reinterpret_cast<sockaddr*>(&address), size), 0);
    ::listen(listener_.get(), 1);
    ::getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&address), &size);
    ::inet_pton(AF_INET6, overIpv6 ? "::1" : "::ffff:127.0.0.1", &address.sin6_addr);
    client_.reset(::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(::connect(client_.get(), reinterpret_cast<sockaddr*>(&address), size), 0);
    server_.reset(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
  }
  [[nodiscard]] std::uint64_t serverInode() const {
    struct stat status {};
    return ::fstat(server_.get(), &status) == 0 ? status.st_ino : 0;
  }

 private:
  FileDescriptor listener_, client_, server_;
};

TEST(SocketTableTest, TheKernelsDumpHasAConnectionOfThisProcess) {
  for (const auto& [overIpv6, address] : {std::pair{true, "::1"}, {false, "127.0.0.1"}}) {
    const RealConnection connection(overIpv6);
    const auto table = SocketTable::read();
    ASSERT_TRUE(table) << causeOf(table);
    const Socket* socket = table->find(connection.serverInode());
    ASSERT_NE(socket, nullptr) << address;
    EXPECT_EQ(numericText(socket->remote), address);
    EXPECT_EQ(socket->owner, ::geteuid());
  }
}

}  // namespace
}  // namespace zevo::connections
