// Describes the answers of /api/plan and /api/perform.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

#include "zevo/read_notes.h"

#include "cli/client/client.h"

namespace cli {

inline constexpr const char* kCannotAsk =
    "standard input is not a terminal, so nobody can confirm: add --yes, or --dry-run for a "
    "preview";

// The plan for `task`, the parameters of the resource. Warnings, and the reason if there is no
// plan, are written to standard error.
std::optional<Json::Value> planFor(const Json::Value& task, Client& client);

struct Performed {
  Json::Value result;
  std::vector<zevo::ReadNote> warnings;
};

// Performs `task`; with `waits`, shows that it is waiting for connections to end. Nothing on
// failure, which is reported on standard error.
std::optional<Performed> perform(const Json::Value& task, bool waits, Client& client);

// The members that identify rows to the host.
Json::Value namesOf(const Json::Value& rows);

// The table of the rows that end; empty if there are none.
std::string endingTable(const Json::Value& ends);

// "SSH of alice from 10.20.0.2, pid 12".
std::string describe(const Json::Value& row);

// The row's reason, as the end of a sentence.
std::string reasonText(const Json::Value& row);

// What else ends with the rows, and the files they hold open; one line each.
std::vector<std::string> effectLines(const Json::Value& ends);

// A line with the result for each connection.
std::vector<std::string> fateLines(const Json::Value& fates);
bool hasFate(const Json::Value& fates, const char* fate);

}  // namespace cli
