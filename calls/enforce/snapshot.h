// Who is connected at one moment, and what the folded rows of the list do not tell.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "zevo/api_request.h"
#include "zevo/api_table.h"
#include "zevo/read_notes.h"

#include "base/result.h"
#include "calls/child_calls.h"
#include "calls/enforce/connection.h"

namespace calls::enforce {

// The module's methods, as an administrator calls them.
struct Module {
  ApiHandler list = nullptr;
  ApiHandler kick = nullptr;
  ApiHandler disable = nullptr;
  ZEVO::RequestContext context;  // of each call, without parameters
};

struct Snapshot {
  std::vector<Connection> connections;
  std::vector<zevo::ReadNote> warnings;  // what the list may lack
  // Of each SMB process those whose connections it serves: the list folds them into one row.
  std::map<std::uint32_t, std::vector<std::string>> smbUsers = {};
  // How many web logins there are of a user from an address, in one row of the list too.
  std::map<std::pair<std::string, std::string>, std::size_t> webLogins = {};

  // The users whom the connection's process serves, its own first; without empty names.
  [[nodiscard]] std::vector<std::string> usersOf(const Connection& connection) const;
};

// All that there is now. Runs "list" in a child, then reads the registry's own records of the same
// reading.
zevo::Result<Snapshot> readSnapshot(const Module& module, const ChildTimes& times);

// The rows that "list" gives for its own filter.
zevo::Result<std::vector<Connection>> readFiltered(const Module& module, const std::string& filter,
                                                   const ChildTimes& times);

// The processes above `process`, nearest first, read from the folder `proc`: a connection that one
// of them serves carries it. What cannot be read ends the list.
std::vector<std::uint32_t> processesAbove(std::uint32_t process, const std::string& proc);

}  // namespace calls::enforce
