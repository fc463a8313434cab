// The services whose connections are listed, each once. All code that lists services uses this
// table; tests compare it with the module, whose names are part of its API, and with texts that
// name services.
#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "zevo/connections.h"

namespace zevo {

struct ListedService {
  ZEVO_CURCONN_TYPE id;
  std::string_view name;                  // its name in the list
  std::array<std::string_view, 3> words;  // its names on the command line, the usual one first
  // Part of the name of each process that serves it, required for a kick to signal it; empty if no
  // process serves a single connection.
  std::string_view process;
  // Why a kick cannot end its connections, as a reason of plans; null if it can.
  const char* whyNotEnded;
};

// One row per line: the shell completions are generated from it too.
inline constexpr std::array<ListedService, 9> kListedServices = {{
    {ZEVO_CURCONN_CIFS, "CIFS", {"cifs", "smb"}, "smbd", nullptr},
    {ZEVO_CURCONN_AFP, "AFP", {"afp"}, "afpd", nullptr},
    {ZEVO_CURCONN_FTP, "FTP", {"ftp"}, "ftpd", nullptr},
    {ZEVO_CURCONN_SFTP, "SFTP", {"sftp"}, "sftpd", nullptr},
    {ZEVO_CURCONN_SSH, "SSH", {"ssh"}, "sshd", nullptr},
    {ZEVO_CURCONN_TELNET, "TELNET", {"telnet"}, "telnetd", nullptr},
    {ZEVO_CURCONN_NFS, "NFS", {"nfs"}, "", "no_process"},
    {ZEVO_CURCONN_LOGIN, "LOGIN", {"login"}, "", "console"},
    {ZEVO_CURCONN_HTTP, "HTTP/HTTPS", {"web", "http", "http/https"}, "", nullptr},
}};

// The name for connections of any other service.
inline constexpr std::string_view kUnlistedService = "UNKNOWN";

// In place of the user of a connection whose user could not be told.
inline constexpr const char* kUnknownUser = "unknown";

// The list's name for the type `id`.
constexpr std::string_view serviceName(ZEVO_CURCONN_TYPE id) {
  for (const ListedService& service : kListedServices) {
    if (service.id == id) return service.name;
  }
  return kUnlistedService;
}

// The service with this name in the list; null if there is none.
constexpr const ListedService* serviceNamed(std::string_view name) {
  for (const ListedService& service : kListedServices) {
    if (service.name == name) return &service;
  }
  return nullptr;
}

// The list's name for the service of a process of this name; empty if no service has it.
constexpr std::string_view serviceOfProcess(std::string_view name) {
  for (const ListedService& service : kListedServices) {
    const bool isNamed = name.find(service.process) != std::string_view::npos;
    if (!service.process.empty() && isNamed) return service.name;
  }
  return "";
}

// The results of `part` for each service, separated by a comma and a space.
template <typename Part>
std::string enumerateServices(Part part) {
  std::string text;
  for (const ListedService& service : kListedServices) {
    text.append(text.empty() ? "" : ", ").append(part(service));
  }
  return text;
}

}  // namespace zevo
