#include <chrono>
#include <string>
#include <thread>
#include <utility>

#include "zevo/read_notes.h"

#include "host/service_table.h"
#include "services/account_name.h"
#include "services/collectors.h"
#include "services/containers.h"
#include "services/served_client.h"

namespace zevo::connections {
namespace {

constexpr std::uint16_t kAfpPort = 548;

bool isAfpd(std::string_view name) {
  return name == "afpd";
}

// A process that serves a user works as root for moments; then only its group is the user's.
constexpr int kLooks = 5;
constexpr std::chrono::milliseconds kTimeBetweenLooks{2};

struct Ids {
  UserIds users;
  GroupIds groups;

  [[nodiscard]] bool areMixed() const { return users.effective == 0 && groups.effective != 0; }
};

Result<Ids> readIds(const ProcessFiles& files) {
  Ids ids;
  for (int i = 0; i < kLooks; ++i) {
    if (i > 0) std::this_thread::sleep_for(kTimeBetweenLooks);
    const auto users = files.userIds();
    const auto groups = files.groupIds();
    if (!users || !groups) return errorOf(users, groups);
    ids = {*users, *groups};
    if (!ids.areMixed()) break;
  }
  return ids;
}

// The user served by a process with these ids; empty while nobody has logged in.
std::string userOf(const Sources& sources, const Process& process, const Ids& ids) {
  if (ids.users.effective != 0) return accountOf(sources, process, ids.users.effective);
  if (!ids.areMixed()) return "";
  sources.note(kDetailsMissing, serviceName(ZEVO_CURCONN_AFP),
               "process " + std::to_string(process.pid) +
                   " (afpd) works as root at the moment, so its user is not known");
  return kUnknownUser;
}

LoginReading readLogin(const Sources& sources, const ServedClient& /*client*/,
                       const Process& process) {
  const auto ids = sources.filesOf(process).and_then(readIds);
  if (!ids) return errorOf(ids);
  std::string user = userOf(sources, process, *ids);
  if (user.empty()) return std::optional<Login>();
  return std::optional<Login>({&process, std::move(user), {}});
}

}  // namespace

Result<void> readAfp(const Sources& sources, std::vector<Connection>& connections) {
  return readSessions(sources, {ZEVO_CURCONN_AFP, isAfpd, kAfpPort}, readLogin, connections);
}

}  // namespace zevo::connections
