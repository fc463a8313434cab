// Details of one process, each read on demand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

#include "base/file_descriptor.h"
#include "services/gone.h"
#include "services/paths.h"
#include "services/process.h"

namespace zevo::connections {

// The title of a process, or the arguments with which it was started. A process can write anything
// here.
struct Title {
  std::string first;  // the first argument: up to 4,095 bytes, none of them NUL
  std::string all;    // all arguments, separated by spaces
};

// Stands for a directory whose path is too long for the kernel.
inline constexpr std::string_view kUnknownFolder = "directory not known";

struct UserIds {
  uid_t real = 0;
  uid_t effective = 0;
  uid_t saved = 0;
};

struct GroupIds {
  gid_t real = 0;
  gid_t effective = 0;
  gid_t saved = 0;
};

// The namespaces of a process, by the kernel's numbers; 0 if the kernel lacks the kind.
struct Namespaces {
  std::uint64_t pid = 0;
  std::uint64_t network = 0;
  std::uint64_t mount = 0;

  bool operator==(const Namespaces&) const = default;
};

// The identity of a file, independent of its path.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;

  bool operator==(const FileIdentity&) const = default;
};

// A descriptor that is a socket.
struct SocketDescriptor {
  int number = 0;
  std::uint64_t inode = 0;

  bool operator==(const SocketDescriptor&) const = default;
};

// The lowest descriptors of a process.
struct LowSockets {
  std::vector<SocketDescriptor> sockets;  // in numerical order
  std::size_t looks = 0;                  // descriptors examined, of any kind
  bool hasMore = false;                   // the process has higher descriptors
};

// Everything is read through one open directory, which belongs to the process and not to a later
// one with the same pid. Each reading is ok, gone if the process has ended, or failed with its
// cause.
class ProcessFiles {
 public:
  ProcessFiles() = default;
  static Result<ProcessFiles> open(const Paths& paths, pid_t pid);
  // For the running process itself.
  static Result<ProcessFiles> openOwn(const Paths& paths);

  [[nodiscard]] pid_t pid() const { return pid_; }  // 0 of openOwn()
  // The memory of the program that the process currently runs; a program executed later has
  // another. None if the kernel denies it.
  [[nodiscard]] FileDescriptor memory() const;
  // The title in `memory`, at the addresses in `process`; empty if that program no longer runs. If
  // a user controls the memory, the call may never return: readTitle in trust.h checks this first.
  [[nodiscard]] Result<Title> titleIn(const FileDescriptor& memory, const Process& process) const;
  // The title of the program that runs during the call. As above.
  [[nodiscard]] Result<Title> title() const;
  [[nodiscard]] Result<UserIds> userIds() const;
  [[nodiscard]] Result<GroupIds> groupIds() const;
  // The account that logged in, which does not change with the ids of the process; nothing if there
  // is none or the kernel does not record it.
  [[nodiscard]] Result<std::optional<uid_t>> loginUid() const;
  // Paths from the kernel: " (deleted)" follows that of a removed directory. If a directory is too
  // deep, the kernel has no path: then the working directory is kUnknownFolder, and the root empty.
  [[nodiscard]] Result<std::string> workingDirectory() const;
  [[nodiscard]] Result<std::string> root() const;
  // Whether the program's file has the set-user-ID bit.
  [[nodiscard]] Result<bool> isSetuidProgram() const;
  // Whether the program is the file at `path`, not only one with the same name.
  [[nodiscard]] Result<bool> runs(const std::string& path) const;
  // Whether the program's file belongs to root, is writable only by root and has no set-user-ID
  // bit.
  [[nodiscard]] Result<bool> isRootsProgram() const;
  // The name of the program's file, without its directories, even if it was replaced since.
  [[nodiscard]] Result<std::string> programName() const;
  // Its children, including those that have ended, until it has waited for them. Gone if the kernel
  // does not tell.
  [[nodiscard]] Result<std::vector<pid_t>> children() const;
  // Whether the process handles the signal itself.
  [[nodiscard]] Result<bool> handles(int signal) const;
  // Whether its process limit allows another one. The kernel does not apply it to root.
  [[nodiscard]] Result<bool> mayMakeProcesses() const;
  [[nodiscard]] Result<Namespaces> namespaces() const;
  // The number of its namespace of a `kind` ("user", as the links in /proc/PID/ns are named); 0 if
  // the kernel lacks the kind or the process has ended.
  [[nodiscard]] Result<std::uint64_t> namespaceNumber(const std::string& kind) const;
  // That namespace itself; none if it may not be read.
  [[nodiscard]] FileDescriptor openNamespace(const std::string& kind) const;
  // The mounts below root(), one per line, as in "mountinfo" of proc(5).
  [[nodiscard]] Result<std::string> mounts() const;
  // The lines "HIERARCHY:CONTROLLERS:PATH"; a truncated line has no line break.
  [[nodiscard]] Result<std::string> cgroups() const;
  // The accounts file in the tree of the process. Its path leads through mounts in that tree, so
  // use this only for a process that root started and whose root() is "/".
  [[nodiscard]] Result<FileIdentity> accountsFile() const;
  // TCP sockets of the network namespace of the process, as the kernel's text; `table` is "tcp" or
  // "tcp6". Gone also if the kernel has no such table.
  [[nodiscard]] Result<std::string> tcpText(const std::string& table) const;
  // The sockets among the `most` lowest descriptors of a real process. Examining a descriptor takes
  // about 20 microseconds, and a process may have a million.
  [[nodiscard]] Result<LowSockets> sockets(std::size_t most) const;

 private:
  static Result<ProcessFiles> openNamed(const Paths& paths, pid_t pid, const std::string& name);
  [[nodiscard]] Result<std::string> readText(int folder, const char* name) const;
  [[nodiscard]] Result<std::string> readLongText(const std::string& name) const;
  [[nodiscard]] Result<std::string> readLink(int folder, const char* name) const;
  [[nodiscard]] Result<struct statx> program() const;
  template <typename Ids>
  [[nodiscard]] Result<Ids> readIds(const char* key) const;
  [[nodiscard]] tl::unexpected<Error> endedOrFailed(const char* name, int error) const;

  // Where the kernel shows what ends with a thread: memory, program, directories, descriptors,
  // mount and network namespace.
  [[nodiscard]] int running() const;

  pid_t pid_ = 0;
  FileDescriptor folder_;
  // The directory of a thread that still runs if the first one has ended; none if that runs. Looked
  // up on demand.
  mutable std::optional<FileDescriptor> thread_;
};

}  // namespace zevo::connections
