#include "cli/commands/disable.h"

#include <algorithm>
#include <utility>

#include "calls/enforce/connection.h"
#include "cli/commands/access_report.h"
#include "cli/commands/enable.h"
#include "cli/commands/plan_lines.h"
#include "cli/commands/warnings.h"
#include "cli/terminal/output.h"
#include "cli/terminal/question.h"
#include "cli/terminal/table_output.h"

namespace cli {
namespace {

void append(std::vector<std::string>* lines, const std::vector<std::string>& more) {
  lines->insert(lines->end(), more.begin(), more.end());
}

std::string inQuotes(const Json::Value& text) {
  return "\"" + text.asString() + "\"";
}

// Reports why nothing is disabled, in the same words before and after the attempt.
ExitCode refuse(const Json::Value& refusal) {
  const std::string key = refusal["reason"].asString();
  const std::string user = inQuotes(refusal["user"]);
  if (key == "too_few_administrators") {
    complain(std::vector<std::string>{
        "refused: too few administrators who can log in would remain; nothing was changed",
        "make another account an administrator first, or leave this one out"});
    return kExitTooFewAdministrators;
  }
  if (key == "own_account" || key == "directory_account" || key == "root_account") {
    complain(key == "own_account" ? user + " is the account with which you are logged in"
             : key == "root_account"
                 ? user + " is root, who cannot be disabled"
                 : user + " is an account of a directory service or a container: disable it there");
    return kExitUsage;
  }
  std::vector<std::string> lines = {"no account was disabled and no connection ended:"};
  if (key == "unknown_account") lines.push_back("there is no account " + user);
  if (key == "not_local") lines.push_back(user + " is not a local account");
  if (key == "no_time") lines.emplace_back("there was no time left; try again");
  for (const Json::Value& cause : refusal["causes"]) lines.push_back(cause.asString());
  if (lines.size() == 1) lines.emplace_back("see the system log: journalctl -t currentconn");
  complain(lines);
  return kExitFailed;
}

std::string stayingLine(const Json::Value& row) {
  const std::string key = row["reason"]["reason"].asString();
  if (key == "under_other_user") return "will stay: " + describe(row) + ": " + reasonText(row);
  const bool isCertain = key == "no_process" || key == "unknown_process";
  return (isCertain ? "will stay: " : "may stay: ") + describe(row) + ": " + reasonText(row);
}

std::string disablePlanText(const Json::Value& plan) {
  std::vector<std::string> lines;
  for (const Json::Value& account : plan["accounts"]) {
    lines.push_back(
        (account["disabled"].asBool() ? "account already disabled: " : "account to be disabled: ") +
        account["user"].asString());
  }
  append(&lines, effectLines(plan["ends"]));
  for (const Json::Value& row : plan["stays"]) lines.push_back(stayingLine(row));
  for (const Json::Value& account : plan["accounts"])
    append(&lines, accessLines(account, Tense::kFuture));
  return endingTable(plan["ends"]) + linesText(lines, lookOfOutput().charset);
}

std::string accountLine(const Json::Value& account) {
  const std::string user = account["user"].asString();
  if (!account["disabled"].asBool()) return "not disabled: " + user;
  const std::string line =
      (account["already"].asBool() ? "already disabled: " : "disabled: ") + user;
  return account.isMember("undo") ? line + "; to undo it: " + enablingCommand(user) : line;
}

// "it is not known whether alice or bob is connected over SMB:".
std::string doubtOver(const std::string& service, const Json::Value& accounts) {
  std::string names;
  for (const Json::Value& account : accounts)
    names += (names.empty() ? "" : " or ") + account["user"].asString();
  return "it is not known whether " + names + " is connected over " +
         (service == calls::enforce::kSmb ? "SMB" : service) + ":";
}

bool allOf(const Json::Value& items, bool (*holds)(const Json::Value& item)) {
  return std::all_of(items.begin(), items.end(), holds);
}

// Reports problems with the connections; true if there are none.
bool areConnectionsGone(const Performed& done) {
  const Json::Value& result = done.result;
  if (mayLack(done.warnings)) {
    complainOfDoubt("it is not known whether all of their connections have ended:", done.warnings);
    return false;
  }
  const Json::Value& services = result["services_without_users"];
  for (const Json::Value& service : services) {
    complainOfDoubt(doubtOver(service.asString(), result["accounts"]),
                    warningsAbout(done.warnings, service.asString()));
  }
  const bool areGone =
      allOf(result["connections"], [](const Json::Value& row) { return row["fate"] == "ended"; });
  if (!areGone) complain("the accounts are disabled, but not all of their connections have ended");
  return areGone && services.empty();
}

// The line about logins that were ended; none if there were none.
std::vector<std::string> loginLines(const Json::Value& account) {
  const Json::UInt64 count = account["logins_ended"].asUInt64();
  if (count == 0) return {};
  return {"ended " + std::to_string(count) + (count == 1 ? " SSH login of " : " SSH logins of ") +
          account["user"].asString() + (count == 1 ? " that was" : " that were") + " under way"};
}

// Names the logins that could not be ended; true if there are none.
bool areLoginsGone(const Json::Value& accounts) {
  std::vector<std::string> lines;
  for (const Json::Value& account : accounts) {
    for (const Json::Value& pid : account["logins_left"]) {
      lines.push_back("an SSH login of " + account["user"].asString() +
                      " is still under way, pid " + pid.asString() +
                      ", and may succeed; end it with: kill -KILL " + pid.asString());
    }
  }
  if (!lines.empty()) complain(lines);
  return lines.empty();
}

ExitCode reportFailure(const Json::Value& result) {
  if (result.isMember("refusal")) return refuse(result["refusal"]);
  if (!allOf(result["accounts"], [](const Json::Value& one) { return one["disabled"].asBool(); }))
    return refuse(result["failure"]);
  std::vector<std::string> lines = {
      "the accounts are disabled, but not all connections were ended:"};
  for (const Json::Value& cause : result["failure"]["causes"]) lines.push_back(cause.asString());
  complain(lines);
  return kExitFailed;
}

ExitCode reportOn(const Performed& done) {
  const Json::Value& result = done.result;
  std::vector<std::string> lines;
  for (const Json::Value& account : result["accounts"]) lines.push_back(accountLine(account));
  append(&lines, fateLines(result["connections"]));
  for (const Json::Value& account : result["accounts"]) append(&lines, loginLines(account));
  for (const Json::Value& account : result["accounts"])
    append(&lines, accessLines(account, Tense::kPresent));
  const ExitCode written = printText(linesText(lines, lookOfOutput().charset));
  const bool areEnded = areLoginsGone(result["accounts"]);
  if (result.isMember("refusal") || result.isMember("failure")) return reportFailure(result);
  const bool areGone = areConnectionsGone(done);
  const std::vector<zevo::ReadNote> letIn = stillLetIn(done.warnings);
  if (!letIn.empty()) complainOfDoubt("the accounts are disabled, but not everywhere:", letIn);
  const bool areOut =
      allOf(result["accounts"], [](const Json::Value& one) { return !isLetIn(one); });
  if (!areOut) complain("a disabled account can still log in");
  const bool areDisabled =
      allOf(result["accounts"], [](const Json::Value& one) { return one["disabled"].asBool(); });
  return areDisabled && areOut && letIn.empty() && areGone && areEnded ? written : kExitFailed;
}

}  // namespace

std::optional<Disable> checkDisable(const std::vector<std::string>& users, std::string* wrong) {
  if (users.empty()) *wrong = "no account selected: give the names of accounts";
  const bool hasEmpty = std::find(users.begin(), users.end(), "") != users.end();
  if (hasEmpty) *wrong = "the name of an account must not be empty";
  return users.empty() || hasEmpty ? std::nullopt : std::optional(Disable{users});
}

ExitCode disable(const Disable& request, Client& client) {
  if (!request.isDryRun && !request.isConfirmed && !canAsk()) {
    complain(kCannotAsk);
    return kExitUsage;
  }
  Json::Value task(Json::objectValue);
  task["action"] = "disable";
  for (const std::string& user : request.users) task["users"].append(user);
  const std::optional<Json::Value> plan = planFor(task, client);
  if (!plan) return kExitFailed;
  if (plan->isMember("refusal")) return refuse((*plan)["refusal"]);
  const ExitCode written = printText(disablePlanText(*plan));
  if (written != kExitDone || request.isDryRun) return written;
  if (!request.isConfirmed && !ask("Disable the accounts and end these connections?")) {
    complain("nothing was changed");
    return kExitFailed;
  }
  const std::optional<Performed> done = perform(task, !(*plan)["ends"].empty(), client);
  return done ? reportOn(*done) : kExitFailed;
}

}  // namespace cli
