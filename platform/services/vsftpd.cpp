#include "services/vsftpd.h"

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
Reading<bool> isHelpers(const Sources& sources, const ServedClient& client, uid_t uid,
                        const Title& arguments) {
  const VsftpdGuests guests =
      client.isOrphaned ? VsftpdGuests() : readGuests(arguments.all, sources.paths().vsftpd);
  const auto helper = accountId(guests.helper);
  if (helper.failed()) return Reading<bool>::like(helper);
  return !helper.ok() || *helper == uid;
}

// Whether the process waits in the folder of secure_chroot_dir, as those do that know no user yet
// or never one (the handler of TLS, and the parent once somebody has logged in).
Reading<bool> waitsInEmptyFolder(const Sources& sources, const ServedClient& client,
                                 const Process& process, const ProcessFiles& files, uid_t uid,
                                 const Title& arguments) {
  const auto root = files.root();
  const auto folder = root.ok() ? files.workingDirectory() : Reading<std::string>::like(root);
  if (!folder.ok()) return Reading<bool>::like(folder);
  if (*root == "/" || *root != *folder) return false;
  auto helpers = isHelpers(sources, client, uid, arguments);
  if (!helpers.ok() || !*helpers) return helpers;
  const auto parent = sources.filesOf(*client.processes.front());
  const auto waiting = parent.ok() ? parent->root() : Reading<std::string>::like(parent);
  if (!waiting.ok()) return Reading<bool>::like(waiting);
  const bool parentWaits = &process != client.processes.front() && *waiting != "/";
  return parentWaits ? *root == *waiting : hasEmptyRoot(sources, process, uid);
}

// Each process begins as root's, and makes no other one once it has taken its user's rights. So one
// that still may is on its way to be somebody else's, or the uppermost.
Reading<bool> worksForRoot(const ProcessFiles& files) {
  const auto mayMake = files.mayMakeProcesses();
  return mayMake.ok() ? Reading<bool>(!*mayMake) : mayMake;
}

// Whether `process` of `client` works for a user, as far as that shows without titles.
Reading<bool> isUsersProcess(const Sources& sources, const ServedClient& client,
                             const Process& process, const ProcessFiles& files, uid_t uid,
                             const Title& arguments) {
  if (uid == 0) return worksForRoot(files);
  const auto waits = waitsInEmptyFolder(sources, client, process, files, uid, arguments);
  return waits.ok() ? Reading<bool>(!*waits) : waits;
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
  if (!files.ok()) return LoginReading::like(files);
  const auto title = readTitle(sources, process);
  const auto ids = title.ok() ? files->userIds() : Reading<UserIds>::like(title);
  auto folder = ids.ok() ? files->workingDirectory() : Reading<std::string>::like(ids);
  if (!folder.ok()) return LoginReading::like(folder);

  const VsftpdTitle parsed = parseVsftpdTitle(title->first);
  const auto isUsers =
      parsed.isTitle ? Reading<bool>(parsed.isLoggedIn)
                     : isUsersProcess(sources, client, process, *files, ids->effective, *title);
  if (!isUsers.ok()) return LoginReading::like(isUsers);
  if (!*isUsers) return std::optional<Login>();
  Login login = parsed.user.empty()
                    ? untitledLogin(sources, process, *title, ids->effective, std::move(*folder))
                    : Login{.user = parsed.user, .descr = std::move(*folder)};
  login.process = endingProcess(client, process);
  // What one that ends meanwhile looked like proves nothing.
  const auto root = files->root();
  if (!root.ok()) return LoginReading::like(root);
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

Outcome readVsftpd(const Sources& sources, std::vector<Connection>& connections) {
  const auto login = [&sources](const ServedClient& client, const Process& process) {
    return readLogin(sources, client, process);
  };
  return readSessions(sources, {ZEVO_CURCONN_FTP, isVsftpd}, login, connections);
}

}  // namespace zevo::connections
