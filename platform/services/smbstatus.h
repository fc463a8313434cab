// The answers of Samba's smbstatus, as of release 4.17.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/open_files.h"

namespace zevo::connections {

// One login of one client. Texts may contain any byte.
struct SmbSession {
  std::string id;
  std::string node;  // the node of a cluster; empty outside of one
  std::int64_t pid = 0;
  std::string user;              // with --numeric their id
  std::string from;              // numeric address; empty if the answer has only a name
  std::uint16_t clientPort = 0;  // 0 if the answer has none
  std::string time;              // local time; empty before release 4.20

  bool operator==(const SmbSession&) const = default;
};

// One share in use by one session.
struct SmbShare {
  std::string sessionId;
  std::string name;
  std::string time;  // local time; empty if the answer has no valid one

  bool operator==(const SmbShare&) const = default;
};

// Parse the output of `smbstatus --json --processes` and `--shares`, in the order of their members.
// Sessions whose login is still in progress, and members that are not sessions or shares, are left
// out. Nothing if the text is not such an answer.
std::optional<std::vector<SmbSession>> parseSmbSessions(std::string_view text);
std::optional<std::vector<SmbShare>> parseSmbShares(std::string_view text);
// The same for `smbstatus --json --locks`, for host/open_files.h. Those of other nodes of a cluster
// are left out.
std::optional<OpenFiles> parseSmbOpenFiles(std::string_view text);

}  // namespace zevo::connections
