// What the tests of services that are read from processes and sockets share.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/services/cause.h"
#include "platform/services/proc_tree.h"

namespace zevo::connections::test {

class ServiceFixture : public ::testing::Test {
 protected:
  // A title as the kernel shows it: NULs up to the length of the arguments that it replaced.
  static std::string title(const std::string& text) { return text + std::string(40, '\0'); }

  void add(const FakeProcess& process) { tree_.add(process); }
  // A client at `remote`, connected to the local port `port`.
  void connect(std::uint64_t inode, const std::string& remote, std::uint16_t port) {
    sockets_.push_back(establishedSocket(inode, remote, port));
  }
  // The collector's records; a test failure where it fails.
  std::vector<Connection> read(Collector collector) {
    const FakeSources sources(tree_, sockets_);
    return readAll(collector, *sources);
  }
  // What the collector notes beside its records.
  std::vector<ReadNote> notesOf(Collector collector) {
    const FakeSources sources(tree_, sockets_);
    readAll(collector, *sources);
    return (*sources).notes();
  }
  // The records of a collector that has to fail, and appends what it could read.
  std::vector<Connection> readPartly(Collector collector) {
    const FakeSources sources(tree_, sockets_);
    std::vector<Connection> connections;
    EXPECT_TRUE(hasFailed(collector(*sources, connections)));
    return connections;
  }
  // The cause with which the collector fails; empty if it does not.
  std::string failureOf(Collector collector) {
    const FakeSources sources(tree_, sockets_);
    std::vector<Connection> connections;
    return causeOf(collector(*sources, connections));
  }

  ProcTree tree_;
  std::vector<Socket> sockets_;
};

}  // namespace zevo::connections::test
