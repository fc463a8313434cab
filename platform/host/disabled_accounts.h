// The accounts that were disabled, and undoing it: for hosts. Modules disable accounts through
// zevo/local_account.h. Of these functions all but clearAccountNotes may throw std::bad_alloc.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

#include "zevo/export.h"
#include "zevo/read_notes.h"

namespace zevo {

// Who asks for changes of accounts, as the record keeps it.
struct Actor {
  std::string name;   // "alice"
  std::string place;  // a terminal or an address: "pts/3", "10.20.0.8"
};

// Sets the actor of this process; a host does so before each call.
ZEVO_EXPORT void setActor(const Actor& actor);

// A service that still lets an account in although it was disabled: its part of the write failed.
inline constexpr std::string_view kStillLetIn = "still_let_in";

// What the latest account write of this thread, which succeeded, could not do, each with the code
// kStillLetIn and the service; none after a write that failed. A host clears them before a call.
ZEVO_EXPORT std::vector<ReadNote> accountNotes();
ZEVO_EXPORT void clearAccountNotes();

// Whether disabling the accounts would be refused, by the rules of the account write and in its
// order: ZEVO_ERR_NONE where it would not be, ZEVO_ERR_NO_SUCH_USER where one of `users` is no
// local account, ZEVO_ERR_TOO_FEW_ADMINISTRATORS where one is root's or too few administrators
// would be left, or ZEVO_ERR_SYSTEM where that cannot be told. The cause is noted. It changes
// nothing, and waits for the lock of the shadow file. Needs effective uid 0.
ZEVO_EXPORT int disablingRefusal(const std::vector<std::string>& users);

struct DisabledAccount {
  enum class State {
    kDisabled,
    kChanged,  // its expiry has been changed since, by somebody else
    kGone,     // there is no such local account any more
  };
  std::string user;
  std::string time;  // when it was disabled: local time as "2026-11-20 21:26:24"
  std::string by;
  std::string from;
  std::string expiryBefore;  // the day as "2027-01-31"; empty: never
  State state = State::kDisabled;
};

// The accounts that were disabled and not enabled again, by name. Nothing, with the last error set
// and noted, where the record or the shadow file cannot be read. Needs effective uid 0.
ZEVO_EXPORT std::optional<std::vector<DisabledAccount>> disabledAccounts();

struct EnabledAccount {
  std::string user;
  // What is not as it was before: another expiry that somebody has set since and that stays; a
  // Samba entry that is gone; a service that could not be undone. And what keeps the account out as
  // it did then: an expiry that was over, a Samba entry that was disabled. Sentences without a full
  // stop.
  std::vector<std::string> notes;
  bool isComplete = true;  // nothing is left to undo, and the record knows the account no longer
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

// Undoes what disabling the accounts did: gives each its earlier expiry back, where nobody has set
// another since, then its entry of Samba's database its flag, and drops it from the record. The
// shadow entries change all or none; what fails after that stands in the notes, stays in the record
// and is done by another call. The causes of another status than kDone are noted. Needs effective
// uid 0.
ZEVO_EXPORT Enabling enableAccounts(const std::vector<std::string>& users);

// {"total": …, "items": […]} with "user", "time", "by", "from", "expiry_before" (null: never) and
// "state" ("disabled", "changed" or "gone").
ZEVO_EXPORT Json::Value disabledAccountsAsJson(const std::vector<DisabledAccount>& accounts);
// {"accounts": […]} with "user", "complete" and "notes".
ZEVO_EXPORT Json::Value enabledAccountsAsJson(const std::vector<EnabledAccount>& accounts);

}  // namespace zevo
