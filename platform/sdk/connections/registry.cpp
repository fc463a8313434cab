#include "sdk/connections/registry.h"

#include <array>
#include <exception>
#include <new>
#include <optional>
#include <syslog.h>
#include <unistd.h>
#include <utility>

#include "zevo/config.h"
#include "zevo/connections.h"
#include "zevo/error.h"
#include "zevo/error_trail.h"

#include "sdk/connections/afp.h"
#include "sdk/connections/login.h"
#include "sdk/connections/nfs.h"
#include "sdk/connections/openssh.h"
#include "sdk/connections/proftpd.h"
#include "sdk/connections/pureftpd.h"
#include "sdk/connections/samba.h"
#include "sdk/connections/telnet.h"
#include "sdk/connections/vsftpd.h"

namespace zevo::connections {
namespace {

struct Service {
  const char* name;
  Collector read;
};

constexpr std::array<Service, 7> kServices = {{
    {"OpenSSH", readOpenssh},
    {"vsftpd", readVsftpd},
    {"ProFTPD", readProftpd},
    {"telnetd", readTelnet},
    {"afpd", readAfp},
    {"NFS", readNfs},
    {"the machine itself", readLogins},
}};

// Whether the record's process still runs and is the one that the collector saw: between the scan
// and now its pid may have been given to somebody else.
Reading<bool> isStillServed(const Sources& sources, const Connection& connection) {
  if (connection.pid == 0) return true;  // served by no process alone
  if (connection.pid < 2 || connection.pid > kPidMax) return false;
  const auto now = readProcess(sources.paths(), connection.pid);
  if (now.isGone()) return false;
  if (now.failed()) return Reading<bool>::like(now);
  const Process* then = sources.processes().find(connection.pid);
  return !now->hasEnded && (then == nullptr || then->startTicks == now->startTicks);
}

Outcome dropStale(const Sources& sources, std::vector<Connection>* connections) {
  std::vector<Connection> served;
  served.reserve(connections->size());
  for (Connection& connection : *connections) {
    const auto isServed = isStillServed(sources, connection);
    if (isServed.failed()) return Outcome::failure(isServed.cause());
    if (isServed.ok() && *isServed) served.push_back(std::move(connection));
  }
  connections->swap(served);
  return Outcome::done();
}

Outcome named(const char* service, const Outcome& outcome) {
  if (!outcome.failed()) return outcome;
  return Outcome::failure("cannot read the connections of " + std::string(service) + ": " +
                          outcome.cause());
}

// Samba comes last, so that its tool has run beside everything else.
Outcome readServices(const Sources& sources, std::optional<SmbstatusRuns> smbstatus,
                     const ToolLimits& limits, std::vector<Connection>* connections) {
  for (const Service& service : kServices) {
    Outcome outcome = named(service.name, service.read(sources, *connections));
    if (outcome.failed()) return outcome;
    if (smbstatus) smbstatus->drain();
  }
  Outcome outcome = named("Pure-FTPd", readPureFtpd(sources, limits, *connections));
  if (outcome.failed()) return outcome;
  return named("Samba", readSamba(sources, std::move(smbstatus), limits, *connections));
}

void logLine(const std::string& line) {
  ::syslog(LOG_WARNING, "%s", line.c_str());
}

Outcome readAll(const Paths& paths, const ToolLimits& limits,
                const Sources::SocketReader& readSockets, const Sources::Log& log,
                std::vector<Connection>* connections) {
  auto smbstatus = startSmbstatus(paths, limits);
  const auto processes = ProcessTable::scan(paths, [&smbstatus] {
    if (smbstatus) smbstatus->drain();
  });
  if (!processes.ok()) return Outcome::failure(processes.cause());
  const Sources sources(paths, *processes, readSockets, log);
  Outcome outcome = readServices(sources, std::move(smbstatus), limits, connections);
  return outcome.failed() ? outcome : dropStale(sources, connections);
}

int get(_tag_ZEVO_CURCONN_** records) {
  if (::geteuid() != 0) {
    ZEVO_NOTE_ERROR(ZEVO_ERR_SYSTEM,
                    "only root can see everybody's connections; run this as root (sudo)");
    return -1;
  }
  Paths paths;
  paths.smbstatus = config().smbstatus;
  ToolLimits limits;
  limits.time = config().toolLimit;
  std::vector<Connection> connections;
  Outcome outcome = readConnections(paths, limits, SocketTable::read, logLine, &connections);
  if (outcome.failed()) {
    ZEVO_NOTE_ERROR(ZEVO_ERR_SYSTEM, outcome.cause());
    return -1;
  }
  *records = pack(connections);
  if (*records == nullptr && !connections.empty()) throw std::bad_alloc();
  return static_cast<int>(connections.size());
}

}  // namespace

Outcome readConnections(const Paths& paths, const ToolLimits& limits,
                        const Sources::SocketReader& readSockets, const Sources::Log& log,
                        std::vector<Connection>* connections) {
  connections->clear();
  Outcome outcome = readAll(paths, limits, readSockets, log, connections);
  if (outcome.failed()) connections->clear();
  for (Connection& connection : *connections) cleanTexts(connection);
  return outcome;
}

}  // namespace zevo::connections

extern "C" int ZEVOCurConnGet(_tag_ZEVO_CURCONN_** records) {
  *records = nullptr;
  try {
    return zevo::connections::get(records);
  } catch (const std::bad_alloc&) {
    ZEVO_ERR_SET(ZEVO_ERR_OUT_OF_MEMORY);
  } catch (const std::exception&) {
    ZEVO_ERR_SET(ZEVO_ERR_SYSTEM);
  }
  return -1;
}
