#include "cli/commands/enable.h"

#include <algorithm>
#include <array>

#include "base/json.h"
#include "cli/terminal/columns.h"
#include "cli/terminal/output.h"
#include "cli/terminal/table_output.h"
#include "cli/terminal/text.h"

namespace cli {
namespace {

// The cells are given separately.
constexpr std::array<Column, 6> kDisabledColumns = {{
    {"USER", "account", nullptr, 8, false, 0},
    {"DISABLED", "when it was disabled", nullptr, 19, false, 4},
    {"BY", "who disabled it", nullptr, 8, false, 2},
    {"FROM", "at which terminal or address", nullptr, 8, false, 5},
    {"EXPIRY BEFORE", "the expiry that enabling restores", nullptr, 13, false, 3},
    {"NOW", "the present state of the account", nullptr, 8, false, 1},
}};

std::string stateText(const std::string& state) {
  if (state == "changed") return "expiry changed since";
  return state == "gone" ? "no such account" : "disabled";
}

std::string countText(std::size_t count) {
  if (count == 0) return "no account is disabled";
  return count == 1 ? "1 account is disabled" : std::to_string(count) + " accounts are disabled";
}

std::string textOf(const Json::Value& accounts) {
  std::string count = countText(accounts.size()) + "\n";
  if (accounts.empty()) return count;
  std::vector<std::vector<std::string>> rows;
  rows.reserve(accounts.size());
  for (const Json::Value& account : accounts) {
    const Json::Value& expiry = account["expiry_before"];
    rows.push_back({account["user"].asString(), account["time"].asString(),
                    account["by"].asString(), account["from"].asString(),
                    expiry.isString() ? expiry.asString() : "never",
                    stateText(account["state"].asString())});
  }
  return tableText(makeTextTable(kDisabledColumns, rows, lookOfOutput())) + count;
}

ExitCode failWith(const std::string& first, const Answer& answer) {
  std::vector<std::string> lines = {first};
  lines.insert(lines.end(), answer.causes.begin(), answer.causes.end());
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
  *wrong = "no account selected: give the names of accounts; \"currentconn disabled\" lists them";
  return {};
}

std::string enablingCommand(const std::string& user) {
  return "currentconn enable " + std::string(user.starts_with('-') ? "-- " : "") + shellWord(user);
}

ExitCode enable(const Enable& request, Client& client) {
  Json::Value parameters(Json::objectValue);
  for (const std::string& user : request.users) parameters["users"].append(user);
  const Answer answer = client.post("enable", parameters);
  const auto accounts = zevo::parseJson(answer.data);
  if (answer.status != Answer::Status::kDone || !accounts) {
    return failWith("no account was enabled:", answer);
  }
  std::vector<std::string> lines;
  bool areComplete = true;
  for (const Json::Value& account : (*accounts)["accounts"]) {
    const bool isComplete = account["complete"].asBool();
    lines.push_back((isComplete ? "enabled: " : "partly enabled: ") + account["user"].asString());
    for (const Json::Value& note : account["notes"]) lines.push_back("  " + note.asString());
    areComplete = areComplete && isComplete;
  }
  const ExitCode written = printText(linesText(lines, lookOfOutput().charset));
  return areComplete ? written : kExitFailed;
}

ExitCode showDisabled(const ShowDisabled& request, Client& client) {
  const Answer answer = client.get("disabled");
  const auto list = zevo::parseJson(answer.data);
  if (answer.status != Answer::Status::kDone || !list) {
    return failWith("cannot list the disabled accounts:", answer);
  }
  return printText(request.asJson ? answer.data + "\n" : textOf((*list)["items"]));
}

}  // namespace cli
