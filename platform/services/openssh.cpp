#include "services/openssh.h"

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>

#include "base/account_name.h"
#include "base/numbers.h"
#include "base/text.h"
#include "services/account_name.h"
#include "services/client_sockets.h"
#include "services/containers.h"
#include "services/trust.h"

namespace zevo::connections {
namespace {

constexpr std::string_view kNoTerminal = "notty";
constexpr std::string_view kInternalSftp = "internal-sftp";
constexpr std::string_view kExternalSftp = "sftp-server";
constexpr std::string_view kTerminals = "pts/";
constexpr std::string_view kUnknownTerminal = "terminal not known";
constexpr std::string_view kLoggingIn = "logging in";
constexpr std::string_view kUnknownAddress = "unknown";
constexpr std::string_view kGuard = " [priv]";
constexpr std::string_view kLoginHelper = "sshd";  // the account of what serves logins in progress

// sshd, or sshd-session of newer releases; not sshd-auth, which serves logins in progress.
bool isSshd(std::string_view name) {
  return name.starts_with("sshd") && name != "sshd-auth";
}

// One authenticated connection.
struct Session {
  const Process* process = nullptr;  // its SIGTERM ends the connection
  const Process* owner = nullptr;    // root's process that holds the connection's socket
  std::string user;
  std::string use;  // the result of sshSession()
  std::string from;
};

// Decodes what titles of sshd escape: a doubled backslash, and bytes beyond ASCII as "\303".
std::string withoutEscapes(std::string_view text) {
  constexpr std::size_t kDigits = 3;
  std::string plain;
  while (!text.empty()) {
    unsigned char byte = 0;
    std::size_t length = 1;
    if (text.starts_with("\\\\")) {
      length = 2;
    } else if (text.front() == '\\' && text.size() > kDigits &&
               parseNumber(text.substr(1, kDigits), &byte, 8) && byte != 0) {
      length = 1 + kDigits;
    }
    plain += byte != 0 ? static_cast<char>(byte) : text.front();
    text.remove_prefix(length);
  }
  return plain;
}

// The title of an sshd without the program's name; empty if it has none that can be trusted.
Result<std::string> titleText(const Sources& sources, const Process* process) {
  if (process == nullptr || !isSshd(process->name)) return std::string();
  return readTitle(sources, *process).map([](const Title& title) {
    return sshTitleText(title.first).value_or("");
  });
}

// Whether root's process with this title serves a session. Until a child executes a program, it has
// its parent's title.
bool isUnguarded(const SshSession& told, const std::string& parentText) {
  return told.use != kInternalSftp && !sshSession(parentText);
}

// The client's connection that `process` still has after the guard of its session was killed;
// nothing if it is not such a process.
Result<std::optional<Socket>> orphansClient(const Sources& sources, const Process& process) {
  const Result<bool>& owned = sources.rootOwned(process);
  if (!owned) return errorOf(owned);
  if (*owned) return std::nullopt;
  const auto orphaned = isOrphan(sources, process, isSshd);
  if (!orphaned) return errorOf(orphaned);
  if (!*orphaned) return std::nullopt;
  auto socket = clientSocket(sources, process, isSshd);
  if (socket && socket->has_value() && (*socket)->owner != 0) return std::nullopt;
  return socket;
}

// The session of which only `process` remains. Its title cannot be trusted, and reading it may
// never return, so only its user id shows whom it serves.
Result<Session> identifyOrphan(const Sources& sources, const Process& process) {
  const auto client = orphansClient(sources, process);
  if (!client) return errorOf(client);
  if (!client->has_value()) return Session();
  const auto ids = sources.filesOf(process).and_then(&ProcessFiles::userIds);
  if (!ids) return errorOf(ids);
  std::string user = accountOf(sources, process, ids->real);
  if (user == kLoginHelper) return Session();
  return Session{&process, &process, std::move(user), std::string(kUnknownTerminal), {}};
}

// Whether `user` in a title is the account with the id `uid`. If that is unknown, as in a
// container, the title is trusted.
Result<bool> isAccount(const Sources& sources, const Process& process, const std::string& user,
                       uid_t uid) {
  const auto id = accountId(user);
  if (hasFailed(id) || (id && *id == uid)) return true;
  return servesThisMachine(sources, process).map(std::logical_not<>());
}

// Root's process that guards the session of a user's process: its parent. Null if that serves a
// session itself, or if the login is still in progress.
Result<const Process*> guardOf(const Sources& sources, const Process* parent,
                               const std::string& user) {
  if (parent == nullptr || !isSshd(parent->name) || user == kLoginHelper) return nullptr;
  const Result<bool>& owned = sources.rootOwned(*parent);
  if (!owned) return errorOf(owned);
  return *owned ? parent : nullptr;
}

// A session whose title, or that of its guard, may be truncated: sshd's titles overwrite its
// arguments and environment.
Result<Session> identifyByIds(const Sources& sources, Session session, const SshSession& told,
                              const std::string& parentText) {
  const Process& process = *session.process;
  const Result<bool>& owned = sources.rootOwned(process);
  const auto ids = sources.filesOf(process).and_then(&ProcessFiles::userIds);
  if (!owned || !ids) return errorOf(owned, ids);
  const auto isTold = isAccount(sources, process, session.user, ids->real);
  if (!isTold) return errorOf(isTold);
  if (*owned) {
    session.owner = *isTold && isUnguarded(told, parentText) ? &process : nullptr;
    return session;
  }
  if (!*isTold) session.user = accountOf(sources, process, ids->real);
  return guardOf(sources, session.owner, session.user).map([&session](const Process* guard) {
    session.owner = guard;
    return session;
  });
}

// The children of `process` that are or may be sshd's, including those that have ended, until it
// has waited for them.
Result<std::size_t> countServants(const Sources& sources, const Process& process) {
  const auto children = sources.filesOf(process).and_then(&ProcessFiles::children);
  if (!children) return errorOf(children);
  std::size_t count = 0;
  for (const pid_t pid : *children) {
    const auto child = readProcess(sources.paths(), pid);
    if (hasFailed(child) || (child && child->name.starts_with("sshd"))) ++count;
  }
  return count;
}

// The account in the text of a guard, whose name there is the one that the client sent.
std::string accountIn(const std::string& guardText) {
  const std::string name = guardText.substr(0, guardText.size() - kGuard.size());
  const auto answer = askForAccount(name);
  return answer.found ? answer.entry.pw_name : name;
}

// The login that `process`, with a guard's title, has let in and whose session has not begun: that
// takes as long as its user's files, which modules of PAM read. As long as the client has not been
// authenticated, a child of the guard talks to it; during the session another one does, and
// afterwards the guard still handles SIGTERM. A session's process is forked with its guard's title.
Result<Session> identifyLogin(const Sources& sources, const Process& process,
                              const std::string& text, const Process* guard) {
  const Result<bool>& isRoots = sources.rootOwned(guard != nullptr ? *guard : process);
  if (!isRoots) return errorOf(isRoots);
  if (!*isRoots) return Session();  // a user can give it that title
  const auto servants = countServants(sources, process);
  const auto handles = sources.filesOf(process).and_then(
      [](const ProcessFiles& files) { return files.handles(SIGTERM); });
  const auto beside = guard != nullptr ? countServants(sources, *guard) : Result<std::size_t>(1);
  if (!servants || !handles || !beside) return errorOf(servants, handles, beside);
  if (*servants != 0 || *handles || *beside != 1) return Session();
  return Session{
      &process, guard != nullptr ? guard : &process, accountIn(text), std::string(kLoggingIn), {}};
}

// The session that `process` serves; its owner is null if it serves none.
Result<Session> identify(const Sources& sources, const Process& process) {
  const auto text = titleText(sources, &process);
  if (!text) return errorOf(text);
  if (text->empty()) return identifyOrphan(sources, process);
  const Process* parent = sources.processes().find(process.parent);
  const auto parentText = titleText(sources, parent);
  if (!parentText) return errorOf(parentText);
  if (isSshGuard(*text)) {
    return identifyLogin(sources, process, *text, isSshGuard(*parentText) ? parent : nullptr);
  }
  const auto told = sshSession(*text);
  if (!told) return Session();
  Session session{&process, parent, std::string(told->user), std::string(told->use), {}};
  if (isSshGuard(*parentText)) {
    const Result<bool>& isRoots = sources.rootOwned(*parent);
    if (!isRoots) return errorOf(isRoots);
    return *isRoots ? session : Session();  // a user can give the parent that title
  }
  return identifyByIds(sources, std::move(session), *told, *parentText);
}

// The address of the client: "unknown" if it did not connect over TCP, since a connection without
// an address cannot be ended.
Result<std::string> clientAddress(const Sources& sources, const Process& owner) {
  return clientSocket(sources, owner, isSshd).map([](const std::optional<Socket>& socket) {
    return socket ? numericText(socket->remote) : std::string(kUnknownAddress);
  });
}

// The processes below a session.
struct Below {
  std::vector<const Process*> internalSftp;
  bool hasExternalSftp = false;
  bool hasOther = false;  // a command or a shell
};

bool isSftpServer(const Sources& sources, const Process& process) {
  if (process.name != kExternalSftp) return false;
  const auto files = sources.filesOf(process);
  const auto& servers = sources.paths().sftpServers;
  return files && std::any_of(servers.begin(), servers.end(), [&files](const std::string& path) {
           return files->runs(path).value_or(false);
         });
}

// Classifies `child` of a session: an SFTP server, the shell that started one, or anything else.
void addProgram(const Sources& sources, const Process& child, Below* below) {
  if (isSftpServer(sources, child)) {
    below->hasExternalSftp = true;
    return;
  }
  const auto children = sources.processes().children(child.pid);
  const bool hasServer = std::any_of(children.begin(), children.end(), [&](const Process* process) {
    return isSftpServer(sources, *process);
  });
  below->hasExternalSftp |= hasServer;
  below->hasOther |= !hasServer || children.size() > 1;
}

Result<void> readBelow(const Sources& sources, const Session& session, Below* below) {
  Result<void> outcome;
  for (const Process* child : sources.processes().children(session.process->pid)) {
    const auto text = titleText(sources, child);
    addPart(outcome, text);
    if (isGone(text)) continue;
    const auto told = text ? sshSession(*text) : std::nullopt;
    if (told && told->use == kInternalSftp) {
      below->internalSftp.push_back(child);
    } else {
      addProgram(sources, *child, below);
    }
  }
  return outcome;
}

// The terminals of a session, or their replacement, and an SFTP server that is a program.
std::vector<std::string> describe(const Session& session, const Below& below) {
  std::vector<std::string> uses;
  std::string_view rest = session.use == kNoTerminal ? std::string_view() : session.use;
  while (!rest.empty()) uses.emplace_back(takeUntil(',', rest));
  const bool hasSftp = below.hasExternalSftp || !below.internalSftp.empty();
  if (uses.empty() && (below.hasOther || !hasSftp)) uses.emplace_back("no terminal");
  if (uses.empty() && !below.internalSftp.empty()) uses.emplace_back("SFTP");
  if (below.hasExternalSftp) uses.emplace_back("SFTP (sftp-server)");
  return uses;
}

// The working directory of the SFTP server.
Result<void> appendInternalSftp(const Sources& sources, const Session& session,
                                const Process& server, std::vector<Connection>* connections) {
  const auto folder = sources.filesOf(server).and_then(&ProcessFiles::workingDirectory);
  if (!folder) return failureOf(folder);
  connections->push_back({.pid = server.pid,
                          .time = sources.startText(server),
                          .from = session.from,
                          .user = session.user,
                          .descr = *folder,
                          .type = ZEVO_CURCONN_SFTP});
  return {};
}

Result<void> appendSession(const Sources& sources, Session session,
                           std::vector<Connection>* connections) {
  auto from = clientAddress(sources, *session.owner);
  if (isGone(from)) return {};
  session.from = from ? std::move(*from) : std::string(kUnknownAddress);
  Below below;
  Result<void> outcome = readBelow(sources, session, &below);
  addPart(outcome, from);
  for (std::string& use : describe(session, below)) {
    connections->push_back({.pid = session.process->pid,
                            .time = sources.startText(*session.owner),
                            .from = session.from,
                            .user = session.user,
                            .descr = std::move(use),
                            .type = ZEVO_CURCONN_SSH});
  }
  for (const Process* server : below.internalSftp) {
    addPart(outcome, appendInternalSftp(sources, session, *server, connections));
  }
  return outcome;
}

}  // namespace

std::optional<std::string> sshTitleText(std::string_view title) {
  const std::size_t colon = title.find(": ");
  if (colon == std::string_view::npos || !isSshd(title.substr(0, colon))) return std::nullopt;
  return withoutEscapes(title.substr(colon + 2));
}

bool isSshGuard(std::string_view text) {
  return text.ends_with(kGuard);
}

Result<std::string> guardedAccount(const Sources& sources, const Process& process) {
  return titleText(sources, &process).map([](const std::string& text) {
    return isSshGuard(text) ? accountIn(text) : std::string();
  });
}

std::optional<SshSession> sshSession(std::string_view text) {
  // The listener shows its arguments, and titles before a session have brackets.
  if (text.empty() || text.starts_with('/') || text.starts_with('[') || text.ends_with(']')) {
    return std::nullopt;
  }
  const std::size_t at = text.rfind('@');
  if (at == std::string_view::npos || at == 0) return SshSession{text, {}};
  const std::string_view use = text.substr(at + 1);
  const bool isUse = use == kNoTerminal || use == kInternalSftp || use.starts_with(kTerminals);
  return isUse ? SshSession{text.substr(0, at), use} : SshSession{text, {}};
}

Result<void> readOpenssh(const Sources& sources, std::vector<Connection>& connections) {
  Result<void> outcome = readTitlesAhead(sources, isSshd);
  for (const Process* process : sources.processes().named(isSshd)) {
    auto session = identify(sources, *process);
    addPart(outcome, session);
    if (!session || session->owner == nullptr) continue;
    addPart(outcome, appendSession(sources, std::move(*session), &connections));
  }
  return outcome;
}

}  // namespace zevo::connections
