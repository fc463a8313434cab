// What a collector reads from.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zevo/read_notes.h"

#include "services/boot_clock.h"
#include "services/connection.h"
#include "services/gone.h"
#include "services/paths.h"
#include "services/process_files.h"
#include "services/process_table.h"
#include "services/socket_table.h"
#include "services/subordinate_ids.h"

namespace zevo::connections {

// What this machine's own services are told by.
struct Home {
  ProcessFiles files;         // of the first process, or our own where that cannot be read
  Namespaces namespaces;      // of the same
  std::uint64_t network = 0;  // the namespace of sockets()
  std::uint64_t user = 0;     // our own user namespace; 0 where it cannot be read
  SubordinateIds subordinates;
};

// Not our own process alone: services are often confined to a mount namespace, this one too.
Home readHome(const Paths& paths);

// A user can make processes that look like orphans, as many as he may have.
struct OrphanLooks {
  std::size_t left = 8192;
  bool isNoted = false;  // that these were not enough
};

// One read of the registry: one scan of processes, one dump of sockets, shared by all collectors.
class Sources {
 public:
  using SocketReader = std::function<Result<SocketTable>()>;
  using Log = std::function<void(const std::string& line)>;

  // `readSockets` is called once, at the first use of sockets(): the dump is later than the scan,
  // so every connection of a scanned process is in it.
  Sources(const Paths& paths, const ProcessTable& processes, SocketReader readSockets, Log log)
      : paths_(paths),
        processes_(processes),
        clock_(paths),
        readSockets_(std::move(readSockets)),
        log_(std::move(log)) {}
  Sources(const Sources&) = delete;
  Sources& operator=(const Sources&) = delete;

  [[nodiscard]] const Paths& paths() const { return paths_; }
  [[nodiscard]] const ProcessTable& processes() const { return processes_; }
  [[nodiscard]] const Result<SocketTable>& sockets() const;
  [[nodiscard]] const Home& home() const {
    if (!home_) home_ = readHome(paths_);
    return *home_;
  }
  // The connections of another network namespace, in which `member` runs; read once.
  [[nodiscard]] const Result<SocketTable>& socketsOf(std::uint64_t network,
                                                     const ProcessFiles& member) const;
  [[nodiscard]] Result<ProcessFiles> filesOf(const Process& process) const {
    return ProcessFiles::open(paths_, process.pid);
  }
  // Whether root started `process`, as isRootOwned() in trust.h has it. Asked once: a user can put
  // thousands of processes below each other, and each is judged by those above it.
  [[nodiscard]] const Result<bool>& rootOwned(const Process& process) const;
  // Start of the process as local time.
  [[nodiscard]] std::string startText(const Process& process) const {
    return clock_.startText(process.startTicks);
  }
  // Nothing where the start of the system is not known.
  [[nodiscard]] std::optional<std::time_t> startTime(const Process& process) const {
    return clock_.startTime(process.startTicks);
  }
  [[nodiscard]] std::optional<std::time_t> bootTime() const { return clock_.boot(); }
  // How long the process has run at the beginning of the read.
  [[nodiscard]] std::chrono::milliseconds age(const Process& process) const {
    return clock_.age(process.startTicks);
  }
  // One line for the administrator.
  void log(const std::string& line) const { log_(line); }
  // What the caller of the registry is to learn, and the administrator reads in the log.
  void note(std::string_view code, std::string_view service, const std::string& detail) const {
    log_(code == kConnectionsMissing ? detail + "; connections may be missing from the list"
                                     : detail);
    notes_.push_back({std::string(code), std::string(service), detail});
  }
  [[nodiscard]] const std::vector<ReadNote>& notes() const { return notes_; }
  // What is left of the looks at descriptors that all orphans of services share (client_sockets.h).
  [[nodiscard]] OrphanLooks& orphanLooks() const { return orphanLooks_; }

 private:
  const Paths& paths_;
  const ProcessTable& processes_;
  BootClock clock_;
  SocketReader readSockets_;
  Log log_;
  mutable std::optional<Result<SocketTable>> sockets_;
  mutable std::map<std::uint64_t, Result<SocketTable>> otherSockets_;  // by network namespace
  mutable std::optional<Home> home_;
  mutable std::map<pid_t, Result<bool>> rootOwned_;
  mutable OrphanLooks orphanLooks_;
  mutable std::vector<ReadNote> notes_;
};

// Reads the connections of one service and appends them. A service that is not running has none; a
// process that vanishes meanwhile has none. A process or file that cannot be read fails the
// collector, which appends what the others tell nevertheless.
using Collector = Result<void> (*)(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
