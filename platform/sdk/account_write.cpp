#include "sdk/account_write.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <set>

#include "base/account_name.h"
#include "base/file_descriptor.h"
#include "base/read_file.h"
#include "base/text.h"
#include "sdk/account_lock.h"
#include "sdk/administrators.h"
#include "sdk/login_state.h"
#include "sdk/noted_error.h"

namespace zevo {
namespace {

constexpr std::size_t kLongestAccountFile = 64UL * 1024 * 1024;

// Reads the shadow file itself: the write would replace a link.
std::optional<FileFailure> readShadow(const std::string& path, std::string* content) {
  const FileDescriptor file = openFile(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  if (!file) return FileFailure{"open", path, errno};
  return readDescriptor(file.get(), path, kLongestAccountFile, content);
}

std::string nameInQuotes(const std::string& name) {
  return '"' + printable(name, 256) + '"';
}

// The fields of the entries of `names`; the first one of a name counts, as in the C library.
ExpiryFields expiryFieldsOf(const std::string& shadow, const std::set<std::string>& names) {
  ExpiryFields fields;
  for (const ShadowEntry& entry : parseShadow(shadow)) {
    const std::string name(entry.name);
    if (names.contains(name)) fields.try_emplace(name, entry.expiryDay);
  }
  return fields;
}

// The new content: the expiry day of each named entry is replaced, all other bytes are unchanged.
std::string withFields(const std::string& shadow, const ExpiryFields& fields) {
  std::string written;
  std::size_t copied = 0;
  for (const ShadowEntry& entry : parseShadow(shadow)) {
    const auto field = fields.find(std::string(entry.name));
    if (field == fields.end()) continue;
    written.append(shadow, copied, entry.expiryDayStart - copied).append(field->second);
    copied = entry.expiryDayStart + entry.expiryDay.size();
  }
  return written.append(shadow, copied);
}

// The name service's data for a batch, read before the files are locked, since a directory service
// may be slow.
struct Batch {
  std::vector<Administrator> administrators;
  std::set<std::string> shells;
};

// Whether the name is root's or, if there is no such account, its alias.
bool isRoot(const std::string& name, const std::optional<Account>& account) {
  return account ? account->uid == 0 : name == "root" || name == kRootAlias;
}

int checkNames(AccountSource& source, const std::set<std::string>& names) {
  for (const std::string& name : names) {
    if (!canBeAccountName(name)) {
      return notedError(ZEVO_ERR_NO_SUCH_USER, "there is no account " + nameInQuotes(name));
    }
    std::optional<Account> account;
    if (const int error = source.account(name, &account)) {
      return notedError(ZEVO_ERR_SYSTEM, "cannot look up the account " + nameInQuotes(name) + ": " +
                                             errorText(error));
    }
    if (isRoot(name, account)) {
      return notedError(ZEVO_ERR_TOO_FEW_ADMINISTRATORS,
                        nameInQuotes(name) + " is root's account, which is never changed");
    }
  }
  return ZEVO_ERR_NONE;
}

int readBatch(const AccountDatabase& database, const std::set<std::string>& names, Batch* batch) {
  if (const int refusal = checkNames(*database.source, names)) return refusal;
  const int error = readAdministrators(*database.source, database.administratorsGroup, names,
                                       &batch->administrators);
  if (error != 0) {
    return notedError(
        ZEVO_ERR_SYSTEM,
        "cannot determine the administrators, so no account is changed: " + errorText(error) +
            "; check the name service, or set administrators_group");
  }
  const auto failure = readShells(database.paths.shells, &batch->shells);
  return failure ? notedError(*failure) : ZEVO_ERR_NONE;
}

// Refuses a batch that disables a valid administrator and leaves too few.
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
  return notedError(ZEVO_ERR_TOO_FEW_ADMINISTRATORS,
                    "this would leave " + std::to_string(left.size()) +
                        " administrators who can log in, and " +
                        std::to_string(database.minAdmins) +
                        " must remain: make another account an administrator first");
}

int missing(const AccountDatabase& database, const ShadowWrite& write, const ExpiryFields& found) {
  for (const std::string& name : write.names) {
    if (found.contains(name)) continue;
    return notedError(ZEVO_ERR_NO_SUCH_USER,
                      nameInQuotes(name) +
                          " is not a local account: it has no line of its own in " +
                          database.paths.shadow);
  }
  return ZEVO_ERR_NONE;
}

int writeLocked(const AccountDatabase& database, const ShadowWrite& write, const Batch& batch) {
  const bool isGuarded = write.purpose == ShadowWrite::Purpose::kChange;
  std::string before;
  if (const auto failure = readShadow(database.paths.shadow, &before)) return notedError(*failure);
  ExpiryFields fields = expiryFieldsOf(before, write.names);
  if (isGuarded) {
    if (const int refusal = missing(database, write, fields)) return refusal;
  }
  if (const int refusal = write.decide(fields)) return refusal;
  const std::string after = withFields(before, fields);
  if (isGuarded) {
    if (const int refusal = checkAdministrators(database, batch, before, after)) return refusal;
  }
  if (write.prepare) {
    if (const int refusal = write.prepare()) return refusal;
  }
  if (after == before) return ZEVO_ERR_NONE;
  const std::array<std::string_view, 1> pieces = {after};
  const auto failure =
      replaceFile(database.paths.shadow, pieces, {.keepsIdentity = true, .removeLeftovers = true},
                  *database.operations);
  return failure ? notedError(*failure) : ZEVO_ERR_NONE;
}

}  // namespace

int writeShadow(const AccountDatabase& database, const ShadowWrite& write) {
  if (write.names.empty()) return ZEVO_ERR_NONE;
  Batch batch;
  if (write.purpose == ShadowWrite::Purpose::kChange) {
    if (const int refusal = readBatch(database, write.names, &batch)) return refusal;
  }
  FileDescriptor lock;
  if (const auto failure = lockAccounts(database.paths.lock, database.lockWait, &lock)) {
    return notedError(ZEVO_ERR_SYSTEM, *failure);
  }
  return writeLocked(database, write, batch);
}

bool readExpiry(const AccountPaths& paths, const std::set<std::string>& names,
                ExpiryFields* fields) {
  std::string content;
  if (const auto failure = readShadow(paths.shadow, &content)) {
    notedError(*failure);
    return false;
  }
  *fields = expiryFieldsOf(content, names);
  return true;
}

}  // namespace zevo
