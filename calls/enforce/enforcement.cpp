#include "calls/enforce/enforcement.h"

#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "calls/enforce/disable.h"
#include "calls/enforce/kick.h"

namespace calls::enforce {
namespace {

using Connections = std::vector<Connection>;

// Samba's tool takes up to 0.3 s for each account: a call that passes its limit would be ended with
// entries not yet disabled.
constexpr Json::ArrayIndex kMostUsers = 250;

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

Answer planTask(const Work& work, const Task& task) {
  if (!task.isKick) return planDisable(work, task.users);
  return task.selection ? planKick(work, *task.selection) : planKick(work, task.connections);
}

Answer performTask(const Work& work, const Task& task) {
  return task.isKick ? performKick(work, task.connections) : performDisable(work, task.users);
}

Answer run(const Request& request, const Json::Value& parameters, bool isPlan) {
  const std::optional<Task> task = taskOf(parameters, isPlan);
  if (!task) return problemAnswer(Problem::kMalformed);
  const Work work(request);
  if (!work.hasModule())
    return problemAnswer(Problem::kWorkFailed, {std::string("no module serves ") + kApi});
  return isPlan ? planTask(work, *task) : performTask(work, *task);
}

}  // namespace

Answer plan(const Request& request, const Json::Value& parameters) {
  return run(request, parameters, true);
}

Answer perform(const Request& request, const Json::Value& parameters) {
  return run(request, parameters, false);
}

}  // namespace calls::enforce
