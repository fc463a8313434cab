// vsftpd's processes, over a recorded tree.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "platform/services/accounts.h"
#include "platform/services/service_fixture.h"

namespace zevo::connections::test {

inline constexpr pid_t kListener = 54;
inline constexpr std::uint64_t kClient = 900;  // inode of the client's connection

inline constexpr const char* kArguments = "/usr/sbin/vsftpd";

class VsftpdFixture : public ServiceFixture {
 protected:
  void SetUp() override {
    empty_ = folder("empty");
    add({.pid = kListener, .name = "vsftpd", .cmdline = kArguments, .sockets = {{3, 35144}}});
    connect(kClient, "::ffff:10.20.0.2", 21);
  }

  std::string folder(const std::string& name) const {
    std::filesystem::create_directory(tree_.folder() + "/" + name);
    return tree_.folder() + "/" + name;
  }
  static std::vector<std::pair<int, std::uint64_t>> standardStreams(std::uint64_t inode) {
    return {{0, inode}, {1, inode}, {2, inode}};
  }
  // The parent of a session: root's before the login, and after it with session_support.
  void addParent(pid_t pid, uid_t uid, const std::string& text = kArguments) {
    const std::string place = uid == 0 ? "/" : empty_;
    add({.pid = pid,
         .parent = kListener,
         .name = "vsftpd",
         .cmdline = title(text),
         .uid = uid,
         .startTicks = 100,
         .cwd = place,
         .root = place,
         .sockets = standardStreams(kClient)});
  }
  // A process below that parent which waits in the empty directory.
  void addWaiting(pid_t pid, pid_t parent, const std::string& text = kArguments) {
    add({.pid = pid,
         .parent = parent,
         .name = "vsftpd",
         .cmdline = title(text),
         .uid = kNobody,
         .session = parent,
         .cwd = empty_,
         .root = empty_,
         .sockets = standardStreams(kClient)});
  }
  // The user's own process.
  void addUsers(pid_t pid, pid_t parent, uid_t uid, const std::string& text = kArguments,
                const std::string& root = "/") {
    add({.pid = pid,
         .parent = parent,
         .name = "vsftpd",
         .cmdline = title(text),
         .uid = uid,
         .startTicks = 900,
         .session = parent,
         .cwd = "/home/alice/My Files (x)",
         .root = root,
         .sockets = standardStreams(kClient),
         .processLimit = 0});
  }
  // Lets a process hold a connection under a descriptor, besides those it was added with.
  void hold(pid_t pid, int descriptor, std::uint64_t inode) const {
    std::filesystem::create_symlink(
        "socket:[" + std::to_string(inode) + "]",
        tree_.paths().proc + "/" + std::to_string(pid) + "/fd/" + std::to_string(descriptor));
  }
  static Connection ftp(pid_t pid, const std::string& user,
                        const std::string& descr = "/home/alice/My Files (x)") {
    return {pid, kStartText, "10.20.0.2", user, descr, ZEVO_CURCONN_FTP};
  }

  std::string empty_;  // the directory of secure_chroot_dir
};

}  // namespace zevo::connections::test
