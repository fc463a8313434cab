// The disabled accounts, and enabling them again, for hosts. Modules disable accounts through
// zevo/local_account.h. All of these functions except clearAccountNotes may throw std::bad_alloc.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

#include "zevo/export.h"
#include "zevo/read_notes.h"

namespace zevo {

// The expiry day that disables an account: the second of 1970, expired by any clock.
inline constexpr long kDisablingDay = 1;

// Who changes accounts, for the record.
struct Actor {
  std::string name;   // "alice"
  std::string place;  // a terminal or an address: "pts/3", "10.20.0.8"
};

// Sets the actor of this process; hosts call it before each call.
ZEVO_EXPORT void setActor(const Actor& actor);

// A service that still lets a disabled account in, because its part of the write failed.
inline constexpr std::string_view kStillLetIn = "still_let_in";

// What the latest successful account write of this thread could not do, each with the code
// kStillLetIn and the service; none after a failed write. Hosts clear the notes before a call.
ZEVO_EXPORT std::vector<ReadNote> accountNotes();
ZEVO_EXPORT void clearAccountNotes();

// Whether disabling the accounts would be refused, by the rules of the account write and in its
// order: ZEVO_ERR_NONE if not, ZEVO_ERR_NO_SUCH_USER if one of `users` is not a local account,
// ZEVO_ERR_TOO_FEW_ADMINISTRATORS if one is root's or too few administrators would remain, or
// ZEVO_ERR_SYSTEM if that cannot be determined. The cause is noted. Changes nothing, and waits for
// the lock of the shadow file. Needs effective uid 0.
ZEVO_EXPORT int disablingRefusal(const std::vector<std::string>& users);

struct DisabledAccount {
  enum class State {
    kDisabled,
    kChanged,  // its expiry was changed since, by somebody else
    kGone,     // the local account no longer exists
  };
  std::string user;
  std::string time;  // local time of disabling, as "2026-11-20 21:26:24"
  std::string by;
  std::string from;
  std::string expiryBefore;  // the day as "2027-01-31"; empty: never
  State state = State::kDisabled;
};

// The accounts that were disabled and not enabled again, by name. Nothing, with the last error set
// and noted, if the record or the shadow file cannot be read. Needs effective uid 0.
ZEVO_EXPORT std::optional<std::vector<DisabledAccount>> disabledAccounts();

struct EnabledAccount {
  std::string user;
  // What was not restored: an expiry that was changed since and is kept, a Samba entry that no
  // longer exists, a service that failed. Also what keeps the account out as before: an earlier
  // expiry that has passed, a Samba entry that was already disabled. Sentences without a full stop.
  std::vector<std::string> notes;
  bool isComplete = true;  // nothing is left to undo, and the record no longer has the account
};

struct Enabling {
  enum class Status {
    kDone,
    kNotDisabled,  // one of the names is not recorded; nothing was changed
    kFailed,       // nothing was changed
  };
  Status status = Status::kFailed;
  std::vector<EnabledAccount> accounts;  // of kDone
};

// Enables disabled accounts: restores the earlier expiry of each unless it was changed since, then
// the flag of its entry in Samba's database, and removes it from the record. The shadow entries
// change all or none; later failures are noted, the account remains in the record, and another call
// completes the work. The causes of any status except kDone are noted. Needs effective uid 0.
ZEVO_EXPORT Enabling enableAccounts(const std::vector<std::string>& users);

// {"total": …, "items": […]} with "user", "time", "by", "from", "expiry_before" (null: never) and
// "state" ("disabled", "changed" or "gone").
ZEVO_EXPORT Json::Value disabledAccountsAsJson(const std::vector<DisabledAccount>& accounts);
// {"accounts": […]} with "user", "complete" and "notes".
ZEVO_EXPORT Json::Value enabledAccountsAsJson(const std::vector<EnabledAccount>& accounts);

}  // namespace zevo
