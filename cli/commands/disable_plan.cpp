#include "cli/commands/disable_plan.h"

#include <algorithm>

#include "cli/commands/account_expiry.h"
#include "cli/commands/enable.h"
#include "cli/commands/kick_plan.h"
#include "cli/commands/selection.h"

namespace cli {
namespace {

bool isAmong(const std::string& name, const std::vector<std::string>& names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

std::string accountLine(const AccountChange& change) {
  if (change.after != kDisabledExpiry) return "not disabled: " + change.user;
  const bool wasDisabled = change.before == kDisabledExpiry;
  const std::string line = (wasDisabled ? "was disabled already: " : "disabled: ") + change.user;
  return change.canBeUndone ? line + "; to undo it: " + enablingCommand(change.user) : line;
}

std::string pidOf(const Connection& connection) {
  return "pid " + std::to_string(connection.pid);
}

std::string hitToo(const Connection& connection, const std::string& user) {
  return pidOf(connection) + " also serves " + user + ", whose connection ends with it";
}

std::string goesOn(const Connection& connection, const std::string& user) {
  std::string sentence = pidOf(connection) + " serves " + user + " under the name of ";
  sentence += connection.who + " and goes on; end it with: currentconn kick ";
  return sentence + std::to_string(connection.pid);
}

}  // namespace

std::vector<Connection> connectionsOf(const std::vector<std::string>& users,
                                      const std::vector<Connection>& connections) {
  std::vector<Connection> theirs;
  std::copy_if(connections.begin(), connections.end(), std::back_inserter(theirs),
               [&](const Connection& connection) { return isAmong(connection.who, users); });
  return theirs;
}

std::vector<std::string> othersHit(const std::vector<std::string>& users,
                                   const std::vector<Connection>& connections) {
  std::vector<std::string> sentences;
  for (const Connection& connection : connections) {
    const std::vector<std::string> served = usersOf(connection);
    const bool ends = isAmong(connection.who, users);
    for (const std::string& user : served) {
      if (ends == isAmong(user, users)) continue;
      sentences.push_back(ends ? hitToo(connection, user) : goesOn(connection, user));
    }
  }
  return sentences;
}

std::vector<std::string> thoseThatMayStay(const std::vector<Connection>& theirs) {
  std::vector<std::string> sentences;
  for (const Connection& connection : theirs) {
    const bool hasProcess = connection.pid != 0 || connection.type == "HTTP/HTTPS";
    const bool isUnchecked = connection.type == "LOGIN" || connection.type == "UNKNOWN";
    if (!connection.canBeKicked || !hasProcess) {
      sentences.push_back("will stay: " + describe(connection) + ": no process serves it alone");
    } else if (isUnchecked) {
      sentences.push_back("may stay: " + describe(connection) + ": " + whyNotEnded(connection));
    }
  }
  return sentences;
}

std::vector<std::string> accountLines(const std::vector<AccountChange>& changes) {
  std::vector<std::string> lines;
  lines.reserve(changes.size());
  for (const AccountChange& change : changes) lines.push_back(accountLine(change));
  return lines;
}

std::string doubtOver(const std::string& service, const std::vector<std::string>& users) {
  std::string names;
  for (const std::string& user : users) names += (names.empty() ? "" : " or ") + user;
  return "whether " + names + " is connected over " + (service == "CIFS" ? "SMB" : service) +
         " is not known:";
}

Failure explainDisableFailure(const Answer& answer, bool isWritten) {
  if (answer.code == kCodeNotAdministrator) {
    return {kExitNotAdministrator, {"only an administrator may disable accounts"}};
  }
  if (answer.code == kCodeTooFewAdministrators) {
    return {kExitTooFewAdministrators,
            {"refused: too few administrators who can log in would be left; nothing has changed",
             "make another account an administrator first, or leave this one out"}};
  }
  Failure failure{kExitFailed, {}};
  failure.lines.emplace_back(isWritten
                                 ? "the accounts are disabled, but not all connections were ended:"
                                 : "no account was disabled and no connection ended:");
  failure.lines.insert(failure.lines.end(), answer.causes.begin(), answer.causes.end());
  if (answer.causes.empty()) {
    failure.lines.emplace_back("the system log tells more: journalctl -t currentconn");
  }
  return failure;
}

}  // namespace cli
