// The records from smbstatus's answers.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "services/smbstatus.h"
#include "services/sources.h"

namespace zevo::connections {

// Stands for unknown shares.
inline constexpr std::string_view kUnknownSmbShare = "share not known";

// A process of an SMB server: "smbd", "smbd[10.0.0.9]" of newer releases, "smbd-notifyd".
bool isSmbd(std::string_view name);
// A process that may serve a session: "smbd" or "smbd[10.0.0.9]".
bool isSmbSessionName(std::string_view name);

// One record per share of a session, or one for a session without any; IPC$ counts only if it is
// the only share. If one process serves several users, descriptions name them. Without `shares` the
// descriptions say that the share is not known. Sessions whose process has ended are left out; so
// are those of other nodes of a cluster, with one line in the log.
Result<void> appendSmbSessions(const Sources& sources, const std::vector<SmbSession>& sessions,
                               const std::optional<std::vector<SmbShare>>& shares,
                               std::vector<Connection>* connections);

}  // namespace zevo::connections
