#include "services/telnet.h"

#include "services/containers.h"
#include "services/process_owner.h"
#include "services/served_client.h"

namespace zevo::connections {
namespace {

constexpr int kLongestWay = 16;  // pids reused during the scan could form a cycle

bool isTelnetd(std::string_view name) {
  return name == "telnetd" || name == "in.telnetd";
}

// Programs between telnetd and the user's own. Netkit's telnetd does not run as root; telnetlogin
// starts login.
bool isLoginStep(std::string_view name) {
  return name == "login" || name == "telnetlogin" || isTelnetd(name);
}

// A process below telnetd.
struct Below {
  const Process* process = nullptr;  // null if nobody has logged in
  uid_t uid = 0;
};

// The first child of `parent` that still runs, and its owner.
Result<Below> firstChild(const Sources& sources, const Process& parent) {
  for (const Process* child : sources.processes().children(parent.pid)) {
    const auto owner = sources.filesOf(*child).and_then(
        [&sources](const ProcessFiles& open) { return ownerOf(open, sources.home()); });
    if (hasFailed(owner)) return errorOf(owner);
    if (owner) return Below{child, *owner};
  }
  return Below{};
}

// The user's first process below `server`, which runs as `serverUid`. A user's program named login
// counts like any other.
Result<Below> usersProcess(const Sources& sources, const Process& server, uid_t serverUid) {
  const Process* step = &server;
  for (int i = 0; i < kLongestWay; ++i) {
    auto below = firstChild(sources, *step);
    if (!below || below->process == nullptr) return below;
    const bool isUsers = below->uid != 0 && below->uid != serverUid;
    if (isUsers || !isLoginStep(below->process->name)) return below;
    step = below->process;
  }
  return Below{};
}

// The account whose login `below` belongs to: its owner, unless that is root and the kernel
// recorded another one.
Result<uid_t> loginOwner(const Sources& sources, const ProcessFiles& server, const Below& below) {
  if (below.uid != 0) return below.uid;
  const auto before = server.loginUid();
  const auto after = sources.filesOf(*below.process).and_then(&ProcessFiles::loginUid);
  if (!before || !after) return errorOf(before, after);
  // A login id that telnetd has itself was inherited from its parent.
  const bool isKnown = after->has_value() && *after != *before;
  return isKnown ? **after : below.uid;
}

LoginReading readTelnetLogin(const Sources& sources, const ServedClient& /*client*/,
                             const Process& server) {
  const auto files = sources.filesOf(server);
  const auto ids = files.and_then(&ProcessFiles::userIds);
  const auto below =
      ids.and_then([&](const UserIds& users) { return usersProcess(sources, server, users.real); });
  if (!below) return errorOf(below);
  if (below->process == nullptr) return std::optional<Login>();
  const auto owner = loginOwner(sources, *files, *below);
  if (!owner) return errorOf(owner);
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

Result<void> readTelnet(const Sources& sources, std::vector<Connection>& connections) {
  return readSessions(sources, {ZEVO_CURCONN_TELNET, isTelnetd}, readTelnetLogin, connections);
}

}  // namespace zevo::connections
