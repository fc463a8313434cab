// What became of connections that were to end.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/client/answer.h"
#include "cli/client/client.h"
#include "cli/client/connection.h"
#include "cli/commands/failure.h"

namespace cli {

struct Target {
  Connection connection;
  std::string hindrance = {};  // why its call failed, as the end of a sentence; empty: it did not
};

// One attempt to end connections, of which all but the list afterwards is known.
struct Attempt {
  std::vector<Target> targets;
  std::vector<std::string> users = {};   // none of whose connections is to be left
  std::vector<Connection> before;        // what was listed before
  std::string begin;                     // of the calls, as beginOfAttempt gives it
  std::vector<zevo::ReadNote> warnings;  // of the calls' own reads of the list
  std::string proc = "/proc";
};

enum class Fate {
  kEnded,
  kStillThere,
  kConnectedAgain,  // it ended, and its user came back
  kNotKnown,        // the list may lack it
};

struct Ending {
  Fate fate;
  std::string
      line;  // "ended: SSH of alice from 10.20.0.2, pid 12"; with the reason where it did not

  bool operator==(const Ending&) const = default;
};

// The present time in the form of a row's. Rows that begin from now on have none before it: the
// start of a process is told up to two seconds too early.
std::string beginOfAttempt();

// Why a call did not do its work, as the end of a sentence; empty where it did. Nothing for an
// answer means that it was not called.
std::string hindranceOf(const std::optional<Answer>& answer);

// What the list `now`, which was read after `attempt`, tells of each target, and then of further
// connections of its users. A process is known by its pid and service, since the users whom it
// serves may change; whatever has no process, by user, address and service.
std::vector<Ending> endingsOf(const Attempt& attempt, const Page& now);

std::vector<std::string> linesOf(const std::vector<Ending>& endings);
bool hasFate(const std::vector<Ending>& endings, Fate fate);
bool haveAllEnded(const std::vector<Ending>& endings);
// The list after `attempt`, read until none is there that may still go.
std::optional<Page> readAfter(const Attempt& attempt, Client& client, Failure* failure);

// The services of which `now` has connections but cannot tell the users.
std::vector<std::string> servicesWithoutUsers(const Page& now);

}  // namespace cli
