#include "calls/connection.h"

#include <atomic>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "base/file_descriptor.h"
#include "calls/scgi_text.h"

namespace calls {
namespace {

using namespace std::chrono_literals;
using testing_support::scgiRequest;

constexpr auto kHang = 120s;  // whatever takes longer hangs

class Connections : public testing::Test {
 protected:
  Connections() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    ours_.reset(ends[0]);
    clients_.reset(ends[1]);
  }
  void send(const std::string& bytes) const {
    EXPECT_EQ(::send(clients_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }
  [[nodiscard]] std::string receiveAll() const {
    std::string all(1UL << 20U, '\0');
    std::size_t filled = 0;
    ssize_t got = 0;
    while ((got = ::read(clients_.get(), all.data() + filled, all.size() - filled)) > 0) {
      filled += static_cast<std::size_t>(got);
    }
    return all.substr(0, filled);
  }

  zevo::FileDescriptor ours_;
  zevo::FileDescriptor clients_;
  ScgiParser parser_;
};

TEST_F(Connections, ARequestInPiecesIsRead) {
  const std::string bytes = scgiRequest({}, "body");
  std::thread client([&] {
    send(bytes.substr(0, 5));
    std::this_thread::sleep_for(50ms);
    send(bytes.substr(5));
  });
  EXPECT_EQ(readRequest(ours_.get(), kHang, parser_), ScgiParser::State::kComplete);
  client.join();
  EXPECT_EQ(parser_.request().body, "body");
}

TEST_F(Connections, AClientThatSendsByteAfterByteIsDroppedInTime) {
  send("60000:");
  const auto end = std::chrono::steady_clock::now() + kHang;
  std::atomic<bool> isDropped = false;
  std::thread client([&] {
    while (!isDropped && std::chrono::steady_clock::now() < end) {
      ::send(clients_.get(), "1", 1, MSG_NOSIGNAL);
      std::this_thread::sleep_for(20ms);
    }
  });
  EXPECT_EQ(readRequest(ours_.get(), 300ms, parser_), std::nullopt);
  isDropped = true;
  EXPECT_LT(std::chrono::steady_clock::now(), end) << "it was read as long as it sent";
  client.join();
}

TEST_F(Connections, AClientThatGoesAwayLeavesNoRequest) {
  send(scgiRequest({}, "body").substr(0, 10));
  ::shutdown(clients_.get(), SHUT_WR);
  EXPECT_EQ(readRequest(ours_.get(), kHang, parser_), std::nullopt);
}

TEST_F(Connections, AMalformedRequestIsAnsweredAtOnce) {
  send("GET / HTTP/1.1\r\n");
  EXPECT_EQ(readRequest(ours_.get(), kHang, parser_), ScgiParser::State::kMalformed);
}

TEST_F(Connections, AnAnswerArrivesWholeHoweverSlowlyItIsTaken) {
  const std::string answer(700000, 'x');
  std::thread server([&] { EXPECT_TRUE(sendAnswer(ours_.get(), answer, false)); });
  EXPECT_EQ(receiveAll(), answer);
  server.join();
}

TEST_F(Connections, AnAnswerArrivesThoughMoreWasSentThanRead) {
  send(std::string(100000, 'x'));
  std::thread server([&] {
    EXPECT_TRUE(sendAnswer(ours_.get(), "answer", true));
    ours_.reset();
  });
  std::string all(64, '\0');
  EXPECT_EQ(::read(clients_.get(), all.data(), all.size()), 6);
  EXPECT_EQ(::read(clients_.get(), all.data(), all.size()), 0) << "an end, not a broken connection";
  ::shutdown(clients_.get(), SHUT_WR);
  server.join();
}

TEST_F(Connections, AnAnswerToNobodyIsNoCrash) {
  clients_.reset();
  EXPECT_FALSE(sendAnswer(ours_.get(), std::string(700000, 'x'), false));
}

}  // namespace
}  // namespace calls
