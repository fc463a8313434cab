#include "cli/commands/access_check.h"

#include <chrono>
#include <thread>

#include "zevo/account_access.h"

#include "cli/commands/access_report.h"

namespace cli {
namespace {

void append(std::vector<std::string>* lines, const std::vector<std::string>& more) {
  lines->insert(lines->end(), more.begin(), more.end());
}

// What still runs once those that end with their connection have had the time to.
zevo::LeftRunning leftRunningSoon(const std::string& user) {
  constexpr int kLooks = 10;
  zevo::LeftRunning left = zevo::leftRunning(user, {});
  for (int look = 1; look < kLooks && left.processes > 0; ++look) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    left = zevo::leftRunning(user, {});
  }
  return left;
}

}  // namespace

std::vector<std::string> foreseenAccess(const std::string& user,
                                        const std::vector<Connection>& theirs) {
  std::vector<pid_t> ending;
  for (const Connection& connection : theirs) {
    if (connection.pid > 1) ending.push_back(static_cast<pid_t>(connection.pid));
  }
  const auto services = zevo::accountAccess(user, zevo::AccessMoment::kOnceDisabled);
  std::vector<std::string> lines = accessLines(user, services, Tense::kFuture);
  append(&lines, leftRunningLines(user, zevo::leftRunning(user, ending), Tense::kFuture));
  return lines;
}

bool checkAccess(const std::string& user, std::vector<std::string>* lines) {
  const auto services = zevo::accountAccess(user, zevo::AccessMoment::kNow);
  append(lines, accessLines(user, services, Tense::kPresent));
  append(lines, leftRunningLines(user, leftRunningSoon(user), Tense::kPresent));
  return !isLetIn(services);
}

}  // namespace cli
