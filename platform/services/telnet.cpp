#include "services/telnet.h"

#include "services/containers.h"
#include "services/process_owner.h"
#include "services/served_client.h"

namespace zevo::connections {
namespace {

constexpr int kLongestWay = 16;  // pids that are given anew during the scan could close a circle

bool isTelnetd(std::string_view name) {
  return name == "telnetd" || name == "in.telnetd";
}

// Programs between telnetd and the user's own. Netkit's telnetd is no root process and has
// telnetlogin start login.
bool isLoginStep(std::string_view name) {
  return name == "login" || name == "telnetlogin" || isTelnetd(name);
}

// A process below telnetd.
struct Below {
  const Process* process = nullptr;  // null where nobody has logged in
  uid_t uid = 0;
};

// The first child of `parent` that still runs, and its owner.
Reading<Below> firstChild(const Sources& sources, const Process& parent) {
  for (const Process* child : sources.processes().children(parent.pid)) {
    const auto files = sources.filesOf(*child);
    const auto owner = files.ok() ? ownerOf(*files, sources.home()) : Reading<uid_t>::like(files);
    if (owner.failed()) return Reading<Below>::failure(owner.cause());
    if (owner.ok()) return Below{child, *owner};
  }
  return Below{};
}

// The user's first process below `server`, which runs as `serverUid`. A user's program named login
// is his like any other.
Reading<Below> usersProcess(const Sources& sources, const Process& server, uid_t serverUid) {
  const Process* step = &server;
  for (int i = 0; i < kLongestWay; ++i) {
    auto below = firstChild(sources, *step);
    if (!below.ok() || below->process == nullptr) return below;
    const bool isUsers = below->uid != 0 && below->uid != serverUid;
    if (isUsers || !isLoginStep(below->process->name)) return below;
    step = below->process;
  }
  return Below{};
}

// Whose login `below` came from: its owner, unless that is root and the kernel knows better.
Reading<uid_t> loginOwner(const Sources& sources, const ProcessFiles& server, const Below& below) {
  if (below.uid != 0) return below.uid;
  const auto files = sources.filesOf(*below.process);
  const auto before = server.loginUid();
  const auto after = files.ok() ? files->loginUid() : Reading<std::optional<uid_t>>::like(files);
  if (!before.ok()) return Reading<uid_t>::like(before);
  if (!after.ok()) return Reading<uid_t>::like(after);
  // What telnetd has already was inherited from whoever started it.
  const bool isKnown = after->has_value() && *after != *before;
  return isKnown ? **after : below.uid;
}

LoginReading readLogin(const Sources& sources, const Process& server) {
  const auto files = sources.filesOf(server);
  const auto ids = files.ok() ? files->userIds() : Reading<UserIds>::like(files);
  const auto below =
      ids.ok() ? usersProcess(sources, server, ids->real) : Reading<Below>::like(ids);
  if (!below.ok()) return LoginReading::like(below);
  if (below->process == nullptr) return std::optional<Login>();
  const auto owner = loginOwner(sources, *files, *below);
  if (!owner.ok()) return LoginReading::like(owner);
  return std::optional<Login>(
      {&server, accountOf(sources, server, *owner), pseudoTerminalName(below->process->terminal)});
}

}  // namespace

std::string pseudoTerminalName(std::int32_t device) {
  constexpr std::uint32_t kFirstMajor = 136;  // of Unix98 pseudo-terminals: 136 to 143
  constexpr std::uint32_t kMajors = 8;
  constexpr std::uint32_t kMinorsOfOldKernels = 256;  // which used all eight majors
  const auto bits = static_cast<std::uint32_t>(device);
  const std::uint32_t major = (bits >> 8U) & 0xFFFU;
  const std::uint32_t minor = (bits & 0xFFU) | ((bits >> 12U) & 0xFFF00U);
  if (major < kFirstMajor || major >= kFirstMajor + kMajors) return {};
  return "pts/" + std::to_string((major - kFirstMajor) * kMinorsOfOldKernels + minor);
}

Outcome readTelnet(const Sources& sources, std::vector<Connection>& connections) {
  const auto login = [&sources](const ServedClient& /*client*/, const Process& process) {
    return readLogin(sources, process);
  };
  return readSessions(sources, {ZEVO_CURCONN_TELNET, isTelnetd}, login, connections);
}

}  // namespace zevo::connections
