#include "sdk/connections/vsftpd.h"

#include <cerrno>
#include <filesystem>
#include <optional>
#include <sys/stat.h>

#include "base/file_failure.h"
#include "sdk/connections/account_name.h"
#include "sdk/connections/served_client.h"

namespace zevo::connections {
namespace {

bool isVsftpd(std::string_view name) {
  return name == "vsftpd";
}

// Whether the process waits in the folder of secure_chroot_dir, as those do that know no user yet
// or never one (the TLS handler): its whole tree is one empty folder that belongs to somebody else.
Reading<bool> waitsInEmptyFolder(const Sources& sources, const Process& process,
                                 const ProcessFiles& files, uid_t uid) {
  const auto root = files.root();
  const auto folder = root.ok() ? files.workingDirectory() : Reading<std::string>::like(root);
  if (!folder.ok()) return Reading<bool>::like(folder);
  if (*root == "/" || *root != *folder) return false;
  const std::string path = sources.paths().proc + "/" + std::to_string(process.pid) + "/root/.";
  struct stat status {};
  std::error_code error;
  bool isEmpty = false;
  if (::stat(path.c_str(), &status) == 0) {
    isEmpty = std::filesystem::is_empty(path, error);
  } else {
    error.assign(errno, std::system_category());
  }
  if (error.value() == ENOENT || error.value() == ESRCH) return Reading<bool>::gone();
  if (error) {
    return Reading<bool>::failure("cannot read " + path + ": " + errorText(error.value()) +
                                  "; run this as root with the capability CAP_SYS_PTRACE");
  }
  return isEmpty && status.st_uid != uid;
}

// Whether `process` of `client` works for a user, as far as that shows without titles.
Reading<bool> isUsersProcess(const Sources& sources, const ServedClient& client,
                             const Process& process, const ProcessFiles& files, uid_t uid) {
  // The uppermost is root's until somebody logs in.
  if (uid == 0) return &process != client.processes.front();
  const auto waits = waitsInEmptyFolder(sources, process, files, uid);
  return waits.ok() ? Reading<bool>(!*waits) : waits;
}

// The login of which `process` is the user's process; none where it is another one.
LoginReading readLogin(const Sources& sources, const ServedClient& client, const Process& process) {
  const auto files = sources.filesOf(process);
  if (!files.ok()) return LoginReading::like(files);
  const auto title = files->title();
  const auto ids = title.ok() ? files->userIds() : Reading<UserIds>::like(title);
  const auto folder = ids.ok() ? files->workingDirectory() : Reading<std::string>::like(ids);
  if (!folder.ok()) return LoginReading::like(folder);

  const VsftpdTitle parsed = parseVsftpdTitle(title->first);
  const auto isUsers = parsed.isTitle
                           ? Reading<bool>(parsed.isLoggedIn)
                           : isUsersProcess(sources, client, process, *files, ids->effective);
  if (!isUsers.ok()) return LoginReading::like(isUsers);
  if (!*isUsers) return std::optional<Login>();
  return std::optional<Login>({client.processes.front(),
                               parsed.user.empty() ? accountName(ids->effective) : parsed.user,
                               *folder});
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
