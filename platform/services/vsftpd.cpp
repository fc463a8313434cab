#include "services/vsftpd.h"

#include <functional>
#include <optional>
#include <utility>

#include "services/account_name.h"
#include "services/containers.h"
#include "services/empty_root.h"
#include "services/served_client.h"
#include "services/vsftpd_guests.h"

namespace zevo::connections {
namespace {

bool isVsftpd(std::string_view name) {
  return name == "vsftpd";
}

// Whether `uid` may belong to processes that serve nobody yet. An orphan's arguments cannot be
// trusted.
Result<bool> isHelpers(const Sources& sources, const ServedClient& client, uid_t uid,
                       const Title& arguments) {
  const VsftpdGuests guests =
      client.isOrphaned ? VsftpdGuests() : readGuests(arguments.all, sources.paths().vsftpd);
  const auto helper = accountId(guests.helper);
  if (hasFailed(helper)) return errorOf(helper);
  return !helper || *helper == uid;
}

// Whether the process waits in the directory secure_chroot_dir, like those that have no user yet or
// never have one (the TLS handler, and the parent once somebody has logged in).
Result<bool> waitsInEmptyFolder(const Sources& sources, const ServedClient& client,
                                const Process& process, const ProcessFiles& files, uid_t uid,
                                const Title& arguments) {
  const auto root = files.root();
  const auto folder = files.workingDirectory();
  if (!root || !folder) return errorOf(root, folder);
  if (*root == "/" || *root != *folder) return false;
  auto helpers = isHelpers(sources, client, uid, arguments);
  if (!helpers || !*helpers) return helpers;
  const auto waiting = sources.filesOf(*client.processes.front()).and_then(&ProcessFiles::root);
  if (!waiting) return errorOf(waiting);
  const bool parentWaits = &process != client.processes.front() && *waiting != "/";
  return parentWaits ? *root == *waiting : hasEmptyRoot(sources, process, uid);
}

// Each process starts as root, and cannot create another one after it has changed to its user. So
// one that still can is either before that change or the uppermost.
Result<bool> worksForRoot(const ProcessFiles& files) {
  return files.mayMakeProcesses().map(std::logical_not<>());
}

// Whether `process` of `client` serves a user, as far as that is visible without titles.
Result<bool> isUsersProcess(const Sources& sources, const ServedClient& client,
                            const Process& process, const ProcessFiles& files, uid_t uid,
                            const Title& arguments) {
  if (uid == 0) return worksForRoot(files);
  return waitsInEmptyFolder(sources, client, process, files, uid, arguments)
      .map(std::logical_not<>());
}

// The process whose end ends the session of which `users` is the user's process. The end of the
// uppermost ends all others, except during a transfer: then they continue without it, and the
// process that transfers the data must end. With TLS that is the handler, without which the user's
// process ends at once; conversely, the handler would wait for a client that takes no data.
const Process* endingProcess(const ServedClient& client, const Process& users) {
  const Process* ending = client.processes.front();
  for (const Process* process : client.withMore) {
    if (process == client.processes.front() && !client.isOrphaned) continue;
    ending = process;
    if (process != &users) break;
  }
  return ending;
}

// The account of the user's process, which may also serve virtual users: this is then appended to
// `folder`.
Login untitledLogin(const Sources& sources, const Process& process, const Title& arguments,
                    uid_t uid, std::string folder) {
  Login login{.user = accountOf(sources, process, uid), .descr = std::move(folder)};
  const VsftpdGuests guests = readGuests(arguments.all, sources.paths().vsftpd);
  const std::string_view guest = guestOf(guests, login.user);
  if (!guest.empty()) login.descr.append(" (").append(guest).append(")");
  return login;
}

// The login of which `process` is the user's process; none if it is another process.
LoginReading readLogin(const Sources& sources, const ServedClient& client, const Process& process) {
  const auto files = sources.filesOf(process);
  const auto title = readTitle(sources, process);
  const auto ids = files.and_then(&ProcessFiles::userIds);
  auto folder = files.and_then(&ProcessFiles::workingDirectory);
  if (!title || !ids || !folder) return errorOf(title, ids, folder);

  const VsftpdTitle parsed = parseVsftpdTitle(title->first);
  const auto isUsers =
      parsed.isTitle ? Result<bool>(parsed.isLoggedIn)
                     : isUsersProcess(sources, client, process, *files, ids->effective, *title);
  if (!isUsers) return errorOf(isUsers);
  if (!*isUsers) return std::optional<Login>();
  Login login = parsed.user.empty()
                    ? untitledLogin(sources, process, *title, ids->effective, std::move(*folder))
                    : Login{.user = parsed.user, .descr = std::move(*folder)};
  login.process = endingProcess(client, process);
  // The data of a process that ends in the meantime prove nothing.
  const auto root = files->root();
  if (!root) return errorOf(root);
  return std::optional<Login>(std::move(login));
}

}  // namespace

VsftpdTitle parseVsftpdTitle(std::string_view title) {
  constexpr std::string_view kBegin = "vsftpd: ";
  VsftpdTitle parsed;
  parsed.isTitle = title.starts_with(kBegin);
  if (!parsed.isTitle) return parsed;
  title.remove_prefix(kBegin.size());
  const std::size_t end = title.find(": ");
  const std::size_t slash = title.substr(0, end).find('/');
  parsed.isLoggedIn = slash != std::string_view::npos;
  if (parsed.isLoggedIn && end != std::string_view::npos) {
    parsed.user = title.substr(slash + 1, end - slash - 1);
  }
  return parsed;
}

Result<void> readVsftpd(const Sources& sources, std::vector<Connection>& connections) {
  if (sources.processes().named(isVsftpd).empty()) return {};
  // The parent opens the data connections as this account. The control connection proves nothing
  // any more once its client has closed it too.
  const auto helper = accountId(readGuests("", sources.paths().vsftpd).helper);
  const ServiceKind kind{ZEVO_CURCONN_FTP, isVsftpd, {}, helper ? *helper : std::optional<uid_t>()};
  Result<void> outcome = readTitlesAhead(sources, isVsftpd);
  addPart(outcome, readSessions(sources, kind, readLogin, connections));
  return outcome;
}

}  // namespace zevo::connections
