// The data that collectors read.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
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
#include "services/user_titles.h"

namespace zevo::connections {

// How this machine's own services are identified.
struct Home {
  ProcessFiles files;         // of the first process, or our own if that cannot be read
  Namespaces namespaces;      // of the same
  std::uint64_t network = 0;  // the namespace of sockets()
  std::uint64_t user = 0;     // our own user namespace; 0 if it cannot be read
  SubordinateIds subordinates;
};

// Not only our own process: services, including this one, are often confined to a mount namespace.
Home readHome(const Paths& paths);

// A user can create processes that look like orphans, up to the process limit.
struct OrphanLooks {
  std::size_t left = 8192;
  std::set<std::string_view> noted = {};  // the services for which these were not enough
};

// One read of the registry: one scan of processes, one dump of sockets, shared by all collectors.
class Sources {
 public:
  using SocketReader = std::function<Result<SocketTable>()>;
  using Log = std::function<void(const std::string& line)>;

  // `readSockets` is called once, at the first use of sockets(): the dump is later than the scan,
  // so that it has every connection of a scanned process.
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
  // The connections of another network namespace, that of `member`; read once.
  [[nodiscard]] const Result<SocketTable>& socketsOf(std::uint64_t network,
                                                     const ProcessFiles& member) const;
  [[nodiscard]] Result<ProcessFiles> filesOf(const Process& process) const {
    return ProcessFiles::open(paths_, process.pid);
  }
  // Whether root of this machine or of a container started `process`, by isRootOwned() in trust.h
  // or isContainersRoot() in process_owner.h. Computed once: a user can nest thousands of
  // processes, and each depends on those above it.
  [[nodiscard]] const Result<bool>& rootOwned(const Process& process) const;
  // The same for root of this machine alone.
  [[nodiscard]] const Result<bool>& rootOwnedHere(const Process& process) const;
  // Start of the process as local time.
  [[nodiscard]] std::string startText(const Process& process) const {
    return clock_.startText(process.startTicks);
  }
  // Nothing if the start of the system is unknown.
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
  // A note for the caller of the registry, and for the administrator in the log.
  void note(std::string_view code, std::string_view service, const std::string& detail) const {
    log_(code == kConnectionsMissing ? detail + "; connections may be missing from the list"
                                     : detail);
    notes_.push_back({std::string(code), std::string(service), detail});
  }
  [[nodiscard]] const std::vector<ReadNote>& notes() const { return notes_; }
  [[nodiscard]] UserTitles& userTitles() const { return userTitles_; }
  // The remaining number of descriptors to examine, shared by all orphans of services
  // (client_sockets.h).
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
  mutable std::map<pid_t, Result<bool>> rootOwnedHere_;
  mutable OrphanLooks orphanLooks_;
  mutable UserTitles userTitles_;
  mutable std::vector<ReadNote> notes_;
};

// Reads the connections of one service and appends them. A service that is not running has none,
// and neither has a process that ends in the meantime. If a process or file cannot be read, the
// collector fails, but still appends the others.
using Collector = Result<void> (*)(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
