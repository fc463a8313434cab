// What each service does with an account that has expired. Nothing where it is not installed, or,
// with Samba and AFP, does not run.
#pragma once

#include <optional>
#include <string>

#include "sdk/access/server.h"
#include "sdk/samba_entry.h"

namespace zevo::access {

std::optional<ServiceAccess> opensshAccess(const Server& server, const std::string& account);
std::optional<ServiceAccess> vsftpdAccess(const Server& server);
std::optional<ServiceAccess> proftpdAccess(const Server& server);
std::optional<ServiceAccess> pureFtpdAccess(const Server& server);
std::optional<ServiceAccess> telnetAccess(const Server& server);
std::optional<ServiceAccess> consoleAccess(const Server& server);
// `tool` is asked with the configuration of each server that runs.
std::optional<ServiceAccess> sambaAccess(const Server& server, const std::string& account,
                                         AccessMoment moment, SambaTool tool);
std::optional<ServiceAccess> afpAccess(const Server& server);
// The page of this system, whose PAM service lies in `pamFolder` ("": the system's).
std::optional<ServiceAccess> pageAccess(const Server& server, const std::string& pamFolder);

}  // namespace zevo::access
