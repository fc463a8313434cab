#include "services/registry.h"

#include <chrono>
#include <exception>
#include <functional>
#include <new>
#include <optional>
#include <syslog.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "zevo/connections.h"
#include "zevo/error.h"
#include "zevo/error_trail.h"
#include "zevo/read_notes.h"

#include "base/proc_pids.h"
#include "base/text.h"
#include "host/config.h"
#include "host/list_age.h"
#include "host/service_table.h"
#include "services/boot_clock.h"
#include "services/collectors.h"
#include "services/containers.h"
#include "services/pureftpd.h"
#include "services/samba.h"

namespace zevo::connections {
namespace {

// The time limit of a read, in addition to that of its tools.
constexpr std::chrono::seconds kTimeBesideTools{2};

std::chrono::milliseconds acceptedAge{0};

// Checks the process of a record: its pid may have been reused since it was read.
using IsSame = std::function<bool(const Process& now)>;

constexpr int kLooksAtEnding = 50;  // for all records together
constexpr std::chrono::milliseconds kBetweenLooks(10);

// The present process. A killed process ends within moments, and whoever killed it must not read
// that it still exists: we wait for that, unless it cannot end because it is waiting itself.
Result<Process> readSettled(const Paths& paths, pid_t pid, int& looks) {
  auto now = readProcess(paths, pid);
  for (; now && now->isEnding && !now->hasEnded && looks > 0; --looks) {
    std::this_thread::sleep_for(kBetweenLooks);
    now = readProcess(paths, pid);
  }
  return now;
}

Result<bool> isStillServed(const Paths& paths, const Connection& connection, const IsSame& isSame,
                           int& looks) {
  if (connection.pid == 0) return true;  // no process serves only it
  if (connection.pid < 2 || connection.pid > kPidMax) return false;
  const auto now = readSettled(paths, connection.pid, looks);
  if (isGone(now)) return false;
  if (!now) return errorOf(now);
  return !now->hasEnded && isSame(*now);
}

// Leaves out what is no longer served or unknown: a stale pid must not be signalled.
Result<void> dropStale(const Paths& paths, const IsSame& isSame,
                       std::vector<Connection>* connections) {
  std::vector<Connection> served;
  served.reserve(connections->size());
  Result<void> outcome;
  int looks = kLooksAtEnding;
  for (Connection& connection : *connections) {
    const auto isServed = isStillServed(paths, connection, isSame, looks);
    addPart(outcome, isServed);
    if (isServed && *isServed) served.push_back(std::move(connection));
  }
  connections->swap(served);
  return outcome;
}

void noteFailure(const Sources& sources, const char* server, ZEVO_CURCONN_TYPE type,
                 const Result<void>& outcome) {
  if (outcome) return;
  sources.note(kConnectionsMissing, serviceName(type),
               std::string(server) + ": " + outcome.error().sentence);
}

// Samba comes last, so that its tool runs in parallel with everything else.
void readServices(const Sources& sources, const ToolLimits& limits,
                  std::vector<Connection>* connections) {
  auto smbstatus = startSmbstatus(sources, limits);
  for (const ServerCollector& server : kCollectors) {
    noteFailure(sources, server.name, server.type, server.read(sources, *connections));
    if (smbstatus && *smbstatus) (*smbstatus)->drain();
  }
  noteFailure(sources, "Pure-FTPd", ZEVO_CURCONN_FTP, readPureFtpd(sources, limits, *connections));
  noteFailure(sources, "Samba", ZEVO_CURCONN_CIFS,
              readSamba(sources, std::move(smbstatus), *connections));
}

void logLine(const std::string& line) {
  ::syslog(LOG_WARNING, "%s", line.c_str());
}

Result<void> readAll(const Paths& paths, const ToolLimits& limits,
                     const Sources::SocketReader& readSockets, const Sources::Log& log,
                     ConnectionList* list) {
  const auto processes = ProcessTable::scan(paths);
  if (!processes) return errorOf(processes);
  const Sources sources(paths, *processes, readSockets, log);
  if (!sources.sockets()) return errorOf(sources.sockets());
  if (!processes->unread()) {
    sources.note(kConnectionsMissing, "", processes->unread().error().sentence);
  }
  readServices(sources, limits, &list->connections);
  nameContainers(sources, &list->connections);
  const auto isScanned = [&sources](const Process& now) {
    const Process* then = sources.processes().find(now.pid);
    return then == nullptr || then->startTicks == now.startTicks;
  };
  const Result<void> stale = dropStale(paths, isScanned, &list->connections);
  if (!stale) sources.note(kConnectionsMissing, "", stale.error().sentence);
  list->notes = sources.notes();
  return {};
}

int get(_tag_ZEVO_CURCONN_** records) {
  const auto begin = timeSinceBoot();
  if (::geteuid() != 0) {
    ZEVO_NOTE_ERROR(ZEVO_ERR_SYSTEM,
                    "only root can see everybody's connections; run this as root (sudo)");
    return -1;
  }
  Paths paths;
  if (const auto foreign = foreignPids(paths.proc)) {
    ZEVO_NOTE_ERROR(ZEVO_ERR_SYSTEM, *foreign);
    return -1;
  }
  paths.smbstatus = config().smbstatus;
  paths.sharedList = config().listFolder;
  ToolLimits limits;
  limits.time = config().toolLimit;
  const ListCall call{begin, acceptedAge, limits.time + kTimeBesideTools};
  ConnectionList list;
  Result<void> outcome = readForCall(paths, limits, call, SocketTable::read, logLine, &list);
  if (!outcome) {
    ZEVO_NOTE_ERROR(ZEVO_ERR_SYSTEM, outcome.error().sentence);
    return -1;
  }
  *records = pack(list.connections);
  if (*records == nullptr && !list.connections.empty()) throw std::bad_alloc();
  setReadNotes(std::move(list.notes));
  return static_cast<int>(list.connections.size());
}

}  // namespace

Result<void> readConnections(const Paths& paths, const ToolLimits& limits,
                             const Sources::SocketReader& readSockets, const Sources::Log& log,
                             ConnectionList* list) {
  *list = {};
  Result<void> outcome = readAll(paths, limits, readSockets, log, list);
  for (Connection& connection : list->connections) cleanTexts(connection);
  for (ReadNote& note : list->notes) note.detail = printable(note.detail);
  return outcome;
}

Result<void> readForCall(const Paths& paths, const ToolLimits& limits, const ListCall& call,
                         const Sources::SocketReader& readSockets, const Sources::Log& log,
                         ConnectionList* list) {
  bool isOurs = false;
  const auto read = [&](ConnectionList* ours) {
    isOurs = true;
    return readConnections(paths, limits, readSockets, log, ours);
  };
  TimedList timed;
  Result<void> outcome = readShared(paths, call, read, &timed);
  *list = std::move(timed.list);
  if (isOurs || !outcome) return outcome;
  // The processes existed when the read ended: one that began later is a different one.
  const auto isOlder = [&timed](const Process& now) {
    return startSinceBoot(now.startTicks) <= timed.ended;
  };
  const Result<void> stale = dropStale(paths, isOlder, &list->connections);
  if (!stale) {
    log(stale.error().sentence);
    list->notes.push_back(
        {std::string(kConnectionsMissing), "", printable(stale.error().sentence)});
  }
  return outcome;
}

}  // namespace zevo::connections

namespace zevo {

void acceptListAge(std::chrono::milliseconds age) {
  connections::acceptedAge = age;
}

}  // namespace zevo

extern "C" int ZEVOCurConnGet(_tag_ZEVO_CURCONN_** records) {
  *records = nullptr;
  zevo::clearReadNotes();
  try {
    return zevo::connections::get(records);
  } catch (const std::bad_alloc&) {
    ZEVO_ERR_SET(ZEVO_ERR_OUT_OF_MEMORY);
  } catch (const std::exception&) {
    ZEVO_ERR_SET(ZEVO_ERR_SYSTEM);
  }
  return -1;
}
