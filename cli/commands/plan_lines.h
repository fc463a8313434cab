// The answers of /api/plan and /api/perform, in words.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

#include "zevo/read_notes.h"

#include "cli/client/client.h"

namespace cli {

inline constexpr const char* kCannotAsk =
    "standard input is no terminal on which to ask: add --yes, or --dry-run to look only";

// The plan for `task`, the parameters of the resource. Warnings are said on standard error; so is
// why there is no plan.
std::optional<Json::Value> planFor(const Json::Value& task, Client& client);

struct Performed {
  Json::Value result;
  std::vector<zevo::ReadNote> warnings;
};

// Performs `task`; with `waits`, says meanwhile that it waits for connections to end. Nothing,
// said on standard error, where that failed.
std::optional<Performed> perform(const Json::Value& task, bool waits, Client& client);

// The members by which rows are named to the host.
Json::Value namesOf(const Json::Value& rows);

// The table of the rows that end; empty where none does.
std::string endingTable(const Json::Value& ends);

// "SSH of alice from 10.20.0.2, pid 12".
std::string describe(const Json::Value& row);

// The row's reason, as the end of a sentence.
std::string reasonText(const Json::Value& row);

// What ends besides the rows, and what they hold open; a line each.
std::vector<std::string> effectLines(const Json::Value& ends);

// A line for what became of each connection.
std::vector<std::string> fateLines(const Json::Value& fates);
bool hasFate(const Json::Value& fates, const char* fate);

}  // namespace cli
