#include "sdk/account_disabling.h"

#include <new>
#include <utility>

#include "base/text.h"
#include "host/config.h"
#include "sdk/noted_error.h"

namespace zevo {
namespace {

constexpr std::time_t kSecondsOfADay = 24L * 60 * 60;

// One batch in progress.
struct DisablingBatch {
  const DisablingTools& tools;
  const std::set<std::string>& names;
  DisablingRecord record;
  SambaEntries samba;
  Disablings after;
};

SambaBefore sambaBefore(const DisablingBatch& batch, const std::string& name) {
  const auto entry = batch.samba.find(name);
  if (entry == batch.samba.end()) return SambaBefore::kNone;
  return entry->second.isDisabled() ? SambaBefore::kDisabled : SambaBefore::kEnabled;
}

// What undoing must restore: the present state of the account, or the earlier state of what we set
// ourselves. Separately for each database, since somebody may have enabled the account in only one
// of them. A flag does not show who set it, so an entry that was enabled before remains recorded as
// enabled.
void note(DisablingBatch& batch, const std::string& name, const std::string& expiry) {
  const Actor& actor = batch.tools.actor;
  const Disabling fresh{expiry, sambaBefore(batch, name), actor.name, actor.place, batch.tools.now};
  const bool isExpired = expiry == kDisablingField;
  const auto known = batch.after.find(name);
  if (known == batch.after.end()) {
    if (!isExpired || fresh.samba == SambaBefore::kEnabled) batch.after.emplace(name, fresh);
    return;
  }
  const bool wasEnabled = known->second.samba == SambaBefore::kEnabled;
  if (!isExpired) known->second = fresh;
  known->second.samba = wasEnabled ? SambaBefore::kEnabled : fresh.samba;
}

bool readSamba(DisablingBatch& batch) {
  std::string cause;
  auto entries =
      readSambaEntries(batch.tools.samba, {batch.names.begin(), batch.names.end()}, &cause);
  if (!entries) {
    notedError(ZEVO_ERR_SYSTEM, cause + "; no account was changed");
    return false;
  }
  batch.samba = std::move(*entries);
  return true;
}

// The steps before the point of no return.
int writeFiles(DisablingBatch& batch) {
  const Disablings before = batch.record.disablings();
  batch.after = before;
  ShadowWrite write;
  write.names = batch.names;
  write.decide = [&](ExpiryFields& fields) -> int {
    for (auto& [name, expiry] : fields) {
      note(batch, name, expiry);
      expiry = kDisablingField;
    }
    return ZEVO_ERR_NONE;
  };
  write.prepare = [&]() -> int {
    if (batch.after == before || batch.record.write(batch.after)) return ZEVO_ERR_NONE;
    return ZEVO_ERR_SYSTEM;
  };
  const int code = writeShadow(batch.tools.accounts, write);
  // If that fails too, the list of disabled accounts shows these as changed since.
  if (code != ZEVO_ERR_NONE && batch.record.disablings() != before) batch.record.write(before);
  return code;
}

std::string detailOf(const std::string& name, const std::string& cause) {
  return "Samba still lets \"" + printable(name, 256) + "\" in: " + cause +
         "; disable the account again";
}

// The accounts whose entries are to be disabled, in case memory runs out.
std::vector<StillLetIn> thoseLetIn(const DisablingBatch& batch) {
  std::vector<StillLetIn> accounts;
  for (const auto& [name, entry] : batch.samba) {
    if (!entry.isDisabled()) accounts.push_back({name, detailOf(name, "memory ran out")});
  }
  return accounts;
}

// False, with the detail of the account, if it is still let in.
bool disableInSamba(const DisablingBatch& batch, StillLetIn& account) {
  try {
    std::string cause;
    const SambaEntry& entry = batch.samba.at(account.user);
    if (setSambaDisabled(batch.tools.samba, entry, true, &cause)) return true;
    account.detail = detailOf(account.user, cause);
  } catch (const std::bad_alloc&) {
    // The detail already has the reason.
  }
  return false;
}

}  // namespace

DisablingTools DisablingTools::system() {
  const Config& config = zevo::config();
  DisablingTools tools;
  tools.now = std::time(nullptr);
  tools.accounts.administratorsGroup = config.administratorsGroup;
  tools.accounts.minAdmins = config.minAdmins;
  tools.accounts.today = tools.now / kSecondsOfADay;
  tools.samba = {config.pdbedit, {.time = config.toolLimit}};
  tools.recordFolder = config.stateFolder;
  return tools;
}

int disablingRefusal(const DisablingTools& tools, const std::set<std::string>& names) {
  bool isAllowed = false;
  ShadowWrite write;
  write.names = names;
  write.decide = [](ExpiryFields& fields) -> int {
    for (auto& [name, expiry] : fields) expiry = kDisablingField;
    return ZEVO_ERR_NONE;
  };
  // After all checks and before the file is written: any failure here stops the write.
  write.prepare = [&isAllowed]() -> int {
    isAllowed = true;
    return ZEVO_ERR_SYSTEM;
  };
  const int code = writeShadow(tools.accounts, write);
  return isAllowed ? ZEVO_ERR_NONE : code;
}

int disablingRefusal(const std::vector<std::string>& users) {
  return disablingRefusal(DisablingTools::system(), {users.begin(), users.end()});
}

int disableAccounts(const DisablingTools& tools, const std::set<std::string>& names,
                    std::vector<StillLetIn>* stillLetIn) {
  stillLetIn->clear();
  if (names.empty()) return ZEVO_ERR_NONE;
  for (const std::string& name : names) {
    // The record cannot represent it.
    if (validUtf8(name)) continue;
    return notedError(ZEVO_ERR_NO_SUCH_USER,
                      "there is no account \"" + printable(name, 256) + "\"");
  }
  DisablingBatch batch{tools, names, {tools.recordFolder, *tools.accounts.operations}, {}, {}};
  if (!batch.record.open(tools.recordWait) || !readSamba(batch)) return ZEVO_ERR_SYSTEM;
  std::vector<StillLetIn> letIn = thoseLetIn(batch);
  if (const int code = writeFiles(batch)) return code;
  std::erase_if(letIn, [&](StillLetIn& account) { return disableInSamba(batch, account); });
  *stillLetIn = std::move(letIn);
  return ZEVO_ERR_NONE;
}

}  // namespace zevo
