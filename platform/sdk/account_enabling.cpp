// Enables disabled accounts.
#include <array>
#include <ctime>
#include <utility>

#include "base/local_time.h"
#include "base/numbers.h"
#include "base/text.h"
#include "sdk/account_disabling.h"
#include "sdk/account_files.h"
#include "sdk/login_state.h"
#include "sdk/noted_error.h"

namespace zevo {
namespace {

// The day of an expiry field; empty: never. An invalid field is shown unchanged.
std::string dayText(const std::string& expiry) {
  const auto day = parseNumber<long>(expiry);
  if (expiry.empty() || (day && *day < 0)) return "";
  constexpr long kLatestDay = 1000L * 1000;
  const std::time_t time = day && *day < kLatestDay ? *day * 24 * 60 * 60 : -1;
  std::tm parts{};
  if (time < 0 || ::gmtime_r(&time, &parts) == nullptr) return printable(expiry, 64);
  std::array<char, 32> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d", &parts)};
}

struct Undoing {
  const DisablingTools& tools;
  const std::set<std::string>& names;
  DisablingRecord record;
  SambaEntries samba;
  std::map<std::string, EnabledAccount> accounts;
};

bool areRecorded(const Undoing& undoing) {
  bool all = true;
  for (const std::string& name : undoing.names) {
    if (undoing.record.disablings().contains(name)) continue;
    notedError(ZEVO_ERR_NO_SUCH_USER, '"' + printable(name, 256) +
                                          "\" was not disabled here, so there is nothing to undo");
    all = false;
  }
  return all;
}

// The entries whose flag is to be cleared; a failing tool stops the batch.
bool readSambaEntries(Undoing& undoing) {
  std::vector<std::string> names;
  for (const std::string& name : undoing.names) {
    const SambaBefore before = undoing.record.disablings().at(name).samba;
    if (before == SambaBefore::kEnabled) names.push_back(name);
    if (before != SambaBefore::kDisabled) continue;
    undoing.accounts[name].notes.emplace_back(
        "its entry in Samba's database was disabled before, so nothing was undone there");
  }
  if (names.empty()) return true;
  std::string cause;
  auto entries = readSambaEntries(undoing.tools.samba, names, &cause);
  if (!entries) {
    notedError(ZEVO_ERR_SYSTEM, cause + "; no account was changed");
    return false;
  }
  undoing.samba = std::move(*entries);
  for (const std::string& name : names) {
    if (undoing.samba.contains(name)) continue;
    undoing.accounts[name].notes.emplace_back(
        "no entry of it was found in Samba's database, so nothing was undone there");
  }
  return true;
}

void restoreExpiry(Undoing& undoing, const std::string& name, std::string& expiry) {
  const std::string& before = undoing.record.disablings().at(name).expiry;
  if (expiry == kDisablingField) {
    expiry = before;
    if (!isExpired(before, undoing.tools.accounts.today)) return;
    undoing.accounts[name].notes.push_back("it had expired before it was disabled, on " +
                                           dayText(before) + ", and remains expired");
  } else if (expiry != before) {
    const std::string day = dayText(expiry);
    undoing.accounts[name].notes.push_back(
        "its expiry was changed after it was disabled and is kept: " +
        (day.empty() ? "never" : day));
  }
}

bool restoreShadow(Undoing& undoing) {
  ShadowWrite write;
  write.purpose = ShadowWrite::Purpose::kRestore;
  write.names = undoing.names;
  write.decide = [&](ExpiryFields& fields) -> int {
    for (const std::string& name : undoing.names) {
      const auto field = fields.find(name);
      if (field != fields.end()) {
        restoreExpiry(undoing, name, field->second);
      } else {
        undoing.accounts[name].notes.emplace_back("the local account no longer exists");
      }
    }
    return ZEVO_ERR_NONE;
  };
  return writeShadow(undoing.tools.accounts, write) == ZEVO_ERR_NONE;
}

void restoreSamba(Undoing& undoing) {
  for (const auto& [name, entry] : undoing.samba) {
    std::string cause;
    if (!entry.isDisabled() || setSambaDisabled(undoing.tools.samba, entry, false, &cause))
      continue;
    undoing.accounts[name].isComplete = false;
    undoing.accounts[name].notes.push_back("Samba still refuses it: " + cause +
                                           "; enable it again");
  }
}

void forget(Undoing& undoing) {
  Disablings left = undoing.record.disablings();
  for (const auto& [name, account] : undoing.accounts) {
    if (account.isComplete) left.erase(name);
  }
  if (left == undoing.record.disablings() || undoing.record.write(left)) return;
  for (auto& [name, account] : undoing.accounts) {
    if (!account.isComplete) continue;
    account.isComplete = false;
    account.notes.push_back("the record still shows it as disabled: " + errorTrail().back());
  }
}

DisabledAccount::State stateOf(const ExpiryFields& now, const std::string& name) {
  using State = DisabledAccount::State;
  const auto expiry = now.find(name);
  if (expiry == now.end()) return State::kGone;
  return expiry->second == kDisablingField ? State::kDisabled : State::kChanged;
}

}  // namespace

Enabling enableAccounts(const DisablingTools& tools, const std::set<std::string>& names) {
  Undoing undoing{tools, names, {tools.recordFolder, *tools.accounts.operations}, {}, {}};
  if (!undoing.record.open(tools.recordWait)) return {};
  if (!areRecorded(undoing)) return {Enabling::Status::kNotDisabled, {}};
  for (const std::string& name : names) undoing.accounts[name].user = name;
  // A failure between here and the new shadow file changes nothing.
  if (!readSambaEntries(undoing) || !restoreShadow(undoing)) return {};
  restoreSamba(undoing);
  forget(undoing);
  Enabling done{Enabling::Status::kDone, {}};
  for (auto& [name, account] : undoing.accounts) done.accounts.push_back(std::move(account));
  return done;
}

std::optional<std::vector<DisabledAccount>> disabledAccounts(const DisablingTools& tools) {
  DisablingRecord record(tools.recordFolder, *tools.accounts.operations);
  if (!record.read()) return std::nullopt;
  std::set<std::string> names;
  for (const auto& [name, disabling] : record.disablings()) names.insert(name);
  ExpiryFields now;
  if (!names.empty() && !readExpiry(tools.accounts.paths, names, &now)) return std::nullopt;
  std::vector<DisabledAccount> accounts;
  for (const auto& [name, disabling] : record.disablings()) {
    accounts.push_back({name, localTimeText(disabling.when), disabling.by, disabling.from,
                        dayText(disabling.expiry), stateOf(now, name)});
  }
  return accounts;
}

std::optional<std::vector<DisabledAccount>> disabledAccounts() {
  return disabledAccounts(DisablingTools::system());
}

Enabling enableAccounts(const std::vector<std::string>& users) {
  return enableAccounts(DisablingTools::system(), {users.begin(), users.end()});
}

}  // namespace zevo
