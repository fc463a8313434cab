#include "calls/enforce/kick_plan.h"

#include <algorithm>
#include <iterator>

#include "zevo/account.h"

#include "calls/http_request.h"

namespace calls::enforce {
namespace {

constexpr Json::ArrayIndex kMostNames = 20;  // of open files, for each row

template <typename Values, typename Value>
bool contains(const Values& values, const Value& value) {
  return std::find(values.begin(), values.end(), value) != values.end();
}

// Compared as addresses if both are, so that all notations are equal. The interface of a link-local
// one counts.
bool isSameAddress(const std::string& a, const std::string& b) {
  if (a == b) return true;
  const bool isLinkLocal = a.find('%') != std::string::npos || b.find('%') != std::string::npos;
  const std::optional<std::string> first = canonicalAddress(a);
  return !isLinkLocal && first && first == canonicalAddress(b);
}

bool takeCondition(const Json::Value& object, const char* key, std::string* text) {
  if (!object.isMember(key)) return true;
  if (!object[key].isString()) return false;
  *text = object[key].asString();
  return !text->empty();
}

bool takePids(const Json::Value& object, std::vector<std::uint32_t>* pids) {
  if (!object.isMember("pids")) return true;
  if (!object["pids"].isArray()) return false;
  for (const Json::Value& pid : object["pids"]) {
    if (!pid.isUInt() || pid.asUInt() == 0) return false;
    if (!contains(*pids, pid.asUInt())) pids->push_back(pid.asUInt());
  }
  return !pids->empty();
}

Json::Value filesOf(const Connection& row, const zevo::OpenFiles& openFiles) {
  Json::Value files(Json::objectValue);
  files["total"] = 0;
  files["names"] = Json::Value(Json::arrayValue);
  const auto found = openFiles.find(static_cast<pid_t>(row.pid));
  if (found == openFiles.end()) return files;
  files["total"] = static_cast<Json::UInt64>(found->second.size());
  for (const std::string& name : found->second) {
    if (files["names"].size() == kMostNames) break;
    files["names"].append(name);
  }
  return files;
}

Json::Value furtherLogins(std::size_t count) {
  Json::Value effect = reason("further_web_logins");
  effect["count"] = static_cast<Json::UInt64>(count);
  return effect;
}

class Plan {
 public:
  Plan(const std::vector<Connection>& wanted, const PlanView& view) : view_(view) {
    const RowIndex wantedRows(wanted);
    for (const Connection& sftp : view.now.connections) {
      if (sftp.type != kSftp || !hasProcess(sftp) || wantedRows.find(sftp)) continue;
      for (const std::uint32_t pid : processesAbove(sftp.pid, view.proc))
        sftp_[pid].push_back(&sftp);
    }
  }

  [[nodiscard]] Json::Value ending(const Connection& row) const {
    Json::Value item = asJson(row);
    item["effects"] = effects(row);
    if (view_.openFiles && row.type == kSmb) item["open_files"] = filesOf(row, *view_.openFiles);
    return item;
  }

 private:
  [[nodiscard]] Json::Value effects(const Connection& row) const {
    Json::Value effects(Json::arrayValue);
    for (const std::string& user : view_.now.usersOf(row)) {
      if (user == row.who || view_.users.contains(user)) continue;
      effects.append(reason("same_process"))["user"] = user;
    }
    // sshd's internal SFTP server ends with the process of its connection.
    const auto sftp = row.type == kSsh ? sftp_.find(row.pid) : sftp_.end();
    if (sftp != sftp_.end()) {
      for (const Connection* below : sftp->second)
        effects.append(reason("same_ssh_connection"))["connection"] = asJson(*below);
    }
    const auto logins = view_.now.webLogins.find({row.who, row.from});
    if (isWebLogin(row) && logins != view_.now.webLogins.end() && logins->second > 1)
      effects.append(furtherLogins(logins->second - 1));
    if (view_.own.isOver(row)) effects.append(reason("own_connection"));
    return effects;
  }

  const PlanView& view_;
  std::map<std::uint32_t, std::vector<const Connection*>> sftp_;  // by the processes above it
};

}  // namespace

Json::Value reason(const char* key) {
  Json::Value value(Json::objectValue);
  value["reason"] = key;
  return value;
}

const char* whyOutOfReach(const Connection& connection) {
  if (!connection.canBeKicked) return "no_process";
  const zevo::ListedService* service = zevo::serviceNamed(connection.type);
  if (service == nullptr) return "unknown_service";
  if (service->whyNotEnded != nullptr) return service->whyNotEnded;
  if (connection.pid == 0 && !isWebLogin(connection)) return "unknown_process";
  return nullptr;
}

const char* whyNotEnded(const Connection& connection) {
  if (const char* key = whyOutOfReach(connection)) return key;
  if (connection.who.empty()) return "unknown_user";
  if (connection.from.empty()) return "unknown_address";
  return nullptr;
}

bool OwnWay::isOver(const Connection& connection) const {
  if (hasProcess(connection)) return processes.contains(connection.pid);
  return isWebLogin(connection) && !user.empty() && connection.who == user &&
         connection.from == address;
}

std::optional<Selection> selectionOf(const Json::Value& value) {
  if (!value.isObject()) return {};
  Selection selection;
  const bool isRight = takePids(value, &selection.pids) &&
                       takeCondition(value, "user", &selection.user) &&
                       takeCondition(value, "from", &selection.from) &&
                       takeCondition(value, "type", &selection.type) &&
                       takeCondition(value, "filter", &selection.filter);
  const Json::Value::Members members = value.getMemberNames();
  const bool isKnown = std::all_of(members.begin(), members.end(), [](const std::string& name) {
    return name == "pids" || name == "user" || name == "from" || name == "type" || name == "filter";
  });
  if (!isRight || !isKnown || selection == Selection()) return {};
  selection.user = zevo::shownName(selection.user);
  return selection;
}

bool isSelected(const Connection& connection, const Selection& selection, const Snapshot& now) {
  if (!selection.pids.empty() && !contains(selection.pids, connection.pid)) return false;
  if (!selection.user.empty() && !contains(now.usersOf(connection), selection.user)) return false;
  if (!selection.from.empty() && !isSameAddress(selection.from, connection.from)) return false;
  return selection.type.empty() || selection.type == connection.type;
}

std::vector<std::uint32_t> missingPids(const std::vector<Connection>& selected,
                                       const Selection& selection) {
  std::set<std::uint32_t> present;
  for (const Connection& connection : selected) present.insert(connection.pid);
  std::vector<std::uint32_t> missing;
  std::copy_if(selection.pids.begin(), selection.pids.end(), std::back_inserter(missing),
               [&](std::uint32_t pid) { return !present.contains(pid); });
  return missing;
}

std::vector<std::uint32_t> ambiguousPids(const std::vector<Connection>& selected,
                                         const Selection& selection) {
  std::set<std::uint32_t> processes;
  std::set<std::uint32_t> logins;
  for (const Connection& connection : selected) {
    if (whyNotEnded(connection)) continue;
    (isWebLogin(connection) ? logins : processes).insert(connection.pid);
  }
  std::vector<std::uint32_t> ambiguous;
  std::copy_if(selection.pids.begin(), selection.pids.end(), std::back_inserter(ambiguous),
               [&](std::uint32_t pid) { return processes.contains(pid) && logins.contains(pid); });
  return ambiguous;
}

bool endsSmb(const std::vector<Connection>& wanted, const Snapshot& now) {
  return std::any_of(wanted.begin(), wanted.end(), [&](const Connection& row) {
    return row.type == kSmb && now.smbUsers.contains(row.pid);
  });
}

RowIndex::Key RowIndex::keyOf(const Connection& row) {
  return {row.who, row.from, row.type, isWebLogin(row) ? 0 : row.pid};
}

RowIndex::RowIndex(const std::vector<Connection>& rows) {
  for (const Connection& row : rows) rows_.try_emplace(keyOf(row), &row);
}

const Connection* RowIndex::find(const Connection& named) const {
  const auto row = rows_.find(keyOf(named));
  return row == rows_.end() ? nullptr : row->second;
}

std::vector<const Connection*> rowsOf(const std::vector<Connection>& named,
                                      const std::vector<Connection>& rows,
                                      const std::string& proc) {
  const RowIndex index(rows);
  std::vector<const Connection*> found;
  found.reserve(named.size());
  for (const Connection& name : named) found.push_back(index.find(name));
  std::set<const Connection*> taken(found.begin(), found.end());
  for (std::size_t i = 0; i < named.size(); ++i) {
    if (found[i]) continue;
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const Connection& other) {
      return isContinuationOf(named[i], other, proc) && !taken.contains(&other);
    });
    if (row == rows.end()) continue;
    found[i] = &*row;
    taken.insert(&*row);
  }
  return found;
}

Json::Value planOf(const std::vector<Connection>& wanted, const PlanView& view,
                   const char* (*why)(const Connection& connection)) {
  Json::Value parts(Json::objectValue);
  for (const char* part : {"ends", "stays", "gone"}) parts[part] = Json::Value(Json::arrayValue);
  const std::vector<const Connection*> rows = rowsOf(wanted, view.now.connections, view.proc);
  const Plan plan(wanted, view);
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    const Connection* row = rows[i];
    if (!row) {
      parts["gone"].append(nameOf(wanted[i]));
    } else if (const char* key = why(*row)) {
      parts["stays"].append(asJson(*row))["reason"] = reason(key);
    } else {
      parts["ends"].append(plan.ending(*row));
    }
  }
  return parts;
}

}  // namespace calls::enforce
