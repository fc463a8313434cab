#include "cli/commands/kick_plan.h"

#include <algorithm>
#include <set>
#include <utility>

namespace cli {
namespace {

bool isWebLogin(const Connection& connection) {
  return connection.type == "HTTP/HTTPS";
}

template <typename Values, typename Value>
bool contains(const Values& values, const Value& value) {
  return std::find(values.begin(), values.end(), value) != values.end();
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

// Users of the connection's process other than its own.
std::string othersOf(const Connection& connection) {
  std::vector<std::string> users = usersOf(connection);
  std::erase(users, connection.who);
  return joined(users);
}

}  // namespace

std::string whyOutOfReach(const Connection& connection) {
  if (connection.type == "NFS" || !connection.canBeKicked) {
    return "no process serves it alone; withdraw the export instead";
  }
  if (connection.type == "LOGIN") {
    return "logins at the console are not ended from here; use loginctl terminate-session";
  }
  if (connection.type == "UNKNOWN") return "its service is not known";
  if (connection.pid == 0 && !isWebLogin(connection)) return "its process is not known";
  return "";
}

std::string whyNotEnded(const Connection& connection) {
  if (std::string reason = whyOutOfReach(connection); !reason.empty()) return reason;
  if (connection.who.empty()) return "its user is not known";
  if (connection.from.empty()) return "its address is not known";
  return "";
}

std::string describe(const Connection& connection) {
  const std::string who = connection.who.empty() ? "somebody" : connection.who;
  const std::string from = connection.from.empty() ? "" : " from " + connection.from;
  const std::string text = connection.type + " of " + who + from;
  return isWebLogin(connection) || connection.pid == 0
             ? text
             : text + ", pid " + std::to_string(connection.pid);
}

KickPlan makeKickPlan(const std::vector<Connection>& connections, const Selection& selection) {
  KickPlan plan;
  std::set<std::uint32_t> present;
  for (const Connection& connection : connections) {
    if (!isSelected(connection, selection)) continue;
    present.insert(connection.pid);
    std::vector<Connection>* place = isWebLogin(connection) ? &plan.webLogins : &plan.services;
    if (!whyNotEnded(connection).empty()) place = &plan.refused;
    place->push_back(connection);
  }
  for (const std::uint32_t pid : selection.pids) {
    if (!present.contains(pid) && !contains(plan.absent, pid)) plan.absent.push_back(pid);
  }
  return plan;
}

std::vector<std::uint32_t> ambiguousPids(const KickPlan& plan, const Selection& selection) {
  std::vector<std::uint32_t> pids;
  for (const Connection& login : plan.webLogins) {
    const auto hasItsNumber = [&](const Connection& other) { return other.pid == login.pid; };
    const bool isShared = std::any_of(plan.services.begin(), plan.services.end(), hasItsNumber);
    if (isShared && contains(selection.pids, login.pid) && !contains(pids, login.pid)) {
      pids.push_back(login.pid);
    }
  }
  return pids;
}

std::vector<std::string> sideEffects(const KickPlan& plan,
                                     const std::vector<std::uint32_t>& ownProcesses) {
  std::vector<std::string> effects;
  for (const Connection& connection : plan.services) {
    const std::string others = othersOf(connection);
    if (!others.empty()) {
      effects.push_back("pid " + std::to_string(connection.pid) + " also serves " + others +
                        ", whose connections end with it");
    }
    if (contains(ownProcesses, connection.pid)) {
      effects.push_back("pid " + std::to_string(connection.pid) +
                        " is the connection over which you are working");
    }
  }
  for (const Connection& login : plan.webLogins) {
    effects.push_back("all web logins of " + login.who + " from " + login.from + " end");
  }
  return effects;
}

}  // namespace cli
