#include "calls/enforce/work.h"

#include <algorithm>
#include <thread>

#include "base/json.h"
#include "host/config.h"

namespace calls::enforce {

constexpr int kVersion = 1;  // of kApi

Work::Work(const Request& request) : request_(request) {
  const auto find = [&](const char* method) {
    return request.modules.find(kApi, kVersion, method);
  };
  module_ = {find("list"), find("kick_connection"), find("disable_user"), {}};
  module_.context.loginUserName = request.caller.user;
  module_.context.isAdmin = true;
  module_.context.sessionFilePath = request.sessionFile;
}

bool Work::hasModule() const {
  return module_.list != nullptr && module_.kick != nullptr && module_.disable != nullptr;
}

OwnWay Work::ownWay() const {
  const Caller& caller = request_.caller;
  if (caller.via == SocketKind::kWeb) return {caller.user, caller.address, {}};
  OwnWay own;
  if (caller.process <= 1) return own;
  const auto process = static_cast<std::uint32_t>(caller.process);
  own.processes.insert(process);
  for (const std::uint32_t above : processesAbove(process, "/proc")) own.processes.insert(above);
  return own;
}

zevo::Result<Snapshot> Work::readNow() const {
  return readSnapshot(module_, untilTheEnd());
}

zevo::Result<Snapshot> Work::readAfter(const Attempt& attempt) const {
  constexpr int kMoreLooks = 5;
  constexpr std::chrono::milliseconds kTimeBetweenLooks{200};
  zevo::Result<Snapshot> now = readNow();
  for (int look = 0; now && look < kMoreLooks && mayStillGo(fatesOf(attempt, now)); ++look) {
    // A process that was killed after its grace period may take a moment to end.
    std::this_thread::sleep_for(kTimeBetweenLooks);
    now = readNow();
  }
  return now;
}

Work::Clock::time_point Work::after(int percent) const {
  return begin_ + zevo::config().callLimit * percent / 100;
}

Answer failed(const zevo::Error& error) {
  return problemAnswer(Problem::kWorkFailed, {error.sentence});
}

Answer success(const Json::Value& result, const std::vector<zevo::ReadNote>& warnings) {
  return successAnswer(zevo::compactJson(result), zevo::readNotesAsJson(warnings));
}

Json::Value hindranceOf(const std::optional<MethodAnswer>& answer) {
  if (!answer) return reason("no_time");
  if (answer->status == MethodAnswer::Status::kDone) return {};
  if (answer->code == kCodeTooFewAdministrators) return reason("too_few_administrators");
  Json::Value why = reason("call_failed");
  why["causes"] = zevo::asArray(answer->causes);
  return why;
}

void addNotes(const std::vector<zevo::ReadNote>& more, std::vector<zevo::ReadNote>* notes) {
  for (const zevo::ReadNote& note : more) {
    if (std::find(notes->begin(), notes->end(), note) == notes->end()) notes->push_back(note);
  }
}

}  // namespace calls::enforce
