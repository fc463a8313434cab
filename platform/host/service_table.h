// The services whose connections are listed, each once. What lists services reads this table; the
// module, whose names are part of its API, and the texts that name services are held against it by
// tests.
#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "zevo/connections.h"

namespace zevo {

struct ListedService {
  ZEVO_CURCONN_TYPE id;
  std::string_view name;                  // as the list has it
  std::array<std::string_view, 3> words;  // that mean it on the command line, the usual one first
  // Part of the name of each process that serves it, without which a kick signals nothing; empty
  // where no process serves a connection alone.
  std::string_view process;
  bool canBeEnded;  // by a kick
};

// One row a line: the completions of the shells are made from it too.
inline constexpr std::array<ListedService, 9> kListedServices = {{
    {ZEVO_CURCONN_CIFS, "CIFS", {"cifs", "smb"}, "smbd", true},
    {ZEVO_CURCONN_AFP, "AFP", {"afp"}, "afpd", true},
    {ZEVO_CURCONN_FTP, "FTP", {"ftp"}, "ftpd", true},
    {ZEVO_CURCONN_SFTP, "SFTP", {"sftp"}, "sftpd", true},
    {ZEVO_CURCONN_SSH, "SSH", {"ssh"}, "sshd", true},
    {ZEVO_CURCONN_TELNET, "TELNET", {"telnet"}, "telnetd", true},
    {ZEVO_CURCONN_NFS, "NFS", {"nfs"}, "", false},
    {ZEVO_CURCONN_LOGIN, "LOGIN", {"login"}, "", false},
    {ZEVO_CURCONN_HTTP, "HTTP/HTTPS", {"web", "http", "http/https"}, "", true},
}};

// The name of a connection that is of none of them.
inline constexpr std::string_view kUnlistedService = "UNKNOWN";

// The list's name for the type `id`.
constexpr std::string_view serviceName(ZEVO_CURCONN_TYPE id) {
  for (const ListedService& service : kListedServices) {
    if (service.id == id) return service.name;
  }
  return kUnlistedService;
}

// What `part` gives for each service, with a comma and a blank between each two.
template <typename Part>
std::string enumerateServices(Part part) {
  std::string text;
  for (const ListedService& service : kListedServices) {
    text.append(text.empty() ? "" : ", ").append(part(service));
  }
  return text;
}

}  // namespace zevo
