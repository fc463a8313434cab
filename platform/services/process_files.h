// Details of one process, each read when it is asked for.
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

// What a process calls itself: a service's title, or the arguments that it was started with. Any
// process may claim anything here.
struct Title {
  std::string first;  // the first argument: up to 4,095 bytes, none of them NUL
  std::string all;    // all arguments, a blank between them
};

// Stands for a folder whose path is too long for the kernel.
inline constexpr std::string_view kUnknownFolder = "folder not known";

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

// The namespaces of a process, by the kernel's numbers; 0 where the kernel has none of that kind.
struct Namespaces {
  std::uint64_t pid = 0;
  std::uint64_t network = 0;
  std::uint64_t mount = 0;

  bool operator==(const Namespaces&) const = default;
};

// One file of the system, whichever path leads to it.
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

// What a look at the lowest descriptors of a process found.
struct LowSockets {
  std::vector<SocketDescriptor> sockets;  // in order of numbers
  std::size_t looks = 0;                  // descriptors that were looked at, of whatever kind
  bool hasMore = false;                   // the process has descriptors above these
};

// Everything is read through one open folder, which stands for the process and for no later one of
// the same pid. Each reading is ok, gone where the process has ended, or failed with its cause.
class ProcessFiles {
 public:
  ProcessFiles() = default;
  static Result<ProcessFiles> open(const Paths& paths, pid_t pid);
  // Those of the running process itself.
  static Result<ProcessFiles> openOwn(const Paths& paths);

  [[nodiscard]] pid_t pid() const { return pid_; }  // 0 of openOwn()
  // The memory of the program that the process runs by now; a program that it begins later has
  // another. None where the kernel does not give it.
  [[nodiscard]] FileDescriptor memory() const;
  // The title in `memory`, where `process` tells its place; empty where that program runs no more.
  // Where a user controls the memory the call may never return: readTitle in trust.h asks first.
  [[nodiscard]] Result<Title> titleIn(const FileDescriptor& memory, const Process& process) const;
  // The title of whatever the process runs when it is read. As above.
  [[nodiscard]] Result<Title> title() const;
  [[nodiscard]] Result<UserIds> userIds() const;
  [[nodiscard]] Result<GroupIds> groupIds() const;
  // The account that logged in above the process, which stays the same whatever ids it takes later;
  // nothing where none did or the kernel does not keep it.
  [[nodiscard]] Result<std::optional<uid_t>> loginUid() const;
  // Paths as the kernel gives them: " (deleted)" follows that of a removed folder. It has none
  // where a folder is too deep: the working directory is kUnknownFolder then, and the root empty.
  [[nodiscard]] Result<std::string> workingDirectory() const;
  [[nodiscard]] Result<std::string> root() const;
  // Whether the program's file gives its owner's rights to whoever starts it.
  [[nodiscard]] Result<bool> isSetuidProgram() const;
  // Whether the program is the very file at `path`, not only one of that name.
  [[nodiscard]] Result<bool> runs(const std::string& path) const;
  // Whether the program's file belongs to root, can be written by root alone and gives nobody
  // root's rights.
  [[nodiscard]] Result<bool> isRootsProgram() const;
  // Name of the program's file, without its folders; also where it has been replaced since.
  [[nodiscard]] Result<std::string> programName() const;
  // Whether its limit on processes lets it make another one. The kernel lets root all the same.
  [[nodiscard]] Result<bool> mayMakeProcesses() const;
  [[nodiscard]] Result<Namespaces> namespaces() const;
  // The number of its namespace of a `kind` ("user", as the links in /proc/PID/ns are named); 0
  // where the kernel has none of that kind or the process has ended.
  [[nodiscard]] Result<std::uint64_t> namespaceNumber(const std::string& kind) const;
  // That namespace itself; none where it may not be read.
  [[nodiscard]] FileDescriptor openNamespace(const std::string& kind) const;
  // The mounts below root(), one a line, as proc(5) has them under "mountinfo".
  [[nodiscard]] Result<std::string> mounts() const;
  // The lines "HIERARCHY:CONTROLLERS:PATH"; a line that is cut off has no line break.
  [[nodiscard]] Result<std::string> cgroups() const;
  // The accounts file in the tree that the process sees. The way there leads through whatever is
  // mounted in that tree, so ask only of a process that root started and whose root() is "/".
  [[nodiscard]] Result<FileIdentity> accountsFile() const;
  // TCP sockets of the network namespace of the process, as the kernel's text; `table` is "tcp" or
  // "tcp6". Gone also where the kernel has no such table.
  [[nodiscard]] Result<std::string> tcpText(const std::string& table) const;
  // Those among the `most` lowest descriptors of a real process. Looking at a descriptor costs some
  // 20 microseconds, and a process may hold a million.
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

  // Where the kernel shows what ends with a thread: memory, program, folders, descriptors, mount
  // and network namespace.
  [[nodiscard]] int running() const;

  pid_t pid_ = 0;
  FileDescriptor folder_;
  // Of a thread that goes on, where the first one has ended; none where that runs. Looked for when
  // it first matters.
  mutable std::optional<FileDescriptor> thread_;
};

}  // namespace zevo::connections
