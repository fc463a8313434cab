// FTP sessions of ProFTPD.
#pragma once

#include <optional>
#include <string_view>

#include "services/sources.h"

namespace zevo::connections {

// The user in the title of a session, "bob - x" in "proftpd: bob - x - client.example: STOR a - b";
// nothing for the titles of the master and of logins in progress, whatever the client sent.
std::optional<std::string_view> proftpdTitleUser(std::string_view title);

// One record for each session, served by one process. The user is the title's; where that holds
// none, the account of a process that has become a user's. The description is the current folder as
// it is found from outside, also where the user is confined to a part of the tree. Sessions of
// mod_sftp look the same and are shown as FTP.
Result<void> readProftpd(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
