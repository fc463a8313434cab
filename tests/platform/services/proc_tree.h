// A recorded /proc in a temporary directory.
#pragma once

#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

#include "services/paths.h"
#include "services/process_table.h"
#include "services/sources.h"

namespace zevo::connections::test {

// Those of the tree's own services.
inline constexpr Namespaces kOurNamespaces = {4026531836, 4026531840, 4026531841};

inline constexpr std::uint64_t kOurUserNamespace = 4026531837;

// A process of the tree. The fields that a test does not care about are those of a root daemon.
struct FakeProcess {
  pid_t pid = 0;
  pid_t parent = 1;
  std::string name;
  std::string cmdline = {};  // as the kernel gives it: NULs and all; the name where empty
  uid_t uid = 0;             // real, effective and saved alike, unless `uids` is given
  std::string uids = {};     // "0\t65534\t0\t65534"
  std::string gids = {};     // the same for groups; as `uids` where empty
  std::uint64_t startTicks = 100;
  pid_t session = 0;          // the pid itself where 0
  std::int32_t terminal = 0;  // device number
  char state = 'S';
  int threads = 1;
  std::uint64_t flags = 0;
  std::uint64_t image = 1;   // the same for what was forked and has run no other program since
  bool setuid = false;       // the program's file, which belongs to who runs the test
  std::string program = {};  // name of that file; that of the process where empty
  std::string exe = {};      // another file that the program is
  std::string cwd = "/";     // link targets need not exist
  std::string root = "/";
  std::vector<std::pair<int, std::uint64_t>> sockets = {};  // descriptor number and inode
  Namespaces namespaces = kOurNamespaces;
  std::uint64_t userNamespace = kOurUserNamespace;
  int processLimit = 1000;
  std::uint64_t handledSignals = 0;  // bit 0 is signal 1
  std::string cgroup = "0::/system.slice/some.service\n";
};

// Start of a process with the default `startTicks`, in the zone UTC, in which the fixtures run.
inline constexpr const char* kStartText = "2025-11-20 12:00:01";

class ProcTree {
 public:
  static constexpr std::int64_t kBootTime = 1763640000;  // 2025-11-20 12:00:00 UTC

  ProcTree();  // with a line btime and an init (pid 1)
  ~ProcTree();
  ProcTree(const ProcTree&) = delete;
  ProcTree& operator=(const ProcTree&) = delete;

  ProcTree& add(const FakeProcess& process);
  void remove(pid_t pid);
  // Replaces /proc/PID/NAME by other content.
  void write(pid_t pid, const std::string& name, const std::string& content);
  // Takes /proc/PID/NAME away.
  void removeFile(pid_t pid, const std::string& name);
  // Makes a reading of /proc/PID/NAME fail otherwise than by the process's end, for root too.
  void makeUnreadable(pid_t pid, const std::string& name);

  // Takes the links ns/* of /proc/NAME away, as where the process has just ended.
  void removeNamespaces(const std::string& name);

  // All paths lie below the tree; only proc exists at first.
  [[nodiscard]] const Paths& paths() const { return paths_; }
  [[nodiscard]] const std::string& folder() const { return folder_; }
  // Path of a file below the tree, written with `content`; the directories above it are made.
  std::string file(const std::string& name, const std::string& content) const;

 private:
  void addProgram(const FakeProcess& process, const std::string& link) const;

  std::string folder_;
  Paths paths_;
};

// An established connection from REMOTE to port PORT of this server.
Socket establishedSocket(std::uint64_t inode, const std::string& remote, std::uint16_t localPort);

// What a collector takes, over a tree scanned now, with the sockets and the log of the test.
class FakeSources {
 public:
  explicit FakeSources(const ProcTree& tree, std::vector<Socket> sockets = {});

  const Sources& operator*() const { return sources_; }
  const ProcessTable& processes() const { return processes_; }
  // Lines that were logged.
  const std::vector<std::string>& log() const { return log_; }

 private:
  Paths paths_;
  ProcessTable processes_;
  std::vector<std::string> log_;
  Sources sources_;
};

// Output of a collector that must not fail.
std::vector<Connection> readAll(Collector collector, const Sources& sources);

}  // namespace zevo::connections::test
