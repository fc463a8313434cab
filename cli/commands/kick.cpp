#include "cli/commands/kick.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <unistd.h>
#include <utility>
#include <vector>

#include "cli/client/list_reader.h"
#include "cli/client/side_by_side.h"
#include "cli/commands/ending.h"
#include "cli/commands/kick_plan.h"
#include "cli/commands/kick_result.h"
#include "cli/commands/own_processes.h"
#include "cli/commands/warnings.h"
#include "cli/terminal/output.h"
#include "cli/terminal/progress.h"
#include "cli/terminal/question.h"
#include "cli/terminal/table_output.h"

namespace cli {
namespace {

std::string countOf(std::size_t connections) {
  return std::to_string(connections) + (connections == 1 ? " connection" : " connections");
}

std::vector<Connection> endable(const KickPlan& plan) {
  std::vector<Connection> connections = plan.services;
  connections.insert(connections.end(), plan.webLogins.begin(), plan.webLogins.end());
  return connections;
}

// What is to be known of the plan besides the rows that would end.
std::vector<std::string> remarksOn(const KickPlan& plan) {
  std::vector<std::string> remarks;
  for (const std::string& effect : sideEffects(plan, processesAbove(getpid()))) {
    remarks.push_back("note: " + effect);
  }
  for (const Connection& connection : plan.refused) {
    remarks.push_back("not to be ended: " + describe(connection) + ": " + whyNotEnded(connection));
  }
  for (const std::uint32_t pid : plan.absent) {
    remarks.push_back("no connection with the pid " + std::to_string(pid) + " matches");
  }
  return remarks;
}

std::string planText(const KickPlan& plan) {
  const Look look = lookOfOutput();
  const std::vector<Connection> connections = endable(plan);
  const std::string table = connections.empty() ? "" : tableText(connections, look);
  return table + linesText(remarksOn(plan), look.charset);
}

Json::Value elementOf(const Connection& connection) {
  Json::Value element(Json::objectValue);
  element["from"] = connection.from;
  element["who"] = connection.who;
  element["type"] = connection.type;
  element["pid"] = connection.pid;
  return element;
}

// Of several service connections in one call only the first would be checked against its process.
std::vector<Call> callsFor(const KickPlan& plan) {
  std::vector<Call> calls;
  for (const Connection& connection : plan.services) {
    Json::Value parameters(Json::objectValue);
    parameters["service_conn"].append(elementOf(connection));
    calls.push_back({"kick_connection", std::move(parameters)});
  }
  if (plan.webLogins.empty()) return calls;
  Json::Value parameters(Json::objectValue);
  for (const Connection& login : plan.webLogins) parameters["http_conn"].append(elementOf(login));
  calls.push_back({"kick_connection", std::move(parameters)});
  return calls;
}

ExitCode endConnections(const KickPlan& plan, const std::vector<Connection>& before,
                        Client& client) {
  const std::vector<Call> calls = callsFor(plan);
  const std::string begin = beginOfAttempt();
  Answers answers;
  {
    Progress progress("waiting for connections to end", calls.size());
    answers = callSideBySide(client, calls, [&](std::size_t done) { progress.show(done); });
  }
  const Attempt attempt = attemptOf(plan, answers, before, begin);
  Failure failure;
  const std::optional<Page> page = readAfter(attempt, client, &failure);
  if (!page) {
    complain("the connections were told to end, but whether they did is not known");
    complain(failure.lines);
    return kExitFailed;
  }
  const std::vector<Ending> endings = endingsOf(attempt, *page);
  const ExitCode written = printText(linesText(linesOf(endings), lookOfOutput().charset));
  const std::vector<std::string> problems = problemsOf(answers);
  if (!problems.empty()) complain(problems);
  if (hasFate(endings, Fate::kNotKnown)) {
    complainOfDoubt("whether all of them have ended is not known:", page->warnings);
  }
  return problems.empty() && haveAllEnded(endings) ? written : kExitFailed;
}

// A sentence on why the selection is not to be followed; empty where it is.
std::string objection(const KickPlan& plan, const Kick& request) {
  const std::vector<std::uint32_t> ambiguous = ambiguousPids(plan, request.selection);
  if (!ambiguous.empty()) {
    return std::to_string(ambiguous.front()) +
           " is the number of a process and of a web login: add --service";
  }
  if (!request.isDryRun && !request.isConfirmed && !canAsk()) {
    return "standard input is no terminal on which to ask: add --yes, or --dry-run to look only";
  }
  return "";
}

}  // namespace

ExitCode kick(const Kick& request, Client& client) {
  Failure failure;
  const std::optional<Page> page = readList(client, request.selection.filter, &failure);
  if (!page) {
    complain(failure.lines);
    return failure.exitCode;
  }
  complainOfWarnings(page->warnings);
  const KickPlan plan = makeKickPlan(page->connections, request.selection);
  const std::size_t count = endable(plan).size();
  const std::string refusal = objection(plan, request);
  if (count > 0 && !refusal.empty()) {
    complain(refusal);
    return kExitUsage;
  }
  const ExitCode written = printText(planText(plan));
  if (written != kExitDone) return written;
  if (count == 0) {
    complain("there is nothing to end");
    return kExitFailed;
  }
  if (request.isDryRun) return kExitDone;
  if (!request.isConfirmed && !ask("End " + countOf(count) + "?")) {
    complain("nothing was ended");
    return kExitFailed;
  }
  return endConnections(plan, page->connections, client);
}

}  // namespace cli
