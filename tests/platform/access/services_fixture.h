// What the tests of all services have in common: programs and files of a made-up server.
#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "platform/services/proc_tree.h"
#include "sdk/access/services.h"

namespace zevo {

inline void PrintTo(const ServiceAccess& service, std::ostream* stream) {
  constexpr std::array<const char*, 3> kNames = {"refused", "let in", "unknown"};
  *stream << service.service << " " << kNames[static_cast<std::size_t>(service.access)] << " "
          << service.reason << " " << service.remedy;
  for (const auto& [name, value] : service.values) *stream << " " << name << "=" << value;
}

namespace access {
using Result = std::optional<ServiceAccess>;

inline Result refusedByRules(const std::string& service, const std::string& pam) {
  return ServiceAccess{service, Access::kRefused, "account-rules", "", {{"pam", pam}}};
}

inline Result passedByRules(const std::string& service, const std::string& pam) {
  return ServiceAccess{service, Access::kLetIn, "rules-pass", "add-account-check", {{"pam", pam}}};
}

class ServicesTest : public ::testing::Test {
 protected:
  ServicesTest() {
    tree.file("etc/pam.d/other", "account required pam_unix.so\n");
    tree.file("etc/pam.d/open", "account required pam_permit.so\n");
  }

  void program(const std::string& path, const std::string& lines) {
    std::filesystem::permissions(tree.file(path, "#!/bin/sh\n" + lines + "\n"),
                                 std::filesystem::perms::owner_all);
  }
  void install(const std::string& path) { program(path, ""); }
  // A daemon of root's that shows `title`, blanks between its arguments.
  void run(const std::string& name, const std::string& title) {
    tree.add({.pid = nextPid++, .name = name, .cmdline = title});
  }
  // The same, which accepts connections on `port`, four hexadecimal digits.
  void listen(const std::string& name, const std::string& title, const std::string& port) {
    const pid_t pid = nextPid++;
    tree.add({.pid = pid, .name = name, .cmdline = title, .sockets = {{0, 7}, {3, 4711}}});
    tree.write(pid, "net/tcp",
               "0: 00000000:" + port + " 00000000:0000 0A 0:0 0:0 0 0 0 4711 1\n" +
                   "0: 00000000:0016 00000000:0000 0A 0:0 0:0 0 0 0 4712 1\n");
  }
  [[nodiscard]] Server server() const { return Server(tree.folder()); }

  connections::test::ProcTree tree;
  pid_t nextPid = 100;
};

}  // namespace access
}  // namespace zevo
