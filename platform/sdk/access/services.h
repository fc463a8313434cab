// How each service treats an expired account. Nothing if it is not installed or, for Samba and AFP,
// not running.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "sdk/access/server.h"
#include "sdk/samba_entry.h"

namespace zevo::access {

// The entries of some accounts in Samba's databases, each database read once.
class SambaDatabases {
 public:
  struct Read {
    // Nothing where they cannot be read, and `cause` says why.
    std::optional<SambaEntries> entries;
    std::string cause;
  };

  SambaDatabases(SambaTool tool, std::vector<std::string> accounts);
  // Of the configuration file `file`, "" for the usual one.
  const Read& of(const std::string& file);

 private:
  SambaTool tool_;
  std::vector<std::string> accounts_;
  std::map<std::string, Read> read_;
};

std::optional<ServiceAccess> opensshAccess(const Server& server, const std::string& account);
std::optional<ServiceAccess> vsftpdAccess(const Server& server, const std::string& account);
std::optional<ServiceAccess> proftpdAccess(const Server& server, const std::string& account);
std::optional<ServiceAccess> pureFtpdAccess(const Server& server, const std::string& account);
std::optional<ServiceAccess> telnetAccess(const Server& server);
std::optional<ServiceAccess> consoleAccess(const Server& server);
// The database of each server that runs is looked at.
std::optional<ServiceAccess> sambaAccess(const Server& server, const std::string& account,
                                         AccessMoment moment, SambaDatabases& databases);
std::optional<ServiceAccess> afpAccess(const Server& server, const std::string& account);
// The page of this system, whose PAM service is in `pamFolder` ("": the system's).
std::optional<ServiceAccess> pageAccess(const Server& server, const std::string& pamFolder);

}  // namespace zevo::access
