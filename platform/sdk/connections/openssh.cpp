#include "sdk/connections/openssh.h"

#include <string>

#include "sdk/connections/trust.h"

namespace zevo::connections {
namespace {

constexpr std::string_view kNoTerminal = "notty";
constexpr std::string_view kInternalSftp = "internal-sftp";
constexpr std::string_view kExternalSftp = "sftp-server";

// sshd, or sshd-session of newer releases; not sshd-auth, which serves logins in progress.
bool isSshd(std::string_view name) {
  return name.starts_with("sshd") && name != "sshd-auth";
}

// One authenticated connection.
struct Session {
  const Process* process = nullptr;  // its SIGTERM ends the connection
  const Process* owner = nullptr;    // root's process that holds the connection's socket
  std::string user;
  std::string use;  // as sessionUse says
  std::string from;
};

Reading<std::string> titleText(const ProcessFiles& files) {
  const auto title = files.title();
  if (!title.ok()) return Reading<std::string>::like(title);
  return std::string(sshTitleText(title->first).value_or(""));
}

// The title of a process that root started; empty for any other, whose title is not even read: a
// user may lay out the memory of his own processes so that reading it never returns.
Reading<std::string> rootsText(const ProcessFiles& files) {
  const auto rootOwned = isRootOwned(files);
  if (!rootOwned.ok()) return Reading<std::string>::like(rootOwned);
  return *rootOwned ? titleText(files) : Reading<std::string>(std::string());
}

// The user for whom `parent` guards a login; empty where it guards none.
Reading<std::string> guardedUser(const Sources& sources, const Process* parent) {
  if (parent == nullptr || !isSshd(parent->name)) return std::string();
  const auto files = sources.filesOf(*parent);
  auto text = files.ok() ? rootsText(*files) : Reading<std::string>::like(files);
  if (!text.ok()) return text;
  return std::string(monitoredUser(*text).value_or(""));
}

// A session that root's own process with this text serves, if it serves one.
Session unguardedSession(std::string_view text, Session session) {
  const auto user = monitoredUser(text) ? std::nullopt : unguardedUser(text);
  if (!user) return session;
  session.owner = session.process;
  session.user = *user;
  session.use = *sessionUse(text, *user);
  return session;
}

// The session that a user's own process serves, if its parent guards one.
Reading<Session> guardedSession(const Sources& sources, const ProcessFiles& files,
                                Session session) {
  const Process* parent = sources.processes().find(session.process->parent);
  const auto user = guardedUser(sources, parent);
  if (!user.ok()) return Reading<Session>::like(user);
  if (user->empty()) return session;
  const auto text = titleText(files);
  if (!text.ok()) return Reading<Session>::like(text);
  const auto use = sessionUse(*text, *user);
  if (!use) return session;
  session.owner = parent;
  session.user = *user;
  session.use = *use;
  return session;
}

// The session that `process` serves; its owner is null where it serves none.
Reading<Session> identify(const Sources& sources, const Process& process) {
  const auto files = sources.filesOf(process);
  const auto text = files.ok() ? rootsText(*files) : Reading<std::string>::like(files);
  if (!text.ok()) return Reading<Session>::like(text);
  Session session;
  session.process = &process;
  return text->empty() ? guardedSession(sources, *files, std::move(session))
                       : unguardedSession(*text, std::move(session));
}

// Address of the client, empty where it did not come over TCP.
Reading<std::string> clientAddress(const Sources& sources, const Process& owner) {
  const auto files = sources.filesOf(owner);
  if (!files.ok()) return Reading<std::string>::like(files);
  const auto socket = clientSocket(sources, *files);
  if (!socket.ok()) return Reading<std::string>::like(socket);
  return socket->has_value() ? numericText((*socket)->remote) : std::string();
}

// What runs below a session.
struct Below {
  std::vector<const Process*> internalSftp;
  std::vector<const Process*> externalSftp;
  bool hasOther = false;  // a command or a shell
};

// The SFTP server that `child` of a session is or, being the shell that started it, has below it.
const Process* externalSftp(const Sources& sources, const Process& child) {
  if (child.name == kExternalSftp) return &child;
  for (const Process* below : sources.processes().children(child.pid)) {
    if (below->name == kExternalSftp) return below;
  }
  return nullptr;
}

Reading<Below> readBelow(const Sources& sources, const Session& session) {
  Below below;
  for (const Process* child : sources.processes().children(session.process->pid)) {
    if (!isSshd(child->name)) {
      const Process* server = externalSftp(sources, *child);
      if (server != nullptr) below.externalSftp.push_back(server);
      below.hasOther |= server == nullptr;
      continue;
    }
    const auto files = sources.filesOf(*child);
    const auto text = files.ok() ? titleText(*files) : Reading<std::string>::like(files);
    if (text.failed()) return Reading<Below>::like(text);
    if (text.ok() && sessionUse(*text, session.user) == kInternalSftp) {
      below.internalSftp.push_back(child);
    }
  }
  return below;
}

Connection sshRecord(const Sources& sources, const Session& session, std::string descr) {
  return {.pid = session.process->pid,
          .time = sources.startText(*session.owner),
          .from = session.from,
          .user = session.user,
          .descr = std::move(descr),
          .type = ZEVO_CURCONN_SSH};
}

void appendTerminals(const Sources& sources, const Session& session, const Below& below,
                     std::vector<Connection>* connections) {
  if (session.use.empty() || session.use == kNoTerminal) {
    const bool isSftpOnly = !below.internalSftp.empty() || !below.externalSftp.empty();
    if (isSftpOnly && !below.hasOther) return;
    connections->push_back(sshRecord(sources, session, "no terminal"));
    return;
  }
  std::string_view rest = session.use;
  while (!rest.empty()) {
    const std::size_t comma = rest.find(',');
    connections->push_back(sshRecord(sources, session, std::string(rest.substr(0, comma))));
    rest.remove_prefix(comma == std::string_view::npos ? rest.size() : comma + 1);
  }
}

// The folder in which the SFTP server works.
Outcome appendInternalSftp(const Sources& sources, const Session& session, const Process& server,
                           std::vector<Connection>* connections) {
  const auto files = sources.filesOf(server);
  const auto folder = files.ok() ? files->workingDirectory() : Reading<std::string>::like(files);
  if (folder.failed()) return Outcome::failure(folder.cause());
  if (!folder.ok()) return Outcome::done();
  connections->push_back({.pid = server.pid,
                          .time = sources.startText(server),
                          .from = session.from,
                          .user = session.user,
                          .descr = *folder,
                          .type = ZEVO_CURCONN_SFTP});
  return Outcome::done();
}

Outcome appendSession(const Sources& sources, Session session,
                      std::vector<Connection>* connections) {
  auto from = clientAddress(sources, *session.owner);
  const auto below = readBelow(sources, session);
  if (from.failed()) return Outcome::failure(from.cause());
  if (below.failed()) return Outcome::failure(below.cause());
  if (!from.ok()) return Outcome::done();
  session.from = std::move(*from);
  appendTerminals(sources, session, *below, connections);
  for (const Process* server : below->internalSftp) {
    Outcome outcome = appendInternalSftp(sources, session, *server, connections);
    if (outcome.failed()) return outcome;
  }
  for (std::size_t i = 0; i < below->externalSftp.size(); ++i) {
    connections->push_back(sshRecord(sources, session, "SFTP (sftp-server)"));
  }
  return Outcome::done();
}

}  // namespace

std::optional<std::string_view> sshTitleText(std::string_view title) {
  const std::size_t colon = title.find(": ");
  if (colon == std::string_view::npos || !isSshd(title.substr(0, colon))) return std::nullopt;
  return title.substr(colon + 2);
}

std::optional<std::string_view> monitoredUser(std::string_view text) {
  constexpr std::string_view kMark = " [priv]";
  if (!text.ends_with(kMark) || text.size() == kMark.size()) return std::nullopt;
  return text.substr(0, text.size() - kMark.size());
}

std::optional<std::string_view> sessionUse(std::string_view text, std::string_view user) {
  if (!text.starts_with(user)) return std::nullopt;
  text.remove_prefix(user.size());
  if (text.empty()) return text;
  if (text.front() != '@') return std::nullopt;
  return text.substr(1);
}

std::optional<std::string_view> unguardedUser(std::string_view text) {
  // The listener shows its arguments, and brackets mark every stage before a session.
  if (text.find('[') != std::string_view::npos || text.starts_with('/')) return std::nullopt;
  const std::string_view user = text.substr(0, text.rfind('@'));
  if (user.empty() || sessionUse(text, user) == kInternalSftp) return std::nullopt;
  return user;
}

Outcome readOpenssh(const Sources& sources, std::vector<Connection>& connections) {
  Outcome outcome;
  for (const Process* process : sources.processes().named(isSshd)) {
    auto session = identify(sources, *process);
    if (session.failed()) outcome.add(Outcome::failure(session.cause()));
    if (!session.ok() || session->owner == nullptr) continue;
    outcome.add(appendSession(sources, std::move(*session), &connections));
  }
  return outcome;
}

}  // namespace zevo::connections
