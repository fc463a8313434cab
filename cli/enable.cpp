#include "enable.h"

#include <algorithm>
#include <array>

#include "zevo/disabled_accounts.h"
#include "zevo/error_trail.h"

#include "columns.h"
#include "enforcement_log.h"
#include "json_text.h"
#include "listing.h"
#include "output.h"
#include "table_output.h"

namespace cli {
namespace {

// The cells are given.
constexpr std::array<Column, 6> kDisabledColumns = {{
    {"USER", "account", nullptr, 8, false, 0},
    {"DISABLED", "when it was disabled", nullptr, 19, false, 4},
    {"BY", "who disabled it", nullptr, 8, false, 2},
    {"FROM", "at which terminal or address", nullptr, 8, false, 5},
    {"EXPIRY BEFORE", "the day that enabling it restores", nullptr, 13, false, 3},
    {"NOW", "what the account is now", nullptr, 8, false, 1},
}};

std::string stateText(zevo::DisabledAccount::State state) {
  switch (state) {
    case zevo::DisabledAccount::State::kChanged:
      return "expiry changed since";
    case zevo::DisabledAccount::State::kGone:
      return "no such account";
    case zevo::DisabledAccount::State::kDisabled:
      break;
  }
  return "disabled";
}

std::string countText(std::size_t count) {
  if (count == 0) return "no account is disabled";
  return count == 1 ? "1 account is disabled" : std::to_string(count) + " accounts are disabled";
}

std::string textOf(const std::vector<zevo::DisabledAccount>& accounts) {
  std::string count = countText(accounts.size()) + "\n";
  if (accounts.empty()) return count;
  std::vector<std::vector<std::string>> rows;
  rows.reserve(accounts.size());
  for (const zevo::DisabledAccount& account : accounts) {
    rows.push_back({account.user, account.time, account.by, account.from,
                    account.expiryBefore.empty() ? "never" : account.expiryBefore,
                    stateText(account.state)});
  }
  return tableText(makeTextTable(kDisabledColumns, rows, lookOfOutput())) + count;
}

void log(const Enable& request, bool isDone) {
  Json::Value parameters(Json::objectValue);
  for (const std::string& user : request.users) parameters["users"].append(user);
  Answer answer;
  answer.status = isDone ? Answer::Status::kDone : Answer::Status::kRefused;
  answer.code = isDone ? 0 : kCodeFailed;
  logEnforcement(askerOf(kNameOfRoot), "enable", parameters, answer);
}

ExitCode failWithTrail(const std::string& first) {
  std::vector<std::string> lines = {first};
  for (const std::string& cause : zevo::errorTrail()) lines.push_back(cause);
  complain(lines);
  return kExitFailed;
}

}  // namespace

std::optional<Enable> checkEnable(const std::vector<std::string>& users, std::string* wrong) {
  Enable request;
  for (const std::string& user : users) {
    if (user.empty()) {
      *wrong = "the name of an account must not be empty";
      return {};
    }
    const auto known = std::find(request.users.begin(), request.users.end(), user);
    if (known == request.users.end()) request.users.push_back(user);
  }
  if (!request.users.empty()) return request;
  *wrong = "whom? Give the names of accounts; \"currentconn disabled\" lists them";
  return {};
}

std::string enablingCommand(const std::string& user) {
  return "currentconn enable " + std::string(user.starts_with('-') ? "-- " : "") + user;
}

ExitCode enable(const Enable& request) {
  zevo::clearErrorTrail();
  const zevo::Enabling done = zevo::enableAccounts(request.users);
  log(request, done.status == zevo::Enabling::Status::kDone);
  if (done.status != zevo::Enabling::Status::kDone) return failWithTrail("no account was enabled:");
  std::vector<std::string> lines;
  bool areComplete = true;
  for (const zevo::EnabledAccount& account : done.accounts) {
    lines.push_back((account.isComplete ? "enabled: " : "not enabled in full: ") + account.user);
    for (const std::string& note : account.notes) lines.push_back("  " + note);
    areComplete = areComplete && account.isComplete;
  }
  const ExitCode written = printText(linesText(lines, lookOfOutput().charset));
  return areComplete ? written : kExitFailed;
}

ExitCode showDisabled(const ShowDisabled& request) {
  zevo::clearErrorTrail();
  const auto accounts = zevo::disabledAccounts();
  if (!accounts) return failWithTrail("cannot tell which accounts are disabled:");
  if (request.asJson) return printText(compactJson(zevo::disabledAccountsAsJson(*accounts)) + "\n");
  return printText(textOf(*accounts));
}

}  // namespace cli
