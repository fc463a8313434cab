#include "cli/commands/kick.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "cli/commands/plan_lines.h"
#include "cli/commands/warnings.h"
#include "cli/terminal/output.h"
#include "cli/terminal/question.h"
#include "cli/terminal/table_output.h"

namespace cli {
namespace {

std::string countOf(Json::ArrayIndex connections) {
  return std::to_string(connections) + (connections == 1 ? " connection" : " connections");
}

std::string kickPlanText(const Json::Value& plan) {
  std::vector<std::string> lines = effectLines(plan["ends"]);
  for (const Json::Value& row : plan["stays"])
    lines.push_back("cannot be ended: " + describe(row) + ": " + reasonText(row));
  for (const Json::Value& pid : plan["missing_pids"])
    lines.push_back("no connection with pid " + pid.asString() + " matches");
  return endingTable(plan["ends"]) + linesText(lines, lookOfOutput().charset);
}

// A sentence on why the selection cannot be used; empty if it can.
std::string objection(const Json::Value& plan, const Kick& request) {
  if (!plan["ambiguous_pids"].empty()) {
    return plan["ambiguous_pids"][0].asString() +
           " is the number of both a process and a web login: add --service";
  }
  return request.isDryRun || request.isConfirmed || canAsk() ? "" : kCannotAsk;
}

ExitCode endConnections(const Json::Value& plan, Client& client) {
  Json::Value task(Json::objectValue);
  task["action"] = "kick";
  task["connections"] = namesOf(plan["ends"]);
  const std::optional<Performed> done = perform(task, true, client);
  if (!done) return kExitFailed;
  const Json::Value& fates = done->result["connections"];
  const ExitCode written = printText(linesText(fateLines(fates), lookOfOutput().charset));
  if (hasFate(fates, "not_known"))
    complainOfDoubt("it is not known whether all of them have ended:", done->warnings);
  const bool haveEnded = std::all_of(fates.begin(), fates.end(), [](const Json::Value& row) {
    return row["fate"] == "ended" || row["fate"] == "gone_before";
  });
  return haveEnded && plan["missing_pids"].empty() ? written : kExitFailed;
}

}  // namespace

ExitCode kick(const Kick& request, Client& client) {
  Json::Value task(Json::objectValue);
  task["action"] = "kick";
  task["select"] = request.selection;
  const std::optional<Json::Value> plan = planFor(task, client);
  if (!plan) return kExitFailed;
  const Json::ArrayIndex count = (*plan)["ends"].size();
  const std::string refusal = objection(*plan, request);
  if (count > 0 && !refusal.empty()) {
    complain(refusal);
    return kExitUsage;
  }
  const ExitCode written = printText(kickPlanText(*plan));
  if (written != kExitDone) return written;
  if (count == 0) {
    complain("nothing to end");
    return kExitFailed;
  }
  if (request.isDryRun) return (*plan)["missing_pids"].empty() ? kExitDone : kExitFailed;
  if (!request.isConfirmed && !ask("End " + countOf(count) + "?")) {
    complain("nothing was ended");
    return kExitFailed;
  }
  return endConnections(*plan, client);
}

}  // namespace cli
