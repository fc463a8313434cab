#include "cli/commands/disable.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string_view>
#include <utility>

#include "zevo/disabled_accounts.h"

#include "cli/client/list_reader.h"
#include "cli/client/side_by_side.h"
#include "cli/commands/access_check.h"
#include "cli/commands/account_expiry.h"
#include "cli/commands/disable_plan.h"
#include "cli/commands/ending.h"
#include "cli/commands/listing.h"
#include "cli/commands/warnings.h"
#include "cli/terminal/output.h"
#include "cli/terminal/progress.h"
#include "cli/terminal/question.h"
#include "cli/terminal/table_output.h"

namespace cli {
namespace {

// Why the method would pass over `user`; empty where it would not.
std::string objectionTo(const std::string& user) {
  if (user.empty()) return "the name of an account must not be empty";
  if (user.find_first_of("\\@") != std::string::npos) {
    return "\"" + user + "\" is an account of a directory or a container: disable it there";
  }
  if (user == kNameOfRoot || user == "root") {
    return "\"" + user + "\" stands for root here, who cannot be disabled";
  }
  const char* sudoUser = std::getenv("SUDO_USER");
  if (sudoUser && user == sudoUser) {
    return "\"" + user + "\" is the account with which you are logged in";
  }
  return "";
}

std::vector<AccountChange> accountsBefore(const std::vector<std::string>& users) {
  std::vector<AccountChange> changes;
  changes.reserve(users.size());
  for (const std::string& user : users) changes.push_back({user, expiryOf(user), {}, false});
  return changes;
}

Answer callDisable(const std::vector<std::string>& users, Client& client) {
  Json::Value parameters(Json::objectValue);
  for (const std::string& user : users) parameters["users"].append(user);
  const std::vector<Call> calls = {{"disable_user", std::move(parameters)}};
  Progress progress("waiting for connections to end", calls.size());
  const auto answers =
      callSideBySide(client, calls, [&](std::size_t done) { progress.show(done); });
  return answers.front().value_or(failedAnswer("it was interrupted"));
}

std::set<std::string> recordedUsers() {
  std::set<std::string> users;
  const auto accounts = zevo::disabledAccounts();
  if (!accounts) return users;
  for (const zevo::DisabledAccount& account : *accounts) users.insert(account.user);
  return users;
}

bool isDisabled(const AccountChange& change) {
  return change.after == kDisabledExpiry;
}

std::vector<AccountChange> accountsAfter(std::vector<AccountChange> accounts) {
  const std::set<std::string> recorded = recordedUsers();
  for (AccountChange& account : accounts) {
    account.after = expiryOf(account.user);
    account.canBeUndone = recorded.contains(account.user);
  }
  return accounts;
}

// Says what is wrong with the connections; true where nothing is.
bool areTheirConnectionsGone(const Answer& answer, const Attempt& attempt, const Page& now) {
  const auto& warnings = mayLack(answer.warnings) ? answer.warnings : now.warnings;
  if (mayLack(warnings)) {
    complainOfDoubt("whether all of their connections have ended is not known:", warnings);
    return false;
  }
  for (const std::string& service : servicesWithoutUsers(now)) {
    complainOfDoubt(doubtOver(service, attempt.users), warningsAbout(now.warnings, service));
  }
  const bool isGone = haveAllEnded(endingsOf(attempt, now));
  if (!isGone) complain("the accounts are disabled, but not all of their connections have ended");
  return isGone && servicesWithoutUsers(now).empty();
}

// What became of it all, from the accounts and the list as they are now.
ExitCode reportOn(const Answer& answer, const std::vector<AccountChange>& accounts,
                  const Attempt& attempt, Client& client) {
  const bool isWritten = std::all_of(accounts.begin(), accounts.end(), isDisabled);
  std::vector<std::string> lines = accountLines(accounts);
  Failure failure;
  const std::optional<Page> page = readAfter(attempt, client, &failure);
  if (page) {
    for (std::string& line : linesOf(endingsOf(attempt, *page))) lines.push_back(std::move(line));
  }
  bool areOut = true;
  for (const AccountChange& account : accounts) {
    if (isDisabled(account)) areOut = checkAccess(account.user, &lines) && areOut;
  }
  const ExitCode written = printText(linesText(lines, lookOfOutput().charset));
  if (answer.status != Answer::Status::kDone) {
    const Failure refusal = explainDisableFailure(answer, isWritten);
    complain(refusal.lines);
    return refusal.exitCode;
  }
  if (!page) {
    complain(failure.lines);
    return kExitFailed;
  }
  const bool areGone = areTheirConnectionsGone(answer, attempt, *page);
  const std::vector<zevo::ReadNote> letIn = stillLetIn(answer.warnings);
  if (!letIn.empty()) complainOfDoubt("the accounts are disabled, but not everywhere:", letIn);
  if (!areOut) complain("a disabled account is still let in");
  return isWritten && areOut && letIn.empty() && areGone ? written : kExitFailed;
}

std::string planText(const Disable& request, const std::vector<Connection>& connections,
                     const std::vector<Connection>& theirs) {
  const Look look = lookOfOutput();
  std::vector<std::string> lines;
  for (const std::string& user : request.users) lines.push_back("account to be disabled: " + user);
  for (const std::string& sentence : othersHit(request.users, connections)) {
    lines.push_back("note: " + sentence);
  }
  for (const std::string& sentence : thoseThatMayStay(theirs)) lines.push_back(sentence);
  for (const std::string& user : request.users) {
    for (const std::string& line : foreseenAccess(user, theirs)) lines.push_back(line);
  }
  return (theirs.empty() ? "" : tableText(theirs, look)) + linesText(lines, look.charset);
}

}  // namespace

std::optional<Disable> checkDisable(const std::vector<std::string>& users, std::string* wrong) {
  Disable request;
  for (const std::string& user : users) {
    *wrong = objectionTo(user);
    if (!wrong->empty()) return {};
    const bool isKnown =
        std::find(request.users.begin(), request.users.end(), user) != request.users.end();
    if (!isKnown) request.users.push_back(user);
  }
  if (!request.users.empty()) return request;
  *wrong = "whom? Give the names of accounts";
  return {};
}

ExitCode disable(const Disable& request, Client& client) {
  if (!request.isDryRun && !request.isConfirmed && !canAsk()) {
    complain("standard input is no terminal on which to ask: add --yes, or --dry-run to look only");
    return kExitUsage;
  }
  Failure failure;
  const std::optional<Page> page = readList(client, "", &failure);
  if (!page) {
    complain(failure.lines);
    return failure.exitCode;
  }
  complainOfWarnings(page->warnings);
  const std::vector<Connection> theirs = connectionsOf(request.users, page->connections);
  const ExitCode written = printText(planText(request, page->connections, theirs));
  if (written != kExitDone || request.isDryRun) return written;
  if (!request.isConfirmed && !ask("Disable the accounts and end these connections?")) {
    complain("nothing was changed");
    return kExitFailed;
  }
  std::vector<AccountChange> accounts = accountsBefore(request.users);
  Attempt attempt{.targets = {},
                  .users = request.users,
                  .before = page->connections,
                  .begin = beginOfAttempt(),
                  .warnings = {}};
  const Answer answer = callDisable(request.users, client);
  attempt.warnings = answer.warnings;
  for (const Connection& connection : theirs) {
    attempt.targets.push_back({connection, hindranceOf(answer)});
  }
  return reportOn(answer, accountsAfter(std::move(accounts)), attempt, client);
}

}  // namespace cli
