#include "calls/enforce/enforcement.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <set>
#include <syslog.h>
#include <thread>
#include <utility>
#include <vector>

#include "zevo/error_trail.h"

#include "calls/call_line.h"
#include "calls/child_calls.h"
#include "calls/enforce/accounts.h"
#include "calls/enforce/fate.h"
#include "calls/enforce/kick_plan.h"
#include "calls/enforce/snapshot.h"
#include "calls/json_text.h"
#include "calls/log.h"
#include "host/config.h"
#include "host/open_files.h"

namespace calls::enforce {
namespace {

using Clock = std::chrono::steady_clock;
using Notes = std::vector<zevo::ReadNote>;
using Connections = std::vector<Connection>;

constexpr const char* kApi = "ZEVO.Core.CurrentConnection";
constexpr int kVersion = 1;
// What is asked and answered of an account takes time and memory.
constexpr Json::ArrayIndex kMostUsers = 1000;
// The plan could not ask for open files.
constexpr const char* kOpenFilesMissing = "open_files_missing";

// The parameters of a request.
struct Task {
  bool isKick = false;
  std::optional<Selection> selection;  // of a kick, instead of:
  Connections connections;             // each once
  std::vector<std::string> users;      // of a disabling, each once
};

std::optional<Connections> connectionsIn(const Json::Value& items) {
  if (!items.isArray() || items.empty()) return {};
  Connections connections;
  connections.reserve(items.size());
  for (const Json::Value& item : items) {
    std::optional<Connection> connection = namedConnection(item);
    if (!connection) return {};
    connections.push_back(std::move(*connection));
  }
  const RowIndex index(connections);
  Connections unique;
  for (const Connection& connection : connections) {
    if (index.find(connection) == &connection) unique.push_back(connection);
  }
  return unique;
}

std::optional<std::vector<std::string>> usersIn(const Json::Value& items) {
  if (!items.isArray() || items.empty() || items.size() > kMostUsers) return {};
  std::vector<std::string> users;
  std::set<std::string> known;
  for (const Json::Value& item : items) {
    if (!item.isString() || item.asString().empty()) return {};
    if (known.insert(item.asString()).second) users.push_back(item.asString());
  }
  return users;
}

std::optional<Task> taskOf(const Json::Value& parameters, bool maySelect) {
  constexpr Json::ArrayIndex kMembers = 2;  // the action and whom
  if (parameters.size() != kMembers || !parameters["action"].isString()) return {};
  const std::string action = parameters["action"].asString();
  Task task;
  task.isKick = action == "kick";
  if (task.isKick && maySelect && parameters.isMember("select")) {
    task.selection = selectionOf(parameters["select"]);
    return task.selection ? std::optional(task) : std::nullopt;
  }
  if (task.isKick) {
    auto connections = connectionsIn(parameters["connections"]);
    if (connections) task.connections = std::move(*connections);
    return connections ? std::optional(std::move(task)) : std::nullopt;
  }
  auto users = action == "disable" ? usersIn(parameters["users"]) : std::nullopt;
  if (users) task.users = std::move(*users);
  return users ? std::optional(std::move(task)) : std::nullopt;
}

Answer failed(const zevo::Error& error) {
  return problemAnswer(Problem::kWorkFailed, {error.sentence});
}

std::set<std::string> ownNames(const Caller& caller) {
  std::set<std::string> names = {caller.user};
  if (!caller.sudoUser.empty()) names.insert(caller.sudoUser);
  return names;
}

OwnWay ownWay(const Caller& caller) {
  if (caller.via == SocketKind::kWeb) return {caller.user, caller.address, {}};
  OwnWay own;
  if (caller.process <= 1) return own;
  const auto process = static_cast<std::uint32_t>(caller.process);
  own.processes.insert(process);
  for (const std::uint32_t above : processesAbove(process, "/proc")) own.processes.insert(above);
  return own;
}

Connections connectionsOf(const std::vector<std::string>& users, const Snapshot& now) {
  const std::set<std::string> names(users.begin(), users.end());
  Connections theirs;
  std::copy_if(now.connections.begin(), now.connections.end(), std::back_inserter(theirs),
               [&](const Connection& connection) { return names.contains(connection.who); });
  return theirs;
}

// Each once.
void addNotes(const Notes& more, Notes* notes) {
  for (const zevo::ReadNote& note : more) {
    if (std::find(notes->begin(), notes->end(), note) == notes->end()) notes->push_back(note);
  }
}

Json::Value asArray(const std::vector<std::string>& texts) {
  Json::Value array(Json::arrayValue);
  for (const std::string& text : texts) array.append(text);
  return array;
}

Json::Value asArray(const std::vector<std::uint32_t>& numbers) {
  Json::Value array(Json::arrayValue);
  for (const std::uint32_t number : numbers) array.append(number);
  return array;
}

// One call at work.
class Enforcement {
 public:
  Enforcement(const Request& request, Task task) : request_(request), task_(std::move(task)) {
    const auto find = [&](const char* method) {
      return request.modules.find(kApi, kVersion, method);
    };
    module_ = {find("list"), find("kick_connection"), find("disable_user"), {}};
    module_.context.loginUserName = request.caller.user;
    module_.context.isAdmin = true;
    module_.context.sessionFilePath = request.sessionFile;
  }

  [[nodiscard]] bool hasModule() const {
    return module_.list != nullptr && module_.kick != nullptr && module_.disable != nullptr;
  }

  Answer planKick() {
    zevo::Result<Snapshot> now = readSnapshot(module_, untilTheEnd());
    if (!now) return failed(now.error());
    Json::Value selected(Json::objectValue);
    if (task_.selection) {
      auto connections = select(*now);
      if (!connections) return failed(connections.error());
      task_.connections = std::move(*connections);
      selected["missing_pids"] = asArray(missingPids(task_.connections, *task_.selection));
      selected["ambiguous_pids"] = asArray(ambiguousPids(task_.connections, *task_.selection));
    }
    PlanView view{*now, ownWay(request_.caller)};
    if (endsSmb(task_.connections, *now)) view.openFiles = readOpenFiles(&now->warnings);
    Json::Value plan = planOf(task_.connections, view, whyNotEnded);
    for (const char* name : {"missing_pids", "ambiguous_pids"}) {
      if (selected.isMember(name)) plan[name] = selected[name];
    }
    return successAnswer(compactJson(plan), zevo::readNotesAsJson(now->warnings));
  }

  Answer planDisable() {
    const zevo::Result<Snapshot> now = readSnapshot(module_, untilTheEnd());
    if (!now) return failed(now.error());
    const Refusals refusals = refusalsOf(task_.users, ownNames(request_.caller));
    const Connections theirs = connectionsOf(task_.users, *now);
    const std::set<std::string> users(task_.users.begin(), task_.users.end());
    Json::Value plan = planOf(theirs, {*now, ownWay(request_.caller), {}, users}, whyOutOfReach);
    plan.removeMember("gone");
    addUnderOthers(*now, users, &plan["stays"]);
    plan["accounts"] = Json::Value(Json::arrayValue);
    for (const std::string& user : task_.users)
      plan["accounts"].append(plannedAccount(user, theirs, refusals));
    if (!refusals.ofAll.isNull()) plan["refusal"] = refusals.ofAll;
    return successAnswer(compactJson(plan), zevo::readNotesAsJson(now->warnings));
  }

  Answer performKick() {
    zevo::Result<Snapshot> before = readSnapshot(module_, untilTheEnd());
    if (!before) return failed(before.error());
    const RowIndex index(before->connections);
    Attempt attempt{.targets = {}, .before = before->connections, .begin = beginOfAttempt()};
    std::vector<bool> isThere;
    for (const Connection& wanted : task_.connections) {
      const Connection* row = index.find(wanted);
      isThere.push_back(row != nullptr);
      if (!row) leaveOut(wanted, "gone_before");
      if (row) attempt.targets.push_back({*row});
    }
    endTargets(&attempt);
    const zevo::Result<Snapshot> after = readAfter(attempt);
    Json::Value fates = after ? fatesOf(attempt, *after) : unknownFates(attempt, after.error());
    Json::Value result(Json::objectValue);
    result["connections"] = Json::Value(Json::arrayValue);
    Json::ArrayIndex next = 0;
    for (std::size_t i = 0; i < isThere.size(); ++i) {
      if (isThere[i]) {
        result["connections"].append(fates[next++]);
      } else {
        result["connections"].append(nameOf(task_.connections[i]))["fate"] = "gone_before";
      }
    }
    return successAnswer(compactJson(result),
                         zevo::readNotesAsJson(after ? after->warnings : Notes()));
  }

  Answer performDisable() {
    const Refusals refusals = refusalsOf(task_.users, ownNames(request_.caller));
    if (!refusals.ofAll.isNull()) return refused(refusals);
    zevo::Result<Snapshot> before = readSnapshot(module_, untilTheEnd());
    if (!before) return failed(before.error());
    Attempt attempt{.targets = {}, .before = before->connections, .begin = beginOfAttempt()};
    attempt.users = {task_.users.begin(), task_.users.end()};
    std::set<std::string> disabledBefore;
    for (const std::string& user : task_.users)
      if (isDisabled(user).value_or(false)) disabledBefore.insert(user);
    ChildCall call{module_.disable, module_.context, request_.summary("disable_user")};
    call.context.parameters["users"] = asArray(task_.users);
    const auto answer = callInChildren({call}, kickTimes()).front();
    const Json::Value hindrance = hindranceOf(answer);
    if (answer) attempt.warnings = answer->warnings;
    for (const Connection& row : connectionsOf(task_.users, *before))
      attempt.targets.push_back({row, hindrance});
    const zevo::Result<Snapshot> after = readAfter(attempt);
    Json::Value result(Json::objectValue);
    result["connections"] = after ? fatesOf(attempt, *after) : unknownFates(attempt, after.error());
    if (after) result["services_without_users"] = asArray(servicesWithoutUsers(*after));
    result["accounts"] = Json::Value(Json::arrayValue);
    for (const std::string& user : task_.users) {
      Json::Value account = accountResult(user);
      if (account["disabled"].asBool()) account["already"] = disabledBefore.contains(user);
      if (!account["disabled"].asBool()) account["reason"] = hindrance;
      result["accounts"].append(account);
    }
    if (!hindrance.isNull()) result["failure"] = hindrance;
    Notes notes = attempt.warnings;
    if (after) addNotes(after->warnings, &notes);
    return successAnswer(compactJson(result), zevo::readNotesAsJson(notes));
  }

 private:
  // The limit of the call, in which the answer has to be given.
  [[nodiscard]] Clock::time_point after(int percent) const {
    return begin_ + zevo::config().callLimit * percent / 100;
  }
  [[nodiscard]] ChildTimes untilTheEnd() const { return {after(95), after(100)}; }
  // What is begun late would be ended in its midst.
  [[nodiscard]] ChildTimes kickTimes() const { return {after(75), after(90)}; }

  zevo::Result<Connections> select(const Snapshot& now) {
    const Selection& selection = *task_.selection;
    std::optional<Connections> filtered;
    if (!selection.filter.empty()) {
      auto rows = readFiltered(module_, selection.filter, untilTheEnd());
      if (!rows) return tl::unexpected(rows.error());
      filtered = std::move(*rows);
    }
    const RowIndex index(filtered ? *filtered : now.connections);
    Connections selected;
    std::copy_if(now.connections.begin(), now.connections.end(), std::back_inserter(selected),
                 [&](const Connection& connection) {
                   return index.find(connection) && isSelected(connection, selection, now);
                 });
    return selected;
  }

  static std::optional<zevo::OpenFiles> readOpenFiles(Notes* notes) {
    std::string cause;
    auto files = zevo::openFiles(&cause);
    if (!files) notes->push_back({kOpenFilesMissing, "CIFS", cause});
    return files;
  }

  // Rows that serve one of the users under another's name: disabling goes by the name in the list.
  static void addUnderOthers(const Snapshot& now, const std::set<std::string>& users,
                             Json::Value* stays) {
    for (const Connection& row : now.connections) {
      if (users.contains(row.who)) continue;
      for (const std::string& user : now.usersOf(row)) {
        if (!users.contains(user)) continue;
        Json::Value& item = stays->append(asJson(row));
        item["reason"] = reason("under_other_user");
        item["reason"]["user"] = user;
      }
    }
  }

  static Json::Value plannedAccount(const std::string& user, const Connections& theirs,
                                    const Refusals& refusals) {
    std::vector<pid_t> ending;
    for (const Connection& row : theirs) {
      if (row.who == user && hasProcess(row)) ending.push_back(static_cast<pid_t>(row.pid));
    }
    Json::Value account = accountPlan(user, ending);
    const auto refusal = refusals.ofAccounts.find(user);
    if (refusal != refusals.ofAccounts.end()) account["refusal"] = refusal->second;
    return account;
  }

  // Why a call did not do its work; null where it did.
  static Json::Value hindranceOf(const std::optional<MethodAnswer>& answer) {
    if (!answer) return reason("no_time");
    if (answer->status == MethodAnswer::Status::kDone) return {};
    if (answer->code == kCodeTooFewAdministrators) return reason("too_few_administrators");
    Json::Value why = reason("call_failed");
    why["causes"] = asArray(answer->causes);
    return why;
  }

  void leaveOut(const Connection& connection, const char* why) const {
    Json::Value left = nameOf(connection);
    left["reason"] = why;
    logLeftOut(request_.summary("kick_connection"), left);
  }

  [[nodiscard]] ChildCall callFor(const Connection& row) const {
    ChildCall call{module_.kick, module_.context, request_.summary("kick_connection")};
    call.context.parameters[isWebLogin(row) ? "http_conn" : "service_conn"].append(nameOf(row));
    return call;
  }

  // Ends the attempt's targets, and notes what their calls told. Of several service connections in
  // one call only the first would be checked against its process.
  void endTargets(Attempt* attempt) {
    const OwnWay own = ownWay(request_.caller);
    for (const bool isOwn : {false, true}) {
      std::vector<Target*> targets;
      std::vector<ChildCall> calls;
      for (Target& target : attempt->targets) {
        if (own.isOver(target.connection) != isOwn) continue;
        if (const char* key = whyNotEnded(target.connection)) {
          target.hindrance = reason(key);
          leaveOut(target.connection, key);
          continue;
        }
        targets.push_back(&target);
        calls.push_back(callFor(target.connection));
      }
      const auto answers = callInChildren(calls, kickTimes());
      for (std::size_t i = 0; i < answers.size(); ++i) {
        targets[i]->hindrance = hindranceOf(answers[i]);
        if (!answers[i]) leaveOut(targets[i]->connection, "no_time");
        if (!answers[i]) continue;
        addNotes(answers[i]->warnings, &attempt->warnings);
      }
    }
  }

  // The list after the attempt, read until none is there that may still go.
  [[nodiscard]] zevo::Result<Snapshot> readAfter(const Attempt& attempt) const {
    constexpr int kMoreLooks = 5;
    constexpr std::chrono::milliseconds kTimeBetweenLooks{200};
    zevo::Result<Snapshot> now = readSnapshot(module_, untilTheEnd());
    for (int look = 0; now && look < kMoreLooks; ++look) {
      const Json::Value fates = fatesOf(attempt, *now);
      if (!mayStillGo(fates)) break;
      // A process that was killed at the end of its grace period may take a moment to go.
      std::this_thread::sleep_for(kTimeBetweenLooks);
      now = readSnapshot(module_, untilTheEnd());
    }
    return now;
  }

  static bool mayStillGo(const Json::Value& fates) {
    static const std::set<std::string> kFinal = {
        "no_process",      "unknown_process", "unknown_user",    "no_time",
        "unknown_address", "unknown_service", "under_other_user"};
    return std::any_of(fates.begin(), fates.end(), [](const Json::Value& item) {
      return item["fate"] == "not_known" || (item["fate"] == "still_there" &&
                                             !kFinal.contains(item["reason"]["reason"].asString()));
    });
  }

  static Json::Value unknownFates(const Attempt& attempt, const zevo::Error& error) {
    Json::Value fates(Json::arrayValue);
    for (const Target& target : attempt.targets) {
      Json::Value& item = fates.append(asJson(target.connection));
      item["fate"] = "not_known";
      item["reason"] = reason("list_failed");
      item["reason"]["causes"].append(error.sentence);
    }
    return fates;
  }

  [[nodiscard]] Answer refused(const Refusals& refusals) const {
    Json::Value result(Json::objectValue);
    logLeftOut(request_.summary("disable_user"), refusals.ofAll);
    result["refusal"] = refusals.ofAll;
    result["connections"] = Json::Value(Json::arrayValue);
    for (const std::string& user : task_.users) {
      const auto own = refusals.ofAccounts.find(user);
      Json::Value& account = result["accounts"].append(Json::Value(Json::objectValue));
      account["user"] = user;
      account["disabled"] = isDisabled(user).value_or(false);
      account["reason"] = own != refusals.ofAccounts.end() ? own->second : refusals.ofAll;
    }
    return successAnswer(compactJson(result));
  }

  const Request& request_;
  Task task_;
  Module module_;
  Clock::time_point begin_ = Clock::now();
};

Answer run(const Request& request, const Json::Value& parameters, bool isPlan) {
  std::optional<Task> task = taskOf(parameters, isPlan);
  if (!task) return problemAnswer(Problem::kMalformed);
  const bool isKick = task->isKick;
  Enforcement enforcement(request, std::move(*task));
  if (!enforcement.hasModule())
    return problemAnswer(Problem::kWorkFailed, {std::string("no module serves ") + kApi});
  if (isPlan) return isKick ? enforcement.planKick() : enforcement.planDisable();
  return isKick ? enforcement.performKick() : enforcement.performDisable();
}

}  // namespace

Answer plan(const Request& request, const Json::Value& parameters) {
  return run(request, parameters, true);
}

Answer perform(const Request& request, const Json::Value& parameters) {
  return run(request, parameters, false);
}

}  // namespace calls::enforce
