#include "zevo/local_account.h"

#include <algorithm>
#include <exception>
#include <map>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"
#include "host/service_table.h"
#include "sdk/account_change.h"
#include "sdk/account_disabling.h"
#include "sdk/noted_error.h"

namespace zevo {
namespace {

thread_local std::vector<ReadNote> notes;

// Per process, since a call may continue in another thread than its host's.
Actor& actor() {
  static Actor value;
  return value;
}

using Changes = std::map<std::string, VLIBUserShadow>;

// The batch by account name, or the error that was set.
int read(char** names, UserRecord** users, VLIBUserShadow** shadows, int count, Changes* changes) {
  for (int i = 0; i < count; ++i) {
    if (names == nullptr || names[i] == nullptr || shadows == nullptr || shadows[i] == nullptr) {
      return notedError(ZEVO_ERR_NO_SUCH_USER, "an account of the batch has no name or no change");
    }
    // Even if root's entry in the files has another name than in the name service.
    if (users != nullptr && users[i] != nullptr && users[i]->uid == 0) {
      return notedError(ZEVO_ERR_TOO_FEW_ADMINISTRATORS, "root's account is never changed");
    }
    (*changes)[names[i]] = *shadows[i];
  }
  return ZEVO_ERR_NONE;
}

std::set<std::string> namesOf(const Changes& changes) {
  std::set<std::string> names;
  for (const auto& [name, shadow] : changes) names.insert(name);
  return names;
}

int writeExpiry(const DisablingTools& tools, const Changes& changes) {
  ShadowWrite write;
  write.names = namesOf(changes);
  write.decide = [&](ExpiryFields& fields) -> int {
    for (auto& [name, expiry] : fields) {
      const auto& day = changes.at(name).expiryDay;
      if (day) expiry = std::to_string(*day);
    }
    return ZEVO_ERR_NONE;
  };
  return writeShadow(tools.accounts, write);
}

int set(const Changes& changes, std::vector<StillLetIn>* stillLetIn) {
  DisablingTools tools = DisablingTools::system();
  tools.actor = actor();
  const auto disables = [](const auto& change) { return change.second.expiryDay == kDisablingDay; };
  const auto count = std::count_if(changes.begin(), changes.end(), disables);
  if (count == 0) return writeExpiry(tools, changes);
  if (static_cast<std::size_t>(count) == changes.size())
    return disableAccounts(tools, namesOf(changes), stillLetIn);
  return notedError(ZEVO_ERR_SYSTEM, "a batch either disables all of its accounts or none");
}

// The batch with its outcomes. Nothing after the write allocates memory: by then the accounts are
// changed, and the caller must learn what failed.
int setUsers(char** names, UserRecord** users, VLIBUserShadow** shadows, int count,
             std::vector<int>& codes) {
  const auto size = static_cast<std::size_t>(std::max(count, 0));
  codes.assign(size, ZEVO_ERR_NONE);
  notes.reserve(size);
  Changes changes;
  std::vector<StillLetIn> stillLetIn;
  int code = read(names, users, shadows, count, &changes);
  if (code == ZEVO_ERR_NONE) code = set(changes, &stillLetIn);
  // All or none: a failure of one applies to all.
  std::fill(codes.begin(), codes.end(), code);
  for (StillLetIn& account : stillLetIn) {
    for (std::size_t i = 0; i < size; ++i) {
      if (account.user == names[i]) codes[i] = ZEVO_ERR_SYSTEM;
    }
    // The strings of the other fields are short enough to be stored in the object itself.
    ReadNote& note = notes.emplace_back();
    note.code = kStillLetIn;
    note.service = serviceName(ZEVO_CURCONN_CIFS);
    note.detail = std::move(account.detail);
  }
  return code;
}

}  // namespace

void setActor(const Actor& who) {
  actor() = {withoutIllFormed(who.name), withoutIllFormed(who.place)};
}

std::vector<ReadNote> accountNotes() {
  return notes;
}

void clearAccountNotes() {
  notes.clear();
}

}  // namespace zevo

extern "C" int ZEVOLocalAccountUserSet(char** names, UserRecord** users, VLIBUserShadow** shadows,
                                       int count, VLIBCMResult** result) {
  zevo::clearAccountNotes();
  std::vector<int> unasked;
  std::vector<int>& codes = result != nullptr && *result != nullptr ? (*result)->codes : unasked;
  int code = ZEVO_ERR_SYSTEM;
  try {
    const int done = zevo::setUsers(names, users, shadows, count, codes);
    return done == ZEVO_ERR_NONE ? 0 : -1;
  } catch (const std::bad_alloc&) {
    code = ZEVO_ERR_OUT_OF_MEMORY;
  } catch (const std::exception&) {
    // As it stands.
  }
  ZEVO_ERR_SET(code);
  std::fill(codes.begin(), codes.end(), code);
  return -1;
}
