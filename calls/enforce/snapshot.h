// The connections at one moment, and details that the merged rows of the list do not show.
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

// The module's methods, called as an administrator.
struct Module {
  ApiHandler list = nullptr;
  ApiHandler kick = nullptr;
  ApiHandler disable = nullptr;
  ZEVO::RequestContext context;  // of each call, without parameters
};

struct Snapshot {
  std::vector<Connection> connections;
  std::vector<zevo::ReadNote> warnings;  // what the list may lack
  // For each SMB process the users that it serves: the list merges them into one row.
  std::map<std::uint32_t, std::vector<std::string>> smbUsers = {};
  // The number of web logins of a user from an address, also in one row of the list.
  std::map<std::pair<std::string, std::string>, std::size_t> webLogins = {};

  // The users that the connection's process serves, its own first; without empty names.
  [[nodiscard]] std::vector<std::string> usersOf(const Connection& connection) const;
};

// The present connections. Runs "list" in a child, then reads the registry's own records of the
// same read.
zevo::Result<Snapshot> readSnapshot(const Module& module, const ChildTimes& times);

// The rows of "list" with its own filter.
zevo::Result<std::vector<Connection>> readFiltered(const Module& module, const std::string& filter,
                                                   const ChildTimes& times);

// The ancestors of `process`, nearest first, from the directory `proc`: a connection that one of
// them serves carries it. The list ends at an unreadable process.
std::vector<std::uint32_t> processesAbove(std::uint32_t process, const std::string& proc);

// Whether `row` is the connection that was listed as `before`, under another of its processes: an
// SSH login as its session, below sshd's process that opened it, or an FTP session in whose other
// process, above or below, a transfer began or ended.
bool isContinuationOf(const Connection& before, const Connection& row, const std::string& proc);

}  // namespace calls::enforce
