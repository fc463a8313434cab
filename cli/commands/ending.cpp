#include "cli/commands/ending.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <thread>
#include <utility>

#include "base/local_time.h"
#include "base/read_file.h"
#include "cli/client/list_reader.h"
#include "cli/commands/kick_plan.h"
#include "cli/commands/selection.h"
#include "cli/commands/warnings.h"

namespace cli {
namespace {

constexpr const char* kUnknownUser = "unknown";

bool isOfSameClient(const Connection& a, const Connection& b) {
  return a.who == b.who && a.from == b.from && a.type == b.type;
}

// Web logins have numbers instead of pids, which others may get.
bool hasProcess(const Connection& connection) {
  return connection.pid != 0 && connection.type != "HTTP/HTTPS";
}

bool isSameRow(const Connection& a, const Connection& b) {
  return hasProcess(a) ? a.type == b.type && a.pid == b.pid : isOfSameClient(a, b);
}

bool isAmong(const Connection& connection, const std::vector<Connection>& others) {
  return std::any_of(others.begin(), others.end(),
                     [&](const Connection& other) { return isSameRow(connection, other); });
}

std::string pidText(const Connection& connection) {
  return hasProcess(connection) ? ", pid " + std::to_string(connection.pid) : "";
}

bool waitsInKernel(const Connection& connection, const std::string& proc) {
  constexpr std::size_t kLongestStatus = 65536;
  std::string status;
  const std::string path = proc + "/" + std::to_string(connection.pid) + "/status";
  if (zevo::readFile(path, kLongestStatus, &status)) return false;
  return status.find("\nState:\tD") != std::string::npos;
}

std::string whyNotTold(const std::vector<zevo::ReadNote>& warnings, const Connection& connection) {
  const std::vector<zevo::ReadNote> about = warningsAbout(warnings, connection.type);
  return about.empty() ? "" : "its call may not have found it: " + warningLines(about).front();
}

// Compares one attempt with the list after it. Each row of the list accounts for one ending.
class Comparison {
 public:
  Comparison(const Attempt& attempt, const Page& now)
      : attempt_(attempt), now_(now), isTaken_(now.connections.size(), false) {}

  std::vector<Ending> endings() {
    std::vector<const Connection*> found;
    for (const Target& target : attempt_.targets) {
      found.push_back(
          take([&](const Connection& row) { return isSameRow(target.connection, row); }));
    }
    std::vector<Ending> endings;
    for (std::size_t i = 0; i < found.size(); ++i) {
      const Target& target = attempt_.targets[i];
      endings.push_back(found[i] ? endingOfFound(target, *found[i]) : endingOfMissing(target));
    }
    for (const std::string& user : attempt_.users) addFurther(user, &endings);
    return endings;
  }

 private:
  // The first row that `fits` and accounts for nothing yet.
  template <typename Fits>
  const Connection* take(Fits fits) {
    for (std::size_t i = 0; i < now_.connections.size(); ++i) {
      if (isTaken_[i] || !fits(now_.connections[i])) continue;
      isTaken_[i] = true;
      return &now_.connections[i];
    }
    return nullptr;
  }

  [[nodiscard]] bool beganSince(const Connection& row) const { return row.time >= attempt_.begin; }

  [[nodiscard]] std::string whyStillThere(const Connection& row,
                                          const std::string& hindrance) const {
    if (std::string reason = whyOutOfReach(row); !reason.empty()) return reason;
    if (!hindrance.empty()) return hindrance;
    if (std::string reason = whyNotTold(attempt_.warnings, row); !reason.empty()) {
      return reason;
    }
    if (!hasProcess(row)) return "its session is still recorded";
    if (waitsInKernel(row, attempt_.proc)) {
      return "its process waits in the kernel and ends once that is over";
    }
    return "its process did not end in time";
  }

  [[nodiscard]] Ending stillThere(const Connection& connection, const std::string& reason) const {
    return {Fate::kStillThere, "still there: " + describe(connection) + ": " + reason};
  }

  [[nodiscard]] Ending connectedAgain(const Connection& before, const Connection& row) const {
    return {Fate::kConnectedAgain, "connected again" + pidText(row) + ": " + describe(before)};
  }

  [[nodiscard]] Ending endingOfFound(const Target& target, const Connection& row) const {
    const Connection& before = target.connection;
    if (!isOfSameClient(before, row)) {
      return stillThere(before, "its process now serves " + describe(row));
    }
    if (row.time != before.time && beganSince(row)) return connectedAgain(before, row);
    return stillThere(before, whyStillThere(row, target.hindrance));
  }

  [[nodiscard]] Ending endingOfMissing(const Target& target) {
    const Connection& before = target.connection;
    const Connection* next = take([&](const Connection& row) {
      return isOfSameClient(before, row) && !isAmong(row, attempt_.before) &&
             (beganSince(row) || isGoingOn(before, row));
    });
    if (next && isGoingOn(before, *next)) {
      return stillThere(before, "its session goes on" + pidText(*next));
    }
    if (next) return connectedAgain(before, *next);
    const bool isInDoubt = mayLack(now_.warnings, {before}) || mayBeUntold(before);
    return {isInDoubt ? Fate::kNotKnown : Fate::kEnded,
            (isInDoubt ? "not known: " : "ended: ") + describe(before)};
  }

  // An FTP session is listed under another of its processes while a transfer runs.
  [[nodiscard]] bool isGoingOn(const Connection& before, const Connection& row) const {
    return before.type == "FTP" && (row.time == before.time || !beganSince(row));
  }

  // Whether it may be among those that came without a name.
  [[nodiscard]] bool mayBeUntold(const Connection& before) const {
    const std::vector<std::string> services = servicesWithoutUsers(now_);
    if (std::find(services.begin(), services.end(), before.type) == services.end()) return false;
    return std::any_of(now_.connections.begin(), now_.connections.end(),
                       [&](const Connection& row) {
                         return row.type == before.type && row.who == kUnknownUser &&
                                row.from == before.from && !isAmong(row, attempt_.before);
                       });
  }

  void addFurther(const std::string& user, std::vector<Ending>* endings) {
    const auto serves = [&](const Connection& row) {
      const std::vector<std::string> users = usersOf(row);
      return std::find(users.begin(), users.end(), user) != users.end();
    };
    while (const Connection* row = take(serves)) {
      if (row->who != user) {
        endings->push_back(stillThere(*row, "it serves " + user +
                                                " too; end it with: currentconn kick " +
                                                std::to_string(row->pid)));
      } else if (beganSince(*row)) {
        endings->push_back({Fate::kConnectedAgain, "connected since: " + describe(*row)});
      } else {
        endings->push_back(stillThere(*row, whyStillThere(*row, "")));
      }
    }
  }

  const Attempt& attempt_;
  const Page& now_;
  std::vector<bool> isTaken_;
};

}  // namespace

std::string beginOfAttempt() {
  // Both the start of the system and that of the process since then are told in whole seconds.
  constexpr std::time_t kRounding = 2;
  return zevo::localTimeText(std::time(nullptr) - kRounding);
}

std::string hindranceOf(const std::optional<Answer>& answer) {
  if (!answer) return "it was interrupted";
  if (answer->status == Answer::Status::kDone) return "";
  std::string text;
  for (const std::string& cause : answer->causes) text += (text.empty() ? "" : "; ") + cause;
  return text.empty() ? "its call failed" : text;
}

std::vector<Ending> endingsOf(const Attempt& attempt, const Page& now) {
  return Comparison(attempt, now).endings();
}

std::optional<Page> readAfter(const Attempt& attempt, Client& client, Failure* failure) {
  constexpr int kMoreLooks = 5;
  constexpr std::chrono::milliseconds kTimeBetweenLooks{200};
  std::optional<Page> page = readList(client, "", failure);
  for (int look = 0; page && look < kMoreLooks; ++look) {
    const std::vector<Ending> endings = endingsOf(attempt, *page);
    if (!hasFate(endings, Fate::kStillThere) && !hasFate(endings, Fate::kNotKnown)) break;
    // A process that was killed at the end of its grace period may take a moment to go.
    std::this_thread::sleep_for(kTimeBetweenLooks);
    page = readList(client, "", failure);
  }
  return page;
}

std::vector<std::string> linesOf(const std::vector<Ending>& endings) {
  std::vector<std::string> lines;
  lines.reserve(endings.size());
  for (const Ending& ending : endings) lines.push_back(ending.line);
  return lines;
}

bool hasFate(const std::vector<Ending>& endings, Fate fate) {
  return std::any_of(endings.begin(), endings.end(),
                     [&](const Ending& ending) { return ending.fate == fate; });
}

bool haveAllEnded(const std::vector<Ending>& endings) {
  return std::all_of(endings.begin(), endings.end(),
                     [](const Ending& ending) { return ending.fate == Fate::kEnded; });
}

std::vector<std::string> servicesWithoutUsers(const Page& now) {
  std::vector<std::string> services;
  for (const zevo::ReadNote& warning : now.warnings) {
    if (warning.code != zevo::kDetailsMissing) continue;
    const bool hasUnknown = std::any_of(
        now.connections.begin(), now.connections.end(), [&](const Connection& connection) {
          return connection.type == warning.service && connection.who == kUnknownUser;
        });
    if (hasUnknown) services.push_back(warning.service);
  }
  return services;
}

}  // namespace cli
