#include "host/login_link.h"

#include <array>
#include <cerrno>
#include <dirent.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "zevo/error.h"
#include "zevo/error_trail.h"
#include "zevo/session_file.h"

#include "base/atomic_file.h"
#include "base/file_descriptor.h"
#include "base/numbers.h"
#include "base/open_folder.h"
#include "base/read_file.h"
#include "host/login_token.h"

namespace zevo {
namespace {

constexpr std::size_t kLongestLink = 1024;

std::string linkFolder(const std::string& sessionFilePath) {
  return sessionFilePath + ".login.links";
}

bool isYoung(const struct stat& status) {
  struct timespec now {};
  ::clock_gettime(CLOCK_REALTIME, &now);
  const time_t age = now.tv_sec - status.st_mtim.tv_sec;
  return age >= 0 && age < kLoginLinkSeconds;
}

// Removes a number and the space after it from `text`.
template <typename Number>
std::optional<Number> takeField(std::string_view& text) {
  const auto number = takeNumber<Number>(text);
  if (!text.starts_with(' ')) return std::nullopt;
  text.remove_prefix(1);
  return number;
}

// "UID END MARK NAME"; the end is 0 unless it is a view login.
std::string contentOf(const LinkAccount& account) {
  return std::to_string(account.uid) + " " + std::to_string(account.viewUntil.value_or(0)) + " " +
         account.passwordMark + " " + account.name;
}

std::optional<LinkAccount> parseAccount(std::string_view content) {
  const auto uid = takeField<uid_t>(content);
  const auto end = uid ? takeField<std::time_t>(content) : std::nullopt;
  const std::size_t space = end ? content.find(' ') : std::string_view::npos;
  if (space == std::string_view::npos || space + 1 == content.size()) return std::nullopt;
  return LinkAccount{.name = std::string(content.substr(space + 1)),
                     .uid = *uid,
                     .viewUntil = *end == 0 ? std::nullopt : end,
                     .passwordMark = std::string(content.substr(0, space))};
}

void removeOldLinks(int folder) {
  const int copy = ::fcntl(folder, F_DUPFD_CLOEXEC, 0);
  const OpenFolder entries(::fdopendir(copy));
  if (!entries) {
    if (copy >= 0) ::close(copy);
    return;
  }
  while (const dirent* entry = ::readdir(entries.get())) {
    struct stat status {};
    if (::fstatat(folder, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
    if (S_ISREG(status.st_mode) && !isYoung(status)) ::unlinkat(folder, entry->d_name, 0);
  }
}

bool failAtLink(const FileFailure& failure) {
  ZEVO_NOTE_ERROR(ZEVO_ERR_SYSTEM, failure.text());
  return false;
}

}  // namespace

bool createLoginLink(const std::string& sessionFilePath, const LinkAccount& account,
                     std::string* token) {
  if (ZEVOCgiSessionFileCreate(sessionFilePath.c_str()) != 0) return false;
  const std::string folder = linkFolder(sessionFilePath);
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
    return failAtLink(FileFailure{"create", folder, errno});
  }
  *token = newLoginToken();
  const std::string content = contentOf(account);
  const std::array<std::string_view, 1> pieces = {content};
  const auto failure = replaceFile(folder + "/" + tokenHash(*token), pieces);
  return failure ? failAtLink(*failure) : true;
}

std::optional<LinkAccount> takeLoginLink(const std::string& sessionFilePath,
                                         std::string_view token) {
  const FileDescriptor folder =
      openFile(linkFolder(sessionFilePath).c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
  if (!folder || !isLoginToken(token)) return std::nullopt;
  removeOldLinks(folder.get());
  const std::string name = tokenHash(token);
  const FileDescriptor file =
      openFileAt(folder.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0 || !isYoung(status)) return std::nullopt;
  std::string content;
  if (readDescriptor(file.get(), name, kLongestLink, &content)) return std::nullopt;
  // Whoever removes the name gets the link; everybody else is too late.
  if (::unlinkat(folder.get(), name.c_str(), 0) != 0) return std::nullopt;
  return parseAccount(content);
}

}  // namespace zevo
