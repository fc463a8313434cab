#include "services/tcp_text.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zevo::connections {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr const char* kHead =
    "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout "
    "inode                                                     \n";

// A line as the kernel writes it.
std::string line(const std::string& ends, const std::string& state, const std::string& inode) {
  return "   0: " + ends + " " + state + " 00000000:00000000 02:0009C8B7 00000000  1000        0 " +
         inode + " 2 0000000000000000 20 4 30 10 -1                    \n";
}

Socket socket(std::uint64_t inode, const std::string& local, std::uint16_t localPort,
              const std::string& remote, std::uint16_t remotePort) {
  Socket socket{inode, *parseAddress(local), *parseAddress(remote), 1000};
  socket.local.port = localPort;
  socket.remote.port = remotePort;
  return socket;
}

TEST(TcpTextTest, EstablishedConnectionsOfIpv4) {
  const std::string text = kHead + line("02001E0A:0016 01001E0A:C350", "01", "4711") +
                           line("00000000:0016 00000000:0000", "0A", "4712") +
                           line("02001E0A:0015 01001E0A:C351", "06", "0");
  EXPECT_THAT(parseTcpText(text), ElementsAre(socket(4711, "10.30.0.2", 22, "10.30.0.1", 50000)));
}

TEST(TcpTextTest, ListenersWithTheirPorts) {
  const std::string text =
      kHead + line("02001E0A:0016 01001E0A:C350", "01", "4711") +
      line("00000000:0849 00000000:0000", "0A", "4712") + line("broken", "0A", "4713") +
      line("00000000000000000000000000000000:0015 00000000000000000000000000000000:0000", "0A",
           "4714");
  EXPECT_THAT(parseListeners(text), ElementsAre(Pair(4712, 2121), Pair(4714, 21)));
}

TEST(TcpTextTest, EstablishedConnectionsOfIpv6) {
  const std::string text =
      kHead +
      line("000020FD000000000000000002000000:0016 000020FD000000000000000003000000:C350", "01",
           "7") +
      line("0000000000000000FFFF000002001E0A:0016 0000000000000000FFFF000001001E0A:C350", "01",
           "8");
  EXPECT_THAT(parseTcpText(text), ElementsAre(socket(7, "fd20::2", 22, "fd20::3", 50000),
                                              socket(8, "10.30.0.2", 22, "10.30.0.1", 50000)));
}

TEST(TcpTextTest, ConnectionsOfWhichThePeerHasClosedItsDirection) {
  Socket closing = socket(4711, "10.30.0.2", 22, "10.30.0.1", 50000);
  closing.isHalfClosed = true;
  EXPECT_THAT(parseTcpText(kHead + line("02001E0A:0016 01001E0A:C350", "08", "4711")),
              ElementsAre(closing));
}

TEST(TcpTextTest, ConnectionsThatThisEndHasShutDown) {
  Socket closing = socket(4711, "10.30.0.2", 22, "10.30.0.1", 50000);
  closing.isShutDown = true;
  for (const char* state : {"04", "05"}) {
    EXPECT_THAT(parseTcpText(kHead + line("02001E0A:0016 01001E0A:C350", state, "4711")),
                ElementsAre(closing));
  }
}

TEST(TcpTextTest, ALinkLocalAddressCarriesNoInterface) {
  const auto sockets = parseTcpText(line(
      "000080FE000000000000000002000000:0016 000080FE000000000000000003000000:C350", "01", "7"));
  ASSERT_EQ(sockets.size(), 1U);
  EXPECT_EQ(numericText(sockets[0].remote), "fe80::3");
}

TEST(TcpTextTest, LinesOfAnotherFormAreLeftOut) {
  for (const char* text : {"", "\n", " ", "0: 1 2 01", "   0: 02001E0A:0016 01001E0A:C350 01",
                           "0: 02001E0A:0016 01001E0A 01 0:0 0:0 0 1000 0 7",
                           "0: 02001E:0016 01001E0A:C350 01 0:0 0:0 0 1000 0 7",
                           "0: 02001E0A:0016 01001E0A:1C350 01 0:0 0:0 0 1000 0 7",
                           "0: 02001E0A:0016 0100XE0A:C350 01 0:0 0:0 0 1000 0 7",
                           "0: 02001E0A:0016 01001E0A:C350 01 0:0 0:0 0 -1 0 7",
                           "0: 02001E0A:0016 01001E0A:C350 01 0:0 0:0 0 1000 0 7x"}) {
    EXPECT_THAT(parseTcpText(text), IsEmpty()) << text;
  }
}

}  // namespace
}  // namespace zevo::connections
