#include "cli/commands/plan_lines.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "base/json.h"
#include "calls/enforce/connection.h"
#include "cli/commands/warnings.h"
#include "cli/terminal/output.h"
#include "cli/terminal/progress.h"
#include "cli/terminal/table_output.h"

namespace cli {
namespace {

using Texts = std::vector<std::pair<std::string_view, const char*>>;

const Texts& reasonTexts() {
  static const Texts texts = {
      {"no_process", "no process serves it alone; withdraw the export instead"},
      {"console", "console logins cannot be ended from here; use loginctl terminate-session"},
      {"unknown_service", "its service is not known"},
      {"unknown_process", "its process is not known"},
      {"unknown_user", "its user is not known"},
      {"unknown_address", "its address is not known"},
      {"still_recorded", "its login is still recorded"},
      {"in_kernel", "its process is waiting in the kernel and will end afterwards"},
      {"not_in_time", "its process did not end in time"},
      {"no_time", "there was no time left; run the command again"},
      {"too_few_administrators", "its account was not disabled"},
  };
  return texts;
}

std::string joined(const Json::Value& texts, const char* between) {
  std::string all;
  for (const Json::Value& text : texts) all += (all.empty() ? "" : between) + text.asString();
  return all;
}

std::string pidText(const Json::Value& row) {
  const bool isWebLogin = row["type"].asString() == calls::enforce::kWebLogins;
  return row["pid"].asUInt() != 0 && !isWebLogin ? ", pid " + row["pid"].asString() : "";
}

std::optional<Json::Value> resultOf(const Answer& answer, const char* failure) {
  if (answer.status == Answer::Status::kDone) return zevo::parseJson(answer.data);
  std::vector<std::string> lines = {failure};
  lines.insert(lines.end(), answer.causes.begin(), answer.causes.end());
  if (answer.causes.empty()) lines.emplace_back("see the system log: journalctl -t currentconn");
  complain(lines);
  return {};
}

// "alice and bob", "alice, bob and carol".
std::string enumeration(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 == names.size() ? " and " : ", ";
    text += names[i];
  }
  return text;
}

std::string filesLine(const Json::Value& row) {
  constexpr Json::ArrayIndex kMostNames = 5;
  const Json::Value& files = row["open_files"];
  std::string line = "note: pid " + row["pid"].asString() + " holds " + files["total"].asString() +
                     (files["total"].asUInt() == 1 ? " file open: " : " files open: ");
  for (Json::ArrayIndex i = 0; i < std::min(files["names"].size(), kMostNames); ++i)
    line += (i == 0 ? "" : ", ") + files["names"][i].asString();
  return files["total"].asUInt() > kMostNames ? line + ", …" : line;
}

std::string effectLine(const Json::Value& row, const Json::Value& effect) {
  const std::string key = effect["reason"].asString();
  if (key == "same_ssh_connection")
    return "note: " + describe(effect["connection"]) + " ends with pid " + row["pid"].asString();
  if (key == "further_web_logins") {
    const bool isOne = effect["count"].asUInt() == 1;
    return "note: " + effect["count"].asString() + " more web " + (isOne ? "login" : "logins") +
           " of " + row["who"].asString() + " from " + row["from"].asString() +
           (isOne ? " ends" : " end");
  }
  if (key == "own_connection") return "note: " + describe(row) + " is your own connection";
  return "";
}

// The users of one process, whose connections end together.
std::string usersLine(const Json::Value& row) {
  std::vector<std::string> users = {row["who"].asString()};
  for (const Json::Value& effect : row["effects"]) {
    if (effect["reason"] == "same_process") users.push_back(effect["user"].asString());
  }
  if (users.size() < 2) return "";
  return "note: pid " + row["pid"].asString() + " serves " + enumeration(users) +
         "; the connections of " + (users.size() == 2 ? "both" : "all of them") + " end";
}

std::string fateLine(const Json::Value& row) {
  const std::string fate = row["fate"].asString();
  if (fate == "gone_before") return "already gone: " + describe(row);
  if (fate == "still_there") return "still there: " + describe(row) + ": " + reasonText(row);
  if (fate == "connected_again")
    return "connected again" + pidText(row["now"]) + ": " + describe(row);
  if (fate == "connected_since") return "new connection: " + describe(row);
  if (fate == "ended") return "ended: " + describe(row);
  const std::string line = "not known: " + describe(row);
  return row.isMember("reason") ? line + ": " + reasonText(row) : line;
}

}  // namespace

std::optional<Json::Value> planFor(const Json::Value& task, Client& client) {
  const Answer answer = client.post("plan", task);
  std::optional<Json::Value> plan = resultOf(answer, "cannot read the connections:");
  if (plan) complainOfWarnings(answer.warnings);
  return plan;
}

std::optional<Performed> perform(const Json::Value& task, bool waits, Client& client) {
  std::optional<Progress> progress;
  if (waits) progress.emplace("waiting for connections to end");
  const Answer answer = client.post("perform", task, [&] {
    if (progress) progress->show();
  });
  progress.reset();
  std::optional<Json::Value> result = resultOf(answer, "the outcome is not known:");
  if (!result) return {};
  return Performed{std::move(*result), answer.warnings};
}

Json::Value namesOf(const Json::Value& rows) {
  Json::Value names(Json::arrayValue);
  for (const Json::Value& row : rows) {
    Json::Value& name = names.append(Json::Value(Json::objectValue));
    for (const char* member : {"who", "from", "type", "pid"}) name[member] = row[member];
  }
  return names;
}

std::string endingTable(const Json::Value& ends) {
  std::vector<Connection> connections;
  for (const Json::Value& row : ends) {
    std::optional<Connection> connection = calls::enforce::listedConnection(row);
    if (connection) connections.push_back(std::move(*connection));
  }
  return connections.empty() ? "" : tableText(connections, lookOfOutput());
}

std::string describe(const Json::Value& row) {
  const std::string who = row["who"].asString();
  const std::string from = row["from"].asString();
  return row["type"].asString() + " of " + (who.empty() ? "somebody" : who) +
         (from.empty() ? "" : " from " + from) + pidText(row);
}

std::string reasonText(const Json::Value& row) {
  const Json::Value& reason = row["reason"];
  const std::string key = reason["reason"].asString();
  for (const auto& [known, text] : reasonTexts()) {
    if (key == known) return text;
  }
  if (key == "goes_on") return "its session continues" + pidText(row["now"]);
  if (key == "serves_other") return "its process now serves " + describe(row["now"]);
  if (key == "under_other_user") {
    return "it also serves " + reason["user"].asString() + "; end it with: currentconn kick " +
           row["pid"].asString();
  }
  if (key == "may_be_unlisted") {
    Json::Value warnings(Json::arrayValue);
    warnings.append(reason["warning"]);
    return "the call may not have found it: " +
           warningLines(zevo::readNotesFromJson(warnings)).front();
  }
  const std::string causes = joined(reason["causes"], "; ");
  return causes.empty() ? "its call failed" : causes;
}

std::vector<std::string> effectLines(const Json::Value& ends) {
  std::vector<std::string> lines;
  for (const Json::Value& row : ends) {
    if (std::string line = usersLine(row); !line.empty()) lines.push_back(std::move(line));
    for (const Json::Value& effect : row["effects"]) {
      if (std::string line = effectLine(row, effect); !line.empty())
        lines.push_back(std::move(line));
    }
    if (row["open_files"]["total"].asUInt() > 0) lines.push_back(filesLine(row));
  }
  return lines;
}

std::vector<std::string> fateLines(const Json::Value& fates) {
  std::vector<std::string> lines;
  std::transform(fates.begin(), fates.end(), std::back_inserter(lines), fateLine);
  return lines;
}

bool hasFate(const Json::Value& fates, const char* fate) {
  return std::any_of(fates.begin(), fates.end(),
                     [&](const Json::Value& row) { return row["fate"] == fate; });
}

}  // namespace cli
