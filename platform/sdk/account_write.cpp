#include "sdk/account_write.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <set>

#include "zevo/error_trail.h"

#include "base/account_name.h"
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

std::optional<FileFailure> readShells(const std::string& path, std::set<std::string>* shells) {
  std::string content;
  const auto failure = readFile(path, kLongestAccountFile, &content);
  if (failure && failure->error != ENOENT) return failure;
  if (!failure) *shells = parseShells(content);
  return std::nullopt;
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

// What the name service says of a batch, asked before the files are locked: a directory may take
// its time.
struct Batch {
  std::vector<Administrator> administrators;
  std::set<std::string> shells;
};

// Whether the name is root's or, where no such account exists, its alias.
bool isRoot(const std::string& name, const std::optional<Account>& account) {
  return account ? account->uid == 0 : name == "root" || name == kRootAlias;
}

int checkNames(AccountSource& source, const std::set<std::string>& names) {
  for (const std::string& name : names) {
    if (!canBeAccountName(name)) {
      return fail(ZEVO_ERR_NO_SUCH_USER, "there is no account " + quoted(name));
    }
    std::optional<Account> account;
    if (const int error = source.account(name, &account)) {
      return fail(ZEVO_ERR_SYSTEM,
                  "cannot look up the account " + quoted(name) + ": " + errorText(error));
    }
    if (isRoot(name, account)) {
      return fail(ZEVO_ERR_TOO_FEW_ADMINISTRATORS,
                  quoted(name) + " is root's account, which is never changed");
    }
  }
  return ZEVO_ERR_NONE;
}

int readBatch(const AccountDatabase& database, const std::vector<AccountChange>& changes,
              Batch* batch) {
  std::set<std::string> names;
  for (const AccountChange& change : changes) names.insert(change.name);
  if (const int refusal = checkNames(*database.source, names)) return refusal;
  const int error = readAdministrators(*database.source, database.administratorsGroup, names,
                                       &batch->administrators);
  if (error != 0) {
    return fail(ZEVO_ERR_SYSTEM,
                "cannot tell who the administrators are, so no account is changed: " +
                    errorText(error) + "; check the name service");
  }
  const auto failure = readShells(database.paths.shells, &batch->shells);
  return failure ? fail(*failure) : ZEVO_ERR_NONE;
}

// Refuses a batch that takes a valid administrator and leaves too few.
int checkAdministrators(const AccountDatabase& database, const Batch& batch,
                        const std::string& before, const std::string& after) {
  const auto valid = [&](const std::string& shadow) {
    return validAdministrators(batch.administrators, parseShadow(shadow), batch.shells,
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

int writeLocked(const AccountDatabase& database, const Batch& batch,
                const std::vector<AccountChange>& changes) {
  std::string before;
  if (const auto failure = readShadow(database.paths.shadow, &before)) return fail(*failure);
  std::string missing;
  const std::string after = withChanges(before, changes, &missing);
  if (!missing.empty()) {
    return fail(ZEVO_ERR_NO_SUCH_USER, quoted(missing) +
                                           " is no local account: it has no line of its own in " +
                                           database.paths.shadow);
  }
  if (const int refusal = checkAdministrators(database, batch, before, after)) return refusal;
  if (after == before) return ZEVO_ERR_NONE;
  const std::array<std::string_view, 1> pieces = {after};
  const auto failure =
      replaceFile(database.paths.shadow, pieces, {.removeLeftovers = true}, *database.operations);
  return failure ? fail(*failure) : ZEVO_ERR_NONE;
}

}  // namespace

int writeShadow(const AccountDatabase& database, const std::vector<AccountChange>& changes) {
  if (changes.empty()) return ZEVO_ERR_NONE;
  Batch batch;
  if (const int refusal = readBatch(database, changes, &batch)) return refusal;
  FileDescriptor lock;
  if (const auto failure = lockAccounts(database.paths.lock, database.lockWait, &lock)) {
    return fail(*failure);
  }
  return writeLocked(database, batch, changes);
}

}  // namespace zevo
