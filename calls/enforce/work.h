// What ending connections and disabling accounts have in common.
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

// One call at work, from its construction on.
class Work {
 public:
  explicit Work(const Request& request);

  // Whether modules have the methods that this needs.
  [[nodiscard]] bool hasModule() const;
  [[nodiscard]] const Request& request() const { return request_; }
  [[nodiscard]] const Module& module() const { return module_; }
  // Over what the caller works.
  [[nodiscard]] OwnWay ownWay() const;
  // The limit of the call, in which the answer has to be given.
  [[nodiscard]] ChildTimes untilTheEnd() const { return {after(95), after(100)}; }
  // What is begun late would be ended in its midst.
  [[nodiscard]] ChildTimes kickTimes() const { return {after(75), after(90)}; }

  [[nodiscard]] zevo::Result<Snapshot> readNow() const;
  // The list after the attempt, read until none is there that may still go.
  [[nodiscard]] zevo::Result<Snapshot> readAfter(const Attempt& attempt) const;

 private:
  using Clock = std::chrono::steady_clock;

  [[nodiscard]] Clock::time_point after(int percent) const;

  const Request& request_;
  Module module_;
  Clock::time_point begin_ = Clock::now();
};

// The answer to a call that could not be done.
Answer failed(const zevo::Error& error);
Answer success(const Json::Value& result, const std::vector<zevo::ReadNote>& warnings);

// Why a method did not do its work; null where it did.
Json::Value hindranceOf(const std::optional<MethodAnswer>& answer);

// Adds what `notes` lack of `more`.
void addNotes(const std::vector<zevo::ReadNote>& more, std::vector<zevo::ReadNote>* notes);

}  // namespace calls::enforce
