#include "sdk/account_write.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <set>

#include "zevo/error_trail.h"

#include "base/file_descriptor.h"
#include "base/read_file.h"
#include "base/text.h"
#include "sdk/account_lock.h"
#include "sdk/administrators.h"

namespace zevo {
namespace {

constexpr std::size_t kLongestAccountFile = 64UL * 1024 * 1024;

int fail(int code, const std::string& cause) {
  ZEVO_NOTE_ERROR(code, cause);
  return code;
}

int fail(const FileFailure& failure) {
  return fail(ZEVO_ERR_SYSTEM, failure.text());
}

// Reads the shadow file itself: a link in its place would be replaced by the write.
std::optional<FileFailure> readShadow(const std::string& path, std::string* content) {
  const FileDescriptor file = openFile(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  if (!file) return FileFailure{"open", path, errno};
  return readDescriptor(file.get(), path, kLongestAccountFile, content);
}

std::optional<FileFailure> readAccountFiles(const AccountPaths& paths, AccountFiles* files) {
  std::string content;
  if (auto failure = readFile(paths.passwd, kLongestAccountFile, &content)) return failure;
  files->passwd = parsePasswd(content);
  if (auto failure = readFile(paths.group, kLongestAccountFile, &content)) return failure;
  files->groups = parseGroups(content);
  auto failure = readFile(paths.shells, kLongestAccountFile, &content);
  if (failure && failure->error != ENOENT) return failure;
  if (!failure) files->shells = parseShells(content);
  return std::nullopt;
}

// Whether the name is root's or, where no such account exists, its alias.
bool isRoot(const AccountFiles& files, const std::string& name) {
  const auto account = files.passwd.find(name);
  if (account != files.passwd.end()) return account->second.uid == 0;
  return name == "root" || name == "admin";
}

std::string quoted(const std::string& name) {
  return '"' + printable(name, 256) + '"';
}

// The new content: the day of expiry of each named entry replaced, all other bytes as they were.
// Empty, with *missing naming it, where a name has no entry.
std::string withChanges(const std::string& shadow, const std::vector<AccountChange>& changes,
                        std::string* missing) {
  std::map<std::string_view, std::optional<long>> days;
  for (const AccountChange& change : changes) days[change.name] = change.shadow.expiryDay;
  std::set<std::string_view> found;
  std::string written;
  std::size_t copied = 0;
  for (const ShadowEntry& entry : parseShadow(shadow)) {
    const auto day = days.find(entry.name);
    if (day == days.end()) continue;
    found.insert(day->first);
    if (!day->second) continue;
    written.append(shadow, copied, entry.expiryDayStart - copied);
    written += std::to_string(*day->second);
    copied = entry.expiryDayStart + entry.expiryDay.size();
  }
  for (const auto& [name, day] : days) {
    if (!found.contains(name)) {
      *missing = name;
      return {};
    }
  }
  return written.append(shadow, copied);
}

// Refuses a batch that takes a valid administrator and leaves too few.
int checkAdministrators(const AccountDatabase& database, const AccountFiles& files,
                        const std::string& before, const std::string& after) {
  const auto valid = [&](const std::string& shadow) {
    return validAdministrators(files, parseShadow(shadow), database.administratorsGroup,
                               database.today);
  };
  const auto old = valid(before);
  const auto left = valid(after);
  const bool takesOne = !std::includes(left.begin(), left.end(), old.begin(), old.end());
  if (!takesOne || left.size() >= static_cast<std::size_t>(std::max(database.minAdmins, 0))) {
    return ZEVO_ERR_NONE;
  }
  return fail(ZEVO_ERR_TOO_FEW_ADMINISTRATORS,
              "this would leave " + std::to_string(left.size()) +
                  " administrators who can log in, and " + std::to_string(database.minAdmins) +
                  " must be left: make another account an administrator first");
}

int writeLocked(const AccountDatabase& database, const std::vector<AccountChange>& changes) {
  AccountFiles files;
  if (const auto failure = readAccountFiles(database.paths, &files)) return fail(*failure);
  for (const AccountChange& change : changes) {
    if (isRoot(files, change.name)) {
      return fail(ZEVO_ERR_TOO_FEW_ADMINISTRATORS,
                  quoted(change.name) + " is root's account, which is never changed");
    }
  }
  std::string before;
  if (const auto failure = readShadow(database.paths.shadow, &before)) return fail(*failure);
  std::string missing;
  const std::string after = withChanges(before, changes, &missing);
  if (!missing.empty()) {
    return fail(ZEVO_ERR_NO_SUCH_USER, quoted(missing) +
                                           " is no local account: it has no line of its own in " +
                                           database.paths.shadow);
  }
  if (const int refusal = checkAdministrators(database, files, before, after)) return refusal;
  if (after == before) return ZEVO_ERR_NONE;
  const std::array<std::string_view, 1> pieces = {after};
  const auto failure =
      replaceFile(database.paths.shadow, pieces, {.removeLeftovers = true}, *database.operations);
  return failure ? fail(*failure) : ZEVO_ERR_NONE;
}

}  // namespace

int writeShadow(const AccountDatabase& database, const std::vector<AccountChange>& changes) {
  if (changes.empty()) return ZEVO_ERR_NONE;
  for (const AccountChange& change : changes) {
    if (change.name.empty()) return fail(ZEVO_ERR_NO_SUCH_USER, "an account has no name");
  }
  FileDescriptor lock;
  if (const auto failure = lockAccounts(database.paths.lock, database.lockWait, &lock)) {
    return fail(*failure);
  }
  return writeLocked(database, changes);
}

}  // namespace zevo
