// Shared by ending connections and disabling accounts.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

#include "zevo/read_notes.h"

#include "base/result.h"
#include "calls/child_calls.h"
#include "calls/enforce/enforcement.h"
#include "calls/enforce/fate.h"
#include "calls/enforce/kick_plan.h"
#include "calls/enforce/snapshot.h"

namespace calls::enforce {

inline constexpr const char* kApi = "ZEVO.Core.CurrentConnection";

// One call in progress, from its construction on.
class Work {
 public:
  explicit Work(const Request& request);

  // Whether the modules have the required methods.
  [[nodiscard]] bool hasModule() const;
  [[nodiscard]] const Request& request() const { return request_; }
  [[nodiscard]] const Module& module() const { return module_; }
  // The caller's own connection.
  [[nodiscard]] OwnWay ownWay() const;
  // The limit of the call, within which the answer must be sent.
  [[nodiscard]] ChildTimes untilTheEnd() const { return {after(95), after(100)}; }
  // Work begun too late would be ended halfway.
  [[nodiscard]] ChildTimes kickTimes() const { return {after(75), after(90)}; }

  [[nodiscard]] zevo::Result<Snapshot> readNow() const;
  // The list after the attempt, read until no connection in it may still be ending.
  [[nodiscard]] zevo::Result<Snapshot> readAfter(const Attempt& attempt) const;

 private:
  using Clock = std::chrono::steady_clock;

  [[nodiscard]] Clock::time_point after(int percent) const;

  const Request& request_;
  Module module_;
  Clock::time_point begin_ = Clock::now();
};

// The answer to a call that failed.
Answer failed(const zevo::Error& error);
Answer success(const Json::Value& result, const std::vector<zevo::ReadNote>& warnings);

// Why a method failed; null if it did not.
Json::Value hindranceOf(const std::optional<MethodAnswer>& answer);

// Adds those of `more` that `notes` lack.
void addNotes(const std::vector<zevo::ReadNote>& more, std::vector<zevo::ReadNote>* notes);

}  // namespace calls::enforce
