#include "platform/services/proc_tree.h"

#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <stdexcept>
#include <stdlib.h>
#include <time.h>

#include <gtest/gtest.h>

#include "base/text.h"
#include "platform/services/cause.h"

namespace zevo::connections::test {
namespace {

namespace fs = std::filesystem;

void writeFile(const fs::path& path, const std::string& content) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

std::string statLine(const FakeProcess& process) {
  const pid_t session = process.session == 0 ? process.pid : process.session;
  std::string line = std::to_string(process.pid) + " (" + process.name + ") " + process.state +
                     " " + std::to_string(process.parent) + " " + std::to_string(session) + " " +
                     std::to_string(session) + " " + std::to_string(process.terminal) + " -1 " +
                     std::to_string(process.flags);
  for (int field = 10; field <= 19; ++field) line += " 0";
  line += " " + std::to_string(process.threads) + " 0 " + std::to_string(process.startTicks);
  const std::string image = std::to_string(process.image * 4096);
  for (int field = 23; field <= 52; ++field)
    line += field == 26 || field == 28 ? " " + image : " 0";
  return line + "\n";
}

std::string hexText(std::uint64_t number) {
  std::ostringstream text;
  text << std::hex << std::setfill('0') << std::setw(16) << number;
  return text.str();
}

std::string statusText(const FakeProcess& process) {
  const std::string uid = std::to_string(process.uid);
  const std::string uids =
      process.uids.empty() ? uid + "\t" + uid + "\t" + uid + "\t" + uid : process.uids;
  const std::string gids = process.gids.empty() ? uids : process.gids;
  return "Name:\t" + printable(process.name) + "\nUmask:\t0022\nState:\t" + process.state +
         "\nPid:\t" + std::to_string(process.pid) + "\nUid:\t" + uids + "\nGid:\t" + gids +
         "\nSigCgt:\t" + hexText(process.handledSignals) + "\n";
}

void writeNamespaces(const fs::path& process, const Namespaces& numbers, std::uint64_t user) {
  fs::create_directories(process / "ns");
  const auto link = [&process](const std::string& kind, std::uint64_t number) {
    fs::create_symlink(kind + ":[" + std::to_string(number) + "]", process / "ns" / kind);
  };
  link("pid", numbers.pid);
  link("net", numbers.network);
  link("mnt", numbers.mount);
  link("user", user);
}

}  // namespace

ProcTree::ProcTree() {
  ::setenv("TZ", "UTC", 1);
  ::tzset();
  std::string name = "/tmp/proc-tree-XXXXXX";
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make " + name);
  folder_ = name;
  paths_.proc = folder_ + "/proc";
  paths_.utmp = folder_ + "/utmp";
  paths_.logindSessions = folder_ + "/sessions";
  paths_.nfsd = folder_ + "/nfsd";
  paths_.rmtab = folder_ + "/rmtab";
  paths_.smbstatus = folder_ + "/smbstatus";
  paths_.sftpServers = {folder_ + "/other/sftp-server", folder_ + "/sftp-server"};
  paths_.pureFtpwho = folder_ + "/pure-ftpwho";
  paths_.sharedList = folder_ + "/list";
  paths_.subuid = folder_ + "/subuid";
  paths_.vsftpd = folder_ + "/vsftpd.conf";
  writeFile(paths_.proc + "/stat", "cpu  1 2 3\nbtime " + std::to_string(kBootTime) + "\n");
  writeNamespaces(paths_.proc + "/self", kOurNamespaces, kOurUserNamespace);
  add({.pid = 1, .parent = 0, .name = "systemd", .startTicks = 1, .image = 99});
}

ProcTree::~ProcTree() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

void ProcTree::addProgram(const FakeProcess& process, const std::string& link) const {
  const std::string name = process.program.empty() ? process.name : process.program;
  const std::string path = file("programs/" + std::to_string(process.pid) + "/" + name, "");
  const auto mode =
      process.setuid ? fs::perms::set_uid | fs::perms::owner_all : fs::perms::owner_all;
  fs::permissions(path, mode);
  fs::create_symlink(path, link);
}

ProcTree& ProcTree::add(const FakeProcess& process) {
  const fs::path folder = paths_.proc + "/" + std::to_string(process.pid);
  fs::create_directories(folder / "fd");
  writeFile(folder / "stat", statLine(process));
  writeFile(folder / "status", statusText(process));
  const auto childrenOf = [this](pid_t pid) {
    const std::string number = std::to_string(pid);
    return paths_.proc + "/" + number + "/task/" + number + "/children";
  };
  writeFile(childrenOf(process.pid), "");
  std::ofstream(childrenOf(process.parent), std::ios::app) << process.pid << ' ';
  writeFile(folder / "cmdline",
            process.cmdline.empty() ? process.name + std::string(1, '\0') : process.cmdline);
  if (process.exe.empty()) {
    addProgram(process, folder / "exe");
  } else {
    fs::create_symlink(process.exe, folder / "exe");
  }
  fs::create_symlink(process.cwd, folder / "cwd");
  fs::create_symlink(process.root, folder / "root");
  fs::create_symlink("/proc/self/mountinfo",
                     folder / "mountinfo");  // that of the trees' directories
  writeNamespaces(folder, process.namespaces, process.userNamespace);
  writeFile(folder / "cgroup", process.cgroup);
  const std::string limit = std::to_string(process.processLimit);
  writeFile(folder / "limits",
            "Limit                     Soft Limit           Hard Limit           Units     \n"
            "Max processes             " +
                limit + "                    " + limit + "                    processes \n");
  for (const auto& [number, inode] : process.sockets) {
    fs::create_symlink("socket:[" + std::to_string(inode) + "]",
                       folder / "fd" / std::to_string(number));
  }
  return *this;
}

void ProcTree::remove(pid_t pid) {
  fs::remove_all(paths_.proc + "/" + std::to_string(pid));
}

void ProcTree::write(pid_t pid, const std::string& name, const std::string& content) {
  writeFile(paths_.proc + "/" + std::to_string(pid) + "/" + name, content);
}

void ProcTree::removeFile(pid_t pid, const std::string& name) {
  fs::remove(paths_.proc + "/" + std::to_string(pid) + "/" + name);
}

void ProcTree::makeUnreadable(pid_t pid, const std::string& name) {
  // A link to itself: ELOOP, which is neither ENOENT nor ESRCH.
  const fs::path path = paths_.proc + "/" + std::to_string(pid) + "/" + name;
  fs::remove_all(path);
  fs::create_symlink(path, path);
}

void ProcTree::removeNamespaces(const std::string& name) {
  fs::remove_all(paths_.proc + "/" + name + "/ns");
}

std::string ProcTree::file(const std::string& name, const std::string& content) const {
  writeFile(folder_ + "/" + name, content);
  return folder_ + "/" + name;
}

Socket establishedSocket(std::uint64_t inode, const std::string& remote, std::uint16_t localPort) {
  Socket socket;
  socket.inode = inode;
  socket.local = *parseAddress("10.0.0.1");
  socket.local.port = localPort;
  const auto address = parseAddress(remote);
  EXPECT_TRUE(address) << remote;
  if (address) socket.remote = *address;
  socket.remote.port = 50000;
  return socket;
}

FakeSources::FakeSources(const ProcTree& tree, std::vector<Socket> sockets)
    : paths_(tree.paths()),
      processes_(std::move(*ProcessTable::scan(paths_))),
      sources_(
          paths_, processes_,
          [table = SocketTable(std::move(sockets))] { return Result<SocketTable>(table); },
          [this](const std::string& line) { log_.push_back(line); }) {}

std::vector<Connection> readAll(Collector collector, const Sources& sources) {
  std::vector<Connection> connections;
  const Result<void> outcome = collector(sources, connections);
  EXPECT_TRUE(outcome) << causeOf(outcome);
  return connections;
}

}  // namespace zevo::connections::test
