// FTP sessions of ProFTPD.
#pragma once

#include <optional>
#include <string_view>

#include "services/sources.h"

namespace zevo::connections {

// The user in the title of a session, "bob - x" in "proftpd: bob - x - client.example: STOR a - b";
// nothing for the titles of the master and of logins in progress, with any client input.
std::optional<std::string_view> proftpdTitleUser(std::string_view title);

// One record per session, served by one process. The user is the one in the title; otherwise the
// account of the process, if it runs as a user. The description is the working directory as seen
// from outside, even if the user is confined to a part of the tree. Sessions of mod_sftp look the
// same and are shown as FTP.
Result<void> readProftpd(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
