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

// Whether `uid` may be that of processes which work for nobody yet. An orphan's arguments may be
// anybody's.
Result<bool> isHelpers(const Sources& sources, const ServedClient& client, uid_t uid,
                       const Title& arguments) {
  const VsftpdGuests guests =
      client.isOrphaned ? VsftpdGuests() : readGuests(arguments.all, sources.paths().vsftpd);
  const auto helper = accountId(guests.helper);
  if (hasFailed(helper)) return errorOf(helper);
  return !helper || *helper == uid;
}

// Whether the process waits in the folder of secure_chroot_dir, as those do that know no user yet
// or never one (the handler of TLS, and the parent once somebody has logged in).
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

// Each process begins as root's, and makes no other one once it has taken its user's rights. So one
// that still may is on its way to be somebody else's, or the uppermost.
Result<bool> worksForRoot(const ProcessFiles& files) {
  return files.mayMakeProcesses().map(std::logical_not<>());
}

// Whether `process` of `client` works for a user, as far as that shows without titles.
Result<bool> isUsersProcess(const Sources& sources, const ServedClient& client,
                            const Process& process, const ProcessFiles& files, uid_t uid,
                            const Title& arguments) {
  if (uid == 0) return worksForRoot(files);
  return waitsInEmptyFolder(sources, client, process, files, uid, arguments)
      .map(std::logical_not<>());
}

// The process whose end ends the session of which `users` is the user's process. The uppermost
// takes all others with it, unless data flows: then these go on without it, and who moves the data
// has to end. Over TLS that is the handler, without which the user's process ends at once; the
// other way round the handler would go on waiting for a client who takes no data.
const Process* endingProcess(const ServedClient& client, const Process& users) {
  const Process* ending = client.processes.front();
  for (const Process* process : client.withMore) {
    if (process == client.processes.front() && !client.isOrphaned) continue;
    ending = process;
    if (process != &users) break;
  }
  return ending;
}

// The account of the user's process, under which virtual users are served, too: then `folder` is
// followed by that.
Login untitledLogin(const Sources& sources, const Process& process, const Title& arguments,
                    uid_t uid, std::string folder) {
  Login login{.user = accountOf(sources, process, uid), .descr = std::move(folder)};
  const VsftpdGuests guests = readGuests(arguments.all, sources.paths().vsftpd);
  const std::string_view guest = guestOf(guests, login.user);
  if (!guest.empty()) login.descr.append(" (").append(guest).append(")");
  return login;
}

// The login of which `process` is the user's process; none where it is another one.
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
  // What one that ends meanwhile looked like proves nothing.
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
  return readSessions(sources, {ZEVO_CURCONN_FTP, isVsftpd}, readLogin, connections);
}

}  // namespace zevo::connections
