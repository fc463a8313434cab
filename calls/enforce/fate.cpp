#include "calls/enforce/fate.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <ctime>
#include <map>
#include <string_view>
#include <unistd.h>
#include <utility>

#include "base/local_time.h"
#include "base/process_status.h"
#include "calls/enforce/kick_plan.h"

namespace calls::enforce {
namespace {

// A process by its pid, regardless of whom it serves now.
bool isOfSameServer(const Connection& a, const Connection& b) {
  return hasProcess(a) ? a.type == b.type && a.pid == b.pid : isOfSameClient(a, b);
}

bool waitsInKernel(const Connection& connection, const std::string& proc) {
  const auto status = zevo::readProcessStatus(connection.pid, proc);
  return status && zevo::statusValue(*status, "State").starts_with('D');
}

// Compares one attempt with the list after it. Each row of the list accounts for one fate.
class Comparison {
 public:
  Comparison(const Attempt& attempt, const Snapshot& now) : attempt_(attempt), now_(now) {
    for (std::size_t i = 0; i < now.connections.size(); ++i) {
      const Connection& row = now.connections[i];
      if (hasProcess(row)) ofProcess_[row.pid].push_back(i);
      ofClient_[{row.who, row.from}].push_back(i);
    }
    for (const Connection& row : attempt.before) {
      if (hasProcess(row)) pidsBefore_.insert({row.type, row.pid});
    }
    isTaken_.resize(now.connections.size());
  }

  Json::Value fates() {
    std::vector<const Connection*> found;
    found.reserve(attempt_.targets.size());
    for (const Target& target : attempt_.targets) found.push_back(sameServer(target.connection));
    Json::Value fates(Json::arrayValue);
    for (std::size_t i = 0; i < found.size(); ++i) {
      const Target& target = attempt_.targets[i];
      fates.append(found[i] ? fateOfFound(target, *found[i]) : fateOfMissing(target.connection));
    }
    addFurther(&fates);
    return fates;
  }

 private:
  using Places = std::vector<std::size_t>;

  // The first of `places` that `fits` and is not used yet.
  template <typename Fits>
  const Connection* take(const Places& places, Fits fits) {
    for (const std::size_t i : places) {
      if (isTaken_[i] || !fits(now_.connections[i])) continue;
      isTaken_[i] = true;
      return &now_.connections[i];
    }
    return nullptr;
  }

  const Connection* sameServer(const Connection& before) {
    const Places& places =
        hasProcess(before) ? ofProcess_[before.pid] : ofClient_[{before.who, before.from}];
    return take(places, [&](const Connection& row) { return isOfSameServer(before, row); });
  }

  [[nodiscard]] bool beganSince(const Connection& row) const { return row.time >= attempt_.begin; }

  [[nodiscard]] bool wasThere(const Connection& row) const {
    if (hasProcess(row)) return pidsBefore_.contains({row.type, row.pid});
    return std::any_of(attempt_.before.begin(), attempt_.before.end(),
                       [&](const Connection& other) { return isOfSameClient(row, other); });
  }

  static Json::Value fate(const Connection& row, const char* name) {
    Json::Value item = asJson(row);
    item["fate"] = name;
    return item;
  }

  static Json::Value stillThere(const Connection& row, Json::Value why) {
    Json::Value item = fate(row, "still_there");
    item["reason"] = std::move(why);
    return item;
  }

  static Json::Value withNow(Json::Value item, const Connection& row) {
    item["now"] = asJson(row);
    return item;
  }

  [[nodiscard]] Json::Value whyStillThere(const Connection& row,
                                          const Json::Value& hindrance) const {
    if (const char* key = whyOutOfReach(row)) return reason(key);
    if (!hindrance.isNull()) return hindrance;
    const auto about =
        std::find_if(attempt_.warnings.begin(), attempt_.warnings.end(),
                     [&](const auto& warning) { return isAbout(warning, row.type); });
    if (about != attempt_.warnings.end()) {
      Json::Value why = reason("may_be_unlisted");
      why["warning"] = zevo::readNotesAsJson({*about})[0];
      return why;
    }
    if (!hasProcess(row)) return reason("still_recorded");
    return reason(waitsInKernel(row, attempt_.proc) ? "in_kernel" : "not_in_time");
  }

  [[nodiscard]] Json::Value fateOfFound(const Target& target, const Connection& row) const {
    const Connection& before = target.connection;
    if (!isOfSameClient(before, row))
      return withNow(stillThere(before, reason("serves_other")), row);
    if (row.time != before.time && beganSince(row))
      return withNow(fate(before, "connected_again"), row);
    return stillThere(before, whyStillThere(row, target.hindrance));
  }

  // A new row may have begun before the attempt: its client logged in over a connection that it had
  // kept at the password.
  [[nodiscard]] Json::Value fateOfMissing(const Connection& before) {
    const Connection* next = take(ofClient_[{before.who, before.from}], [&](const Connection& row) {
      return isOfSameClient(before, row) && !wasThere(row);
    });
    if (next && isGoingOn(before, *next))
      return withNow(stillThere(before, reason("goes_on")), *next);
    if (next) return withNow(fate(before, "connected_again"), *next);
    const bool isKnown = hasEnded(before) || !(mayLack(before) || mayBeUntold(before));
    return fate(before, isKnown ? "ended" : "not_known");
  }

  // An FTP session is listed under another of its processes while a transfer runs, and an SSH
  // connection from the beginning of its session.
  [[nodiscard]] bool isGoingOn(const Connection& before, const Connection& row) const {
    if (isContinuationOf(before, row, attempt_.proc)) return true;
    return before.type == kFtp && (row.time == before.time || !beganSince(row));
  }

  // Whether its process does not exist any more. An FTP session may continue in another one.
  [[nodiscard]] bool hasEnded(const Connection& before) const {
    const std::string process = attempt_.proc + "/" + std::to_string(before.pid);
    return hasProcess(before) && before.type != kFtp && ::access(process.c_str(), F_OK) != 0 &&
           errno == ENOENT;
  }

  [[nodiscard]] bool mayLack(const Connection& before) const {
    return std::any_of(now_.warnings.begin(), now_.warnings.end(), [&](const auto& warning) {
      return warning.code != zevo::kDetailsMissing && isAbout(warning, before.type);
    });
  }

  // Whether it may be one of those without a name.
  [[nodiscard]] bool mayBeUntold(const Connection& before) {
    const bool isUntold =
        std::any_of(now_.warnings.begin(), now_.warnings.end(), [&](const auto& warning) {
          return warning.code == zevo::kDetailsMissing && warning.service == before.type;
        });
    if (!isUntold) return false;
    const Places& places = ofClient_[{zevo::kUnknownUser, before.from}];
    return std::any_of(places.begin(), places.end(), [&](std::size_t i) {
      const Connection& row = now_.connections[i];
      return row.type == before.type && !wasThere(row);
    });
  }

  void addFurther(Json::Value* fates) {
    if (attempt_.users.empty()) return;
    for (std::size_t i = 0; i < now_.connections.size(); ++i) {
      const Connection& row = now_.connections[i];
      const std::vector<std::string> served = now_.usersOf(row);
      const auto user = std::find_if(served.begin(), served.end(), [&](const std::string& name) {
        return attempt_.users.contains(name);
      });
      if (isTaken_[i] || user == served.end()) continue;
      if (*user != row.who) {
        Json::Value why = reason("under_other_user");
        why["user"] = *user;
        fates->append(stillThere(row, why));
      } else {
        fates->append(beganSince(row) ? fate(row, "connected_since")
                                      : stillThere(row, whyStillThere(row, {})));
      }
    }
  }

  const Attempt& attempt_;
  const Snapshot& now_;
  std::map<std::uint32_t, Places> ofProcess_;
  std::map<std::pair<std::string, std::string>, Places> ofClient_;
  std::set<std::pair<std::string, std::uint32_t>> pidsBefore_;
  std::vector<bool> isTaken_;
};

Json::Value unknownFates(const Attempt& attempt, const zevo::Error& error) {
  Json::Value fates(Json::arrayValue);
  for (const Target& target : attempt.targets) {
    Json::Value& item = fates.append(asJson(target.connection));
    item["fate"] = "not_known";
    item["reason"] = reason("list_failed");
    item["reason"]["causes"].append(error.sentence);
  }
  return fates;
}

}  // namespace

std::string beginOfAttempt() {
  // The start of the system and the process's start since then are both in whole seconds.
  constexpr std::time_t kRounding = 2;
  return zevo::localTimeText(std::time(nullptr) - kRounding);
}

Json::Value fatesOf(const Attempt& attempt, const zevo::Result<Snapshot>& now) {
  return now ? Comparison(attempt, *now).fates() : unknownFates(attempt, now.error());
}

bool mayStillGo(const Json::Value& fates) {
  static const std::set<std::string> kFinal = {
      "no_process",      "unknown_process", "unknown_user",    "no_time",
      "unknown_address", "unknown_service", "under_other_user"};
  return std::any_of(fates.begin(), fates.end(), [](const Json::Value& item) {
    // Another process of the same FTP session may end a moment after the one that was killed.
    const bool isOfSession = item["fate"] == "connected_again" && item["type"].asString() == kFtp;
    return isOfSession || item["fate"] == "not_known" ||
           (item["fate"] == "still_there" && !kFinal.contains(item["reason"]["reason"].asString()));
  });
}

std::vector<std::string> servicesWithoutUsers(const Snapshot& now) {
  std::vector<std::string> services;
  for (const zevo::ReadNote& warning : now.warnings) {
    if (warning.code != zevo::kDetailsMissing) continue;
    const bool hasUnknown = std::any_of(
        now.connections.begin(), now.connections.end(), [&](const Connection& connection) {
          return connection.type == warning.service && connection.who == zevo::kUnknownUser;
        });
    if (hasUnknown) services.push_back(warning.service);
  }
  return services;
}

}  // namespace calls::enforce
