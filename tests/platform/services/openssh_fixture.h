// Processes of sshd and what they forked.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/services/accounts.h"
#include "platform/services/proc_tree.h"
#include "services/openssh.h"

namespace zevo::connections::test {

// A title as the kernel shows it: NULs up to the length of the arguments that it replaced.
inline std::string title(const std::string& text) {
  return text + std::string(40, '\0');
}

class OpensshTest : public ::testing::Test {
 protected:
  void SetUp() override {
    add({.pid = 56,
         .name = "sshd",
         .cmdline = title("sshd: /usr/sbin/sshd -D [listener] 1 of 100-100 startups")});
  }

  void add(const FakeProcess& process) { tree_.add(process); }
  void addMonitor(pid_t pid, const std::string& user, const std::string& name = "sshd") {
    add({.pid = pid,
         .parent = 56,
         .name = name,
         .cmdline = title(name + ": " + user + " [priv]"),
         .startTicks = 100,
         .sockets = {{4, 9000U + static_cast<std::uint64_t>(pid)}}});
    sockets_.push_back(establishedSocket(9000U + static_cast<std::uint64_t>(pid), "10.20.0.2", 22));
  }
  // A process of a session below `parent`.
  void addChild(pid_t pid, pid_t parent, const std::string& text, uid_t uid = kAlice,
                const std::string& name = "sshd") {
    add({.pid = pid,
         .parent = parent,
         .name = name,
         .cmdline = title(text),
         .uid = uid,
         .cwd = "/home/alice"});
  }

  // root's own session, which nothing guards; `inode` is its client's connection.
  void addRootsSession(pid_t pid, const std::string& text, std::uint64_t inode) {
    add({.pid = pid,
         .parent = 56,
         .name = "sshd",
         .cmdline = title(text),
         .sockets = {{4, inode}}});
    sockets_.push_back(establishedSocket(inode, "10.20.0.2", 22));
  }

  // A program that a user started: its name and its title are his own choice.
  void addProgram(pid_t pid, pid_t parent, const std::string& text, const std::string& name) {
    add({.pid = pid,
         .parent = parent,
         .name = name,
         .cmdline = title(text),
         .uid = kAlice,
         .image = 1000 + static_cast<std::uint64_t>(pid),
         .cwd = "/home/alice"});
  }
  // A session's process that holds the client's connection, its guard being gone.
  void addOrphan(pid_t pid, uid_t uid = kAlice, pid_t parent = 1, const std::string& program = "") {
    add({.pid = pid,
         .parent = parent,
         .name = "sshd",
         .cmdline = title("sshd: root@pts/9"),
         .uid = uid,
         .image = 1000 + static_cast<std::uint64_t>(pid),
         .program = program,
         .sockets = {{4, 9000U + static_cast<std::uint64_t>(pid)}}});
    sockets_.push_back(establishedSocket(9000U + static_cast<std::uint64_t>(pid), "10.20.0.2", 22));
  }
  // OpenSSH's own SFTP server.
  void addSftpServer(pid_t pid, pid_t parent) {
    add({.pid = pid,
         .parent = parent,
         .name = "sftp-server",
         .uid = kAlice,
         .image = 5,
         .exe = tree_.file("sftp-server", "x")});
  }

  std::vector<Connection> read() {
    const FakeSources sources(tree_, sockets_);
    return readAll(readOpenssh, *sources);
  }
  static Connection ssh(pid_t pid, const std::string& descr, const std::string& user = "alice") {
    return {pid, kStartText, "10.20.0.2", user, descr, ZEVO_CURCONN_SSH};
  }
  static Connection sftp(pid_t pid, const std::string& descr, const std::string& user = "alice") {
    return {pid, kStartText, "10.20.0.2", user, descr, ZEVO_CURCONN_SFTP};
  }

  ProcTree tree_;
  std::vector<Socket> sockets_;
};

}  // namespace zevo::connections::test
