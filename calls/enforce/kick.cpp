#include "calls/enforce/kick.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "base/json.h"
#include "calls/call_log.h"
#include "host/open_files.h"

namespace calls::enforce {
namespace {

using Connections = std::vector<Connection>;

// The plan could not read the open files.
constexpr const char* kOpenFilesMissing = "open_files_missing";

constexpr std::size_t kMissingAtOnce = 256;

zevo::Result<Connections> select(const Work& work, const Selection& selection,
                                 const Snapshot& now) {
  std::optional<Connections> filtered;
  if (!selection.filter.empty()) {
    auto rows = readFiltered(work.module(), selection.filter, work.untilTheEnd());
    if (!rows) return tl::unexpected(rows.error());
    filtered = std::move(*rows);
  }
  const RowIndex index(filtered ? *filtered : now.connections);
  Connections selected;
  std::copy_if(now.connections.begin(), now.connections.end(), std::back_inserter(selected),
               [&](const Connection& connection) {
                 return index.find(connection) && isSelected(connection, selection, now);
               });
  return selected;
}

std::optional<zevo::OpenFiles> readOpenFiles(std::vector<zevo::ReadNote>* notes) {
  std::string cause;
  auto files = zevo::openFiles(&cause);
  if (!files) notes->push_back({kOpenFilesMissing, std::string(kSmb), cause});
  return files;
}

Json::Value planNow(const Work& work, const Connections& wanted, Snapshot* now) {
  PlanView view{*now, work.ownWay()};
  if (endsSmb(wanted, *now)) view.openFiles = readOpenFiles(&now->warnings);
  return planOf(wanted, view, whyNotEnded);
}

void leaveOut(const Work& work, const Connection& connection, const char* why) {
  Json::Value left = nameOf(connection);
  left["reason"] = why;
  logLeftOut(work.request().summary("kick_connection"), left);
}

ChildCall callFor(const Work& work, const Connection& row) {
  const Module& module = work.module();
  ChildCall call{module.kick, module.context, work.request().summary("kick_connection")};
  call.context.parameters[isWebLogin(row) ? "http_conn" : "service_conn"].append(nameOf(row));
  return call;
}

// Ends the targets of the attempt that are the caller's own connection, or all others, and notes
// the answers. With several service connections in one call, only the first would be checked
// against its process.
void endTargets(const Work& work, const OwnWay& own, bool isOwn, Attempt* attempt) {
  std::vector<Target*> targets;
  std::vector<ChildCall> calls;
  for (Target& target : attempt->targets) {
    if (own.isOver(target.connection) != isOwn) continue;
    if (const char* key = whyNotEnded(target.connection)) {
      target.hindrance = reason(key);
      leaveOut(work, target.connection, key);
      continue;
    }
    targets.push_back(&target);
    calls.push_back(callFor(work, target.connection));
  }
  const auto answers = callInChildren(calls, work.kickTimes());
  for (std::size_t i = 0; i < answers.size(); ++i) {
    targets[i]->hindrance = hindranceOf(answers[i]);
    if (!answers[i]) leaveOut(work, targets[i]->connection, "no_time");
    if (answers[i]) addNotes(answers[i]->warnings, &attempt->warnings);
  }
}

// Adds the fates of `missing`, which the list `before` does not have.
void addFatesOfMissing(const Work& work, std::span<const Connection> missing,
                       const Snapshot& before, Json::Value* fates) {
  Attempt attempt{.targets = {}, .before = {}, .begin = beginOfAttempt()};
  for (const Connection& named : missing) attempt.targets.push_back({named});
  // One whose user is unknown now may be one of them.
  std::copy_if(before.connections.begin(), before.connections.end(),
               std::back_inserter(attempt.before),
               [](const Connection& row) { return row.who != zevo::kUnknownUser; });
  Json::Value found = fatesOf(attempt, before);
  for (Json::ArrayIndex i = 0; i < found.size(); ++i) {
    Json::Value& fate = found[i];
    if (fate["fate"] == "ended") {
      fate = nameOf(missing[i]);
      fate["fate"] = "gone_before";
    }
    leaveOut(work, missing[i], fate["fate"].asCString());
    fates->append(std::move(fate));
  }
}

// In parts, since a fate takes more memory than the name in the request.
Json::Value fatesOfMissing(const Work& work, std::span<const Connection> missing,
                           const Snapshot& before) {
  Json::Value fates(Json::arrayValue);
  while (!missing.empty()) {
    const std::size_t size = std::min(missing.size(), kMissingAtOnce);
    addFatesOfMissing(work, missing.first(size), before, &fates);
    missing = missing.subspan(size);
  }
  return fates;
}

}  // namespace

Answer planKick(const Work& work, const std::vector<Connection>& wanted) {
  zevo::Result<Snapshot> now = work.readNow();
  if (!now) return failed(now.error());
  const Json::Value plan = planNow(work, wanted, &*now);
  return success(plan, now->warnings);
}

Answer planKick(const Work& work, const Selection& selection) {
  zevo::Result<Snapshot> now = work.readNow();
  if (!now) return failed(now.error());
  const auto wanted = select(work, selection, *now);
  if (!wanted) return failed(wanted.error());
  Json::Value plan = planNow(work, *wanted, &*now);
  plan["missing_pids"] = zevo::asArray(missingPids(*wanted, selection));
  plan["ambiguous_pids"] = zevo::asArray(ambiguousPids(*wanted, selection));
  return success(plan, now->warnings);
}

Answer performKick(const Work& work, const std::vector<Connection>& wanted) {
  const zevo::Result<Snapshot> before = work.readNow();
  if (!before) return failed(before.error());
  const std::vector<const Connection*> rows = rowsOf(wanted, before->connections);
  Attempt attempt{.targets = {}, .before = before->connections, .begin = beginOfAttempt()};
  Connections missing;
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (rows[i]) {
      attempt.targets.push_back({*rows[i]});
    } else {
      missing.push_back(wanted[i]);
    }
  }
  Json::Value fatesOfOthers = fatesOfMissing(work, missing, *before);
  const OwnWay own = work.ownWay();
  for (const bool isOwn : {false, true}) endTargets(work, own, isOwn, &attempt);
  const zevo::Result<Snapshot> after = work.readAfter(attempt);
  Json::Value fates = fatesOf(attempt, after);
  Json::Value result(Json::objectValue);
  result["connections"] = Json::Value(Json::arrayValue);
  Json::ArrayIndex target = 0;
  Json::ArrayIndex other = 0;
  for (const Connection* row : rows)
    result["connections"].append(std::move(row ? fates[target++] : fatesOfOthers[other++]));
  return success(result, after ? after->warnings : std::vector<zevo::ReadNote>());
}

}  // namespace calls::enforce
